#include "engine/UpmixerAmbisonicStage.h"
#include "engine/UpmixerOverheadStage.h"

#include <cmath>
#include <limits>

using namespace KaChannelRouting;

namespace
{
    constexpr float pi = 3.14159265358979f;
    constexpr float degrees = pi / 180.0f;

    // Weights by ACN index. SN3D: sqrt ((2 - d(m)) (l - |m|)! / (l + |m|)!) over the bare
    // harmonics below; FuMa: the Furse-Malham weights of the same harmonics.
    const float sn3d[UpmixerAmbisonicStage::maxChannels] = {
        1.0f,
        1.0f, 1.0f, 1.0f,
        0.8660254f, 0.8660254f, 0.5f, 0.8660254f, 0.8660254f,
        0.7905694f, 1.9364917f, 0.6123724f, 0.5f, 0.6123724f, 1.9364917f, 0.7905694f,
    };
    const float fuma[UpmixerAmbisonicStage::maxChannels] = {
        0.70710678f,
        1.0f, 1.0f, 1.0f,
        1.0f, 1.0f, 0.5f, 1.0f, 1.0f,
        1.0f, 2.5980762f, 0.7261844f, 0.5f, 0.7261844f, 2.5980762f, 1.0f,
    };

    // Output channel c carries ACN harmonic fumaOrder[c]: W X Y Z R S T U V K L M N O P Q.
    constexpr int fumaOrder[UpmixerAmbisonicStage::maxChannels] = { 0, 3, 1, 2, 6, 7, 5, 8, 4, 12, 13, 11, 14, 10, 15, 9 };

    // The kinds of each pair (left, right) in source order.
    constexpr int pairKinds[3][2] = { { kindL, kindR }, { kindLs, kindRs }, { kindLsr, kindRsr } };
}

float UpmixerAmbisonicStage::harmonic (int k, float a, float e) noexcept
{
    const float se = std::sin (e), ce = std::cos (e);
    switch (k)
    {
        case 0: return 1.0f;
        case 1: return ce * std::sin (a);
        case 2: return se;
        case 3: return ce * std::cos (a);
        case 4: return std::sin (2.0f * a) * ce * ce;
        case 5: return std::sin (2.0f * e) * std::sin (a);
        case 6: return 3.0f * se * se - 1.0f;
        case 7: return std::sin (2.0f * e) * std::cos (a);
        case 8: return std::cos (2.0f * a) * ce * ce;
        case 9: return std::sin (3.0f * a) * ce * ce * ce;
        case 10: return std::sin (2.0f * a) * se * ce * ce;
        case 11: return (5.0f * se * se - 1.0f) * ce * std::sin (a);
        case 12: return (5.0f * se * se - 3.0f) * se;
        case 13: return (5.0f * se * se - 1.0f) * ce * std::cos (a);
        case 14: return std::cos (2.0f * a) * se * ce * ce;
        case 15: return std::cos (3.0f * a) * ce * ce * ce;
        default: return 0.0f;
    }
}

float UpmixerAmbisonicStage::normalisation (int format, int k) noexcept
{
    if (k < 0 || k >= maxChannels)
        return 0.0f;
    return format == formatFuMa ? fuma[k] : sn3d[k];
}

int UpmixerAmbisonicStage::harmonicOfChannel (int format, int channel) noexcept
{
    if (channel < 0 || channel >= maxChannels)
        return -1;
    return format == formatFuMa ? fumaOrder[channel] : channel;
}

const char* UpmixerAmbisonicStage::harmonicLetter (int k) noexcept
{
    static constexpr const char* letters[maxChannels] = { "W", "Y", "Z", "X", "V", "T", "R", "S", "U", "Q", "O", "M", "K", "L", "N", "P" };
    return k >= 0 && k < maxChannels ? letters[k] : "";
}

void UpmixerAmbisonicStage::encode (float angle, float v, int format, int numChannels, float* gains) noexcept
{
    const float azimuth = -angle * degrees;
    const float elevation = (v - 0.5f) * pi;
    for (int c = 0; c < numChannels && c < maxChannels; ++c)
    {
        const int k = harmonicOfChannel (format, c);
        gains[c] = harmonic (k, azimuth, elevation) * normalisation (format, k);
    }
}

void UpmixerAmbisonicStage::reset() noexcept
{
    m_onGain.reset();
    m_offGain.reset();
    m_centreLift.reset();
}

void UpmixerAmbisonicStage::updateGains (const Settings& s, bool withRears) noexcept
{
    const int order = s.order < 1 ? 1 : s.order > maxOrder ? maxOrder : s.order;
    const int numChannels = (order + 1) * (order + 1);
    const int format = s.format == formatFuMa ? formatFuMa : formatAmbiX;
    if (format == m_nGainsFormat && numChannels == m_nGainsChannels && withRears == m_bGainsWithRears)
        return;

    // Direction gains change only with the format, the order or the presence of the rears:
    // the trigonometry runs then, never per block.
    for (auto& source : m_gains)
        source.fill (0.0f);
    for (int pair = 0; pair < numPairs; ++pair)
        for (int side = 0; side < 2; ++side)
        {
            const float angle = KaChannelRouting::earLevelAzimuth (pairKinds[pair][side], withRears);
            encode (angle, 0.5f, format, numChannels, m_gains[(size_t) (pair * 4 + side)].data());
            encode (angle, liftedHeight, format, numChannels, m_gains[(size_t) (pair * 4 + 2 + side)].data());
        }
    encode (0.0f, 0.5f, format, numChannels, m_gains[(size_t) numPairs * 4].data());
    encode (0.0f, liftedHeight, format, numChannels, m_gains[(size_t) numPairs * 4 + 1].data());

    m_nGainsFormat = format;
    m_nGainsChannels = numChannels;
    m_bGainsWithRears = withRears;
}

void UpmixerAmbisonicStage::process (const UpmixerChannels& upmix, float* const* out, int numOut, int numSamples,
                                     const Settings& settings) noexcept
{
    if (numSamples <= 0)
        return;
    const bool withRears = upmix[kindLsr] != nullptr || upmix[kindRsr] != nullptr;
    updateGains (settings, withRears);
    const int numChannels = numOut < m_nGainsChannels ? numOut : m_nGainsChannels;

    const float gOn = UpmixerOverheadStage::phaseGain (settings.onPhase, settings.extendedRange);
    m_onGain.setTarget (gOn, numSamples);
    m_offGain.setTarget (UpmixerOverheadStage::phaseGain (settings.offPhase, settings.extendedRange), numSamples);
    m_centreLift.setTarget (settings.excludeCentre ? 0.0f : gOn, numSamples);

    const float* lefts[numPairs], *rights[numPairs];
    for (int pair = 0; pair < numPairs; ++pair)
    {
        lefts[pair] = upmix[pairKinds[pair][0]];
        rights[pair] = upmix[pairKinds[pair][1]];
    }
    const float* centre = upmix[kindC];
    auto at = [] (const float* channel, int i) noexcept { return channel != nullptr ? channel[i] : 0.0f; };

    float sources[numSources];
    for (int i = 0; i < numSamples; ++i)
    {
        const float on = m_onGain.next(), off = m_offGain.next(), centreLift = m_centreLift.next();
        for (int pair = 0; pair < numPairs; ++pair)
        {
            const float l = at (lefts[pair], i), r = at (rights[pair], i);
            const float liftedLeft = on * (l + r) * 0.5f + off * (l - r) * 0.5f;
            const float liftedRight = on * (l + r) * 0.5f - off * (l - r) * 0.5f;
            sources[pair * 4] = l - liftedLeft;
            sources[pair * 4 + 1] = r - liftedRight;
            sources[pair * 4 + 2] = liftedLeft;
            sources[pair * 4 + 3] = liftedRight;
        }
        const float c = at (centre, i);
        sources[numPairs * 4] = c * (1.0f - centreLift);
        sources[numPairs * 4 + 1] = c * centreLift;

        for (int ch = 0; ch < numChannels; ++ch)
        {
            float sum = 0.0f;
            for (int src = 0; src < numSources; ++src)
                sum += m_gains[(size_t) src][(size_t) ch] * sources[src];
            out[ch][i] = sum;
        }
    }
    for (int ch = numChannels; ch < numOut; ++ch)
        for (int i = 0; i < numSamples; ++i)
            out[ch][i] = 0.0f;
}

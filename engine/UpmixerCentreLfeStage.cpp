#include "engine/UpmixerCentreLfeStage.h"
#include "dsp/DenormalNoise.h"

UpmixerCentreLfeStage::UpmixerCentreLfeStage (std::array<LowPass, 3>& lfeLowPass, CRecursiveFilterBiquadLowShelf<float>& centreLowShelf,
                                              LowPass& auxLowPass) noexcept
    : m_lfeLowPass (lfeLowPass), m_centreLowShelf (centreLowShelf), m_auxLowPass (auxLowPass)
{
}

void UpmixerCentreLfeStage::reset() noexcept
{
    m_spread.reset();
    m_lfeGain.reset();
    m_lfeSplit.reset();
}

void UpmixerCentreLfeStage::spreadCentre (const UpmixerChannels& channels, int numSamples, float amount, float a) noexcept
{
    m_spread.setTarget (amount, numSamples);
    float* const chL = channels[0];
    float* const chR = channels[1];
    float* const chC = channels[2];
    if (chC == nullptr)
        return;

    for (int i = 0; i < numSamples; ++i)
    {
        const float d = m_spread.next();
        const float s = chC[i] * d * a;
        if (chL != nullptr) chL[i] += s;
        if (chR != nullptr) chR[i] += s;
        chC[i] *= 1.0f - d;
    }
}

void UpmixerCentreLfeStage::generateLfe (const UpmixerChannels& channels, int numSamples, float gain, float split) noexcept
{
    m_lfeGain.setTarget (gain, numSamples);
    m_lfeSplit.setTarget (split, numSamples);
    float* const fronts[3] = { channels[0], channels[1], channels[2] };
    float* const lfe = channels[3];

    // One guard-noise generator per filter input.
    DenormalNoise noise[3] = { DenormalNoise (DenormalNoise::difference), DenormalNoise (DenormalNoise::side),
                               DenormalNoise (DenormalNoise::back) };

    for (int i = 0; i < numSamples; ++i)
    {
        const float g = m_lfeGain.next(), k = m_lfeSplit.next();
        float sum = 0.0f;
        for (int f = 0; f < 3; ++f)
        {
            const float x = fronts[f] != nullptr ? fronts[f][i] : 0.0f;
            const float low = m_lfeLowPass[(size_t) f].process (x + noise[f].next());
            sum += low;
            if (fronts[f] != nullptr)
                fronts[f][i] = x - low * k;
        }
        if (lfe != nullptr)
            lfe[i] = sum * g;
    }
}

void UpmixerCentreLfeStage::divergeLowCentre (const UpmixerChannels& channels, int numSamples, float a, bool monitor,
                                              float sampleRate) noexcept
{
    float* const chL = channels[0];
    float* const chR = channels[1];
    float* const chC = channels[2];

    if (monitor)
        m_auxLowPass.setParameters (m_centreLowShelf.getFrequency(), 1.0f, sampleRate, m_centreLowShelf.getGain());

    DenormalNoise noise (DenormalNoise::difference);
    for (int i = 0; i < numSamples; ++i)
    {
        const float c = (chC != nullptr ? chC[i] : 0.0f) + noise.next();
        const float shelved = m_centreLowShelf.process (c);
        const float removed = (c - shelved) * a;
        if (monitor)
        {
            if (chC != nullptr) chC[i] = m_auxLowPass.process (shelved);
            if (chL != nullptr) chL[i] = removed;
            if (chR != nullptr) chR[i] = removed;
        }
        else
        {
            if (chC != nullptr) chC[i] = shelved;
            if (chL != nullptr) chL[i] += removed;
            if (chR != nullptr) chR[i] += removed;
        }
    }
}

#include "processor/UpmixerHeadphones.h"
#include "processor/KaChannelRouting.h"
#include "processor/KaLog.h"
#include "processor/UpmixerMonitor.h"

#include <cmath>
#include <mutex>

using namespace KaChannelRouting;

namespace
{
    /** The set is read once per process and path; every instance shares it. */
    struct SetCache
    {
        std::mutex mutex;
        juce::String path { UpmixerHrirSet::defaultPath };
        juce::String loadedPath;
        bool loaded = false;
        std::shared_ptr<const UpmixerHrirSet> set;
        juce::String error;
    };

    SetCache& cache()
    {
        static SetCache instance;
        return instance;
    }

    constexpr float heightElevation = 45.0f;  // the height layer, as the Ambisonic stage lifts it
    constexpr int sideSlot110 = 12, topFrontSlot = 14;

    /** The virtual 7.1.4 an Ambisonic output is decoded to: kind, loudspeaker angle, height value. */
    struct Virtual { int kind; float angle, v; };
    constexpr Virtual virtualLayout[] = {
        { kindL, -30.0f, 0.5f }, { kindR, 30.0f, 0.5f }, { kindC, 0.0f, 0.5f }, { kindLs, -100.0f, 0.5f }, { kindRs, 100.0f, 0.5f },
        { kindLsr, -145.0f, 0.5f }, { kindRsr, 145.0f, 0.5f }, { kindLts, -45.0f, 0.75f }, { kindRts, 45.0f, 0.75f },
        { kindTrl, -135.0f, 0.75f }, { kindTrr, 135.0f, 0.75f },
    };
}

void UpmixerHeadphones::setPath (const juce::String& path)
{
    std::lock_guard<std::mutex> guard (cache().mutex);
    cache().path = path;
}

UpmixerHeadphones::UpmixerHeadphones()
{
    auto& c = cache();
    std::lock_guard<std::mutex> guard (c.mutex);
    if (! c.loaded || c.loadedPath != c.path)
    {
        std::string error;
        c.set = UpmixerHrirSet::load (c.path.toStdString(), error);
        c.error = error;
        c.loaded = true;
        c.loadedPath = c.path;
        if (c.set == nullptr)
            KaLog::write ("ERROR: UpmixerHeadphones: " + c.error);
    }
    m_set = c.set;
    m_message = c.error;
}

std::vector<UpmixerBinauralRenderer::Source> UpmixerHeadphones::sources()
{
    std::vector<UpmixerBinauralRenderer::Source> list;
    for (int kind : { kindL, kindR, kindC })
        list.push_back ({ earLevelAzimuth (kind, true), 0.0f, false });
    list.push_back ({ 0.0f, 0.0f, true });  // the LFE: a low-passed centre
    for (int kind : { kindLs, kindRs, kindLsr, kindRsr })
        list.push_back ({ earLevelAzimuth (kind, true), 0.0f, false });
    for (float azimuth : { -90.0f, 90.0f, -135.0f, 135.0f })  // top side, top rear
        list.push_back ({ azimuth, heightElevation, false });
    for (int kind : { kindLs, kindRs })
        list.push_back ({ earLevelAzimuth (kind, false), 0.0f, false });
    for (float azimuth : { -45.0f, 45.0f })  // top front
        list.push_back ({ azimuth, heightElevation, false });
    return list;
}

void UpmixerHeadphones::prepare (double sampleRate, int maxBlock)
{
    m_fSampleRate = sampleRate > 0.0 ? sampleRate : 48000.0;
    m_kinds.setSize (numKinds, juce::jmax (1, maxBlock));
    m_ears.setSize (2, juce::jmax (1, maxBlock));
    if (m_set != nullptr)
        m_renderer.prepare (*m_set, sources(), m_fSampleRate);
    m_bOn = false;
    m_fFade = 1.0f;
}

bool UpmixerHeadphones::isNeeded() const noexcept
{
    return m_bOn || m_fFade < 1.0f || (m_bEnabled.load (std::memory_order_relaxed) && m_renderer.isPrepared());
}

void UpmixerHeadphones::updateDecoder (int order, int format) noexcept
{
    // Sampling decoder: speaker j takes sum over harmonics of a_l (2l + 1) / N Y_k(j) b_k, with
    // b_k the SN3D signal (a FuMa channel is brought to SN3D by its weight ratio) and a_l the
    // max-rE weights of the order. Then one gain, for a source at each virtual loudspeaker's own
    // direction on average: the geometric mean of the gain that makes the feeds' power 1 (what
    // the ears sum where the responses differ, at high frequencies) and the one that makes their
    // plain sum 1 (what they sum at low frequencies, where the responses of all directions are
    // nearly alike). Either alone would leave the other end of the spectrum 4 to 7 dB off.
    static constexpr float maxRe[3][4] = { { 1.0f, 0.577f, 0.0f, 0.0f }, { 1.0f, 0.775f, 0.4f, 0.0f }, { 1.0f, 0.861f, 0.612f, 0.305f } };
    m_nDecoderOrder = order;
    m_nDecoderFormat = format;
    const int numChannels = (order + 1) * (order + 1);
    for (int j = 0; j < numVirtual; ++j)
    {
        std::array<float, UpmixerAmbisonicStage::maxChannels> y {};
        UpmixerAmbisonicStage::encode (virtualLayout[j].angle, virtualLayout[j].v, UpmixerAmbisonicStage::formatAmbiX, numChannels, y.data());
        m_decoder[(size_t) j].fill (0.0f);
        for (int c = 0; c < numChannels; ++c)
        {
            const int k = UpmixerAmbisonicStage::harmonicOfChannel (format, c);
            const int l = (int) std::sqrt ((float) k + 0.5f);
            const float weight = UpmixerAmbisonicStage::normalisation (format, k);
            if (weight != 0.0f)
                m_decoder[(size_t) j][(size_t) c] = maxRe[order - 1][l] * (float) (2 * l + 1) / (float) numVirtual * y[(size_t) k]
                                                    * UpmixerAmbisonicStage::normalisation (UpmixerAmbisonicStage::formatAmbiX, k) / weight;
        }
    }
    double power = 0.0, amplitude = 0.0;
    for (const auto& source : virtualLayout)
    {
        std::array<float, UpmixerAmbisonicStage::maxChannels> e {};
        UpmixerAmbisonicStage::encode (source.angle, source.v, format, numChannels, e.data());
        for (const auto& row : m_decoder)
        {
            double p = 0.0;
            for (int c = 0; c < numChannels; ++c)
                p += (double) row[(size_t) c] * e[(size_t) c];
            power += p * p;
            amplitude += p;
        }
    }
    const double byPower = std::sqrt (numVirtual / power), byAmplitude = numVirtual / amplitude;
    const float gain = power > 0.0 && amplitude > 0.0 ? (float) std::sqrt (byPower * byAmplitude) : 1.0f;
    for (auto& row : m_decoder)
        for (auto& g : row)
            g *= gain;
}

unsigned UpmixerHeadphones::decodeAmbisonic (const float* const* host, int numChannels, int order, int format, int numSamples) noexcept
{
    order = juce::jlimit (1, UpmixerAmbisonicStage::maxOrder, order);
    format = juce::jlimit (0, 1, format);
    if (order != m_nDecoderOrder || format != m_nDecoderFormat)
        updateDecoder (order, format);
    numChannels = juce::jmin (numChannels, (order + 1) * (order + 1));
    numSamples = juce::jmin (numSamples, m_kinds.getNumSamples());

    unsigned written = 0;
    for (int j = 0; j < numVirtual; ++j)
    {
        float* out = m_kinds.getWritePointer (virtualLayout[j].kind);
        std::fill (out, out + numSamples, 0.0f);
        for (int c = 0; c < numChannels; ++c)
            if (const float g = m_decoder[(size_t) j][(size_t) c]; g != 0.0f)
                juce::FloatVectorOperations::addWithMultiply (out, host[c], g, numSamples);
        written |= 1u << virtualLayout[j].kind;
    }
    return written;
}

void UpmixerHeadphones::process (unsigned kindsWritten, int routing, int numEngineOutputs, bool ambisonic, float* const* host,
                                 int numHost, int numSamples) noexcept
{
    const bool target = m_bEnabled.load (std::memory_order_relaxed) && m_renderer.isPrepared();
    if (m_fFade >= 1.0f && target != m_bOn)
    {
        if (target)
            m_renderer.reset();  // nothing of an earlier spell of monitoring rings on
        m_bOn = target;
        m_fFade = 0.0f;
    }
    if ((! m_bOn && m_fFade >= 1.0f) || numHost < 1 || numSamples > m_kinds.getNumSamples())
        return;

    // Each kind from its loudspeaker in this layout: the sides at +-110 without rears, kinds 8
    // and 9 at the top front where the layout (or the virtual 7.1.4) names them so.
    const bool withRears = ambisonic || numEngineOutputs >= 8;
    const bool topFront = ambisonic || hasTopFrontHeights (routing);
    std::array<const float*, 16> feeds {};
    for (int kind = 0; kind < numKinds; ++kind)
    {
        if ((kindsWritten & (1u << kind)) == 0)
            continue;
        int slot = kind;
        if (! withRears && (kind == kindLs || kind == kindRs))
            slot = sideSlot110 + kind - kindLs;
        else if (topFront && (kind == kindLts || kind == kindRts))
            slot = topFrontSlot + kind - kindLts;
        feeds[(size_t) slot] = m_kinds.getReadPointer (kind);
    }
    float* left = m_ears.getWritePointer (0);
    float* right = m_ears.getWritePointer (1);
    m_renderer.process (feeds.data(), left, right, numSamples);

    if (m_fFade >= 1.0f)
    {
        juce::FloatVectorOperations::copy (host[0], left, numSamples);
        if (numHost > 1)
            juce::FloatVectorOperations::copy (host[1], right, numSamples);
        for (int ch = 2; ch < numHost; ++ch)
            juce::FloatVectorOperations::clear (host[ch], numSamples);
        return;
    }

    // The Listen modes' crossfade: the loudspeaker outputs fade one way, the ears the other.
    const float start = m_fFade;
    const float end = juce::jmin (1.0f, start + (float) (numSamples / (m_fSampleRate * 0.01)));
    auto ears = [this] (float x) { return m_bOn ? UpmixerMonitor::fadeCurve (x) : 1.0f - UpmixerMonitor::fadeCurve (x); };
    const float e0 = ears (start), e1 = ears (end);
    const float step = (e1 - e0) / (float) numSamples;
    for (int ch = 0; ch < numHost; ++ch)
    {
        float* out = host[ch];
        const float* ear = ch == 0 ? left : ch == 1 ? right : nullptr;
        for (int i = 0; i < numSamples; ++i)
        {
            const float g = e0 + step * (float) i;
            out[i] = out[i] * (1.0f - g) + (ear != nullptr ? ear[i] * g : 0.0f);
        }
    }
    m_fFade = end;
}

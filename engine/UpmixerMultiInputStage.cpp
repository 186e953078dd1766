#include "engine/UpmixerMultiInputStage.h"

#include <algorithm>
#include <cmath>

UpmixerMultiInputStage::UpmixerMultiInputStage (std::array<CircularAudioBuffer, 6>& inputDelay, const SlotTable& inputSlotTable,
                                                int maxBlockSize)
    : m_inputDelay (inputDelay), m_inputSlotTable (inputSlotTable), m_scratch ((size_t) (2 * maxBlockSize), 0.0f)
{
}

void UpmixerMultiInputStage::prepare (int latency)
{
    for (auto& buffer : m_inputDelay)
    {
        buffer.setSize (latency);
        buffer.consume (buffer.getNumReady());
        buffer.writeSilence (latency);
    }
    m_sidesToSides.reset();
    m_sidesToBacks.reset();
    m_lfeGain.reset();
}

bool UpmixerMultiInputStage::hasRole (int numInputs, int role) const noexcept
{
    if (numInputs <= 0)
        return false;
    const auto& row = m_inputSlotTable[(size_t) std::min (numInputs, 12)];
    return std::find (row.begin(), row.end(), role) != row.end();
}

void UpmixerMultiInputStage::forget() noexcept
{
    for (auto& buffer : m_inputDelay)
        buffer.clearAllReady();
}

void UpmixerMultiInputStage::capture (const UpmixerChannels& channels, int numInputs, int numSamples) noexcept
{
    float* scratch = m_scratch.data();
    numSamples = std::clamp (numSamples, 0, (int) m_scratch.size() / 2);

    for (size_t b = 0; b < m_inputDelay.size(); ++b)
    {
        const int kind = delayedKinds[b];
        const float* source = hasRole (numInputs, kind) ? channels[kind] : nullptr;
        if (source != nullptr)
            std::copy_n (source, numSamples, scratch);
        else
            std::fill_n (scratch, numSamples, 0.0f);

        // The heights (roles 8 and 9) fold into the sides (kinds 4 and 5) of their side.
        const int height = kind == 4 ? 8 : kind == 5 ? 9 : -1;
        if (height >= 0 && hasRole (numInputs, height))
            if (const float* h = channels[height])
                for (int i = 0; i < numSamples; ++i)
                    scratch[i] += h[i] * UpmixerGains::minus3dB;

        m_inputDelay[b].write (&scratch, 1, numSamples, true);
    }
}

void UpmixerMultiInputStage::mix (const UpmixerChannels& channels, int numSamples, const Settings& settings) noexcept
{
    const int maxBlock = (int) m_scratch.size() / 2;
    numSamples = std::clamp (numSamples, 0, maxBlock);
    float* first = m_scratch.data();
    float* second = m_scratch.data() + maxBlock;
    auto readInto = [&] (size_t buffer, float* dest) noexcept { m_inputDelay[buffer].read (&dest, 1, numSamples); };
    auto addInto = [numSamples] (float* target, const float* source, float gain) noexcept {
        if (target != nullptr)
            for (int i = 0; i < numSamples; ++i)
                target[i] += source[i] * gain;
    };

    // Centre and LFE.
    readInto (0, first);
    addInto (channels[2], first, 1.0f);
    readInto (1, first);
    m_lfeGain.setTarget (settings.lfeGain, numSamples);
    if (float* lfe = settings.lfeOn ? channels[3] : nullptr)
        for (int i = 0; i < numSamples; ++i)
            lfe[i] += first[i] * m_lfeGain.next();

    // Side pair, placed between sides and backs by FadeSB when the input has no backs of its own.
    const bool outputHasBacks = settings.numOutputChannels >= 8 && channels[6] != nullptr && channels[7] != nullptr;
    const bool inputHasBacks = hasRole (settings.numInputs, 6) || hasRole (settings.numInputs, 7);
    float toSides = 1.0f, toBacks = 0.0f;
    if (outputHasBacks && ! inputHasBacks)
    {
        const float w = settings.switched ? (settings.fadeSB >= 0.5f ? 1.0f : 0.0f) : std::clamp (settings.fadeSB, 0.0f, 1.0f);
        const float angle = w * juce::MathConstants<float>::halfPi;
        toSides = std::cos (angle);
        toBacks = std::sin (angle);
    }
    m_sidesToSides.setTarget (toSides, numSamples);
    m_sidesToBacks.setTarget (toBacks, numSamples);

    readInto (2, first);
    readInto (3, second);
    float* const target[4] = { channels[4], channels[5], outputHasBacks ? channels[6] : nullptr, outputHasBacks ? channels[7] : nullptr };
    for (int i = 0; i < numSamples; ++i)
    {
        const float gs = m_sidesToSides.next(), gb = m_sidesToBacks.next();
        const float ls = first[i], rs = second[i];
        if (target[0] != nullptr) target[0][i] += ls * gs;
        if (target[1] != nullptr) target[1][i] += rs * gs;
        if (target[2] != nullptr) target[2][i] += ls * gb;
        if (target[3] != nullptr) target[3][i] += rs * gb;
    }

    // Back pair: to the backs, or folded into the sides where the output has none.
    readInto (4, first);
    readInto (5, second);
    addInto (outputHasBacks ? channels[6] : channels[4], first, outputHasBacks ? 1.0f : UpmixerGains::minus3dB);
    addInto (outputHasBacks ? channels[7] : channels[5], second, outputHasBacks ? 1.0f : UpmixerGains::minus3dB);
}

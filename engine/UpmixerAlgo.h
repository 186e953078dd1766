#pragma once

#include "dsp/CDelayFilter.h"
#include "engine/UpmixerAlgoInterface.h"

#include <array>

/** The upmix engine: works in place on the processor's block of up to 12 channels laid out in
    the host order of the current output routing.

    Until the frequency-domain engine lands this build passes its input through, delayed by the
    engine's full latency so that the reported latency stays true. */
class UpmixerAlgo
{
public:
    static constexpr int maxChannels = 12;
    static constexpr int frameLength = 1024;

    UpmixerAlgo();

    /** Message thread, audio stopped; allocates. */
    void prepare (UpmixerAlgoInterface* host, float sampleRate);

    /** Audio thread; no allocation. One block, in place. */
    void process (float* const* block, int numChannels, int numSamples) noexcept;

    /** Samples between input and output: one frame plus the half-frame look-ahead. */
    static constexpr int getLatencySamples() noexcept { return frameLength + frameLength / 2; }

    void setOutputLayout (int routing) noexcept { outputLayout = routing; }
    void setNumInputChannels (int n) noexcept { m_nUpmixerNumInputChannels = n; }
    void setNumOutputChannels (int n) noexcept { numOutputChannels = n; }
    void setNumOverheadChannels (int n) noexcept { numOverheadChannels = n; }

    int outputLayout = 0;
    float sampleRate = 48000.0f;
    int m_nUpmixerNumInputChannels = 2;
    int numOutputChannels = 6;
    int numOverheadChannels = 0;

private:
    UpmixerAlgoInterface* host = nullptr;
    std::array<CDelayFilter<float>, maxChannels> latencyDelay;
};

#include "engine/UpmixerAlgo.h"

#include <algorithm>

UpmixerAlgo::UpmixerAlgo()
{
    prepare (nullptr, 48000.0f);
}

void UpmixerAlgo::prepare (UpmixerAlgoInterface* newHost, float newSampleRate)
{
    host = newHost;
    sampleRate = newSampleRate;
    outputLayout = 0;
    for (auto& d : latencyDelay)
    {
        d.setMaxDelay (getLatencySamples());
        d.setDelay (getLatencySamples());
    }
}

void UpmixerAlgo::process (float* const* block, int numChannels, int numSamples) noexcept
{
    const int n = std::min (numChannels, maxChannels);
    for (int ch = 0; ch < n; ++ch)
        latencyDelay[(size_t) ch].processInPlace (block[ch], numSamples);
}

#pragma once

// What the processor and editor benchmarks share: a prepared processor, programme-like stereo.
// (JUCE is set up by the runner's main.)
#include "processor/UpmixerParameters.h"
#include "processor/UpmixerProcessor.h"

#include <cstdlib>
#include <memory>

namespace BenchRig
{
    inline constexpr double sampleRate = 48000.0;
    inline constexpr int blockSize = 512;

    inline juce::AudioChannelSet outputSet (int numOutputs)
    {
        switch (numOutputs)
        {
            case 8: return juce::AudioChannelSet::create7point1();
            case 10: return juce::AudioChannelSet::create7point1point2();
            case 12: return juce::AudioChannelSet::create7point1point4();
            default: return juce::AudioChannelSet::create5point1();
        }
    }

    inline std::unique_ptr<UpmixerProcessor> makeProcessor (int numOutputs, bool isolation)
    {
        auto processor = std::make_unique<UpmixerProcessor>();
        juce::AudioProcessor::BusesLayout buses;
        buses.inputBuses.add (juce::AudioChannelSet::stereo());
        buses.outputBuses.add (outputSet (numOutputs));
        processor->setBusesLayout (buses);
        processor->setParameterNotifyingHost (UpmixerParam::DialogIsolate, isolation ? 1.0f : 0.0f, false);
        processor->prepareToPlay (sampleRate, blockSize);
        return processor;
    }

    /** Stereo programme-like material: two partly correlated noises. */
    inline void fillStereo (juce::AudioBuffer<float>& buffer, int numSamples, juce::Random& random)
    {
        for (int i = 0; i < numSamples; ++i)
        {
            const float common = random.nextFloat() - 0.5f;
            buffer.setSample (0, i, 0.3f * common + 0.2f * (random.nextFloat() - 0.5f));
            buffer.setSample (1, i, 0.3f * common + 0.2f * (random.nextFloat() - 0.5f));
        }
    }
}

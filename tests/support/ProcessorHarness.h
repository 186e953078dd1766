#pragma once

#include "processor/UpmixerProcessor.h"
#include "support/EngineTestRig.h"

#include <juce_audio_basics/juce_audio_basics.h>

#include <memory>

/** A real processor configured like a host would: buses, prepare, blocks. */
struct ProcessorHarness
{
    /** 5.1, 7.1, 7.1.2 and 7.1.4 by their 6, 8, 10 and 12 channels; Ambisonic orders 1 to 3 by
        4, 9 and 16. */
    static juce::AudioChannelSet outputSet (int numOutputs);

    ProcessorHarness (int numInputs, int numOutputs, double sampleRate = 48000.0, int blockSize = 512);

    /** Processes `input` (numInputs channels) in blocks of the prepared size; returns all host
        channels of the output. */
    juce::AudioBuffer<float> run (const juce::AudioBuffer<float>& input, int blockSize = -1);

    void set (int number, float value) { processor->setParameterNotifyingHost (number, value, false); }

    /** Sets each (parameter number, value) in turn; for one-line harnesses. */
    ProcessorHarness& with (std::initializer_list<std::pair<int, float>> settings)
    {
        for (const auto& [number, value] : settings)
            set (number, value);
        return *this;
    }

    std::unique_ptr<UpmixerProcessor> processor;
    int numInputs, numOutputs, blockSize;
    double sampleRate;
};

/** Whole-buffer signal helpers; the measurements are the engine tests' own. */
namespace TestSignals
{
    juce::AudioBuffer<float> sine (int numChannels, int numSamples, double frequency, double sampleRate, float gain = 0.5f);
    /** White noise, independent per channel, reproducible by seed. */
    juce::AudioBuffer<float> noise (int numChannels, int numSamples, int seed, float gain = 0.3f);
    using EngineSignals::rms;
    using EngineSignals::allFinite;
}

#include "support/ProcessorHarness.h"


juce::AudioChannelSet ProcessorHarness::outputSet (int numOutputs)
{
    switch (numOutputs)
    {
        case 8: return juce::AudioChannelSet::create7point1();
        case 10: return juce::AudioChannelSet::create7point1point2();
        case 12: return juce::AudioChannelSet::create7point1point4();
        case 4: return juce::AudioChannelSet::ambisonic (1);
        case 9: return juce::AudioChannelSet::ambisonic (2);
        case 16: return juce::AudioChannelSet::ambisonic (3);
        default: return juce::AudioChannelSet::create5point1();
    }
}

ProcessorHarness::ProcessorHarness (int in, int out, double rate, int block)
    : processor (std::make_unique<UpmixerProcessor>()), numInputs (in), numOutputs (out), blockSize (block), sampleRate (rate)
{
    juce::AudioProcessor::BusesLayout layout;
    layout.inputBuses.add (in == 1 ? juce::AudioChannelSet::mono() : in == 2 ? juce::AudioChannelSet::stereo() : juce::AudioChannelSet::discreteChannels (in));
    layout.outputBuses.add (outputSet (out));
    processor->setBusesLayout (layout);
    processor->setRateAndBufferSizeDetails (rate, block);
    processor->prepareToPlay (rate, block);
    processor->runHousekeeping();
}

juce::AudioBuffer<float> ProcessorHarness::run (const juce::AudioBuffer<float>& input, int block)
{
    block = block > 0 ? block : blockSize;
    const int total = input.getNumSamples();
    const int channels = std::max (numInputs, numOutputs);
    juce::AudioBuffer<float> result (channels, total);
    juce::AudioBuffer<float> buffer (channels, block);
    juce::MidiBuffer midi;

    for (int pos = 0; pos < total; pos += block)
    {
        const int n = std::min (block, total - pos);
        buffer.setSize (channels, n, false, false, true);
        buffer.clear();
        for (int ch = 0; ch < std::min (numInputs, input.getNumChannels()); ++ch)
            buffer.copyFrom (ch, 0, input, ch, pos, n);
        processor->processBlock (buffer, midi);
        for (int ch = 0; ch < channels; ++ch)
            result.copyFrom (ch, pos, buffer, ch, 0, n);
    }
    return result;
}

namespace TestSignals
{
    juce::AudioBuffer<float> sine (int numChannels, int numSamples, double frequency, double sampleRate, float gain)
    {
        juce::AudioBuffer<float> b (numChannels, numSamples);
        for (int ch = 0; ch < numChannels; ++ch)
            EngineSignals::sine (b.getWritePointer (ch), numSamples, frequency, sampleRate, gain);
        return b;
    }

    juce::AudioBuffer<float> noise (int numChannels, int numSamples, int seed, float gain)
    {
        juce::AudioBuffer<float> b (numChannels, numSamples);
        for (int ch = 0; ch < numChannels; ++ch)
            EngineSignals::noise (b.getWritePointer (ch), numSamples, seed + 1000 * ch, gain);
        return b;
    }
}

#include "support/EngineTestRig.h"
#include "processor/UpmixerParameters.h"

#include <cmath>
#include <algorithm>

EngineRig::EngineRig (int routingIn, int numOutputs, double sampleRate, int numInputs)
    : engine (std::make_unique<UpmixerAlgo>()), routing (routingIn)
{
    engine->prepare (&host, (float) sampleRate);
    engine->setOutputLayout (routing);
    engine->setNumInputChannels (numInputs);
    engine->setNumOutputChannels (numOutputs);
    engine->setNumOverheadChannels (std::max (0, numOutputs - 8));
}

juce::AudioBuffer<float> EngineRig::run (const juce::AudioBuffer<float>& inputByKind, int blockSize, int numChannels,
                                         const std::function<void (int)>& beforeBlock)
{
    const int total = inputByKind.getNumSamples();
    juce::AudioBuffer<float> output (12, total);
    juce::AudioBuffer<float> block (12, blockSize);

    for (int start = 0; start < total; start += blockSize)
    {
        const int n = std::min (blockSize, total - start);
        if (beforeBlock)
            beforeBlock (start);

        block.clear();
        for (int kind = 0; kind < 12; ++kind)
        {
            const int position = KaChannelRouting::hostPositionOfKind (routing, kind);
            if (position >= 0 && position < 12)
                block.copyFrom (position, 0, inputByKind, kind, start, n);
        }
        engine->process (block.getArrayOfWritePointers(), numChannels, n);
        for (int kind = 0; kind < 12; ++kind)
        {
            const int position = KaChannelRouting::hostPositionOfKind (routing, kind);
            if (position >= 0 && position < 12)
                output.copyFrom (kind, start, block, position, 0, n);
        }
    }
    return output;
}

namespace EngineSignals
{
    juce::AudioBuffer<float> byKind (int numSamples)
    {
        juce::AudioBuffer<float> b (12, numSamples);
        b.clear();
        return b;
    }

    void noise (float* dest, int numSamples, int seed, float gain)
    {
        juce::Random random (seed);
        for (int i = 0; i < numSamples; ++i)
            dest[i] = gain * (2.0f * random.nextFloat() - 1.0f);
    }

    void sine (float* dest, int numSamples, double frequency, double sampleRate, float gain, double phase)
    {
        for (int i = 0; i < numSamples; ++i)
            dest[i] = gain * (float) std::sin (2.0 * juce::MathConstants<double>::pi * frequency * i / sampleRate + phase);
    }

    double rms (const juce::AudioBuffer<float>& b, int ch, int start, int length)
    {
        const int end = length < 0 ? b.getNumSamples() : std::min (b.getNumSamples(), start + length);
        double sum = 0.0;
        for (int i = start; i < end; ++i)
            sum += (double) b.getSample (ch, i) * b.getSample (ch, i);
        return end > start ? std::sqrt (sum / (end - start)) : 0.0;
    }

    double relativeDb (double x, double reference)
    {
        return x <= 0.0 || reference <= 0.0 ? -400.0 : 20.0 * std::log10 (x / reference);
    }

    double toneLevel (const juce::AudioBuffer<float>& b, int ch, double f, int start)
    {
        double s = 0.0, c = 0.0;
        for (int i = start; i < b.getNumSamples(); ++i)
        {
            const double w = 2.0 * juce::MathConstants<double>::pi * f * i / 48000.0;
            s += b.getSample (ch, i) * std::sin (w);
            c += b.getSample (ch, i) * std::cos (w);
        }
        return 2.0 / std::max (1, b.getNumSamples() - start) * std::hypot (s, c);
    }

    double correlation (const juce::AudioBuffer<float>& b, int x, int y, int start)
    {
        double xy = 0.0, xx = 0.0, yy = 0.0;
        for (int i = start; i < b.getNumSamples(); ++i)
        {
            xy += (double) b.getSample (x, i) * b.getSample (y, i);
            xx += (double) b.getSample (x, i) * b.getSample (x, i);
            yy += (double) b.getSample (y, i) * b.getSample (y, i);
        }
        return xy / std::sqrt (xx * yy);
    }

    bool allFinite (const juce::AudioBuffer<float>& b)
    {
        for (int ch = 0; ch < b.getNumChannels(); ++ch)
            if (! std::all_of (b.getReadPointer (ch), b.getReadPointer (ch) + b.getNumSamples(), [] (float x) { return std::isfinite (x); }))
                return false;
        return true;
    }

    bool anySubnormal (const juce::AudioBuffer<float>& b)
    {
        for (int ch = 0; ch < b.getNumChannels(); ++ch)
            if (std::any_of (b.getReadPointer (ch), b.getReadPointer (ch) + b.getNumSamples(), [] (float x) { return std::fpclassify (x) == FP_SUBNORMAL; }))
                return true;
        return false;
    }
}

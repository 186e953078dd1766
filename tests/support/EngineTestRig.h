#pragma once

#include "engine/UpmixerAlgo.h"
#include "processor/KaChannelRouting.h"
#include "processor/UpmixerDefaultHost.h"

#include <juce_audio_basics/juce_audio_basics.h>

#include <functional>
#include <initializer_list>
#include <memory>
#include <utility>

/** One engine prepared with a fake host for a layout, fed by channel kind. */
struct EngineRig
{
    /** routing: the block's layout (1: L R C LFE Ls Rs ..., 16: L R C LFE Ls Rs Lsr Rsr Lts Rts
        Trl Trr); numOutputs 6, 8, 10 or 12 (overheads follow: 0, 0, 2, 4). */
    explicit EngineRig (int routing = 1, int numOutputs = 6, double sampleRate = 48000.0, int numInputs = 2);

    /** Runs a 12-channel buffer whose channel k carries kind k through the engine in blocks
        (each block laid out in the routing's order) and returns the output by kind. numChannels
        is the block channel count the engine is told. */
    juce::AudioBuffer<float> run (const juce::AudioBuffer<float>& inputByKind, int blockSize = 512, int numChannels = 12,
                                  const std::function<void (int)>& beforeBlock = {});

    void set (int number, float value) { host.set (number, value); }

    /** Sets each (parameter number, value) in turn; for one-line rigs. */
    EngineRig& with (std::initializer_list<std::pair<int, float>> settings)
    {
        for (const auto& [number, value] : settings)
            set (number, value);
        return *this;
    }

    UpmixerDefaultHost host;
    std::unique_ptr<UpmixerAlgo> engine;
    int routing;
};

namespace EngineSignals
{
    /** A 12-channel buffer, silent. */
    juce::AudioBuffer<float> byKind (int numSamples);
    /** White noise, uniform in -gain ... gain, reproducible by seed. */
    void noise (float* dest, int numSamples, int seed, float gain = 0.3f);
    void sine (float* dest, int numSamples, double frequency, double sampleRate, float gain = 0.5f, double phase = 0.0);
    /** Root mean square of channel ch from start on (to the end, or length samples). */
    double rms (const juce::AudioBuffer<float>& b, int ch, int start = 0, int length = -1);
    /** Level of x relative to reference in dB (-400 for silence). */
    double relativeDb (double x, double reference);
    /** Amplitude of the f Hz component of channel ch from sample start on (48 kHz). */
    double toneLevel (const juce::AudioBuffer<float>& b, int ch, double f, int start = 2 * 48000);
    /** Correlation coefficient of two channels from sample start on. */
    double correlation (const juce::AudioBuffer<float>& b, int x, int y, int start = 2 * 48000);
    /** Whether every sample is finite. */
    bool allFinite (const juce::AudioBuffer<float>& b);
    /** Whether any sample is subnormal (non-zero and below the smallest normal float). */
    bool anySubnormal (const juce::AudioBuffer<float>& b);
}

#pragma once

#include <juce_audio_formats/juce_audio_formats.h>

#include <functional>
#include <vector>

class UpmixerProcessor;

/** Renders an audio file through the same processor the plug-in uses and writes a multichannel
    WAV file (WAVE_FORMAT_EXTENSIBLE with the layout's channel mask; none for Ambisonic layouts).

    The output lines up with the input sample for sample (the processor's latency is removed and
    its tail flushed), and is written to a temporary file beside the target that is renamed only
    when everything succeeded: a failed render never leaves a partial file.

    The render starts warmed up. The engine's per-bin estimates (where each bin sits in the field)
    settle over about half a second, and from a cold start a source hard on one side would drift
    in from the surrounds. So before the file's first sample the processor hears the file's
    opening mirrored in time (sample -n is sample n, so the joint is seamless), about a second of
    it, and what it puts out for that is dropped. */
class UpmixRenderer
{
public:
    struct Options
    {
        juce::File input;
        juce::File output;
        juce::String layout = "7.1.2";
        juce::String preset;                 // a .nap file or a preset's name; applied before settings
        std::vector<juce::String> settings;  // "Key=value", applied in order
        /** A stereo headphone file of the layout's upmix (binaural) instead of its channels. */
        bool headphones = false;
        int bits = 32;                       // 16, 24, or 32 (float)
        int blockSize = 1024;
        std::function<void (double)> progress;  // 0..1
        /** After each block, with the processor that rendered it and the time in the output
            file at which the block ends (negative during the processor's latency). */
        std::function<void (const UpmixerProcessor&, double)> afterBlock;
        /** Times the engine's stages and the processor's block calls (the pre-roll left out). */
        bool profile = false;
    };

    /** What one of the engine's named timing items cost over the render. */
    struct StageTime
    {
        juce::String name;
        double totalMs = 0.0;
        long long runs = 0;
    };

    struct ChannelStats
    {
        juce::String name;
        double peakDb = -200.0;
        double rmsDb = -200.0;
    };

    struct Result
    {
        juce::String error;  // empty on success
        juce::String layout;
        int numInputChannels = 0;
        double sampleRate = 0.0;
        juce::int64 numSamples = 0;
        int latencySamples = 0;
        std::vector<ChannelStats> channels;
        std::vector<StageTime> stages;  // with Options::profile, in the order they run
        double processMs = 0.0;         // with Options::profile: all the processor's block calls
        bool ok() const { return error.isEmpty(); }
    };

    /** The layouts the renderer writes: "5.1", "7.1", "7.1.2", "7.1.4", and Ambisonic orders 1 to
        3 as "ambix1".."ambix3" (ACN order, SN3D) and "fuma1".."fuma3" (FuMa order and weights),
        and "binaural": the 7.1.4 upmix for headphones (as headphones with "7.1.4"). */
    static juce::StringArray layoutNames();

    static Result render (const Options& options);

    /** Sets a processor up as a render does: the layout, preset and settings of the options
        (and profiling with Options::profile), then prepared at the rate and block size. Returns
        an error line, empty on success. */
    static juce::String prepareProcessor (UpmixerProcessor& processor, const Options& options, int numInputs,
                                          double sampleRate, int blockSize);

    /** How many mirrored samples run before the file: whole blocks making about a second, fewer
        for a file too short to mirror that much. */
    static juce::int64 preRollSamples (double sampleRate, int blockSize, juce::int64 numSamples);
};

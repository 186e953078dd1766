// FftFilter and BlockOverlaper: framing, overlap-add and the per-frame callback:
//  - with spectra left alone, the input comes out delayed by fftSize (FftFilter) or 1024
//    (BlockOverlaper, its first 512 samples faded in by the synthesis window), identically
//    for blocks of 1 to 4096 samples and odd splits; the overlaper is always 1024 / 7 / 2;
//  - rewritten spectra reach the output; analyse sees them and leaves the buffer alone;
//  - window type 7 silences, Hann shapes;
//  - channels beyond the filter's are left alone.
#include "dsp/BlockOverlaper.h"
#include "dsp/FftFilter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <random>
#include <vector>


namespace
{
using Channels = std::vector<std::vector<float>>;

// Leaves the spectra alone; counts frames and can apply an edit to each.
class TestCallBack : public FftFilterCallBack
{
public:
    std::function<void (FreqDataStore<Complex>&)> edit;
    int frames = 0;
    int lastFftSize = 0;

    void processFrame (FreqDataStore<Complex>::Ptr frame) noexcept override
    {
        ++frames;
        lastFftSize = frame->getFftSize();
        if (edit)
            edit (*frame);
    }
};

Channels noiseSignal (int channels, int length, unsigned seed)
{
    std::mt19937 rng (seed);
    std::uniform_real_distribution<float> dist (-0.9f, 0.9f);
    Channels data ((size_t) channels, std::vector<float> ((size_t) length));
    for (auto& ch : data)
        for (auto& x : ch)
            x = dist (rng);
    return data;
}

const std::vector<std::vector<int>> hostSplits = { { 1 }, { 13 }, { 512 }, { 813 }, { 1024 }, { 4096 }, { 13, 1, 813, 7, 1024, 300, 4096, 512 } };

Channels runFilter (FftFilter& filter, const Channels& input, const std::vector<int>& split)
{
    Channels output = input;
    // Blocks whose sizes cycle through split.
    for (int position = 0, i = 0, n = 0, total = (int) input[0].size(); position < total; position += n)
    {
        n = std::min (total - position, split[(size_t) i++ % split.size()]);
        juce::AudioSampleBuffer block ((int) input.size(), n);
        for (int c = 0; c < (int) input.size(); ++c)
            block.copyFrom (c, 0, input[(size_t) c].data() + position, n);
        EXPECT_EQ (filter.process (block), n);
        for (int c = 0; c < (int) input.size(); ++c)
            std::copy_n (block.getReadPointer (c), n, output[(size_t) c].data() + position);
    }
    return output;
}

Channels runOverlaper (BlockOverlaper& overlaper, const Channels& input, const std::vector<int>& split, int outputChannels)
{
    Channels output ((size_t) outputChannels, std::vector<float> (input[0].size(), -5.0f));
    std::vector<const float*> in (input.size());
    std::vector<float*> out (output.size());
    for (int position = 0, i = 0, n = 0, total = (int) input[0].size(); position < total; position += n)
    {
        n = std::min (total - position, split[(size_t) i++ % split.size()]);
        for (size_t c = 0; c < in.size(); ++c)
            in[c] = input[c].data() + position;
        for (size_t c = 0; c < out.size(); ++c)
            out[c] = output[c].data() + position;
        overlaper.processBlock (in.data(), out.data(), (int) input.size(), n);
    }
    return output;
}

float synthesisGain (int n)
{
    return 0.5f - 0.5f * std::cos (2.0f * juce::MathConstants<float>::pi * (float) n / 1024.0f);
}
} // namespace

TEST (DspFraming, DelaysByTheLatencyWhateverTheSplit)
{
    for (const int fftSize : { 256, 1024, 0 })  // 0: the overlaper
    {
        const bool overlaper = fftSize == 0;
        const size_t latency = overlaper ? 1024 : (size_t) fftSize;
        const auto input = noiseSignal (overlaper ? 9 : 2, 20000, 11);  // the overlaper clips to 7 channels
        Channels reference;
        for (const auto& split : hostSplits)
        {
            SCOPED_TRACE ("fftSize " + std::to_string (fftSize) + ", first block " + std::to_string (split[0]));
            juce::ReferenceCountedObjectPtr<TestCallBack> callback (new TestCallBack);
            BlockOverlaper blockOverlaper (4096, callback, 3, 8);  // 1024 / 7 / 2 whatever it is given
            FftFilter filter (std::max (fftSize, 256), callback, 2);
            EXPECT_EQ (overlaper ? blockOverlaper.getLatencySamples() : filter.getLatencySamples(), (int) latency);
            const auto output = overlaper ? runOverlaper (blockOverlaper, input, split, 9) : runFilter (filter, input, split);
            EXPECT_EQ (callback->frames, overlaper ? (20000 - 1024) / 512 + 1 : 20000 / fftSize);  // a frame per hop once one is full
            EXPECT_EQ (callback->lastFftSize, (int) latency);

            for (size_t c = 0; c < output.size(); ++c)
                for (size_t n = 0; n < output[c].size(); ++n)
                {
                    // The overlaper's first 512 delayed samples are faded in by the synthesis window.
                    const float delayed = n < latency ? 0.0f : input[c][n - latency];
                    const float faded = overlaper && n >= latency && n < latency + 512 ? delayed * synthesisGain ((int) (n - latency)) : delayed;
                    const float expected = c >= 7 ? -5.0f : faded;  // host channels past the overlaper's are left alone
                    ASSERT_NEAR (output[c][n], expected, 2e-6f) << "channel " << c << ", sample " << n;
                }
            if (reference.empty())
                reference = output;
            else
                EXPECT_EQ (output, reference) << "identical whichever split is used";
        }
    }
}

TEST (DspFftFilter, EditedSpectraReachTheOutput)
{
    // A brick-wall low-pass in the callback: a 64-cycles-per-frame tone goes, a 4-cycle tone stays.
    const int n = 1024;
    juce::ReferenceCountedObjectPtr<TestCallBack> callback (new TestCallBack);
    callback->edit = [] (FreqDataStore<Complex>& frame)
    {
        for (int c = 0; c < frame.getNumChannels(); ++c)
            for (int k = 32; k < frame.getNumBins(); ++k)
                frame.getChannel (c)[k] = {};
    };

    Channels input (1, std::vector<float> (8 * n));
    for (int i = 0; i < 8 * n; ++i)
        input[0][(size_t) i] = (float) (0.5 * std::sin (2.0 * juce::MathConstants<double>::pi * 4 * i / n)
                                        + 0.5 * std::sin (2.0 * juce::MathConstants<double>::pi * 64 * i / n));

    FftFilter filter (n, callback, 1);
    const auto filtered = runFilter (filter, input, { 333 });
    BlockOverlaper overlaper (n, callback, 7, 2);
    const auto overlapped = runOverlaper (overlaper, input, { 333 }, 1);

    for (int i = 2 * n; i < 8 * n; ++i)
    {
        const float low = (float) (0.5 * std::sin (2.0 * juce::MathConstants<double>::pi * 4 * (i - n) / n));
        ASSERT_NEAR (filtered[0][(size_t) i], low, 1e-5f) << i;
        ASSERT_NEAR (overlapped[0][(size_t) i], low, 1e-5f) << i;
    }
}

TEST (DspFftFilter, AnalyseSeesTheSpectraAndLeavesTheBufferAlone)
{
    // A tone of 10 cycles per 256-sample frame in channel 1: every frame holds it in bin 10 alone.
    juce::ReferenceCountedObjectPtr<TestCallBack> callback (new TestCallBack);
    int framesWithTheTone = 0;
    callback->edit = [&] (FreqDataStore<Complex>& frame)
    {
        double elsewhere = 0.0;
        for (int k = 0; k < frame.getNumBins(); ++k)
            elsewhere += k == 10 ? 0.0 : std::hypot (frame.getChannel (1)[k].re, frame.getChannel (1)[k].im);
        const double tone = std::hypot (frame.getChannel (1)[10].re, frame.getChannel (1)[10].im);
        framesWithTheTone += std::abs (tone - 128.0) < 1e-3 && elsewhere < 1e-2 ? 1 : 0;
    };

    FftFilter analyser (256, callback, 2);
    juce::AudioSampleBuffer block (2, 1000);
    for (int total = 0; total < 5000; total += 1000)
    {
        block.clear();
        for (int i = 0; i < 1000; ++i)
            block.setSample (1, i, (float) std::cos (2.0 * juce::MathConstants<double>::pi * 10.0 * (total + i) / 256.0));
        const juce::AudioSampleBuffer before (block);
        analyser.analyse (block);
        for (int c = 0; c < 2; ++c)
            ASSERT_EQ (std::memcmp (block.getReadPointer (c), before.getReadPointer (c), 1000 * sizeof (float)), 0);
    }
    EXPECT_EQ (callback->frames, 5000 / 256);
    EXPECT_EQ (framesWithTheTone, 5000 / 256);
}

TEST (DspFftFilter, WindowTypes)
{
    const auto input = noiseSignal (2, 6000, 18);

    // Type 7 is no window: all zero, and so silence.
    FftFilter silent (512, nullptr, 2);
    BlockOverlaper silentOverlaper (1024, nullptr, 7, 2);
    silent.setWindowType (7);
    silentOverlaper.setWindowType (7);
    for (const auto& output : { runFilter (silent, input, { 512 }), runOverlaper (silentOverlaper, input, { 512 }, 2) })
        for (auto& ch : output)
            ASSERT_EQ (*std::max_element (ch.begin(), ch.end(), [] (float a, float b) { return std::abs (a) < std::abs (b); }), 0.0f);

    // A Hann analysis window shapes each back-to-back frame of every channel; switching back
    // restores the identity.
    const FFTWindow hann (512, 2);
    FftFilter windowed (512, nullptr, 2);
    windowed.setWindowType (2);
    const auto output = runFilter (windowed, input, { 512 });
    for (size_t c = 0; c < 2; ++c)
        for (size_t n = 512; n < 6000 - 512; ++n)
            ASSERT_NEAR (output[c][n], input[c][n - 512] * hann.getTable()[(n - 512) % 512], 1e-6f) << c << ", " << n;

    windowed.setWindowType (0);
    const auto restored = runFilter (windowed, input, { 512 });
    for (size_t n = 1024; n < 6000; ++n)
        ASSERT_NEAR (restored[1][n], input[1][n - 512], 1e-6f) << n;
}

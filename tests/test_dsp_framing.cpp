// FftFilter and BlockOverlaper: framing, overlap-add and the per-frame callback.
// Cases:
//  - with a callback that leaves the spectra alone, FftFilter::process returns the input delayed
//    by exactly fftSize, and BlockOverlaper::processBlock by exactly 1024 (the first 512 samples
//    faded in by the rising half of the synthesis window), for host blocks of 1, 13, 512, 813,
//    1024 and 4096 samples and odd splits, identically whichever split; the overlaper's framing
//    is 1024 / 7 channels / overlap 2 whatever its constructor is given;
//  - spectra rewritten by the callback reach the output (a brick-wall low-pass removes a tone);
//  - analyse calls back with the input's spectra and leaves the buffer untouched;
//  - an unsupported FFT size leaves the spectra at zero (the frames pass untransformed);
//  - window type 7 is all zero and so silence; Hann windows each frame;
//  - a channel count above the filter's is clipped, and extra host channels are left alone;
//  - once warmed up for a block size, neither allocates.
#include "dsp/BlockOverlaper.h"
#include "dsp/FftFilter.h"
#include "support/AllocationCounter.h"

#include <gtest/gtest.h>

#include <cmath>
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

// Cuts `length` samples into blocks whose sizes cycle through `splits`.
std::vector<int> blocks (int length, const std::vector<int>& splits)
{
    std::vector<int> result;
    for (size_t i = 0; length > 0; ++i)
    {
        result.push_back (std::min (length, splits[i % splits.size()]));
        length -= result.back();
    }
    return result;
}

const std::vector<std::vector<int>> hostSplits = { { 1 }, { 13 }, { 512 }, { 813 }, { 1024 }, { 4096 }, { 13, 1, 813, 7, 1024, 300, 4096, 512 } };

Channels runFilter (FftFilter& filter, const Channels& input, const std::vector<int>& split)
{
    Channels output = input;
    int position = 0;
    for (const int n : blocks ((int) input[0].size(), split))
    {
        juce::AudioSampleBuffer block ((int) input.size(), n);
        for (int c = 0; c < (int) input.size(); ++c)
            block.copyFrom (c, 0, input[(size_t) c].data() + position, n);
        EXPECT_EQ (filter.process (block), n);
        for (int c = 0; c < (int) input.size(); ++c)
            std::copy_n (block.getReadPointer (c), n, output[(size_t) c].data() + position);
        position += n;
    }
    return output;
}

Channels runOverlaper (BlockOverlaper& overlaper, const Channels& input, const std::vector<int>& split, int outputChannels)
{
    Channels output ((size_t) outputChannels, std::vector<float> (input[0].size(), -5.0f));
    std::vector<const float*> in (input.size());
    std::vector<float*> out (output.size());
    int position = 0;
    for (const int n : blocks ((int) input[0].size(), split))
    {
        for (size_t c = 0; c < in.size(); ++c)
            in[c] = input[c].data() + position;
        for (size_t c = 0; c < out.size(); ++c)
            out[c] = output[c].data() + position;
        overlaper.processBlock (in.data(), out.data(), (int) input.size(), n);
        position += n;
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
        const auto input = noiseSignal (overlaper ? 7 : 2, 20000, 11);
        Channels reference;
        for (const auto& split : hostSplits)
        {
            SCOPED_TRACE ("fftSize " + std::to_string (fftSize) + ", first block " + std::to_string (split[0]));
            juce::ReferenceCountedObjectPtr<TestCallBack> callback (new TestCallBack);
            BlockOverlaper blockOverlaper (4096, callback, 3, 8);  // 1024 / 7 / 2 whatever it is given
            FftFilter filter (std::max (fftSize, 256), callback, 2);
            EXPECT_EQ (overlaper ? blockOverlaper.getLatencySamples() : filter.getLatencySamples(), (int) latency);
            const auto output = overlaper ? runOverlaper (blockOverlaper, input, split, 7) : runFilter (filter, input, split);
            EXPECT_EQ (callback->frames, overlaper ? (20000 - 1024) / 512 + 1 : 20000 / fftSize);  // a frame per hop once one is full
            EXPECT_EQ (callback->lastFftSize, (int) latency);

            for (size_t c = 0; c < output.size(); ++c)
                for (size_t n = 0; n < output[c].size(); ++n)
                {
                    // The overlaper's first 512 delayed samples are faded in by the synthesis window.
                    const float delayed = n < latency ? 0.0f : input[c][n - latency];
                    const float expected = overlaper && n >= latency && n < latency + 512 ? delayed * synthesisGain ((int) (n - latency)) : delayed;
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
    // A tone of 10 cycles per 256-sample frame: every frame's energy sits in bin 10.
    juce::ReferenceCountedObjectPtr<TestCallBack> callback (new TestCallBack);
    int framesWithPeakInBin10 = 0;
    callback->edit = [&] (FreqDataStore<Complex>& frame)
    {
        const Complex* bins = frame.getChannel (1);
        int peak = 0;
        for (int k = 0; k < frame.getNumBins(); ++k)
            if (std::hypot (bins[k].re, bins[k].im) > std::hypot (bins[peak].re, bins[peak].im))
                peak = k;
        if (peak == 10 && std::abs (std::hypot (bins[10].re, bins[10].im) - 128.0) < 1e-3)
            ++framesWithPeakInBin10;
    };

    FftFilter analyser (256, callback, 2);
    juce::AudioSampleBuffer block (2, 1000);
    int total = 0;
    for (int b = 0; b < 5; ++b)
    {
        for (int i = 0; i < 1000; ++i)
        {
            block.setSample (0, i, 0.0f);
            block.setSample (1, i, (float) std::cos (2.0 * juce::MathConstants<double>::pi * 10.0 * (total + i) / 256.0));
        }
        const juce::AudioSampleBuffer before (block);
        analyser.analyse (block);
        for (int c = 0; c < 2; ++c)
            for (int i = 0; i < 1000; ++i)
                ASSERT_EQ (block.getSample (c, i), before.getSample (c, i));
        total += 1000;
    }

    EXPECT_EQ (callback->frames, 5000 / 256);
    EXPECT_EQ (framesWithPeakInBin10, 5000 / 256);
}

TEST (DspFftFilter, UnsupportedSizeLeavesTheSpectraAtZero)
{
    juce::ReferenceCountedObjectPtr<TestCallBack> callback (new TestCallBack);
    bool allZero = true;
    callback->edit = [&] (FreqDataStore<Complex>& frame)
    {
        for (int i = 0; i < frame.getNumBins() * frame.getNumChannels(); ++i)
            allZero = allZero && frame.getData()[i].re == 0.0 && frame.getData()[i].im == 0.0;
    };

    const auto input = noiseSignal (1, 5000, 17);
    FftFilter filter (1000, callback, 1);
    const auto output = runFilter (filter, input, { 128 });

    EXPECT_EQ (callback->frames, 5);
    EXPECT_TRUE (allZero);
    for (size_t n = 1000; n < 5000; ++n)
        ASSERT_EQ (output[0][n], input[0][n - 1000]) << "the frame itself is left as it was";
}

TEST (DspFftFilter, WindowTypes)
{
    const auto input = noiseSignal (2, 6000, 18);

    FftFilter silent (512, nullptr, 2);
    silent.setWindowType (7);
    for (auto& ch : runFilter (silent, input, { 512 }))
        for (float x : ch)
            ASSERT_EQ (x, 0.0f);

    BlockOverlaper silentOverlaper (1024, nullptr, 7, 2);
    silentOverlaper.setWindowType (7);
    for (auto& ch : runOverlaper (silentOverlaper, input, { 512 }, 2))
        for (float x : ch)
            ASSERT_EQ (x, 0.0f);

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

TEST (DspBlockOverlaper, ChannelCountsAreClipped)
{
    const auto input = noiseSignal (9, 4000, 19);
    BlockOverlaper overlaper (1024, nullptr, 7, 2);
    const auto output = runOverlaper (overlaper, input, { 256 }, 9);

    for (size_t n = 1536; n < 4000; ++n)
        ASSERT_NEAR (output[6][n], input[6][n - 1024], 2e-6f);
    for (size_t c = 7; c < 9; ++c)
        for (float x : output[c])
            ASSERT_EQ (x, -5.0f) << "host channels past the filter's are not touched";
}

TEST (DspBlockOverlaper, SteadyStateDoesNotAllocate)
{
    for (const int blockSize : { 1, 13, 512, 813, 4096 })
    {
        BlockOverlaper overlaper (1024, new TestCallBack, 7, 2);
        FftFilter filter (1024, new TestCallBack, 7);
        const auto input = noiseSignal (7, blockSize, 20);
        Channels output = input;
        std::vector<const float*> in;
        std::vector<float*> out;
        for (size_t c = 0; c < 7; ++c)
            in.push_back (input[c].data()), out.push_back (output[c].data());
        juce::AudioSampleBuffer block (7, blockSize);
        block.clear();

        overlaper.processBlock (in.data(), out.data(), 7, blockSize);  // warms up for the size
        filter.process (block);
        AllocationCounter::ScopedAllocationCheck check;
        for (int i = 0; i < std::max (3, 200000 / blockSize); ++i)
        {
            overlaper.processBlock (in.data(), out.data(), 7, blockSize);
            filter.process (block);
        }
        EXPECT_EQ (check.allocations(), 0u) << "block " << blockSize;
    }
}

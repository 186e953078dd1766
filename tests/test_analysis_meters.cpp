// The level and correlation meters, fed blocks directly, read with a controlled clock:
//  - level: instant attack, 20 dB fall in 1.5 s at the default release, instant and endless
//    releases, the offset, no new block keeping the last peak, clear(); the sources (none, a
//    channel, a missing one, all, mid, side) and silence at -1e10;
//  - correlation of identical, inverted and silent channels and their histogram bins, windows
//    across blocks, decay and smoothing, non-finite input, kinds found through the routing.
#include "analysis/KaDecibels.h"
#include "analysis/KaJuceObserverCorrelation.h"
#include "analysis/KaJuceObserverLevelMeter.h"
#include "processor/KaChannelRouting.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
    /** A clock the test moves by hand. */
    struct ManualClock
    {
        juce::int64 ms = 1'000'000;
        KaJuceObserverLevelMeter::Clock function()
        {
            return [this] { return juce::Time (ms); };
        }
    };

    juce::AudioBuffer<float> constant (const std::vector<float>& values, int numSamples = 64)
    {
        juce::AudioBuffer<float> b ((int) values.size(), numSamples);
        int ch = 0;
        for (float v : values)
            juce::FloatVectorOperations::fill (b.getWritePointer (ch++), v, numSamples);
        return b;
    }

    juce::AudioBuffer<float> noisePair (int numSamples, float signB, int seed = 1)
    {
        juce::Random random (seed);
        juce::AudioBuffer<float> b (2, numSamples);
        for (int i = 0; i < numSamples; ++i)
        {
            const float x = random.nextFloat() * 2.0f - 1.0f;
            b.setSample (0, i, x);
            b.setSample (1, i, signB * x);
        }
        return b;
    }

    /** Provides a fixed routing, as the processor does. */
    struct FixedLayout : KaJuceChannelUser
    {
        int routing = 0;
        int getCurrentRouting() const noexcept override { return routing; }
    };
}

TEST (AnalysisLevelMeter, Ballistics)
{
    // In turn: a release time in seconds to set (none where negative), the milliseconds that
    // pass, the peak of a block that arrives (none where negative), and the reading then.
    struct Step
    {
        float release;
        int ms;
        float block, readingDb;
    };
    const float half = 20.0f * std::log10 (0.5f);
    std::vector<Step> steps = { { -1.0f, 0, 1.0f, 0.0f } };
    for (int i = 1; i <= 50; ++i)  // silence polled every 30 ms (a display's refresh): 20 dB in 1.5 s
        steps.push_back ({ -1.0f, 30, 0.0f, -20.0f * (float) i * 0.03f / 1.5f });
    steps.insert (steps.end(), {
        { -1.0f, 0, -1.0f, -20.0f },         // no time has passed since the last reading
        { -1.0f, 30, 0.5f, half },           // a louder block rises at once
        { -1.0f, 750, -1.0f, half },         // no block (a host that stopped calling): the last peak stands
        { -1.0f, 750, 0.0f, half - 10.0f },  // a block of silence lets it fall
        { 0.0f, 0, 1.0f, 0.0f },             // instant release: the display is each reading's peak
        { -1.0f, 1, 0.1f, -20.0f },
        { 1.0e6f, 0, 1.0f, 0.0f },           // hold for ever
        { -1.0f, 3'600'000, 0.01f, 0.0f },
        { 3.0f, 1500, -1.0f, -10.0f },       // 20 dB in 3 s
    });

    ManualClock clock;
    KaJuceObserverLevelMeter meter ("m", clock.function());
    meter.setSource (0);
    for (size_t i = 0; i < steps.size(); ++i)
    {
        if (steps[i].release >= 0.0f)
            meter.setReleaseTime (steps[i].release);
        clock.ms += steps[i].ms;
        if (steps[i].block >= 0.0f)
            meter.observe (constant ({ steps[i].block }));
        EXPECT_NEAR (meter.getLevelDb(), steps[i].readingDb, 1.0e-3f) << "step " << i;
    }

    meter.setOffsetDb (6.0f);
    EXPECT_NEAR (meter.getLastPeakDb(), 20.0f * std::log10 (0.01f) + 6.0f, 1.0e-3f);
    // clear() drops the display far below any display's range, still falling from the floor.
    meter.setOffsetDb (0.0f);
    meter.clear();
    EXPECT_EQ (meter.getLastPeakDb(), KaDecibels::silenceDb);
    clock.ms += 30;
    EXPECT_LT (meter.getLevelDb(), -999.0f);
}

TEST (AnalysisLevelMeter, SourcesSelectTheSignal)
{
    // In turn on one meter: a source and the block it reads; expected peak in dB (no change:
    // the last peak stands, where the source finds nothing to measure).
    using Meter = KaJuceObserverLevelMeter;
    ManualClock clock;
    Meter meter ("m", clock.function());
    meter.setReleaseTime (0.0f);
    const float none = meter.getLevelDb();
    const std::vector<float> three = { 0.5f, 0.25f, -0.75f };
    struct Row
    {
        int source;
        std::vector<float> block;
        float expectedDb;
    };
    const Row rows[] = {
        { Meter::sourceNone, three, none },                                  // never changes
        { 1, three, 20.0f * std::log10 (0.25f) },
        { 2, three, 20.0f * std::log10 (0.75f) },                            // the magnitude
        { 7, three, 20.0f * std::log10 (0.75f) },                            // no such channel
        { Meter::sourceAll, three, 20.0f * std::log10 (0.75f) },
        { Meter::sourceMid, three, 20.0f * std::log10 (0.375f) },
        { Meter::sourceSide, three, 20.0f * std::log10 (0.125f) },
        { Meter::sourceSide, { 0.9f, 0.9f }, KaDecibels::silenceDb },        // side of identical channels
        { Meter::sourceMid, { 0.9f }, KaDecibels::silenceDb },               // mid needs two channels
    };
    for (const auto& row : rows)
    {
        meter.setSource (row.source);
        meter.observe (constant (row.block));
        EXPECT_NEAR (meter.getLevelDb(), row.expectedDb, 1.0e-4f) << "source " << row.source << ", " << row.block.size() << " channels";
    }
    EXPECT_EQ (meter.getLastPeakDb(), KaDecibels::silenceDb);
    meter.setOffsetDb (-3.0f);
    EXPECT_EQ (meter.getLastPeakDb(), KaDecibels::silenceDb - 3.0f);
}

TEST (AnalysisCorrelation, IdenticalInvertedAndSilentChannelsWithTheirBins)
{
    struct Case
    {
        float signB;
        float correlation;
        int bin;
    };
    for (const auto& c : { Case { 1.0f, 1.0f, 99 }, Case { -1.0f, -1.0f, 0 }, Case { 0.0f, 0.0f, 50 } })
    {
        KaJuceObserverCorrelation meter;
        auto block = noisePair (1024, c.signB);
        if (c.signB == 0.0f)
            block.clear();
        meter.observe (block);
        EXPECT_NEAR (meter.getCorrelation(), c.correlation, 1.0e-5f) << c.signB;
        EXPECT_EQ (KaJuceObserverCorrelation::binOf (meter.getCorrelation()), c.bin);
        for (int bin = 0; bin < KaJuceObserverCorrelation::numHistogramBins; ++bin)
            EXPECT_EQ (meter.getHistogramBin (bin), bin == c.bin ? 1.0f : 0.0f) << "bin " << bin;
    }
}

TEST (AnalysisCorrelation, WindowsSpanBlocksDecayAndSmooth)
{
    // A block shorter than the 1024-sample window updates nothing; 24 more samples complete
    // the window across the two blocks, the rest starts the next.
    KaJuceObserverCorrelation meter;
    meter.observe (noisePair (1000, -1.0f));
    EXPECT_EQ (meter.getCorrelation(), 0.0f);
    EXPECT_EQ (meter.getHistogramBin (0), 0.0f);
    EXPECT_EQ (meter.getHistogramBin (50), 0.0f);
    meter.observe (noisePair (100, -1.0f, 2));
    EXPECT_NEAR (meter.getCorrelation(), -1.0f, 1.0e-5f);
    EXPECT_EQ (meter.getHistogramBin (0), 1.0f);

    // Ten windows of inverted channels in one block: bin 99 decays, bin 0 is hit every time;
    // the display moves only part of the way each window.
    KaJuceObserverCorrelation smoothing;
    smoothing.observe (noisePair (1024, 1.0f));
    const float afterOne = smoothing.getSmoothedCorrelation();
    EXPECT_GT (afterOne, 0.0f);
    EXPECT_LT (afterOne, 0.5f);
    smoothing.observe (noisePair (10 * 1024, -1.0f));
    EXPECT_LT (smoothing.getHistogramBin (99), 1.0f);
    EXPECT_GT (smoothing.getHistogramBin (99), 0.5f);
    EXPECT_EQ (smoothing.getHistogramBin (0), 1.0f);
    EXPECT_LT (smoothing.getSmoothedCorrelation(), 0.0f);
    EXPECT_GT (smoothing.getSmoothedCorrelation(), -1.0f);

    // A window with a NaN reads as uncorrelated; the next starts clean.
    KaJuceObserverCorrelation nonFinite;
    auto block = noisePair (1024, 1.0f);
    block.setSample (0, 10, std::numeric_limits<float>::quiet_NaN());
    nonFinite.observe (block);
    EXPECT_EQ (nonFinite.getCorrelation(), 0.0f);
    nonFinite.observe (noisePair (1024, 1.0f, 3));
    EXPECT_NEAR (nonFinite.getCorrelation(), 1.0f, 1.0e-5f);
}

TEST (AnalysisCorrelation, ChannelKindsAreFoundThroughTheRouting)
{
    // Routing 0 is L C R Ls Rs LFE ...: kind R sits at position 2, kind Ls at 3.
    FixedLayout layout;
    layout.routing = 0;
    KaJuceObserverCorrelation meter (&layout);
    meter.setChannels (KaChannelRouting::kindR, KaChannelRouting::kindLs);

    juce::AudioBuffer<float> block (6, 1024);
    block.clear();
    const auto pair = noisePair (1024, -1.0f);
    block.copyFrom (2, 0, pair, 0, 0, 1024);
    block.copyFrom (3, 0, pair, 1, 0, 1024);
    block.copyFrom (1, 0, pair, 0, 0, 1024);  // position 1 (C) would read +1 against R
    meter.observe (block);
    EXPECT_NEAR (meter.getCorrelation(), -1.0f, 1.0e-5f);

    // A kind beyond the block (Lsr at position 6 of a 6-channel block) measures nothing.
    KaJuceObserverCorrelation rear (&layout);
    rear.setChannels (KaChannelRouting::kindL, KaChannelRouting::kindLsr);
    rear.observe (block);
    EXPECT_EQ (rear.getHistogramBin (50), 0.0f);

    // Two-channel blocks are taken as they are, whatever the routing.
    KaJuceObserverCorrelation stereo (&layout);
    stereo.setChannels (0, 1);
    stereo.observe (pair);
    EXPECT_NEAR (stereo.getCorrelation(), -1.0f, 1.0e-5f);
}

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

// Level ballistics ---------------------------------------------------------------------------------

TEST (AnalysisLevelMeter, InstantAttackTwentyDbFallInOnePointFiveSecondsAndClear)
{
    ManualClock clock;
    KaJuceObserverLevelMeter meter ("m", clock.function());
    meter.setSource (0);

    meter.observe (constant ({ 1.0f }));
    EXPECT_NEAR (meter.getLevelDb(), 0.0f, 1.0e-4f);

    // Silence from now on, polled every 30 ms (a display's refresh) for 1.5 s.
    const auto silence = constant ({ 0.0f });
    for (int i = 0; i < 50; ++i)
    {
        clock.ms += 30;
        meter.observe (silence);
        const float level = meter.getLevelDb();
        EXPECT_NEAR (level, -20.0f * (float) (i + 1) * 0.03f / 1.5f, 1.0e-3f) << "poll " << i;
    }
    EXPECT_NEAR (meter.getLevelDb(), -20.0f, 1.0e-3f);  // no time has passed since the last poll

    // A louder block rises at once, whatever the displayed value.
    meter.observe (constant ({ 0.5f }));
    clock.ms += 30;
    EXPECT_NEAR (meter.getLevelDb(), 20.0f * std::log10 (0.5f), 1.0e-3f);

    // clear() drops the display far below any display's range, still falling from the floor.
    meter.clear();
    EXPECT_EQ (meter.getLastPeakDb(), KaDecibels::silenceDb);
    clock.ms += 30;
    EXPECT_LT (meter.getLevelDb(), -999.0f);
}

TEST (AnalysisLevelMeter, ReleaseTimesAndOffset)
{
    ManualClock clock;
    KaJuceObserverLevelMeter meter ("m", clock.function());
    meter.setSource (0);

    meter.setReleaseTime (0.0f);  // instant: the display is the peak of each reading
    meter.observe (constant ({ 1.0f }));
    meter.getLevelDb();
    meter.observe (constant ({ 0.1f }));
    clock.ms += 1;
    EXPECT_NEAR (meter.getLevelDb(), -20.0f, 1.0e-3f);

    meter.setReleaseTime (1.0e6f);  // hold for ever
    meter.observe (constant ({ 1.0f }));
    meter.getLevelDb();
    clock.ms += 3'600'000;
    meter.observe (constant ({ 0.01f }));
    EXPECT_NEAR (meter.getLevelDb(), 0.0f, 1.0e-3f);

    meter.setReleaseTime (3.0f);  // 20 dB in 3 s
    clock.ms += 1500;
    EXPECT_NEAR (meter.getLevelDb(), -10.0f, 1.0e-3f);

    meter.setOffsetDb (6.0f);
    EXPECT_NEAR (meter.getLastPeakDb(), 20.0f * std::log10 (0.01f) + 6.0f, 1.0e-3f);
}

TEST (AnalysisLevelMeter, ReadingWithoutANewBlockKeepsTheLastPeak)
{
    ManualClock clock;
    KaJuceObserverLevelMeter meter ("m", clock.function());
    meter.setSource (0);
    meter.observe (constant ({ 0.5f }));
    meter.getLevelDb();
    clock.ms += 750;
    // No block arrived (a host that stopped calling): the last peak stands instead of silence,
    // so the display holds rather than falling.
    EXPECT_NEAR (meter.getLevelDb(), 20.0f * std::log10 (0.5f), 1.0e-4f);
    EXPECT_NEAR (meter.getLastPeakDb(), 20.0f * std::log10 (0.5f), 1.0e-4f);

    // A block of silence does let it fall: 10 dB in 750 ms.
    meter.observe (constant ({ 0.0f }));
    clock.ms += 750;
    EXPECT_NEAR (meter.getLevelDb(), 20.0f * std::log10 (0.5f) - 10.0f, 1.0e-3f);
}

// Level sources --------------------------------------------------------------------------------------

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

// Correlation --------------------------------------------------------------------------------------

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

TEST (AnalysisCorrelation, ShortBlocksUpdateNothingUntilTheWindowFills)
{
    KaJuceObserverCorrelation meter;
    const auto block = noisePair (1000, -1.0f);
    meter.observe (block);
    EXPECT_EQ (meter.getCorrelation(), 0.0f);
    EXPECT_EQ (meter.getHistogramBin (0), 0.0f);
    EXPECT_EQ (meter.getHistogramBin (50), 0.0f);

    // 24 more samples complete the window across the two blocks; the rest starts the next.
    meter.observe (noisePair (100, -1.0f, 2));
    EXPECT_NEAR (meter.getCorrelation(), -1.0f, 1.0e-5f);
    EXPECT_EQ (meter.getHistogramBin (0), 1.0f);
}

TEST (AnalysisCorrelation, HistogramDecaysAndTheDisplaySmooths)
{
    KaJuceObserverCorrelation meter;
    meter.observe (noisePair (1024, 1.0f));
    EXPECT_NEAR (meter.getSmoothedCorrelation(), 0.05f, 1.0e-5f);

    // Ten windows of inverted channels, in one block: bin 99 decays, bin 0 is hit every time.
    meter.observe (noisePair (10 * 1024, -1.0f));
    EXPECT_NEAR (meter.getHistogramBin (99), std::pow (0.99f, 10.0f), 1.0e-5f);
    EXPECT_EQ (meter.getHistogramBin (0), 1.0f);

    float smoothed = 0.05f;
    for (int i = 0; i < 10; ++i)
        smoothed = 0.05f * -1.0f + 0.95f * smoothed;
    EXPECT_NEAR (meter.getSmoothedCorrelation(), smoothed, 1.0e-5f);
}

TEST (AnalysisCorrelation, NonFiniteInputReadsAsUncorrelated)
{
    KaJuceObserverCorrelation meter;
    auto block = noisePair (1024, 1.0f);
    block.setSample (0, 10, std::numeric_limits<float>::quiet_NaN());
    meter.observe (block);
    EXPECT_EQ (meter.getCorrelation(), 0.0f);
    // The next window starts clean.
    meter.observe (noisePair (1024, 1.0f, 3));
    EXPECT_NEAR (meter.getCorrelation(), 1.0f, 1.0e-5f);
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

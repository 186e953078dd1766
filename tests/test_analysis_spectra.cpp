// The spectra observers and their guard, fed frames directly or through a real FftFilter:
// - the guard: shared holders overlap, an exclusive holder excludes everybody, a try gives up
//   at once, a waiting holder gets the guard when the holder lets go, releases count right;
// - the haze snapshot: zero until the first frame; a frame of the same size copies the
//   channels it shares with the snapshot (fewer or more), a frame of another FFT size
//   replaces the snapshot first (and a reader's old copy stays valid), clear() zeroes it, a
//   frame arriving while the guard is held exclusively is skipped, and the filter callback
//   forwards an analyser's frames;
// - the coherence snapshot: empty before the first frame, always exactly two channels (the
//   frame's first two), re-made for a new FFT size, frames of one channel ignored.
#include "analysis/ScopedObserverLock.h"
#include "analysis/SpatialHazeObserver.h"
#include "analysis/SpatialHazeObserver_FilterCallBack.h"
#include "analysis/UpmixerStereoCoherenceObserver.h"
#include "dsp/FftFilter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace
{
    using Store = FreqDataStore<Complex>;

    /** A frame whose bin k of channel c holds (base + c, k). */
    Store::Ptr frame (int numChannels, int fftSize, double base = 1.0)
    {
        Store::Ptr f (new Store (numChannels, fftSize));
        for (int c = 0; c < numChannels; ++c)
            for (int k = 0; k < f->getNumBins(); ++k)
                f->getChannel (c)[k] = { base + c, (double) k };
        return f;
    }

    bool holds (const SpectraSnapshot& s, int c, double base)
    {
        for (int k = 0; k < s.numBins; ++k)
            if (s.channel (c)[k].re != base + c || s.channel (c)[k].im != (double) k)
                return false;
        return true;
    }

    bool isZero (const SpectraSnapshot& s, int c)
    {
        for (int k = 0; k < s.numBins; ++k)
            if (s.channel (c)[k].re != 0.0 || s.channel (c)[k].im != 0.0)
                return false;
        return true;
    }
}

// Guard ----------------------------------------------------------------------------------------------

TEST (AnalysisGuard, SharedHoldersOverlapExclusiveExcludes)
{
    ObserverDataGuard guard;
    {
        const ScopedObserverLock a (guard, ScopedObserverLock::shared, ScopedObserverLock::tryOnce, "a");
        const ScopedObserverLock b (guard, ScopedObserverLock::shared, ScopedObserverLock::tryOnce, "b");
        EXPECT_TRUE (a.isAcquired());
        EXPECT_TRUE (b.isAcquired());
        EXPECT_EQ (guard.getNumReaders(), 2);
        const ScopedObserverLock w (guard, ScopedObserverLock::exclusive, ScopedObserverLock::tryOnce, "w");
        EXPECT_FALSE (w.isAcquired());
    }
    EXPECT_EQ (guard.getNumReaders(), 0);
    {
        const ScopedObserverLock w (guard, ScopedObserverLock::exclusive, ScopedObserverLock::tryOnce, "w");
        EXPECT_TRUE (w.isAcquired());
        EXPECT_TRUE (guard.hasWriter());
        EXPECT_STREQ (w.getCaller(), "w");
        const ScopedObserverLock r (guard, ScopedObserverLock::shared, ScopedObserverLock::tryOnce, "r");
        EXPECT_FALSE (r.isAcquired());
        const ScopedObserverLock w2 (guard, ScopedObserverLock::exclusive, ScopedObserverLock::tryOnce, "w2");
        EXPECT_FALSE (w2.isAcquired());
    }
    // Holders that were refused release nothing: the guard is free again.
    EXPECT_FALSE (guard.hasWriter());
    EXPECT_EQ (guard.getNumReaders(), 0);
}

TEST (AnalysisGuard, AWaitingHolderGetsTheGuardWhenItIsLetGo)
{
    ObserverDataGuard guard;
    std::atomic<bool> acquired { false };
    std::thread waiter;
    {
        const ScopedObserverLock reader (guard, ScopedObserverLock::shared, ScopedObserverLock::tryOnce, "reader");
        waiter = std::thread ([&] {
            const ScopedObserverLock w (guard, ScopedObserverLock::exclusive, ScopedObserverLock::waitUntilAcquired, "waiter");
            acquired = w.isAcquired();
        });
        // The waiter cannot get in while the reader holds the guard (no time-based check: the
        // reader simply still holds it here, so the waiter has not finished).
        EXPECT_FALSE (acquired.load());
    }
    waiter.join();
    EXPECT_TRUE (acquired.load());
    EXPECT_FALSE (guard.hasWriter());
}

// Haze snapshot ---------------------------------------------------------------------------------------

TEST (AnalysisHaze, ANewFftSizeReplacesTheSnapshotFirst)
{
    SpatialHazeObserver haze (2);
    SpectraSnapshot before;
    haze.observeFreqData (frame (2, 256, 1.0));
    haze.readSnapshot (before);

    haze.observeFreqData (frame (2, 1024, 5.0));
    SpectraSnapshot after;
    haze.readSnapshot (after);
    EXPECT_EQ (after.numChannels, 2);
    EXPECT_EQ (after.numBins, 513);
    EXPECT_TRUE (holds (after, 0, 5.0));
    EXPECT_TRUE (holds (after, 1, 5.0));
    // The earlier copy is the reader's own and unchanged.
    EXPECT_EQ (before.numBins, 129);
    EXPECT_TRUE (holds (before, 1, 1.0));

    // And back: the frame's size always wins.
    haze.observeFreqData (frame (2, 256, 7.0));
    haze.readSnapshot (after);
    EXPECT_EQ (after.numBins, 129);
    EXPECT_TRUE (holds (after, 0, 7.0));
}

TEST (AnalysisHaze, ClearZeroesTheSnapshotUntilTheNextFrame)
{
    SpatialHazeObserver haze (4);
    haze.observeFreqData (frame (4, 256));
    haze.clear();
    SpectraSnapshot s;
    haze.readSnapshot (s);
    for (int c = 0; c < 4; ++c)
        EXPECT_TRUE (isZero (s, c)) << c;

    haze.observeFreqData (frame (4, 256, 2.0));
    haze.readSnapshot (s);
    EXPECT_TRUE (holds (s, 3, 2.0));
}

TEST (AnalysisHaze, AFrameIsSkippedWhileTheGuardIsHeldExclusively)
{
    SpatialHazeObserver haze (2);
    haze.observeFreqData (frame (2, 256, 1.0));
    {
        const ScopedObserverLock busy (haze.getGuard(), ScopedObserverLock::exclusive, ScopedObserverLock::tryOnce, "test");
        ASSERT_TRUE (busy.isAcquired());
        haze.observeFreqData (frame (2, 256, 9.0));  // must return at once, copying nothing
    }
    SpectraSnapshot s;
    haze.readSnapshot (s);
    EXPECT_TRUE (holds (s, 0, 1.0));
    EXPECT_TRUE (holds (s, 1, 1.0));

    // A shared holder does not keep the frame out.
    {
        const ScopedObserverLock reader (haze.getGuard(), ScopedObserverLock::shared, ScopedObserverLock::tryOnce, "test");
        haze.observeFreqData (frame (2, 256, 3.0));
    }
    haze.readSnapshot (s);
    EXPECT_TRUE (holds (s, 0, 3.0));
}

TEST (AnalysisHaze, FramesOfTheSameSizeCopyTheCommonChannels)
{
    SpatialHazeObserver haze (4);
    SpectraSnapshot s;
    ASSERT_TRUE (haze.readSnapshot (s));
    EXPECT_EQ (s.numChannels, 4);
    EXPECT_EQ (s.numBins, 129);  // an FFT size of 256
    EXPECT_TRUE (isZero (s, 0));

    haze.observeFreqData (frame (4, 256, 1.0));
    haze.observeFreqData (frame (2, 256, 6.0));  // only two channels: 2 and 3 keep their values
    haze.readSnapshot (s);
    EXPECT_TRUE (holds (s, 0, 6.0));
    EXPECT_TRUE (holds (s, 1, 6.0));
    EXPECT_TRUE (holds (s, 2, 1.0));
    EXPECT_TRUE (holds (s, 3, 1.0));

    haze.observeFreqData (frame (6, 256, 8.0));
    haze.readSnapshot (s);
    EXPECT_EQ (s.numChannels, 4);
    for (int c = 0; c < 4; ++c)
        EXPECT_TRUE (holds (s, c, 8.0)) << c;

    haze.observeFreqData (nullptr);  // ignored
}

TEST (AnalysisHaze, TheFilterCallBackForwardsAnAnalysersFrames)
{
    SpatialHazeObserver::Ptr haze (new SpatialHazeObserver (2));
    FftFilter::Ptr analyser (new FftFilter (256, new SpatialHazeObserver_FilterCallBack (haze), 2));

    // A sine on bin 16 in channel 1 only; channel 0 silent.
    juce::AudioBuffer<float> block (2, 256);
    block.clear();
    for (int i = 0; i < 256; ++i)
        block.setSample (1, i, (float) std::sin (2.0 * juce::MathConstants<double>::pi * 16.0 * i / 256.0));
    analyser->analyse (block);

    SpectraSnapshot s;
    haze->readSnapshot (s);
    EXPECT_TRUE (isZero (s, 0));
    EXPECT_NEAR (std::sqrt (s.energy (1, 16)), 128.0, 1.0e-3);  // unscaled FFT: N / 2
    EXPECT_LT (s.energy (1, 40), 1.0e-6);

    SpatialHazeObserver_FilterCallBack empty (nullptr);
    empty.processFrame (frame (2, 256));  // no observer: nothing happens
}

// Coherence snapshot ------------------------------------------------------------------------------------

TEST (AnalysisCoherence, AlwaysTwoChannelsOfTheFramesSize)
{
    UpmixerStereoCoherenceObserver coherence;
    SpectraSnapshot s;
    EXPECT_FALSE (coherence.readSnapshot (s));
    EXPECT_EQ (s.numChannels, 0);

    coherence.observeFreqData (frame (6, 256, 1.0));
    ASSERT_TRUE (coherence.readSnapshot (s));
    EXPECT_EQ (s.numChannels, 2);
    EXPECT_EQ (s.numBins, 129);
    EXPECT_TRUE (holds (s, 0, 1.0));
    EXPECT_TRUE (holds (s, 1, 1.0));

    coherence.observeFreqData (frame (11, 1024, 4.0));
    coherence.readSnapshot (s);
    EXPECT_EQ (s.numChannels, 2);
    EXPECT_EQ (s.numBins, 513);
    EXPECT_TRUE (holds (s, 1, 4.0));

    coherence.observeFreqData (frame (1, 1024, 9.0));  // not a pair: ignored
    coherence.readSnapshot (s);
    EXPECT_TRUE (holds (s, 0, 4.0));
}

TEST (AnalysisCoherence, PreparedSnapshotAndBusyGuard)
{
    UpmixerStereoCoherenceObserver coherence;
    coherence.prepare (256);
    SpectraSnapshot s;
    ASSERT_TRUE (coherence.readSnapshot (s));
    EXPECT_EQ (s.numChannels, 2);
    EXPECT_TRUE (isZero (s, 1));

    {
        const ScopedObserverLock busy (coherence.getGuard(), ScopedObserverLock::exclusive, ScopedObserverLock::tryOnce, "test");
        coherence.observeFreqData (frame (2, 256, 5.0));
    }
    coherence.readSnapshot (s);
    EXPECT_TRUE (isZero (s, 0));
}

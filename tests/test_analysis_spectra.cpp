// The spectra observers and their guard, fed frames directly:
// - the guard: shared holders overlap, an exclusive holder excludes everybody, a try gives up
//   at once, a waiting holder gets the guard when the holder lets go, releases count right;
// - the haze snapshot through a series of frames: zero until the first, the common channels
//   of a frame of the same size copied, a new FFT size replacing the snapshot first (a
//   reader's copy stays as it was), clear(), frames skipped under an exclusive hold only (the
//   analysers' callbacks are seen through the processor's observers);
// - the coherence snapshot: empty before the first frame, always the frame's first two
//   channels, re-made for a new FFT size, frames of one channel ignored.
#include "analysis/ScopedObserverLock.h"
#include "analysis/SpatialHazeObserver.h"
#include "analysis/UpmixerStereoCoherenceObserver.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
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

TEST (AnalysisGuard, SharedHoldersOverlapExclusiveExcludesAWaiterGetsItWhenLetGo)
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

    // A waiting holder gets the guard when the holder lets it go.
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

// Snapshots --------------------------------------------------------------------------------------------

namespace
{
    enum Hold { unheld, sharedHold, exclusiveHold };
    constexpr int clearStep = -1;

    /** A frame of channels (none: a null frame; clearStep: clear()) arriving while the guard is
        held as said, then the snapshot expected: its bins and each channel's base (0: zero). */
    struct Step
    {
        int channels, fftSize;
        double base;
        Hold hold;
        int bins;
        std::vector<double> expected;
    };

    template <typename Observer>
    void runSteps (Observer& observer, std::initializer_list<Step> steps)
    {
        for (const auto& step : steps)
        {
            SCOPED_TRACE (testing::Message() << "frame of " << step.channels << " channels, FFT size " << step.fftSize << ", base " << step.base);
            {
                std::optional<ScopedObserverLock> held;
                if (step.hold != unheld)
                    held.emplace (observer.getGuard(), step.hold == exclusiveHold ? ScopedObserverLock::exclusive : ScopedObserverLock::shared,
                                  ScopedObserverLock::tryOnce, "test");
                if constexpr (requires { observer.clear(); })
                    if (step.channels == clearStep)
                        observer.clear();
                if (step.channels >= 0)
                    observer.observeFreqData (step.channels > 0 ? frame (step.channels, step.fftSize, step.base) : nullptr);
            }
            SpectraSnapshot s;
            EXPECT_EQ (observer.readSnapshot (s), ! step.expected.empty());
            ASSERT_EQ (s.numChannels, (int) step.expected.size());
            EXPECT_EQ (s.numBins, step.bins);
            for (int c = 0; c < s.numChannels; ++c)
                EXPECT_TRUE (step.expected[(size_t) c] == 0.0 ? isZero (s, c) : holds (s, c, step.expected[(size_t) c])) << "channel " << c;
        }
    }
}

TEST (AnalysisHaze, SnapshotFollowsTheFrames)
{
    // Zero until the first frame; a frame of the same size copies the channels it shares with
    // the snapshot; another FFT size replaces the snapshot first; clear() zeroes it; a frame
    // arriving while a reader holds the guard exclusively is skipped, not under a shared hold.
    SpatialHazeObserver haze (4);
    runSteps (haze, {
        { 0, 0, 0.0, unheld, 129, { 0, 0, 0, 0 } },
        { 4, 256, 1.0, unheld, 129, { 1, 1, 1, 1 } },
        { 2, 256, 6.0, unheld, 129, { 6, 6, 1, 1 } },
        { 6, 256, 8.0, unheld, 129, { 8, 8, 8, 8 } },
        { clearStep, 0, 0.0, unheld, 129, { 0, 0, 0, 0 } },
        { 4, 1024, 5.0, unheld, 513, { 5, 5, 5, 5 } },
        { 4, 256, 7.0, unheld, 129, { 7, 7, 7, 7 } },
        { 4, 256, 9.0, exclusiveHold, 129, { 7, 7, 7, 7 } },
        { 4, 256, 3.0, sharedHold, 129, { 3, 3, 3, 3 } },
    });

    // A reader's copy is its own: a frame of a new size leaves it as it was.
    SpectraSnapshot before;
    haze.readSnapshot (before);
    haze.observeFreqData (frame (4, 1024, 2.0));
    EXPECT_EQ (before.numBins, 129);
    EXPECT_TRUE (holds (before, 3, 3.0));
}

TEST (AnalysisCoherence, AlwaysTwoChannelsOfTheFramesSize)
{
    // Empty before the first frame (or zeroed once prepared); always the frame's first two
    // channels; frames of one channel ignored; skipped while the guard is held exclusively.
    UpmixerStereoCoherenceObserver coherence, prepared;
    runSteps (coherence, {
        { 0, 0, 0.0, unheld, 0, {} },
        { 6, 256, 1.0, unheld, 129, { 1, 1 } },
        { 11, 1024, 4.0, unheld, 513, { 4, 4 } },
        { 1, 1024, 9.0, unheld, 513, { 4, 4 } },
        { 2, 1024, 5.0, exclusiveHold, 513, { 4, 4 } },
    });
    prepared.prepare (256);
    runSteps (prepared, { { 0, 0, 0.0, unheld, 129, { 0, 0 } }, { 2, 256, 5.0, exclusiveHold, 129, { 0, 0 } } });
}

#pragma once

#include "analysis/ObserverDataGuard.h"
#include "analysis/ScopedObserverLock.h"
#include "dsp/FreqDataStore.h"

#include <vector>

/** A reader's own copy of an observer's spectra: numChannels channels of numBins complex bins
    (bin k of channel c at c * numBins + k), taken under the observer's guard. */
struct SpectraSnapshot
{
    int numChannels = 0;
    int numBins = 0;
    std::vector<Complex> values;

    /** Any thread, no allocation: bin 0 of channel c (0 <= c < numChannels). */
    const Complex* channel (int c) const noexcept { return values.data() + (size_t) c * (size_t) numBins; }

    /** Any thread, no allocation: |X|^2 of bin k of channel c. */
    double energy (int c, int k) const noexcept
    {
        const auto& x = channel (c)[k];
        return x.re * x.re + x.im * x.im;
    }

    /** Reader's thread; allocates when the size changes. Copies the store while holding the
        guard exclusively (waiting for it, or with tryOnce giving up when the audio thread is
        copying a frame just then), so the copy never mixes two frames and never races the audio
        thread's copy into the store; the audio thread skips the frame that arrives meanwhile.
        An empty store gives an empty snapshot; returns whether there was data (false, and the
        snapshot unchanged, when a try found the guard busy). */
    bool copyFrom (ObserverDataGuard& guard, const FreqDataStore<Complex>::Ptr& store, const char* caller,
                   ScopedObserverLock::Wait wait = ScopedObserverLock::waitUntilAcquired);
};

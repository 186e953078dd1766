#pragma once

#include "analysis/KaJuceObserverFreqDomain.h"
#include "analysis/ObserverDataGuard.h"
#include "analysis/SpectraSnapshot.h"

/** Keeps the latest frame of every channel's spectrum from an analysing FftFilter, for the
    spatial haze display and the command line's report, which work out from it where in the
    surround field each band's energy sits.

    The audio thread copies each frame into the snapshot under a shared grant it only tries
    for: while a reader holds the guard the frame is skipped. Only a frame of another FFT size
    makes it wait, to replace the snapshot (which then allocates).
*/
class SpatialHazeObserver : public KaJuceObserverFreqDomain
{
public:
    using Ptr = juce::ReferenceCountedObjectPtr<SpatialHazeObserver>;

    static constexpr int defaultFftSize = 256;

    /** Message thread; allocates a zeroed snapshot of numChannels channels for an FFT size of 256. */
    explicit SpatialHazeObserver (int numChannels, const KaJuceChannelUser* layoutProvider = nullptr, const juce::String& name = {});

    /** Any thread but the audio thread, no allocation: zeroes the snapshot (waits for the guard). */
    void clear() noexcept override;

    /** Audio thread; no allocation unless the frame's FFT size differs from the snapshot's.
        Copies the channels that both have; skipped while the guard is held exclusively. */
    void observeFreqData (FreqDataStore<Complex>::Ptr frame) noexcept override;

    /** Reader's thread; allocates when the size changes: a copy of the snapshot. */
    bool readSnapshot (SpectraSnapshot& out) const;
    /** Reader's thread (the editor's GUI timer); allocates when the size changes: the same copy
        when the guard is free at once, else false and `out` unchanged. */
    bool tryReadSnapshot (SpectraSnapshot& out) const;

    /** Any thread, no allocation. */
    int getNumChannels() const noexcept { return numChannels; }

    /** Any thread, no allocation: the guard, for tests and diagnostics. */
    ObserverDataGuard& getGuard() const noexcept { return guard; }

private:
    const int numChannels;
    mutable ObserverDataGuard guard;
    FreqDataStore<Complex>::Ptr snapshot;
};

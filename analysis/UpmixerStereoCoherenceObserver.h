#pragma once

#include "analysis/KaJuceObserverFreqDomain.h"
#include "analysis/ObserverDataGuard.h"
#include "analysis/SpectraSnapshot.h"

/** Keeps the latest spectra of a stereo pair (the first two channels of the frames it is
    handed), from which the coherence display works out, per band, how much of the pair is
    common to both sides.

    Copying follows SpatialHazeObserver's rules: a try for a shared grant, the frame skipped
    while a reader holds the guard, and a wait only to replace the snapshot.
*/
class UpmixerStereoCoherenceObserver : public KaJuceObserverFreqDomain
{
public:
    using Ptr = juce::ReferenceCountedObjectPtr<UpmixerStereoCoherenceObserver>;

    /** Message thread; allocates (the name). The snapshot comes with the first frame, or with
        prepare(). */
    explicit UpmixerStereoCoherenceObserver (const KaJuceChannelUser* layoutProvider = nullptr, const juce::String& name = {});

    /** Any thread but the audio thread; allocates: makes the two-channel snapshot for an FFT
        size now, so that frames of that size never allocate on the audio thread. */
    void prepare (int fftSize);

    /** Audio thread; no allocation unless there is no snapshot yet or the frame's size differs.
        Frames of fewer than two channels are ignored. */
    void observeFreqData (FreqDataStore<Complex>::Ptr frame) noexcept override;

    /** Reader's thread; allocates when the size changes: a copy of the snapshot (two channels,
        or empty before the first frame). */
    bool readSnapshot (SpectraSnapshot& out) const;
    /** Reader's thread (the editor's GUI timer); allocates when the size changes: the same copy
        when the guard is free at once, else false and `out` unchanged. */
    bool tryReadSnapshot (SpectraSnapshot& out) const;

    /** Any thread, no allocation: the guard, for tests and diagnostics. */
    ObserverDataGuard& getGuard() const noexcept { return guard; }

private:
    static constexpr int numChannels = 2;

    void replaceSnapshot (int fftSize) noexcept;

    mutable ObserverDataGuard guard;
    FreqDataStore<Complex>::Ptr snapshot;
};

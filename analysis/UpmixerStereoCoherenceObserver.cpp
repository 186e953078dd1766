#include "analysis/UpmixerStereoCoherenceObserver.h"
#include "analysis/ScopedObserverLock.h"

#include <algorithm>

UpmixerStereoCoherenceObserver::UpmixerStereoCoherenceObserver (const KaJuceChannelUser* layoutProvider, const juce::String& name)
    : KaJuceObserverFreqDomain (layoutProvider, name)
{
}

void UpmixerStereoCoherenceObserver::prepare (int fftSize)
{
    replaceSnapshot (fftSize);
}

void UpmixerStereoCoherenceObserver::replaceSnapshot (int fftSize) noexcept
{
    const ScopedObserverLock lock (guard, ScopedObserverLock::exclusive, ScopedObserverLock::waitUntilAcquired, __PRETTY_FUNCTION__);
    snapshot = new FreqDataStore<Complex> (numChannels, fftSize);
}

void UpmixerStereoCoherenceObserver::observeFreqData (FreqDataStore<Complex>::Ptr frame) noexcept
{
    if (frame == nullptr || frame->getNumChannels() < numChannels)
        return;

    // Besides prepare(), which runs while audio is stopped, only this thread replaces the
    // snapshot, so reading the pointer here needs no grant.
    if (snapshot == nullptr || snapshot->getNumBins() != frame->getNumBins())
        replaceSnapshot (frame->getFftSize());

    const ScopedObserverLock lock (guard, ScopedObserverLock::shared, ScopedObserverLock::tryOnce, __PRETTY_FUNCTION__);
    if (! lock.isAcquired())
        return;
    for (int c = 0; c < numChannels; ++c)
        std::copy_n (frame->getChannel (c), frame->getNumBins(), snapshot->getChannel (c));
}

bool UpmixerStereoCoherenceObserver::readSnapshot (SpectraSnapshot& out) const
{
    return out.copyFrom (guard, snapshot, __PRETTY_FUNCTION__);
}

bool UpmixerStereoCoherenceObserver::tryReadSnapshot (SpectraSnapshot& out) const
{
    return out.copyFrom (guard, snapshot, __PRETTY_FUNCTION__, ScopedObserverLock::tryOnce);
}

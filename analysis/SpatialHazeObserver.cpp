#include "analysis/SpatialHazeObserver.h"
#include "analysis/ScopedObserverLock.h"

#include <algorithm>

SpatialHazeObserver::SpatialHazeObserver (int numChannelsIn, const KaJuceChannelUser* layoutProvider, const juce::String& name)
    : KaJuceObserverFreqDomain (layoutProvider, name),
      numChannels (std::max (0, numChannelsIn)),
      snapshot (new FreqDataStore<Complex> (numChannels, defaultFftSize))
{
}

void SpatialHazeObserver::clear() noexcept
{
    const ScopedObserverLock lock (guard, ScopedObserverLock::exclusive, ScopedObserverLock::waitUntilAcquired, __PRETTY_FUNCTION__);
    const int n = snapshot->getNumChannels() * snapshot->getNumBins();
    std::fill_n (snapshot->getData(), n, Complex {});
}

void SpatialHazeObserver::observeFreqData (FreqDataStore<Complex>::Ptr frame) noexcept
{
    if (frame == nullptr)
        return;

    if (frame->getFftSize() != snapshot->getFftSize())
    {
        const ScopedObserverLock lock (guard, ScopedObserverLock::exclusive, ScopedObserverLock::waitUntilAcquired, __PRETTY_FUNCTION__);
        // The old store is released here unless a reader still holds it.
        snapshot = new FreqDataStore<Complex> (numChannels, frame->getFftSize());
    }

    const ScopedObserverLock lock (guard, ScopedObserverLock::shared, ScopedObserverLock::tryOnce, __PRETTY_FUNCTION__);
    if (! lock.isAcquired())
        return;

    const int bins = snapshot->getNumBins();
    const int channels = std::min (snapshot->getNumChannels(), frame->getNumChannels());
    for (int c = 0; c < channels; ++c)
        std::copy_n (frame->getChannel (c), bins, snapshot->getChannel (c));
}

bool SpatialHazeObserver::readSnapshot (SpectraSnapshot& out) const
{
    return out.copyFrom (guard, snapshot, __PRETTY_FUNCTION__);
}

bool SpatialHazeObserver::tryReadSnapshot (SpectraSnapshot& out) const
{
    return out.copyFrom (guard, snapshot, __PRETTY_FUNCTION__, ScopedObserverLock::tryOnce);
}

#include "analysis/SpectraSnapshot.h"
#include "analysis/ScopedObserverLock.h"

#include <algorithm>

bool SpectraSnapshot::copyFrom (ObserverDataGuard& guard, const FreqDataStore<Complex>::Ptr& store, const char* caller,
                                ScopedObserverLock::Wait wait)
{
    // The store pointer itself may be replaced by the audio thread, so it too is read under the
    // guard; the reference taken keeps that store alive while copying.
    const ScopedObserverLock lock (guard, ScopedObserverLock::exclusive, wait, caller);
    if (! lock.isAcquired())
        return false;
    const FreqDataStore<Complex>::Ptr source = store;
    numChannels = source != nullptr ? source->getNumChannels() : 0;
    numBins = source != nullptr ? source->getNumBins() : 0;
    values.resize ((size_t) numChannels * (size_t) numBins);
    if (source != nullptr)
        std::copy_n (source->getData(), values.size(), values.begin());
    return ! values.empty();
}

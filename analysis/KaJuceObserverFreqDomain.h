#pragma once

#include "analysis/KaJuceObserver.h"
#include "dsp/FreqDataStore.h"

/** An observer fed with frames of complex spectra (from an FftFilter's callback). */
class KaJuceObserverFreqDomain : public KaJuceObserver
{
public:
    using Ptr = juce::ReferenceCountedObjectPtr<KaJuceObserverFreqDomain>;
    using KaJuceObserver::KaJuceObserver;

    /** Audio thread; takes in one frame. The store is reused for the next frame, so an observer
        keeps copies, never the pointer. Whether it may allocate is each subclass's to say. */
    virtual void observeFreqData (FreqDataStore<Complex>::Ptr frame) noexcept = 0;
};

#pragma once

#include "analysis/SpatialHazeObserver.h"
#include "dsp/FftFilter.h"

/** Hands every frame of an analysing FftFilter to a SpatialHazeObserver. */
class SpatialHazeObserver_FilterCallBack : public FftFilterCallBack
{
public:
    using Ptr = juce::ReferenceCountedObjectPtr<SpatialHazeObserver_FilterCallBack>;

    /** Message thread; no allocation. */
    explicit SpatialHazeObserver_FilterCallBack (SpatialHazeObserver::Ptr observerIn) noexcept : observer (std::move (observerIn)) {}

    /** Audio thread; allocates only when the observer must (a new frame size). */
    void processFrame (FreqDataStore<Complex>::Ptr frame) noexcept override
    {
        if (observer != nullptr && frame != nullptr)
            observer->observeFreqData (frame);
    }

private:
    SpatialHazeObserver::Ptr observer;
};

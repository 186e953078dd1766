#pragma once

#include "analysis/SpatialHazeObserver_FilterCallBack.h"
#include "analysis/UpmixerStereoCoherenceObserver.h"

/** The stereo analyser's frames: every channel to its haze observer, and the same frame to the
    coherence observer, which keeps the first two channels (the source pair). */
class UpmixerStereoAnalysis_FilterCallBack : public SpatialHazeObserver_FilterCallBack
{
public:
    /** Message thread; no allocation. */
    UpmixerStereoAnalysis_FilterCallBack (SpatialHazeObserver::Ptr haze, UpmixerStereoCoherenceObserver::Ptr coherenceIn) noexcept
        : SpatialHazeObserver_FilterCallBack (std::move (haze)), coherence (std::move (coherenceIn))
    {
    }

    /** Audio thread; allocates only when an observer must (a new frame size). */
    void processFrame (FreqDataStore<Complex>::Ptr frame) noexcept override
    {
        SpatialHazeObserver_FilterCallBack::processFrame (frame);
        if (coherence != nullptr && frame != nullptr)
            coherence->observeFreqData (frame);
    }

private:
    UpmixerStereoCoherenceObserver::Ptr coherence;
};

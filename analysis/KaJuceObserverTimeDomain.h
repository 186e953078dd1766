#pragma once

#include "analysis/KaJuceObserver.h"

#include <juce_audio_basics/juce_audio_basics.h>

/** An observer fed with the samples of each block. */
class KaJuceObserverTimeDomain : public KaJuceObserver
{
public:
    using KaJuceObserver::KaJuceObserver;

    /** Audio thread, no allocation: takes in one block (the block is only read). */
    virtual void observe (const juce::AudioSampleBuffer& block) noexcept = 0;
};

/** The branch of the level observers. */
class KaJuceObserverTimeDomainLevel : public KaJuceObserverTimeDomain
{
public:
    using KaJuceObserverTimeDomain::KaJuceObserverTimeDomain;
};

/** The branch of the level observers that measure one signal taken from the block. */
class KaJuceObserverTimeDomainLevelSingleChannel : public KaJuceObserverTimeDomainLevel
{
public:
    using KaJuceObserverTimeDomainLevel::KaJuceObserverTimeDomainLevel;
};

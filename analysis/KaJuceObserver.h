#pragma once

#include "processor/KaJuceChannelUser.h"

#include <juce_core/juce_core.h>

/** The root of the analysers that the processor feeds on the audio thread and that displays
    (and the command line's report) read from other threads.

    An observer is reference-counted so that the processor and every display showing it keep it
    alive. Its layout provider (the processor, or nothing) tells channel-aware observers which
    routing is in force; the name identifies it in logs and tests. */
class KaJuceObserver : public KaJuceChannelUser, public juce::ReferenceCountedObject
{
public:
    using Ptr = juce::ReferenceCountedObjectPtr<KaJuceObserver>;

    /** Message thread; allocates (the name). */
    explicit KaJuceObserver (const KaJuceChannelUser* layoutProvider = nullptr, const juce::String& nameIn = {})
        : m_strName (nameIn)
    {
        setChannelProvider (layoutProvider);
    }

    ~KaJuceObserver() override = default;

    /** Forgets everything measured so far. Which thread may call it is each subclass's to say. */
    virtual void clear() {}

    /** Any thread, no allocation. */
    const juce::String& getName() const noexcept { return m_strName; }

private:
    const juce::String m_strName;
};

#pragma once

#include <juce_core/juce_core.h>

/** A value the message thread changes and the render thread draws (a text, the rows of a
    list). The render side never waits: when the message thread is mid-change it draws the copy
    it took last time. */
template <typename Value>
class KaGuiShared
{
public:
    /** Message thread. */
    void set (Value value)
    {
        const juce::SpinLock::ScopedLockType lock (m_lock);
        m_value = std::move (value);
        ++m_nVersion;
    }

    /** Message thread. */
    Value get() const
    {
        const juce::SpinLock::ScopedLockType lock (m_lock);
        return m_value;
    }

    /** Render thread: the newest value it could take without waiting. */
    const Value& forRender() const
    {
        const juce::SpinLock::ScopedTryLockType lock (m_lock);
        if (lock.isLocked() && m_nRenderVersion != m_nVersion)
        {
            m_renderCopy = m_value;
            m_nRenderVersion = m_nVersion;
        }
        return m_renderCopy;
    }

private:
    mutable juce::SpinLock m_lock;
    Value m_value {};
    juce::uint32 m_nVersion = 0;
    mutable Value m_renderCopy {};
    mutable juce::uint32 m_nRenderVersion = ~0u;
};

using KaGuiText = KaGuiShared<juce::String>;

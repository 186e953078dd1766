#pragma once

#include <juce_core/juce_core.h>

/** A text the message thread changes and the render thread draws. The render side never
    waits: when the message thread is mid-change it draws the copy it took last time. */
class KaGuiText
{
public:
    /** Message thread. */
    void set (const juce::String& text)
    {
        const juce::SpinLock::ScopedLockType lock (m_lock);
        m_text = text;
        ++m_nVersion;
    }

    /** Message thread. */
    juce::String get() const
    {
        const juce::SpinLock::ScopedLockType lock (m_lock);
        return m_text;
    }

    /** Render thread: the newest text it could take without waiting. */
    const juce::String& forRender() const
    {
        const juce::SpinLock::ScopedTryLockType lock (m_lock);
        if (lock.isLocked() && m_nRenderVersion != m_nVersion)
        {
            m_renderCopy = m_text;
            m_nRenderVersion = m_nVersion;
        }
        return m_renderCopy;
    }

private:
    mutable juce::SpinLock m_lock;
    juce::String m_text;
    juce::uint32 m_nVersion = 0;
    mutable juce::String m_renderCopy;
    mutable juce::uint32 m_nRenderVersion = ~0u;
};

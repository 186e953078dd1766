#pragma once

#include "editor/KaOglComponentUser.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <atomic>

/** Base of everything drawn inside a KaOglComponent: controls, displays, pop-ups.

    render() runs on the OpenGL render thread with the model-view matrix translated to the
    child's top-left corner, so it draws in its own pixel coordinates. It may read: atomics,
    state set at construction, and state the message thread changes only inside the editor's
    updateGui() (which holds the render lock). Children are created with the editor and live
    until its render thread has stopped; pop-ups are shown and hidden, never deleted early. */
class KaOglChildComponent : public virtual KaOglComponentUser, public virtual juce::Component
{
public:
    KaOglChildComponent() = default;
    ~KaOglChildComponent() override;

    /** Render thread: draws the child; time is the frame's time in seconds. */
    virtual void render (double time) = 0;
    /** Render thread: the context is closing; forget anything that lived in it. */
    virtual void release() {}

    /** Asks the frame for a new frame soon (any thread). */
    void requestRedraw() const noexcept;

    /** Render thread: enabled and visible as the message thread last left them (isEnabled()
        and isVisible() read flags of the component and its parents that the message thread
        writes, mouse-over among them). */
    bool isEnabledForRender() const noexcept { return m_bEnabledForRender.load (std::memory_order_relaxed); }
    bool isVisibleForRender() const noexcept { return m_bVisibleForRender.load (std::memory_order_relaxed); }

protected:
    // The frame rebuilds its list of what to draw when the tree changes.
    void moved() override;
    void resized() override;
    void visibilityChanged() override;
    void parentHierarchyChanged() override;
    void enablementChanged() override;

private:
    void layoutChanged() const noexcept;
    void noteState() noexcept;

    std::atomic<bool> m_bEnabledForRender { true }, m_bVisibleForRender { true };
};

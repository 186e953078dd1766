#pragma once

#include "editor/KaOglChildComponent.h"

#include <atomic>
#include <functional>
#include <optional>

/** The value model every control shares: a normalised value in 0..1, a default restored by the
    reset gesture, the parameter it stands for (9999: none), gestures that bracket every mouse
    interaction (one host automation gesture, one undo step), the host-dependent modifier keys,
    and listeners. Message thread, except getValue(), which the render thread reads. */
class KaJuceControl : public KaOglChildComponent
{
public:
    static constexpr int noParameter = 9999;

    struct Listener
    {
        virtual ~Listener() = default;
        /** The value changed by the user (set with notify). */
        virtual void controlValueChanged (KaJuceControl& control) = 0;
        virtual void controlGestureBegan (KaJuceControl&) {}
        virtual void controlGestureEnded (KaJuceControl&) {}
    };

    explicit KaJuceControl (const juce::String& name, int parameterIndex = noParameter);

    // Value --------------------------------------------------------------------------------------
    virtual void setValue (float value, bool notify);
    float getValue() const noexcept { return m_fValue.load (std::memory_order_relaxed); }
    void setDefaultValue (float value) noexcept { m_fDefaultValue = juce::jlimit (0.0f, 1.0f, value); }
    float getDefaultValue() const noexcept { return m_fDefaultValue; }
    int getParameterIndex() const noexcept { return m_nParameterIndex; }
    void setParameterIndex (int index) noexcept { m_nParameterIndex = index; }

    /** The value as the user reads it, and typed text back to a value (unset: percent). */
    std::function<juce::String (float)> m_fnpConvertParamToString;
    std::function<std::optional<float> (const juce::String&)> m_fnpConvertStringToParam;
    juce::String getValueText() const;

    // Gestures -----------------------------------------------------------------------------------
    virtual void beginGesture();
    virtual void endGesture();
    bool isInGesture() const noexcept { return m_bInGesture; }

    // Mouse conventions -----------------------------------------------------------------------------
    /** Performs the reset when the event holds the reset modifier; true when it did. */
    virtual bool resetCheck (const juce::MouseEvent& e);
    /** 0.1 while the fine modifier is held, else 1. */
    virtual float fineFactor (const juce::MouseEvent& e) const;
    static bool isResetModifier (const juce::ModifierKeys& mods) noexcept;
    static bool isFineModifier (const juce::ModifierKeys& mods) noexcept;
    /** Pro Tools moves reset to Alt and fine adjustment to Ctrl (set once from host detection). */
    static void setProToolsModifiers (bool proTools) noexcept { s_bProToolsModifiers.store (proTools); }
    static bool usesProToolsModifiers() noexcept { return s_bProToolsModifiers.load(); }

    void addListener (Listener* l) { m_listeners.add (l); }
    void removeListener (Listener* l) { m_listeners.remove (l); }

    std::unique_ptr<juce::AccessibilityHandler> createAccessibilityHandler() override;

protected:
    /** Runs when the stored value changed (any cause). */
    virtual void valueChanged() {}
    /** Runs when the stored value changed with notify: tells the listeners. */
    virtual void notify();
    /** Mouse hover, pressed state for drawing (render thread reads). */
    void mouseEnter (const juce::MouseEvent&) override { m_bHover.store (true); requestRedraw(); }
    void mouseExit (const juce::MouseEvent&) override { m_bHover.store (false); requestRedraw(); }
    bool isHovered() const noexcept { return m_bHover.load (std::memory_order_relaxed); }

    /** Stores v after the common clamp; false when it equals the stored value. */
    bool storeValue (float v, bool notify);

private:
    std::atomic<float> m_fValue { 0.0f };
    float m_fDefaultValue = 0.0f;
    int m_nParameterIndex;
    bool m_bInGesture = false;
    std::atomic<bool> m_bHover { false };
    juce::ListenerList<Listener> m_listeners;

    static inline std::atomic<bool> s_bProToolsModifiers { false };
};

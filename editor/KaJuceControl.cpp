#include "editor/KaJuceControl.h"

#include <cmath>

KaJuceControl::KaJuceControl (const juce::String& name, int parameterIndex) : m_nParameterIndex (parameterIndex)
{
    setName (name);
    setWantsKeyboardFocus (false);
}

bool KaJuceControl::storeValue (float v, bool shouldNotify)
{
    if (std::isnan (v))
        return false;
    v = juce::jlimit (0.0f, 1.0f, v);
    if (v == getValue())
        return false;
    m_fValue.store (v, std::memory_order_relaxed);
    valueChanged();
    if (shouldNotify)
        notify();
    requestRedraw();
    if (auto* handler = getAccessibilityHandler())
        handler->notifyAccessibilityEvent (juce::AccessibilityEvent::valueChanged);
    return true;
}

void KaJuceControl::setValue (float value, bool shouldNotify) { storeValue (value, shouldNotify); }

void KaJuceControl::notify()
{
    m_listeners.call ([this] (Listener& l) { l.controlValueChanged (*this); });
}

juce::String KaJuceControl::getValueText() const
{
    if (m_fnpConvertParamToString)
        return m_fnpConvertParamToString (getValue());
    return juce::String (juce::roundToInt (getValue() * 100.0f)) + " %";
}

void KaJuceControl::beginGesture()
{
    if (m_bInGesture)
        return;
    m_bInGesture = true;
    m_listeners.call ([this] (Listener& l) { l.controlGestureBegan (*this); });
}

void KaJuceControl::endGesture()
{
    if (! m_bInGesture)
        return;
    m_bInGesture = false;
    m_listeners.call ([this] (Listener& l) { l.controlGestureEnded (*this); });
}

bool KaJuceControl::isResetModifier (const juce::ModifierKeys& mods) noexcept
{
    return usesProToolsModifiers() ? mods.isAltDown() : mods.isCtrlDown();
}

bool KaJuceControl::isFineModifier (const juce::ModifierKeys& mods) noexcept
{
    return usesProToolsModifiers() ? mods.isCtrlDown() : mods.isShiftDown();
}

bool KaJuceControl::resetCheck (const juce::MouseEvent& e)
{
    if (! isResetModifier (e.mods))
        return false;
    setValue (m_fDefaultValue, true);
    return true;
}

float KaJuceControl::fineFactor (const juce::MouseEvent& e) const { return isFineModifier (e.mods) ? 0.1f : 1.0f; }

// Accessibility: the control's name and value text, settable as a ranged value ------------------

namespace
{
    class ControlValue : public juce::AccessibilityRangedNumericValueInterface
    {
    public:
        explicit ControlValue (KaJuceControl& c) : control (c) {}
        bool isReadOnly() const override { return ! control.isEnabled(); }
        double getCurrentValue() const override { return control.getValue(); }
        void setValue (double v) override
        {
            control.beginGesture();
            control.setValue ((float) v, true);
            control.endGesture();
        }
        AccessibleValueRange getRange() const override { return { { 0.0, 1.0 }, 0.01 }; }

    private:
        KaJuceControl& control;
    };

    class ControlHandler : public juce::AccessibilityHandler
    {
    public:
        explicit ControlHandler (KaJuceControl& c)
            : juce::AccessibilityHandler (c, juce::AccessibilityRole::slider, {},
                                          { std::make_unique<ControlValue> (c) }),
              control (c) {}
        juce::String getTitle() const override { return control.getName(); }
        juce::String getHelp() const override { return control.getValueText(); }

    private:
        KaJuceControl& control;
    };
}

std::unique_ptr<juce::AccessibilityHandler> KaJuceControl::createAccessibilityHandler()
{
    return std::make_unique<ControlHandler> (*this);
}

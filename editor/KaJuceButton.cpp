#include "editor/KaJuceButton.h"
#include "editor/KaOglDraw.h"

KaJuceButton::KaJuceButton (const juce::String& name, int parameterIndex, Mode mode)
    : KaJuceControlWithHelpers (name, parameterIndex), m_mode (mode)
{
    setLabel (name);
}

void KaJuceButton::mouseDown (const juce::MouseEvent& e)
{
    if (! isEnabled())
        return;
    beginGesture();
    if (resetCheck (e))
        return;
    if (m_mode == Mode::push)
        setValue (1.0f, true);
    else
        setValue (isOn() ? 0.0f : 1.0f, true);
    if (onClick)
        onClick();
}

void KaJuceButton::mouseUp (const juce::MouseEvent&)
{
    if (m_mode == Mode::push && isOn())
        setValue (0.0f, true);
    endGesture();
}

void KaJuceButton::render (double)
{
    drawFace (getLocalBounds().toFloat());
}

void KaJuceButton::drawFace (juce::Rectangle<float> area)
{
    if (auto* image = imageForState (isOn()))
    {
        image->draw (0, 0, getWidth(), getHeight());
        return;
    }
    const bool on = isOn();
    const auto accent = getAccentColour();
    auto face = on ? accent.withMultipliedAlpha (0.28f) : (isHovered() ? KaJuceTheme::controlHover : getBackgroundColour());
    if (! isEnabledForRender())
        face = face.withMultipliedAlpha (0.5f);
    KaOglDraw::fillRoundedRect (area.reduced (0.5f), 3.0f, face);
    KaOglDraw::drawRoundedRect (area, 3.0f, on ? accent : KaJuceTheme::controlEdge);
    const auto text = on ? accent.brighter (0.4f) : getTextColour();
    drawLabel (getLocalBounds().reduced (4, 0), juce::Justification::centred, isEnabledForRender() ? text : text.withMultipliedAlpha (0.4f));
}

void KaJuceScalableButton::drawFace (juce::Rectangle<float> area)
{
    if (auto* image = imageForState (isOn()))
        image->draw (0, 0, (int) area.getWidth(), (int) area.getHeight());
    else
        KaJuceButton::drawFace (area);
}

KaJuceMarginReadout::KaJuceMarginReadout (const juce::String& name, int margin)
    : KaJuceButton (name), m_nMargin (margin)
{
    setLabel ({});
    setInterceptsMouseClicks (false, false);
}

void KaJuceMarginReadout::drawFace (juce::Rectangle<float> area)
{
    if (m_bBackground)
        KaOglDraw::fillRoundedRect (area, 3.0f, getBackgroundColour());
    drawLabel (getLocalBounds().reduced (m_nMargin, 0), m_justification, getTextColour());
}

KaJucePopUpTriggerButton::KaJucePopUpTriggerButton (const juce::String& name) : KaJuceButton (name, noParameter, Mode::push) {}

void KaJucePopUpTriggerButton::showPopUp (bool show)
{
    if (m_pPopUp == nullptr)
        return;
    if (show)
        m_pPopUp->toFront (false);
    m_pPopUp->setVisible (show);
}

void KaJucePopUpTriggerButton::mouseUp (const juce::MouseEvent& e)
{
    const bool wasDown = isOn();
    KaJuceButton::mouseUp (e);
    if (wasDown && getLocalBounds().contains (e.getPosition()))
        showPopUp (! isPopUpShowing());
}

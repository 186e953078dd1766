#pragma once

#include "editor/KaJuceControlWithHelpers.h"

/** A push or toggle button. A toggle flips its value between 0 and 1 on each click; a push
    button is 1 while held and returns to 0 on release (commands such as Undo run on the 1).
    Drawn from its state images when it has them, else as a rounded face with its label. */
class KaJuceButton : public KaJuceControlWithHelpers
{
public:
    enum class Mode { toggle, push };

    KaJuceButton (const juce::String& name, int parameterIndex = noParameter, Mode mode = Mode::toggle);

    bool isOn() const noexcept { return getValue() >= 0.5f; }
    Mode getMode() const noexcept { return m_mode; }
    /** Clicked: runs after the value changed on a click (message thread). */
    std::function<void()> onClick;

    void render (double time) override;

protected:
    void mouseDown (const juce::MouseEvent& e) override;
    void mouseUp (const juce::MouseEvent& e) override;
    /** The face of the button (render thread); readouts and triggers draw their own. */
    virtual void drawFace (juce::Rectangle<float> area);

private:
    Mode m_mode;
};

/** A button that fills whatever size it is given, its image stretched to the bounds. */
class KaJuceScalableButton : public KaJuceButton
{
public:
    using KaJuceButton::KaJuceButton;

protected:
    void drawFace (juce::Rectangle<float> area) override;
};

/** A button that draws nothing: the click-catcher behind an open pop-up. */
class KaJuceTransparentButton : public KaJuceButton
{
public:
    using KaJuceButton::KaJuceButton;

protected:
    void drawFace (juce::Rectangle<float>) override {}
};

/** A read-only line of text inside a margin: the status readout, values, names. */
class KaJuceMarginReadout : public KaJuceButton
{
public:
    explicit KaJuceMarginReadout (const juce::String& name, int margin = 6);
    void setJustification (juce::Justification j) noexcept { m_justification = j; }
    void setDrawsBackground (bool draws) noexcept { m_bBackground = draws; }

protected:
    void mouseDown (const juce::MouseEvent&) override {}
    void mouseUp (const juce::MouseEvent&) override {}
    void drawFace (juce::Rectangle<float> area) override;

private:
    int m_nMargin;
    juce::Justification m_justification { juce::Justification::centredLeft };
    bool m_bBackground = true;
};

/** A button that shows and hides a pop-up (any child of the OpenGL frame). */
class KaJucePopUpTriggerButton : public KaJuceButton
{
public:
    explicit KaJucePopUpTriggerButton (const juce::String& name);
    void setPopUp (juce::Component* popUp) noexcept { m_pPopUp = popUp; }
    juce::Component* getPopUp() const noexcept { return m_pPopUp; }
    virtual void showPopUp (bool show);
    bool isPopUpShowing() const { return m_pPopUp != nullptr && m_pPopUp->isVisible(); }

protected:
    void mouseUp (const juce::MouseEvent& e) override;

private:
    juce::Component* m_pPopUp = nullptr;
};

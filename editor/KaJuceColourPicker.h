#pragma once

#include "editor/KaJuceButton.h"
#include "editor/KaJuceColourParamUser.h"
#include "editor/KaJuceSlider.h"

/** A grid of colour swatches (hues around the wheel, in rows) with an "Opacity" slider. Its
    value is the chosen hue (a colour parameter's value); the opacity is a control of its own,
    bound to a parameter where the colour has one. */
class KaJuceColourPicker : public KaJuceButton, public KaJuceColourParamUser
{
public:
    static constexpr int columns = 12, rows = 4, swatch = 18, gap = 3;

    explicit KaJuceColourPicker (const juce::String& name, int parameterIndex = noParameter);

    /** The hue a swatch stands for (row-major, around the wheel). */
    static float hueOfCell (int column, int row) noexcept;
    /** The cell under a position in the grid, or -1. */
    int cellAt (juce::Point<int> position) const noexcept;
    KaJuceSlider& getOpacity() noexcept { return m_opacity; }
    /** The size the picker needs. */
    static juce::Rectangle<int> preferredSize();

    void render (double time) override;
    void resized() override;

protected:
    void mouseDown (const juce::MouseEvent& e) override;
    void mouseUp (const juce::MouseEvent& e) override;

private:
    KaJuceSlider m_opacity;
};

/** A swatch of a colour parameter that opens its picker. */
class KaJuceColourPickerTriggerButton : public KaJucePopUpTriggerButton, public KaJuceColourParamUser
{
public:
    KaJuceColourPickerTriggerButton (const juce::String& name, KaJuceColourPicker& picker);
    void showPopUp (bool show) override;

protected:
    void drawFace (juce::Rectangle<float> area) override;

private:
    KaJuceColourPicker& m_picker;
};

#include "editor/KaJuceColourPicker.h"
#include "editor/KaOglDraw.h"

KaJuceColourPicker::KaJuceColourPicker (const juce::String& name, int parameterIndex)
    : KaJuceButton (name, parameterIndex), m_opacity ("Opacity")
{
    m_opacity.setLabel ("Opacity");
    m_opacity.setDefaultValue (1.0f);
    m_opacity.setValue (1.0f, false);
    addAndMakeVisible (m_opacity);
    setSize (preferredSize().getWidth(), preferredSize().getHeight());
}

juce::Rectangle<int> KaJuceColourPicker::preferredSize()
{
    return { 0, 0, columns * (swatch + gap) + gap + 8, rows * (swatch + gap) + gap + 8 + 40 };
}

float KaJuceColourPicker::hueOfCell (int column, int row) noexcept
{
    return (float) (row * columns + column) / (float) (rows * columns);
}

int KaJuceColourPicker::cellAt (juce::Point<int> p) const noexcept
{
    const int x = p.x - 4 - gap, y = p.y - 24 - gap;
    if (x < 0 || y < 0)
        return -1;
    const int column = x / (swatch + gap), row = y / (swatch + gap);
    return column < columns && row < rows ? row * columns + column : -1;
}

void KaJuceColourPicker::resized()
{
    KaJuceButton::resized();
    m_opacity.setBounds (70, getHeight() - 18, getWidth() - 78, 12);
}

void KaJuceColourPicker::mouseDown (const juce::MouseEvent& e)
{
    const int cell = cellAt (e.getPosition());
    if (! isEnabled() || cell < 0)
        return;
    beginGesture();
    if (! resetCheck (e))
        setValue (hueOfCell (cell % columns, cell / columns), true);
}

void KaJuceColourPicker::mouseUp (const juce::MouseEvent&) { endGesture(); }

void KaJuceColourPicker::render (double)
{
    const auto area = getLocalBounds().toFloat();
    KaOglDraw::fillRoundedRect (area, 4.0f, KaJuceTheme::panel.brighter (0.08f));
    KaOglDraw::drawRoundedRect (area, 4.0f, KaJuceTheme::controlEdge);
    drawLabel ({ 8, 4, getWidth() - 16, 18 }, juce::Justification::centredLeft, KaJuceTheme::text);
    const int chosen = juce::roundToInt (getValue() * (float) (rows * columns));
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column)
        {
            const juce::Rectangle<float> cell ((float) (4 + gap + column * (swatch + gap)), (float) (24 + gap + row * (swatch + gap)), (float) swatch, (float) swatch);
            KaOglDraw::fillRoundedRect (cell, 2.0f, colourForValue (hueOfCell (column, row)).withMultipliedAlpha (m_opacity.getValue()));
            if (row * columns + column == chosen)
                KaOglDraw::drawRoundedRect (cell.expanded (2.0f), 3.0f, juce::Colours::white, 1.5f);
        }
    if (auto* font = getOglFont (KaJuceTheme::smallText))
        font->drawText ("Opacity", { 8, getHeight() - 22, 60, 20 }, juce::Justification::centredLeft, KaJuceTheme::textDim);
}

KaJuceColourPickerTriggerButton::KaJuceColourPickerTriggerButton (const juce::String& name, KaJuceColourPicker& picker)
    : KaJucePopUpTriggerButton (name), m_picker (picker)
{
    setPopUp (&picker);
}

void KaJuceColourPickerTriggerButton::showPopUp (bool show)
{
    if (show)
        if (auto* parent = m_picker.getParentComponent())
        {
            const auto area = parent->getLocalArea (this, getLocalBounds());
            m_picker.setTopLeftPosition (juce::Rectangle<int> (area.getX(), area.getBottom() + 2, m_picker.getWidth(), m_picker.getHeight())
                                             .constrainedWithin (parent->getLocalBounds()).getPosition());
        }
    KaJucePopUpTriggerButton::showPopUp (show);
}

void KaJuceColourPickerTriggerButton::drawFace (juce::Rectangle<float> area)
{
    const auto swatchArea = area.removeFromLeft (area.getHeight()).reduced (2.0f);
    KaOglDraw::fillRoundedRect (swatchArea, 3.0f, colourForValue (m_picker.getValue()));
    KaOglDraw::drawRoundedRect (swatchArea, 3.0f, isHovered() ? KaJuceTheme::text : KaJuceTheme::controlEdge);
    drawLabel (area.toNearestInt().withTrimmedLeft (6), juce::Justification::centredLeft, getTextColour());
}

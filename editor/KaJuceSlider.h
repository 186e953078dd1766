#pragma once

#include "editor/KaJuceControlWithHelpers.h"

/** A linear slider, horizontal or vertical (top is maximum). The value follows the pointer:
    x (or y) less half the thumb, over the track length. */
class KaJuceSlider : public KaJuceControlWithHelpers
{
public:
    KaJuceSlider (const juce::String& name, int parameterIndex = noParameter, bool vertical = false);

    bool isVertical() const noexcept { return m_bVertical; }
    void setThumbSize (int pixels) noexcept { m_nThumb = pixels; }
    /** Scales pointer positions about the control's origin (for a control drawn scaled). */
    void setScaleFactor (float scale) noexcept { m_fScale = scale; }
    /** The value a pointer position stands for. */
    float valueAt (juce::Point<float> position) const noexcept;

    void render (double time) override;

protected:
    void mouseDown (const juce::MouseEvent& e) override;
    void mouseDrag (const juce::MouseEvent& e) override;
    void mouseUp (const juce::MouseEvent& e) override;

private:
    bool m_bVertical;
    int m_nThumb = 10;
    float m_fScale = 1.0f;
    bool m_bResetHeld = false;
};

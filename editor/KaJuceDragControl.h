#pragma once

#include "editor/KaJuceControlWithHelpers.h"
#include "editor/ModalTextEditor.h"

/** A knob-like control changed by dragging (up or right increases), the wheel and typed entry
    (double click). Drawn from a film strip of frames stacked top to bottom when it has one,
    else as a value box. Each frame is one thousandth of the range unless the frames are
    spread over the whole range. */
class KaJuceDragControl : public KaJuceControlWithHelpers, public ModalTextEditorUser
{
public:
    KaJuceDragControl (const juce::String& name, int parameterIndex = noParameter);
    ~KaJuceDragControl() override;

    /** The film strip (normal state) with its frame count. */
    void setFilmStrip (const juce::Image& strip, unsigned int frameCount, bool spreadFrames);
    unsigned int getFrameCount() const noexcept { return m_nFrames; }
    bool areFramesSpread() const noexcept { return m_bSpreadFrames; }
    /** The frame drawn for a value. */
    int frameForValue (float value) const noexcept;
    /** The largest value the frames can show. */
    float maximumValue() const noexcept;

    void setDragEnabled (bool on) noexcept { m_bDragEnabled = on; }
    void setCoarse (bool on) noexcept { m_bCoarse = on; }
    void setSensitivityScale (float scale) noexcept { m_fSensitivityScale = scale; }
    void setWrap (bool on) noexcept { m_bWrap = on; }
    void setRangeLimit (bool on, float lower, float upper) noexcept { m_bRangeLimit = on; m_fLower = lower; m_fUpper = upper; }
    void setUseResizeCursor (bool on) noexcept { m_bResizeCursor = on; }
    /** Where the value box puts the value (right of the label by default). */
    void setValueJustification (juce::Justification j) noexcept { m_valueJustification = j; }
    /** Grow the typed-entry box by one pixel on each side. */
    void setGrowTextEditor (bool on) noexcept { m_bGrowTextEditor = on; }

    void setValue (float value, bool notify) override;
    void render (double time) override;
    void modalTextEditorFinished (const juce::String& text, bool confirmed) override;

    static constexpr float sensitivity = 0.004f;  // per pixel: 250 pixels cover the range

protected:
    void mouseDown (const juce::MouseEvent& e) override;
    void mouseDrag (const juce::MouseEvent& e) override;
    void mouseUp (const juce::MouseEvent& e) override;
    void mouseWheelMove (const juce::MouseEvent& e, const juce::MouseWheelDetails& wheel) override;
    void mouseDoubleClick (const juce::MouseEvent& e) override;

private:
    unsigned int m_nFrames = 1001;
    bool m_bSpreadFrames = false;
    bool m_bDragEnabled = true, m_bCoarse = false, m_bWrap = false;
    float m_fSensitivityScale = 1.0f;
    bool m_bRangeLimit = false;
    float m_fLower = 0.0f, m_fUpper = 1.0f;
    bool m_bResizeCursor = true, m_bGrowTextEditor = false;
    juce::Justification m_valueJustification { juce::Justification::centredRight };
    float m_fLastValue = 0.0f;
    juce::Point<float> m_lastPosition;
    bool m_bResetHeld = false;
};

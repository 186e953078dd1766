#include "editor/KaJuceDragControl.h"
#include "editor/KaOglDraw.h"
#include "processor/KaLog.h"

#include <cmath>

KaJuceDragControl::KaJuceDragControl (const juce::String& name, int parameterIndex)
    : KaJuceControlWithHelpers (name, parameterIndex)
{
    setLabel (name);
}

KaJuceDragControl::~KaJuceDragControl() = default;

void KaJuceDragControl::setFilmStrip (const juce::Image& strip, unsigned int frameCount, bool spreadFrames)
{
    setImage (imageNormal, strip);
    m_nFrames = juce::jmax (1u, frameCount);
    m_bSpreadFrames = spreadFrames;
}

float KaJuceDragControl::maximumValue() const noexcept
{
    if (m_bSpreadFrames)
        return 1.0f;
    return (float) juce::jmin ((int) m_nFrames - 1, 1000) / 1000.0f;
}

int KaJuceDragControl::frameForValue (float value) const noexcept
{
    int frame = m_bSpreadFrames ? (int) ((float) m_nFrames * value) : juce::jmin (1000, (int) (value * 1000.0f + 0.5f));
    return juce::jlimit (0, (int) m_nFrames - 1, frame);
}

void KaJuceDragControl::setValue (float v, bool shouldNotify)
{
    if (std::isnan (v))
        return;
    const float max = maximumValue();
    if (m_bRangeLimit && shouldNotify)
        v = juce::jmax (juce::jmin (v, m_fUpper), m_fLower);
    if (v > max)
        v = m_bWrap ? 0.0f : max;
    if (m_bWrap && v < 0.0f)
        v = max;
    storeValue (v, shouldNotify);
}

void KaJuceDragControl::mouseDown (const juce::MouseEvent& e)
{
    if (! isEnabled())
        return;
    beginGesture();
    m_bResetHeld = resetCheck (e);
    m_fLastValue = getValue();
    m_lastPosition = e.position;
    if (m_bResizeCursor)
        setMouseCursor (juce::MouseCursor::UpDownResizeCursor);
}

void KaJuceDragControl::mouseDrag (const juce::MouseEvent& e)
{
    if (! isEnabled() || ! m_bDragEnabled || m_bResetHeld || isResetModifier (e.mods))
        return;
    const auto delta = e.position - m_lastPosition;
    const float movement = std::abs (delta.x) >= std::abs (delta.y) ? delta.x : -delta.y;
    const float perPixel = m_bCoarse ? 1.0f : sensitivity;
    setValue (fineFactor (e) * movement * m_fSensitivityScale * perPixel + m_fLastValue, true);
    // Incremental: a clamp at either end is not undone by moving back.
    m_fLastValue = getValue();
    m_lastPosition = e.position;
}

void KaJuceDragControl::mouseUp (const juce::MouseEvent&)
{
    setMouseCursor (juce::MouseCursor::NormalCursor);
    m_bResetHeld = false;
    endGesture();
}

void KaJuceDragControl::mouseWheelMove (const juce::MouseEvent& e, const juce::MouseWheelDetails& wheel)
{
    if (! isEnabled() || ! m_bDragEnabled || isResetModifier (e.mods))
        return;
    beginGesture();
    const float perPixel = m_bCoarse ? 1.0f : sensitivity;
    setValue (fineFactor (e) * (wheel.deltaX + wheel.deltaY) * m_fSensitivityScale * perPixel * 30.0f + getValue(), true);
    endGesture();
}

void KaJuceDragControl::mouseDoubleClick (const juce::MouseEvent&)
{
    if (! isEnabled() || isEditingText())
        return;
    if (! m_fnpConvertStringToParam)
    {
        KaLog::write ("KaJuceDragControl::mouseDoubleClick warning: ignored as m_fnpConvertStringToParam not set for " + getName());
        return;
    }
    auto& box = openModalTextEditor (getValueText());
    box.setColour (juce::TextEditor::textColourId, getTextColour());
    box.setColour (juce::TextEditor::backgroundColourId, KaJuceTheme::panel);
    box.setColour (juce::TextEditor::outlineColourId, getAccentColour());
    box.setFont (juce::Font ("Arial", getLabelFontSize() > 0 ? (float) getLabelFontSize() + 2.0f : 11.0f, juce::Font::plain));
    beginGesture();
    box.showAt (getScreenBounds().expanded (m_bGrowTextEditor ? 1 : 0));
}

void KaJuceDragControl::modalTextEditorFinished (const juce::String& text, bool confirmed)
{
    if (confirmed && m_fnpConvertStringToParam)
        if (const auto value = m_fnpConvertStringToParam (text))
            setValue (*value, true);
    endGesture();
}

void KaJuceDragControl::render (double)
{
    const auto bounds = getLocalBounds();
    const auto textColour = isEnabledForRender() ? getTextColour() : getTextColour().withMultipliedAlpha (0.4f);
    auto* font = getOglFont (getLabelFontSize());
    const int lineHeight = font != nullptr ? font->getHeight() : 12;

    if (auto* strip = getImage (imageNormal))
    {
        // Knob: the chosen frame in a square above the label and the value.
        const int size = juce::jmin (bounds.getWidth(), bounds.getHeight() - 2 * lineHeight);
        const int frameHeight = strip->getImage().getHeight() / (int) m_nFrames;
        const int frame = frameForValue (getValue());
        const juce::Rectangle<int> source (0, frame * frameHeight, strip->getImage().getWidth(), frameHeight);
        KaOglDraw::setColour (juce::Colours::white.withAlpha (isEnabledForRender() ? 1.0f : 0.5f));
        strip->drawPart (source, (float) ((bounds.getWidth() - size) / 2), 0.0f, (float) size, (float) size);
        drawLabel ({ 0, size, bounds.getWidth(), lineHeight }, juce::Justification::centred, KaJuceTheme::textDim);
        if (font != nullptr)
            font->drawText (getValueText(), { 0, size + lineHeight, bounds.getWidth(), lineHeight }, juce::Justification::centred, textColour);
        return;
    }

    // Value box: label on the left, value on the right, a bar showing the position.
    const auto area = bounds.toFloat();
    KaOglDraw::fillRoundedRect (area, 3.0f, isHovered() || isInGesture() ? KaJuceTheme::controlHover : getBackgroundColour());
    KaOglDraw::fillRect ({ 1.0f, area.getBottom() - 3.0f, (area.getWidth() - 2.0f) * getValue(), 2.0f },
                         isEnabledForRender() ? getAccentColour() : KaJuceTheme::textDim);
    drawLabel (bounds.reduced (6, 0), juce::Justification::centredLeft, KaJuceTheme::textDim);
    if (font != nullptr)
        font->drawText (getValueText(), bounds.reduced (6, 0), m_valueJustification, textColour);
}

#include "editor/KaJuceSlider.h"
#include "editor/KaOglDraw.h"

KaJuceSlider::KaJuceSlider (const juce::String& name, int parameterIndex, bool vertical)
    : KaJuceControlWithHelpers (name, parameterIndex), m_bVertical (vertical)
{
}

float KaJuceSlider::valueAt (juce::Point<float> p) const noexcept
{
    p = p / m_fScale;
    const float half = (float) m_nThumb * 0.5f;
    const float track = (float) ((m_bVertical ? getHeight() : getWidth()) - m_nThumb);
    if (track <= 0.0f)
        return getValue();
    return m_bVertical ? 1.0f - (p.y - half) / track : (p.x - half) / track;
}

void KaJuceSlider::mouseDown (const juce::MouseEvent& e)
{
    if (! isEnabled())
        return;
    beginGesture();
    m_bResetHeld = resetCheck (e);
    if (! m_bResetHeld)
        setValue (valueAt (e.position), true);
}

void KaJuceSlider::mouseDrag (const juce::MouseEvent& e)
{
    if (isEnabled() && ! m_bResetHeld && ! isResetModifier (e.mods))
        setValue (valueAt (e.position), true);
}

void KaJuceSlider::mouseUp (const juce::MouseEvent&)
{
    m_bResetHeld = false;
    endGesture();
}

void KaJuceSlider::render (double)
{
    const auto area = getLocalBounds().toFloat();
    const float v = getValue();
    const float thumb = (float) m_nThumb;
    const auto accent = isEnabledForRender() ? getAccentColour() : KaJuceTheme::textDim;
    if (m_bVertical)
    {
        const auto groove = area.withSizeKeepingCentre (4.0f, area.getHeight() - thumb).withY (thumb * 0.5f);
        KaOglDraw::fillRoundedRect (groove, 2.0f, KaJuceTheme::control);
        const float y = thumb * 0.5f + (1.0f - v) * (area.getHeight() - thumb);
        KaOglDraw::fillRoundedRect (groove.withTop (y), 2.0f, accent.withMultipliedAlpha (0.7f));
        KaOglDraw::fillRoundedRect ({ 1.0f, y - thumb * 0.5f, area.getWidth() - 2.0f, thumb }, 2.0f, isHovered() ? KaJuceTheme::text : KaJuceTheme::textDim);
    }
    else
    {
        const auto groove = area.withSizeKeepingCentre (area.getWidth() - thumb, 4.0f).withX (thumb * 0.5f);
        KaOglDraw::fillRoundedRect (groove, 2.0f, KaJuceTheme::control);
        const float x = thumb * 0.5f + v * (area.getWidth() - thumb);
        KaOglDraw::fillRoundedRect (groove.withRight (x), 2.0f, accent.withMultipliedAlpha (0.7f));
        KaOglDraw::fillRoundedRect ({ x - thumb * 0.5f, 1.0f, thumb, area.getHeight() - 2.0f }, 2.0f, isHovered() ? KaJuceTheme::text : KaJuceTheme::textDim);
    }
}

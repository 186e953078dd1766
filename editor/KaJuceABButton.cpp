#include "editor/KaJuceABButton.h"
#include "editor/KaOglDraw.h"

KaJuceABButton::KaJuceABButton (const juce::String& name, int parameterIndex) : KaJuceButton (name, parameterIndex, Mode::push) {}

void KaJuceABButton::setComparingB (bool b) noexcept
{
    if (m_bComparingB.exchange (b) != b)
        requestRedraw();
}

void KaJuceABButton::drawFace (juce::Rectangle<float> area)
{
    const auto accent = getAccentColour();
    KaOglDraw::fillRoundedRect (area.reduced (0.5f), 3.0f, isHovered() ? KaJuceTheme::controlHover : getBackgroundColour());
    auto halves = area.reduced (3.0f);
    const auto a = halves.removeFromLeft (halves.getWidth() * 0.5f), b = halves;
    const bool heardB = m_bComparingB.load();
    KaOglDraw::fillRoundedRect ((heardB ? b : a).reduced (0.5f), 2.0f, accent.withMultipliedAlpha (isOn() ? 0.5f : 0.3f));
    KaOglDraw::drawRoundedRect (area, 3.0f, KaJuceTheme::controlEdge);
    auto* font = getOglFont (getLabelFontSize());
    if (font == nullptr)
        return;
    font->drawText ("A", a.toNearestInt(), juce::Justification::centred, heardB ? KaJuceTheme::textDim : accent.brighter (0.4f));
    font->drawText ("B", b.toNearestInt(), juce::Justification::centred, heardB ? accent.brighter (0.4f) : KaJuceTheme::textDim);
}

#include "editor/UpmixerChannelCircle.h"
#include "editor/KaJuceTheme.h"
#include "editor/KaOglDraw.h"

UpmixerChannelCircle::UpmixerChannelCircle (int kind) : m_nKind (kind)
{
    setName ("UpmixerChannelCircle[" + juce::String (kind) + "]");
    setInterceptsMouseClicks (false, false);
}

void UpmixerChannelCircle::setLevelDb (float db) noexcept
{
    db = std::isfinite (db) ? juce::jlimit (floorDb, 0.0f, db) : floorDb;
    m_fLevelDb.store (db, std::memory_order_relaxed);
    const float level = (db - floorDb) / -floorDb;
    if (level != m_fLevel.exchange (level, std::memory_order_relaxed))
        requestRedraw();
}

void UpmixerChannelCircle::render (double)
{
    const auto bounds = getLocalBounds().toFloat();
    const float cx = bounds.getCentreX(), cy = bounds.getCentreY();
    const float outer = juce::jmin (bounds.getWidth(), bounds.getHeight()) * 0.5f - 1.0f;
    const float disc = outer * 0.72f;
    const float level = getLevel();
    const auto colour = getColour();

    // The glow grows with the level; the disc fills with the colour as the channel gets louder.
    if (level > 0.0f)
        KaOglDraw::fillRadialGlow (cx, cy, disc + (outer - disc) * 2.0f * level, colour.withAlpha (0.55f * level));
    KaOglDraw::fillCircle (cx, cy, disc, KaJuceTheme::background);
    KaOglDraw::fillCircle (cx, cy, disc, colour.withAlpha (0.18f + 0.62f * level));
    KaOglDraw::drawCircle (cx, cy, disc, colour.withAlpha (0.9f), 1.5f);
    KaOglDraw::fillArc (cx, cy, outer, 2.5f, 0.0f, juce::MathConstants<float>::twoPi, KaJuceTheme::panelEdge);
    if (level > 0.0f)
        KaOglDraw::fillArc (cx, cy, outer, 2.5f, 0.0f, juce::MathConstants<float>::twoPi * level, colour.brighter (0.3f));

    if (auto* font = getOglFont (outer > 20.0f ? KaJuceTheme::bodyText : KaJuceTheme::smallText))
        font->drawText (m_name.forRender(), getLocalBounds(), juce::Justification::centred,
                        level > 0.55f ? KaJuceTheme::background : KaJuceTheme::text);
}

#include "editor/UpmixerDialogueActivity.h"
#include "editor/KaJuceTheme.h"
#include "editor/KaOglDraw.h"

#include <cmath>

UpmixerDialogueActivity::UpmixerDialogueActivity()
{
    setName ("UpmixerDialogueActivity");
    setInterceptsMouseClicks (false, false);
}

void UpmixerDialogueActivity::push (float dialogue, float remainder, bool isolating) noexcept
{
    const float total = dialogue + remainder;
    const bool programme = std::isfinite (total) && total > silence;
    const float share = programme ? juce::jlimit (0.0f, 1.0f, dialogue / total) : 0.0f;
    // One frame is 10 ms of a programme; a short average keeps the bar readable.
    const float smoothed = 0.7f * m_fShare.load (std::memory_order_relaxed) + 0.3f * share;
    m_fShare.store (smoothed, std::memory_order_relaxed);
    m_bProgramme.store (programme, std::memory_order_relaxed);
    m_bIsolating.store (isolating, std::memory_order_relaxed);
    m_nNewest = (m_nNewest + 1) % historyLength;
    m_history[(size_t) m_nNewest] = smoothed;
    requestRedraw();
}

void UpmixerDialogueActivity::render (double)
{
    auto area = getLocalBounds();
    auto* font = getOglFont (KaJuceTheme::bodyText);
    const bool isolating = m_bIsolating.load (std::memory_order_relaxed);
    const auto colour = isolating ? KaJuceTheme::good : KaJuceTheme::textDim;
    const float share = getShare();

    auto line = area.removeFromTop (18);
    if (font != nullptr)
    {
        font->drawText (isolating ? "Dialogue detected" : "Detector off: Dialog Isolate at 0", line, juce::Justification::centredLeft, KaJuceTheme::textDim);
        const auto value = ! hasProgramme() ? juce::String ("no signal") : juce::String (juce::roundToInt (share * 100.0f)) + " %";
        font->drawText (value, line, juce::Justification::centredRight, hasProgramme() && isolating ? KaJuceTheme::text : KaJuceTheme::textDim);
    }
    area.removeFromTop (3);
    const auto bar = area.removeFromTop (8).toFloat();
    KaOglDraw::fillRoundedRect (bar, 3.0f, KaJuceTheme::control);
    if (share > 0.002f)
        KaOglDraw::fillRoundedRect (bar.withWidth (juce::jmax (4.0f, bar.getWidth() * share)), 3.0f, colour);

    // The trace: oldest on the left, newest on the right, filled from the bottom.
    area.removeFromTop (5);
    const auto trace = area.toFloat();
    KaOglDraw::fillRect (trace, KaJuceTheme::background);
    const float step = trace.getWidth() / (float) (historyLength - 1);
    for (int i = 0; i < historyLength - 1; ++i)
    {
        const float v = m_history[(size_t) ((m_nNewest + 1 + i) % historyLength)];
        const float h = trace.getHeight() * v;
        if (h > 0.5f)
            KaOglDraw::fillRect ({ trace.getX() + step * (float) i, trace.getBottom() - h, step + 0.5f, h }, colour.withAlpha (0.55f));
    }
    KaOglDraw::drawRect (trace, KaJuceTheme::panelEdge);
}

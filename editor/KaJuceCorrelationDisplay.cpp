#include "editor/KaJuceCorrelationDisplay.h"
#include "editor/KaJuceTheme.h"
#include "editor/KaOglDraw.h"

namespace
{
    // Per tick without audio (30 per second): the scatter and the marker are gone in about a
    // second.
    constexpr float silentDecay = 0.85f;
}

KaJuceCorrelationDisplay::KaJuceCorrelationDisplay (const juce::String& name)
{
    setName (name);
    setInterceptsMouseClicks (false, false);
}

void KaJuceCorrelationDisplay::tick (const KaJuceObserverCorrelation* observer)
{
    if (observer == nullptr)
    {
        m_fCorrelation *= silentDecay;
        for (auto& bin : m_histogram)
            bin *= silentDecay;
        return;
    }
    m_fCorrelation = juce::jlimit (-1.0f, 1.0f, observer->getSmoothedCorrelation());
    for (int i = 0; i < (int) m_histogram.size(); ++i)
        m_histogram[(size_t) i] = observer->getHistogramBin (i);
}

void KaJuceCorrelationDisplay::render (double)
{
    const auto bounds = getLocalBounds();
    if (auto* font = getOglFont (KaJuceTheme::smallText))
        font->drawText (m_label, bounds.withWidth (labelWidth - 4), juce::Justification::centredRight, KaJuceTheme::textDim);

    const auto bar = bounds.withTrimmedLeft (labelWidth).reduced (0, 2).toFloat();
    KaOglDraw::fillRect (bar, KaJuceTheme::background);
    const float binWidth = bar.getWidth() / (float) m_histogram.size();
    for (size_t i = 0; i < m_histogram.size(); ++i)
        if (m_histogram[i] > 0.02f)
            KaOglDraw::fillRect ({ bar.getX() + binWidth * (float) i, bar.getY(), binWidth, bar.getHeight() },
                                 KaJuceTheme::accent.withAlpha (0.45f * m_histogram[i]));

    // Centre (0) and the quarters.
    for (int q = 1; q < 4; ++q)
        KaOglDraw::fillRect ({ std::round (bar.getX() + bar.getWidth() * (float) q / 4.0f), bar.getY(), 1.0f, bar.getHeight() },
                             KaJuceTheme::panelEdge.withAlpha (q == 2 ? 1.0f : 0.6f));

    const auto colour = m_fCorrelation < 0.0f ? KaJuceTheme::danger : m_fCorrelation < 0.5f ? KaJuceTheme::warning : KaJuceTheme::good;
    const float x = bar.getX() + bar.getWidth() * (m_fCorrelation + 1.0f) * 0.5f;
    KaOglDraw::fillRect ({ juce::jlimit (bar.getX(), bar.getRight() - 3.0f, std::round (x) - 1.0f), bar.getY() - 1.0f, 3.0f, bar.getHeight() + 2.0f }, colour);
}

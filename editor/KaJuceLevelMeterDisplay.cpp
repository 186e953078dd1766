#include "editor/KaJuceLevelMeterDisplay.h"
#include "editor/KaJuceTheme.h"
#include "editor/KaOglDraw.h"

namespace
{
    // IEC 60268-18 deflection in percent at its break points, extended by 2.5 % per dB (the
    // slope just below 0 dB) up to the headroom.
    constexpr std::array<std::pair<float, float>, 8> deflection { {
        { -70.0f, 0.0f }, { -60.0f, 2.5f }, { -50.0f, 7.5f }, { -40.0f, 15.0f },
        { -30.0f, 30.0f }, { -20.0f, 50.0f }, { 0.0f, 100.0f }, { KaJuceLevelMeterDisplay::topDb, 115.0f },
    } };
}

float KaJuceLevelMeterDisplay::fractionForDb (float db) noexcept
{
    if (! (db > deflection.front().first))  // NaN too
        return 0.0f;
    for (size_t i = 1; i < deflection.size(); ++i)
        if (db <= deflection[i].first)
        {
            const auto [x0, y0] = deflection[i - 1];
            const auto [x1, y1] = deflection[i];
            return (y0 + (db - x0) * (y1 - y0) / (x1 - x0)) / deflection.back().second;
        }
    return 1.0f;
}

KaJuceLevelMeterDisplay::KaJuceLevelMeterDisplay (const juce::String& name)
{
    setName (name);
    setInterceptsMouseClicks (true, false);
}

void KaJuceLevelMeterDisplay::tick (float levelDb, float peakDb, double nowMs)
{
    if (m_bResetRequested.exchange (false))
    {
        m_fMaxDb = -1000.0f;
        m_bOver = false;
    }
    const float fall = m_dLastTickMs > 0.0 ? (float) (nowMs - m_dLastTickMs) * releaseDbPerSecond / 1000.0f : 1000.0f;
    m_dLastTickMs = nowMs;
    levelDb = std::isfinite (levelDb) ? juce::jmax (levelDb, -1000.0f) : -1000.0f;
    peakDb = std::isfinite (peakDb) ? juce::jmax (peakDb, -1000.0f) : -1000.0f;

    m_fShownDb = juce::jmax (levelDb, m_fShownDb - fall);
    if (peakDb >= m_fHoldDb)
    {
        m_fHoldDb = peakDb;
        m_dHoldUntilMs = nowMs + holdMs;
    }
    else if (nowMs > m_dHoldUntilMs)
        m_fHoldDb = juce::jmax (m_fShownDb, m_fHoldDb - fall);

    m_bOver = m_bOver || peakDb > m_style.splitsDb[0];
    const float oldMax = m_fMaxDb;
    m_fMaxDb = juce::jmax (m_fMaxDb, peakDb);
    if (m_fMaxDb != oldMax || m_maxText.isEmpty())
        m_maxText = m_fMaxDb <= floorDb ? juce::String ("-inf") : (m_fMaxDb > 0.0f ? "+" : "") + juce::String (m_fMaxDb, 1);
}

juce::Rectangle<int> KaJuceLevelMeterDisplay::barAreaFor (int w, int h) noexcept
{
    const int width = juce::jlimit (minBarWidth, maxBarWidth, w / 4);
    const int top = textHeight + lampHeight + 3;
    return { (w - width) / 2, top, width, juce::jmax (0, h - top) };
}

void KaJuceLevelMeterDisplay::mouseDown (const juce::MouseEvent&)
{
    resetPeaks();
    if (onReset)
        onReset();
}

void KaJuceLevelMeterDisplay::render (double)
{
    const auto bar = getBarArea().toFloat();
    const float bottom = bar.getBottom(), height = bar.getHeight();
    auto yFor = [&] (float db) { return bottom - height * fractionForDb (db); };

    // The well, the zones dimly (so the scale's colours read at rest), then the lit bar.
    KaOglDraw::fillRect (bar, KaJuceTheme::background);
    const float level = yFor (m_fShownDb);
    for (size_t zone = 0; zone < 4; ++zone)
    {
        const float top = zone == 0 ? bar.getY() : yFor (m_style.splitsDb[zone - 1]);
        const float zoneBottom = yFor (m_style.splitsDb[zone]);
        if (zoneBottom <= top)
            continue;
        const auto colour = m_style.colours[zone];
        KaOglDraw::fillRect ({ bar.getX(), top, bar.getWidth(), zoneBottom - top }, colour.withAlpha (0.12f));
        if (level < zoneBottom)
        {
            const float litTop = juce::jmax (level, top);
            KaOglDraw::fillRect ({ bar.getX(), litTop, bar.getWidth(), zoneBottom - litTop }, colour);
        }
    }

    // Scale marks across the well, 0 dB stronger.
    for (int mark : scaleMarks)
        KaOglDraw::fillRect ({ bar.getX(), std::round (yFor ((float) mark)), bar.getWidth(), 1.0f },
                             KaJuceTheme::background.withAlpha (mark == 0 ? 0.9f : 0.55f));

    if (m_fHoldDb > floorDb)
        KaOglDraw::fillRect ({ bar.getX(), std::round (yFor (m_fHoldDb)) - 1.0f, bar.getWidth(), 2.0f }, m_style.hold);

    const juce::Rectangle<float> lamp (bar.getX(), (float) textHeight + 1.0f, bar.getWidth(), (float) lampHeight);
    KaOglDraw::fillRect (lamp, m_bOver ? m_style.colours[4] : m_style.colours[4].withAlpha (0.14f));

    if (auto* font = getOglFont (KaJuceTheme::smallText))
        font->drawText (m_maxText, { 0, 0, getWidth(), textHeight }, juce::Justification::centred,
                        m_bOver ? m_style.colours[4] : KaJuceTheme::textDim);
}

KaJuceLevelMeterScale::KaJuceLevelMeterScale()
{
    setName ("m_meterScale");
    setInterceptsMouseClicks (false, false);
    for (size_t i = 0; i < m_labels.size(); ++i)
    {
        const int mark = KaJuceLevelMeterDisplay::scaleMarks[i];
        m_labels[i] = mark > 0 ? "+" + juce::String (mark) : juce::String (mark);
    }
}

void KaJuceLevelMeterScale::render (double)
{
    auto* font = getOglFont (KaJuceTheme::smallText);
    if (font == nullptr)
        return;
    const auto bar = KaJuceLevelMeterDisplay::barAreaFor (getWidth(), getHeight());
    const int half = font->getHeight() / 2;
    for (size_t i = 0; i < m_labels.size(); ++i)
    {
        const int mark = KaJuceLevelMeterDisplay::scaleMarks[i];
        const int y = juce::roundToInt ((float) bar.getBottom() - (float) bar.getHeight() * KaJuceLevelMeterDisplay::fractionForDb ((float) mark));
        font->drawText (m_labels[i], { 0, y - half, getWidth() - 2, 2 * half },
                        juce::Justification::centredRight, mark == 0 ? KaJuceTheme::text : KaJuceTheme::textDim);
    }
}

#include "editor/UpmixerHazeDisplay.h"
#include "editor/KaJuceTheme.h"
#include "editor/KaOglDraw.h"

#include <juce_opengl/juce_opengl.h>

#include <array>

using namespace juce::gl;

namespace
{
    constexpr float lowHz = 100.0f, highHz = 16000.0f;
}

UpmixerHazeDisplay::UpmixerHazeDisplay()
{
    setName ("UpmixerHazeDisplay");
    setInterceptsMouseClicks (false, false);
}

juce::Colour UpmixerHazeDisplay::colourForFrequency (float hz) noexcept
{
    // Low bands red-orange, the middle green, highs blue to violet: the order of the spectrum.
    const float p = juce::jlimit (0.0f, 1.0f, std::log (juce::jmax (hz, lowHz) / lowHz) / std::log (highHz / lowHz));
    return juce::Colour::fromHSV (0.02f + 0.72f * p, 0.78f, 1.0f, 1.0f);
}

void UpmixerHazeDisplay::setHaze (const std::vector<UpmixerHazeField::Band>& bands, const UpmixerHazeField::PerChannel& azimuths)
{
    m_tracks.clear();
    m_azimuths = azimuths;
    const float spacing = (outerRing - innerRing) / (float) juce::jmax ((size_t) 1, bands.size());
    m_fTrackThickness = spacing * 1.8f;  // neighbours overlap into one haze
    for (size_t b = 0; b < bands.size(); ++b)
    {
        const auto& band = bands[b];
        if (band.level <= 0.0f)
            continue;
        Track track;
        track.ring = innerRing + spacing * ((float) b + 0.5f);
        // About half the spacing of neighbouring loudspeakers when coherent, so that a phantom
        // source between two glows as one; ambience spreads wider.
        track.width = 14.0f + 30.0f * (1.0f - band.coherence);
        track.colour = colourForFrequency (band.centreHz);
        for (size_t c = 0; c < track.brightness.size(); ++c)
            track.brightness[c] = std::pow (band.channelLevel[c], 1.3f);
        m_tracks.push_back (track);
    }
    requestRedraw();
}

void UpmixerHazeDisplay::render (double)
{
    const auto g = getGeometry();
    drawFloor (g);

    glBlendFunc (GL_SRC_ALPHA, GL_ONE);
    for (const auto& track : m_tracks)
        drawTrack (g, track);
    glBlendFunc (GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);

    // The listener, facing the front, over the haze.
    KaOglDraw::fillCircle (g.centre.x, g.centre.y, 9.0f, KaJuceTheme::control);
    KaOglDraw::drawCircle (g.centre.x, g.centre.y, 9.0f, KaJuceTheme::textDim, 1.2f);
    KaOglDraw::drawLine (g.centre.x, g.centre.y - 9.0f, g.centre.x, g.centre.y - 15.0f, KaJuceTheme::textDim, 1.5f);
    drawKey();
}

void UpmixerHazeDisplay::drawTrack (const UpmixerFieldGeometry& g, const Track& track)
{
    // Around the ring, the brightest of the loudspeakers' glows (Gaussians of the angle from
    // each, so that loud neighbours do not add up to white); across it, fading to the edges.
    constexpr int segments = 120;
    std::array<float, segments + 1> alpha {};
    for (int i = 0; i <= segments; ++i)
    {
        const float azimuth = -180.0f + 360.0f * (float) i / (float) segments;
        for (size_t c = 0; c < m_azimuths.size(); ++c)
            if (track.brightness[c] > 0.0f && ! std::isnan (m_azimuths[c]))
            {
                const float off = std::remainder (azimuth - m_azimuths[c], 360.0f) / track.width;
                alpha[(size_t) i] = juce::jmax (alpha[(size_t) i], track.brightness[c] * std::exp (-0.5f * off * off));
            }
    }
    const float half = m_fTrackThickness * 0.5f;
    const float radii[3] = { track.ring - half, track.ring, track.ring + half };
    for (int part = 0; part < 2; ++part)
    {
        glBegin (GL_QUAD_STRIP);
        for (int i = 0; i <= segments; ++i)
        {
            const float azimuth = -180.0f + 360.0f * (float) i / (float) segments;
            for (int edge = 0; edge < 2; ++edge)
            {
                KaOglDraw::setColour (track.colour.withAlpha ((part + edge) == 1 ? alpha[(size_t) i] : 0.0f));
                const auto p = g.at (azimuth, juce::jmax (0.0f, radii[part + edge]));
                glVertex2f (p.x, p.y);
            }
        }
        glEnd();
    }
}

void UpmixerHazeDisplay::drawFloor (const UpmixerFieldGeometry& g)
{
    const float pi2 = juce::MathConstants<float>::twoPi;
    KaOglDraw::fillCircle (g.centre.x, g.centre.y, g.radius, KaJuceTheme::background.brighter (0.05f));
    for (float ring : { 0.25f, 0.5f, 0.75f })
        KaOglDraw::fillArc (g.centre.x, g.centre.y, g.radius * ring, 1.0f, 0.0f, pi2, KaJuceTheme::panelEdge.withAlpha (0.6f));
    // The overheads' ring dashed (where the layout has overheads), the ear-level ring solid.
    const bool heights = std::any_of (m_spokes.begin(), m_spokes.end(), [] (auto spoke) { return spoke.y < 1.0f; });
    for (int i = 0; heights && i < 48; i += 2)
        KaOglDraw::fillArc (g.centre.x, g.centre.y, g.radius * UpmixerFieldGeometry::heightRing, 1.2f, pi2 * (float) i / 48.0f,
                            pi2 * (float) (i + 1) / 48.0f, KaJuceTheme::controlEdge);
    KaOglDraw::fillArc (g.centre.x, g.centre.y, g.radius, 1.5f, 0.0f, pi2, KaJuceTheme::controlEdge);
    for (const auto& spoke : m_spokes)
    {
        const auto end = g.at (spoke.x, spoke.y);
        KaOglDraw::drawLine (g.centre.x, g.centre.y, end.x, end.y, KaJuceTheme::panelEdge, 1.0f);
    }
}

void UpmixerHazeDisplay::drawKey()
{
    auto key = getLocalBounds().removeFromBottom (keyHeight).reduced (4, 4);
    auto* font = getOglFont (KaJuceTheme::smallText);
    if (font == nullptr)
        return;
    auto write = [&] (const juce::String& text, juce::Colour colour)
    {
        const int w = font->getTextWidth (text);
        font->drawText (text, key.removeFromLeft (w), juce::Justification::centredLeft, colour);
        key.removeFromLeft (6);
    };
    write ("Haze: lows inside, highs outside", KaJuceTheme::textDim);
    write ("100 Hz", KaJuceTheme::textDim);
    auto strip = key.removeFromLeft (juce::jmax (20, key.getWidth() - 50)).toFloat().reduced (0.0f, 4.0f);
    key.removeFromLeft (6);
    const int steps = 40;
    for (int i = 0; i < steps; ++i)
    {
        const float hz = lowHz * std::pow (highHz / lowHz, ((float) i + 0.5f) / (float) steps);
        KaOglDraw::fillRect ({ strip.getX() + strip.getWidth() * (float) i / (float) steps, strip.getY(), strip.getWidth() / (float) steps + 0.5f,
                               strip.getHeight() }, colourForFrequency (hz).withAlpha (0.85f));
    }
    write ("16 kHz", KaJuceTheme::textDim);
}

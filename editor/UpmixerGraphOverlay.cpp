#include "editor/UpmixerGraphOverlay.h"
#include "editor/KaJuceTheme.h"
#include "editor/KaOglDraw.h"
#include "editor/UpmixerHazeDisplay.h"
#include "processor/UpmixerParameters.h"

using namespace UpmixerParam;

namespace
{
    // Just inside the ear-level ring, clear of the loudspeakers' circles.
    constexpr float arcRing = 0.88f;
    // The diffuse point: its area behind the listener, in field units.
    constexpr float diffuseNear = 0.12f, diffuseFar = 0.85f, diffuseWidth = 0.7f;
    // The height points' spokes on the overheads' ring (degrees), on the left, apart from the arc's points.
    constexpr float heightOnAzimuth = -50.0f, heightOffAzimuth = -130.0f;
    const char* const pointNames[] = { "Divergence", "Fade", "Fade Rears", "Diffuse", "Height in-phase", "Height out-of-phase" };
}

// Divergence widens from the centre; the fades move forward as they grow.
const std::array<UpmixerGraphOverlay::Arc, 3> UpmixerGraphOverlay::arcs { { { 0.0f, 30.0f }, { 110.0f, 30.0f }, { 170.0f, 110.0f } } };

UpmixerGraphOverlay::UpmixerGraphOverlay() : KaJuceControlPointsController ("UpmixerGraphOverlay")
{
    addPoint (pointNames[pointDivergence], Divergence, -1);
    addPoint (pointNames[pointFade], FadeFS, -1);
    addPoint (pointNames[pointFadeRears], FadeSB, -1);
    addPoint (pointNames[pointDiffuse], UpmixPsdWidth, Diffusion);
    addPoint (pointNames[pointHeightOn], VerticalOnPhase, -1);
    addPoint (pointNames[pointHeightOff], VerticalOffPhase, -1);
}

void UpmixerGraphOverlay::setLayout (bool rears, bool heights) noexcept
{
    if (rears != m_bRears.exchange (rears) || heights != m_bHeights.exchange (heights))
        requestRedraw();
}

bool UpmixerGraphOverlay::isPointShown (int index) const noexcept
{
    if (index == pointFadeRears)
        return hasRears();
    return index < pointHeightOn || hasHeights();
}

void UpmixerGraphOverlay::setLinks (bool arc, bool vertical) noexcept
{
    if (arc != m_bArcLink.exchange (arc) || vertical != m_bVerticalLink.exchange (vertical))
        requestRedraw();
}

UpmixerFieldGeometry UpmixerGraphOverlay::getGeometry() const noexcept
{
    return UpmixerFieldGeometry::forBounds (getLocalBounds().withTrimmedBottom (UpmixerHazeDisplay::keyHeight).toFloat());
}

float UpmixerGraphOverlay::azimuthForValue (int point, float value) noexcept
{
    const auto& arc = arcs[(size_t) juce::jlimit (0, 2, point)];
    return arc.atZero + (arc.atOne - arc.atZero) * juce::jlimit (0.0f, 1.0f, value);
}

juce::Point<float> UpmixerGraphOverlay::positionOfPoint (int index) const
{
    if (! isPointShown (index))
        return { -1.0e6f, -1.0e6f };  // out of reach: the layout has no such loudspeakers
    const auto g = getGeometry();
    const auto& p = getPoint (index);
    switch (index)
    {
        case pointDivergence:
        case pointFade:
        case pointFadeRears:
            return g.at (azimuthForValue (index, p.x->getValue()), arcRing);
        case pointDiffuse:
            return g.atXY (diffuseWidth * p.x->getValue(), -(diffuseNear + (diffuseFar - diffuseNear) * p.y->getValue()));
        case pointHeightOn:
        case pointHeightOff:
            return g.at (index == pointHeightOn ? heightOnAzimuth : heightOffAzimuth, UpmixerFieldGeometry::heightRing * p.x->getValue());
        default:
            return {};
    }
}

juce::Point<float> UpmixerGraphOverlay::valuesForPosition (int index, juce::Point<float> position) const
{
    const auto g = getGeometry();
    switch (index)
    {
        case pointDivergence:
        case pointFade:
        case pointFadeRears:
        {
            // The pointer's azimuth, folded onto the right half (the left mirrors it).
            const auto& arc = arcs[(size_t) index];
            const float azimuth = std::abs (g.azimuthOf (position));
            return { (azimuth - arc.atZero) / (arc.atOne - arc.atZero), 0.0f };
        }
        case pointDiffuse:
        {
            const float x = (position.x - g.centre.x) / g.radius, y = (g.centre.y - position.y) / g.radius;
            return { x / diffuseWidth, (-y - diffuseNear) / (diffuseFar - diffuseNear) };
        }
        case pointHeightOn:
        case pointHeightOff:
        {
            // Along the spoke: the pointer projected onto it.
            const float azimuth = juce::degreesToRadians (index == pointHeightOn ? heightOnAzimuth : heightOffAzimuth);
            const float along = ((position.x - g.centre.x) * std::sin (azimuth) - (position.y - g.centre.y) * std::cos (azimuth)) / g.radius;
            return { along / UpmixerFieldGeometry::heightRing, 0.0f };
        }
        default:
            return {};
    }
}

void UpmixerGraphOverlay::mouseMove (const juce::MouseEvent& e)
{
    KaJuceControlPointsController::mouseMove (e);
    setMouseCursor (getHoveredPoint() >= 0 ? juce::MouseCursor::PointingHandCursor : juce::MouseCursor::NormalCursor);
}

void UpmixerGraphOverlay::render (double)
{
    const auto g = getGeometry();
    drawBoundaries (g);
    for (int i = 0; i < getNumPoints(); ++i)
        if (isPointShown (i))
            drawPoint (i, pointNames[i]);
}

void UpmixerGraphOverlay::drawBoundaries (const UpmixerFieldGeometry& g)
{
    const auto accent = getAccentColour();
    float azimuths[3];
    for (int i = 0; i < 3; ++i)
        azimuths[i] = azimuthForValue (i, getPoint (i).x->getValue());

    // The front image (both sides of the centre) and the boundaries, mirrored on the left.
    const float arcRadius = g.radius * arcRing;
    const float front = juce::degreesToRadians (azimuths[0]);
    KaOglDraw::fillArc (g.centre.x, g.centre.y, arcRadius + 1.5f, 3.0f, -front, front, accent.withAlpha (0.8f));
    for (int i = 1; i < (hasRears() ? 3 : 2); ++i)
        for (float side : { 1.0f, -1.0f })
        {
            const auto inner = g.at (side * azimuths[i], arcRing - 0.1f), outer = g.at (side * azimuths[i], 1.0f);
            KaOglDraw::drawLine (inner.x, inner.y, outer.x, outer.y, accent.withAlpha (side > 0.0f ? 0.75f : 0.3f), 1.5f);
        }
    if (m_bArcLink.load())
        KaOglDraw::fillArc (g.centre.x, g.centre.y, arcRadius + 0.75f, 1.5f, front, juce::degreesToRadians (azimuths[hasRears() ? 2 : 1]),
                            accent.withAlpha (0.6f));

    // The regions the boundaries make, named on the left half (the right holds the points).
    if (auto* font = getOglFont (KaJuceTheme::smallText))
    {
        // Without backs the sides reach round to the back.
        const float sidesEnd = hasRears() ? azimuths[2] : 180.0f;
        const std::pair<const char*, float> regions[] = { { "FRONT", 0.5f * (azimuths[0] + azimuths[1]) },
                                                          { "SIDES", 0.5f * (azimuths[1] + sidesEnd) },
                                                          { "BACKS", 0.5f * (azimuths[2] + 180.0f) } };
        for (int i = 0; i < (hasRears() ? 3 : 2); ++i)
        {
            const auto at = g.at (-regions[i].second, arcRing - 0.06f).roundToInt();
            font->drawText (regions[i].first, juce::Rectangle<int> (50, 14).withCentre (at), juce::Justification::centred,
                            KaJuceTheme::textDim.withAlpha (0.8f));
        }
    }

    // The diffuse area behind the listener: as wide as Space, as deep as Diffusion.
    const auto diffuse = positionOfPoint (pointDiffuse);
    const float top = g.centre.y + diffuseNear * g.radius;
    const juce::Rectangle<float> area { g.centre.x - (diffuse.x - g.centre.x), top, 2.0f * (diffuse.x - g.centre.x), juce::jmax (2.0f, diffuse.y - top) };
    const auto diffuseColour = getBackgroundColour();
    KaOglDraw::fillRoundedRect (area, 6.0f, diffuseColour.withAlpha (0.08f));
    KaOglDraw::drawRoundedRect (area, 6.0f, diffuseColour.withAlpha (0.5f), 1.0f);

    if (hasHeights())
    {
        for (int i = pointHeightOn; i <= pointHeightOff; ++i)
        {
            const auto end = g.at (i == pointHeightOn ? heightOnAzimuth : heightOffAzimuth, UpmixerFieldGeometry::heightRing);
            KaOglDraw::drawLine (g.centre.x, g.centre.y, end.x, end.y, accent.withAlpha (0.25f), 1.0f);
        }
        if (m_bVerticalLink.load())
        {
            const auto a = positionOfPoint (pointHeightOn), b = positionOfPoint (pointHeightOff);
            KaOglDraw::drawLine (a.x, a.y, b.x, b.y, accent.withAlpha (0.5f), 2.0f);
        }
    }
}

void UpmixerGraphOverlay::drawPoint (int index, const juce::String& label)
{
    const auto p = positionOfPoint (index);
    const bool active = getDraggedPoint() == index || getHoveredPoint() == index;
    const auto accent = getAccentColour();
    const float radius = active ? 8.0f : 6.0f;
    KaOglDraw::fillCircle (p.x, p.y, radius + 2.0f, KaJuceTheme::background);
    KaOglDraw::fillCircle (p.x, p.y, radius, active ? accent.brighter (0.4f) : accent);
    if (! active)
        return;
    // The name and value of the point under the pointer.
    const auto& point = getPoint (index);
    const auto text = index == pointDiffuse ? "Space: " + point.x->getValueText() + "   Diffusion: " + point.y->getValueText()
                                            : label + ": " + point.x->getValueText();
    if (auto* font = getOglFont (KaJuceTheme::bodyText))
    {
        const int w = font->getTextWidth (text) + 12;
        auto box = juce::Rectangle<int> ((int) p.x + 12, (int) p.y - 24, w, 18);
        box = box.constrainedWithin (getLocalBounds());
        KaOglDraw::fillRoundedRect (box.toFloat(), 3.0f, KaJuceTheme::panel.withAlpha (0.92f));
        KaOglDraw::drawRoundedRect (box.toFloat(), 3.0f, KaJuceTheme::controlEdge);
        font->drawText (text, box, juce::Justification::centred, KaJuceTheme::text);
    }
}

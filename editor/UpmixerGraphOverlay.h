#pragma once

#include "editor/KaJuceControlPointsController.h"
#include "editor/UpmixerFieldGeometry.h"

#include <array>

/** The points dragged on the surround field to shape the upmix, each an axis bound to its
    parameter (so one drag is one host gesture and one undo step, announced in the status line):

    - on the right half of the ear-level ring, three boundaries the processor's arc sets: the
      front image's width (Divergence, 0 to 30 degrees: how far the centre spreads towards L and
      R), where the front gives way to the sides (FadeFS: from 110 degrees with no fade up to
      the front speakers at full fade) and where the sides give way to the backs (FadeSB: from
      170 degrees up to the sides, in layouts with back loudspeakers); the left half mirrors
      them and names the regions;
    - behind the listener the diffuse sound: Diffusion towards the back, Space (UpmixPsdWidth,
      the diffuse delay) across;
    - on the overheads' ring, when the layout has heights: how much in-phase (front left) and
      out-of-phase (rear left) sound goes up, the distance from the centre.

    With Arc Link on, the arc's three boundaries move together (the processor keeps their
    offsets) and the ring between them is drawn linked; Vert. Link does the same for the two
    height points. */
class UpmixerGraphOverlay : public KaJuceControlPointsController
{
public:
    enum PointIndex { pointDivergence, pointFade, pointFadeRears, pointDiffuse, pointHeightOn, pointHeightOff, numPointIndices };

    UpmixerGraphOverlay();

    /** Message thread: what the layout has and which links are on. */
    void setLayout (bool hasRears, bool hasHeights) noexcept;
    void setLinks (bool arc, bool vertical) noexcept;
    /** Message thread: the diffuse area's colour (Col Diffusion). */
    void setDiffusionColour (juce::Colour c) noexcept { setBackgroundColour (c); }
    bool hasHeights() const noexcept { return m_bHeights.load(); }
    bool hasRears() const noexcept { return m_bRears.load(); }
    /** Whether a point is on the field for the current layout. */
    bool isPointShown (int index) const noexcept;

    /** The azimuth (degrees, right half) a boundary point stands at for its value. */
    static float azimuthForValue (int point, float value) noexcept;

    juce::Point<float> positionOfPoint (int index) const override;
    juce::Point<float> valuesForPosition (int index, juce::Point<float> position) const override;
    void render (double time) override;

    UpmixerFieldGeometry getGeometry() const noexcept;

protected:
    /** The pointing hand over a point, so that the user sees what can be dragged. */
    void mouseMove (const juce::MouseEvent& e) override;

private:
    struct Arc
    {
        float atZero, atOne;  // azimuths at the values 0 and 1
    };
    static const std::array<Arc, 3> arcs;

    void drawBoundaries (const UpmixerFieldGeometry& g);
    void drawPoint (int index, const juce::String& label);

    std::atomic<bool> m_bRears { true }, m_bHeights { false }, m_bArcLink { false }, m_bVerticalLink { false };
};

#pragma once

#include <juce_graphics/juce_graphics.h>

/** Fixed-function drawing of plain shapes for the render thread: filled and outlined
    rectangles, lines, circles and arcs, in the current model-view coordinates (pixels). */
namespace KaOglDraw
{
    void setColour (juce::Colour colour);
    void fillRect (juce::Rectangle<float> r, juce::Colour colour);
    void drawRect (juce::Rectangle<float> r, juce::Colour colour, float thickness = 1.0f);
    /** A filled rectangle with its corners rounded by radius (pixels). */
    void fillRoundedRect (juce::Rectangle<float> r, float radius, juce::Colour colour);
    void drawRoundedRect (juce::Rectangle<float> r, float radius, juce::Colour colour, float thickness = 1.0f);
    /** A modal card: the area behind dimmed by `dim`, the card's drop shadow, its face and its
        edge. */
    void drawModalCard (juce::Rectangle<float> behind, juce::Rectangle<float> card, float dim, float radius, juce::Colour face, juce::Colour edge);
    /** Top to bottom colour gradient. */
    void fillVerticalGradient (juce::Rectangle<float> r, juce::Colour top, juce::Colour bottom);
    void drawLine (float x1, float y1, float x2, float y2, juce::Colour colour, float thickness = 1.0f);
    void fillCircle (float cx, float cy, float radius, juce::Colour colour);
    void drawCircle (float cx, float cy, float radius, juce::Colour colour, float thickness = 1.0f);
    /** An arc from angle a0 to a1 (radians, clockwise from 12 o'clock) as a band of the given
        thickness, its outer edge at radius. */
    void fillArc (float cx, float cy, float radius, float thickness, float a0, float a1, juce::Colour colour);
    /** A filled disc whose colour fades from centre to transparent at its edge. */
    void fillRadialGlow (float cx, float cy, float radius, juce::Colour centre);
}

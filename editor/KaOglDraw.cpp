#include "editor/KaOglDraw.h"

#include <juce_opengl/juce_opengl.h>

#include <cmath>

using namespace juce::gl;

namespace
{
    // Enough segments for a smooth circle at the sizes the editor draws (up to ~400 px).
    int segmentsFor (float radius) { return juce::jlimit (12, 96, (int) (radius * 0.8f)); }

    void vertexOnCircle (float cx, float cy, float radius, float angle)
    {
        glVertex2f (cx + radius * std::sin (angle), cy - radius * std::cos (angle));
    }
}

namespace KaOglDraw
{
    void setColour (juce::Colour c) { glColor4ub (c.getRed(), c.getGreen(), c.getBlue(), c.getAlpha()); }

    void fillRect (juce::Rectangle<float> r, juce::Colour colour)
    {
        setColour (colour);
        glBegin (GL_QUADS);
        glVertex2f (r.getX(), r.getY());
        glVertex2f (r.getRight(), r.getY());
        glVertex2f (r.getRight(), r.getBottom());
        glVertex2f (r.getX(), r.getBottom());
        glEnd();
    }

    void drawRect (juce::Rectangle<float> r, juce::Colour colour, float t)
    {
        fillRect (r.withHeight (t), colour);
        fillRect (r.withTop (r.getBottom() - t), colour);
        fillRect (r.withWidth (t).reduced (0.0f, t), colour);
        fillRect (r.withLeft (r.getRight() - t).reduced (0.0f, t), colour);
    }

    static void roundedOutline (juce::Rectangle<float> r, float radius, GLenum mode)
    {
        radius = juce::jmin (radius, r.getWidth() * 0.5f, r.getHeight() * 0.5f);
        const float pi = juce::MathConstants<float>::pi;
        const juce::Point<float> corners[] = { { r.getRight() - radius, r.getY() + radius }, { r.getRight() - radius, r.getBottom() - radius },
                                               { r.getX() + radius, r.getBottom() - radius }, { r.getX() + radius, r.getY() + radius } };
        const int steps = 6;
        glBegin (mode);
        for (int c = 0; c < 4; ++c)
            for (int i = 0; i <= steps; ++i)
                vertexOnCircle (corners[c].x, corners[c].y, radius, (float) c * pi * 0.5f + (float) i * pi * 0.5f / (float) steps);
        glEnd();
    }

    void fillRoundedRect (juce::Rectangle<float> r, float radius, juce::Colour colour)
    {
        setColour (colour);
        roundedOutline (r, radius, GL_POLYGON);
    }

    void drawModalCard (juce::Rectangle<float> behind, juce::Rectangle<float> card, float dim, float radius, juce::Colour face, juce::Colour edge)
    {
        fillRect (behind, juce::Colours::black.withAlpha (dim));
        fillRoundedRect (card.translated (0.0f, radius - 2.0f), radius + 1.0f, juce::Colours::black.withAlpha (0.4f));
        fillRoundedRect (card, radius, face);
        drawRoundedRect (card, radius, edge);
    }

    void drawRoundedRect (juce::Rectangle<float> r, float radius, juce::Colour colour, float thickness)
    {
        setColour (colour);
        glLineWidth (thickness);
        roundedOutline (r.reduced (thickness * 0.5f), radius, GL_LINE_LOOP);
        glLineWidth (1.0f);
    }

    void fillVerticalGradient (juce::Rectangle<float> r, juce::Colour top, juce::Colour bottom)
    {
        glBegin (GL_QUADS);
        setColour (top);
        glVertex2f (r.getX(), r.getY());
        glVertex2f (r.getRight(), r.getY());
        setColour (bottom);
        glVertex2f (r.getRight(), r.getBottom());
        glVertex2f (r.getX(), r.getBottom());
        glEnd();
    }

    void drawLine (float x1, float y1, float x2, float y2, juce::Colour colour, float thickness)
    {
        setColour (colour);
        glLineWidth (thickness);
        glBegin (GL_LINES);
        glVertex2f (x1, y1);
        glVertex2f (x2, y2);
        glEnd();
        glLineWidth (1.0f);
    }

    void fillCircle (float cx, float cy, float radius, juce::Colour colour)
    {
        setColour (colour);
        const int n = segmentsFor (radius);
        glBegin (GL_TRIANGLE_FAN);
        glVertex2f (cx, cy);
        for (int i = 0; i <= n; ++i)
            vertexOnCircle (cx, cy, radius, juce::MathConstants<float>::twoPi * (float) i / (float) n);
        glEnd();
    }

    void drawCircle (float cx, float cy, float radius, juce::Colour colour, float thickness)
    {
        fillArc (cx, cy, radius + thickness * 0.5f, thickness, 0.0f, juce::MathConstants<float>::twoPi, colour);
    }

    void fillArc (float cx, float cy, float radius, float thickness, float a0, float a1, juce::Colour colour)
    {
        setColour (colour);
        const int n = juce::jmax (2, (int) ((float) segmentsFor (radius) * std::abs (a1 - a0) / juce::MathConstants<float>::twoPi) + 1);
        const float inner = juce::jmax (0.0f, radius - thickness);
        glBegin (GL_QUAD_STRIP);
        for (int i = 0; i <= n; ++i)
        {
            const float a = a0 + (a1 - a0) * (float) i / (float) n;
            vertexOnCircle (cx, cy, radius, a);
            vertexOnCircle (cx, cy, inner, a);
        }
        glEnd();
    }

    void fillRadialGlow (float cx, float cy, float radius, juce::Colour centre)
    {
        const int n = segmentsFor (radius);
        glBegin (GL_TRIANGLE_FAN);
        setColour (centre);
        glVertex2f (cx, cy);
        setColour (centre.withAlpha (0.0f));
        for (int i = 0; i <= n; ++i)
            vertexOnCircle (cx, cy, radius, juce::MathConstants<float>::twoPi * (float) i / (float) n);
        glEnd();
    }
}

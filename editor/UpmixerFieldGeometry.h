#pragma once

#include <juce_graphics/juce_graphics.h>

#include <cmath>

/** The plan view the surround field draws in: the listener at the centre, front up, the
    ear-level loudspeakers on the outer ring (radius 1) and the overheads on an inner ring.
    Azimuths in degrees as the speaker angles give them: 0 in front, negative to the left. */
struct UpmixerFieldGeometry
{
    /** The overheads' ring: they sit above the listener, nearer the centre of a plan view. */
    static constexpr float heightRing = 0.56f;
    /** Room left around the outer ring for the circles and their labels (pixels). */
    static constexpr float edge = 34.0f;

    juce::Point<float> centre;
    float radius = 1.0f;

    static UpmixerFieldGeometry forBounds (juce::Rectangle<float> bounds) noexcept
    {
        return { bounds.getCentre(), juce::jmax (1.0f, juce::jmin (bounds.getWidth(), bounds.getHeight()) * 0.5f - edge) };
    }

    juce::Point<float> at (float azimuthDegrees, float ring) const noexcept
    {
        const float a = juce::degreesToRadians (azimuthDegrees);
        return { centre.x + radius * ring * std::sin (a), centre.y - radius * ring * std::cos (a) };
    }

    /** A point given in field units (x right, y front, 1 = the outer ring). */
    juce::Point<float> atXY (float x, float y) const noexcept { return { centre.x + radius * x, centre.y - radius * y }; }

    float azimuthOf (juce::Point<float> p) const noexcept
    {
        return juce::radiansToDegrees (std::atan2 (p.x - centre.x, centre.y - p.y));
    }

    float ringOf (juce::Point<float> p) const noexcept { return p.getDistanceFrom (centre) / radius; }
};

#pragma once

#include <juce_graphics/juce_graphics.h>

#include <algorithm>
#include <cmath>

/** The report picture's colours and type, shared by its parts. */
namespace UpmixReportStyle
{
    inline constexpr float levelRangeDb = 60.0f;  // the darkest level shown, below the reference

    inline const juce::Colour backgroundColour { 0xff15171b }, textColour { 0xffe6e6e6 }, dimColour { 0xff9aa0a8 },
        gridColour { 0x50ffffff };

    inline juce::Font font (float size, bool bold = false) { return juce::Font (size, bold ? juce::Font::bold : juce::Font::plain); }

    /** The colour wheel of directions: front yellow, L red, the left side magenta, R green, the
        right side cyan, behind blue. The front is stretched over more of the wheel than its
        share of the circle (30 degrees off centre takes a sixth of the wheel), because most of
        a mix sits there and small shifts in it matter. */
    inline float hueOf (double azimuthDegrees)
    {
        const double stretched = std::copysign (180.0 * std::pow (std::min (std::abs (azimuthDegrees), 180.0) / 180.0, 0.6), azimuthDegrees);
        const double h = 0.15 + stretched / 360.0;
        return (float) (h - std::floor (h));
    }

    /** A cell's colour: the hue of its direction, saturation from focused (1) to spread all
        around (0), brightness from its level 0..1, the quiet end lifted a little. */
    inline juce::Colour colourOf (double azimuthDegrees, double spread, float level01)
    {
        const auto saturation = (float) juce::jlimit (0.0, 1.0, 1.0 - spread);
        return juce::Colour::fromHSV (hueOf (azimuthDegrees), saturation, std::pow (juce::jlimit (0.0f, 1.0f, level01), 0.8f), 1.0f);
    }
}

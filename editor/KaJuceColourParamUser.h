#pragma once

#include <juce_graphics/juce_graphics.h>

/** Mixin for what draws with the colour parameters: a colour parameter's normalised value is a
    hue (0..1 around the colour wheel); the role decides saturation and brightness. */
class KaJuceColourParamUser
{
public:
    virtual ~KaJuceColourParamUser() = default;

    /** The colour a parameter value stands for, at full opacity. */
    static juce::Colour colourForValue (float value, float saturation = 0.72f, float brightness = 0.92f)
    {
        return juce::Colour::fromHSV (juce::jlimit (0.0f, 1.0f, value), saturation, brightness, 1.0f);
    }
};

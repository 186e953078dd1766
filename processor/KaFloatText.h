#pragma once

#include <juce_core/juce_core.h>

#include <optional>

/** Parameter values as decimal text in sessions and preset files.

    Values are written in the shortest form that reads back to the very same 32-bit float, so a
    save and a load never move a parameter by a bit, and independently of the C locale (a host
    running under a decimal comma must not write "0,5"). Any thread; allocates. */
namespace KaFloatText
{
    juce::String fromFloat (float value);

    /** A finite decimal number ("0.25", "-3", "1e-5", "+0.5", surrounding blanks allowed), or
        nothing for anything else (empty, words, "nan", "inf", trailing characters). Numbers
        beyond the float range read as the largest float of their sign. */
    std::optional<float> toFloat (const juce::String& text);
}

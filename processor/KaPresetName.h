#pragma once

#include <juce_core/juce_core.h>

/** Preset and preset-folder names on the disk.

    The names the user sees may hold characters that file systems reject or treat as paths; on
    disk each of "/\()|:" becomes "&" and its two-digit upper-case hex code, and every character
    outside a small portable set is dropped for good. Decoding accepts the "&" form and also a
    "%" form that older tools wrote. Pure functions; any thread. */
namespace KaPresetName
{
    juce::String encode (const juce::String& shownName);
    juce::String decode (const juce::String& diskName);
    /** Every character a shown name keeps through encode and decode (for a name field's filter). */
    juce::String keptCharacters();
}

#pragma once

#include <juce_core/juce_core.h>

class KaJuceProcessorBase;

/** The block a host keeps in its session: the "MYPLUGINSETTINGS" XML document, packed with
    JUCE's XML-to-binary.

    The root carries the current program ("CURRENTPRESET"), the instance-link attributes, and
    the text of a kept earlier state ("LOADEDFROMPREV"); a "PRESETDATA" child names the tracked
    preset file; "PRESET0" .. "PRESET45" hold each program slot's name ("PRESETNAME") and its
    host parameter values by key.

    Loading never harms the instance: a block that is not such a document is ignored whole;
    missing slots keep theirs, missing or unreadable values take their defaults, values out of
    range are clamped, unknown keys are ignored. Message thread. */
namespace KaSessionState
{
    inline constexpr const char* rootTag = "MYPLUGINSETTINGS";

    std::unique_ptr<juce::XmlElement> createDocument (const KaJuceProcessorBase& processor);
    void save (const KaJuceProcessorBase& processor, juce::MemoryBlock& dest);

    /** The document in a host's block, or nullptr for anything else. */
    std::unique_ptr<juce::XmlElement> unpack (const void* data, int sizeInBytes);

    /** Returns false when the document was ignored. */
    bool applyDocument (KaJuceProcessorBase& processor, const juce::XmlElement& document);
    bool load (KaJuceProcessorBase& processor, const void* data, int sizeInBytes);
}

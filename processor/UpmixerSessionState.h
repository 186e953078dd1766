#pragma once

#include <juce_core/juce_core.h>

class UpmixerProcessor;

/** The block the host keeps in its session: the "MYPLUGINSETTINGS" XML document with the
    current preset slot's parameter values by key, packed with JUCE's XML-to-binary.

    Loading never harms the instance: a block that is not XML or has another root is ignored,
    missing values take their defaults, values that are not numbers are ignored, and values out
    of range are clamped. Message thread. */
namespace UpmixerSessionState
{
    inline constexpr const char* rootTag = "MYPLUGINSETTINGS";

    std::unique_ptr<juce::XmlElement> createDocument (const UpmixerProcessor& processor);
    void save (const UpmixerProcessor& processor, juce::MemoryBlock& dest);

    /** Returns false when the block was ignored. */
    bool load (UpmixerProcessor& processor, const void* data, int sizeInBytes);
    bool applyDocument (UpmixerProcessor& processor, const juce::XmlElement& document);
}

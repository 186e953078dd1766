#pragma once

#include "processor/UpmixerProcessor.h"

#include <bit>
#include <cstdint>
#include <vector>

/** Helpers shared by the session, preset and undo tests. */
namespace StateTestSupport
{
    /** A value for every host parameter that stresses the decimal form: tiny and subnormal
        numbers, values a bit below 1, long mantissas, -0. `ParamMapVersion` stays current so
        that loading maps nothing. */
    std::vector<float> awkwardValues (const KaParameterTable& table, int seed);

    /** A parameter table of the plug-in's parameters at their defaults, with no processor. */
    KaParameterTable makeTable();

    /** Sets every host parameter as the editor would, not recorded for undo. */
    void setAll (KaJuceProcessorBase& processor, const std::vector<float>& values);

    inline std::uint32_t bitsOf (float value) { return std::bit_cast<std::uint32_t> (value); }

    /** A host block in JUCE's XML-to-binary framing around any text, well-formed or not. */
    juce::MemoryBlock frame (const juce::String& text);

    juce::MemoryBlock stateOf (juce::AudioProcessor& processor);

    /** The document text inside a block written by the processor. */
    juce::String documentOf (const juce::MemoryBlock& block);

    /** True when the process-wide log holds the line. */
    bool logContains (const juce::String& line);

    /** The stored default preset is cleared when the guard goes, so that later processors in
        the run start from the plain defaults. */
    struct DefaultPresetGuard
    {
        ~DefaultPresetGuard();
    };

    /** A preset folder under this run's preset root, deleted with everything in it when the
        guard goes. */
    struct ScopedPresetFolder
    {
        explicit ScopedPresetFolder (const juce::String& diskName);
        ~ScopedPresetFolder();
        juce::File file (const juce::String& presetDiskName) const;

        juce::String name;
        juce::File dir;
    };

    /** Writes a preset of the given values into a folder. */
    juce::File writePreset (const juce::File& dir, const juce::String& diskName, const KaParameterTable& table, const std::vector<float>& values);
}

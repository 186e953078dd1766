#pragma once

#include "processor/KaParameterTable.h"
#include "processor/KaPreset.h"

#include <optional>

/** The ".nap" preset file: UTF-8 XML, root "KestroAudioPreset" with "RegistryPath", "Version"
    and "FileVersion", a "Parameters" element holding every host parameter by key, and an
    optional "SpecificData" element.

    Reading never trusts the file: anything that is not such a document gives nothing, missing
    or unreadable values take the parameter's default, out-of-range values are clamped, unknown
    keys are ignored. Writing goes to a temporary file that is renamed over the target, so a
    crash mid-save leaves the old preset or the new one, never a broken one.
    Message thread (or any non-audio thread); allocates and touches the disk. */
namespace KaPresetFile
{
    inline constexpr const char* rootTag = "KestroAudioPreset";
    inline constexpr const char* extension = ".nap";
    /** No real preset comes near this; a larger file is not read at all. */
    inline constexpr juce::int64 maxFileBytes = 4 * 1024 * 1024;

    /** A preset of the table's current host parameter values. */
    KaPreset fromTable (const KaParameterTable& table, const juce::String& folder, const juce::String& file);

    /** The file's complete text. */
    juce::String toText (const KaPreset& preset, const KaParameterTable& table);
    bool save (const KaPreset& preset, const KaParameterTable& table, const juce::File& target);

    /** Reads a document held in memory as raw bytes (valid UTF-8). */
    std::optional<KaPreset> parse (const void* data, size_t numBytes, const KaParameterTable& table);
    /** Reads a file; folder and file of the result name it (its parent folder and base name). */
    std::optional<KaPreset> load (const juce::File& file, const KaParameterTable& table);
}

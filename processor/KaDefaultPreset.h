#pragma once

#include "processor/KaParameterTable.h"

#include <optional>
#include <vector>

class KaSettingsStore;

/** The user's default preset, kept in the per-user settings store beside the persistent
    settings: one 4-byte float per host parameter under "KJDEFAULT " + its display name, and the
    folder and file of the preset that was current when it was saved. Message thread. */
namespace KaDefaultPreset
{
    inline constexpr const char* keyPrefix = "KJDEFAULT ";
    inline constexpr const char* folderKey = "KJDEFAULT_PRESET_FOLDER";
    inline constexpr const char* fileKey = "KJDEFAULT_PRESET_FILE";
    /** A stored value equal to this counts as missing. */
    inline constexpr float missingMarker = -1.0e8f;

    /** Stores the table's host parameter values; the preset's folder and file when given,
        otherwise any earlier ones are removed. */
    void save (KaSettingsStore& store, const KaParameterTable& table, const juce::String& folder, const juce::String& file);

    /** True as soon as one host parameter has a usable stored value. */
    bool has (KaSettingsStore& store, const KaParameterTable& table);

    void clear (KaSettingsStore& store, const KaParameterTable& table);

    /** One value per host parameter: the stored one where usable, clamped to 0..1, else the
        parameter's default; nothing when no value is stored at all. */
    std::optional<std::vector<float>> load (KaSettingsStore& store, const KaParameterTable& table);

    /** The folder and file stored with the default (empty when none). */
    std::pair<juce::String, juce::String> presetOf (KaSettingsStore& store);
}

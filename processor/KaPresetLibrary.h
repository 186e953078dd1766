#pragma once

#include "processor/KaParameterTable.h"
#include "processor/KaPreset.h"

#include <optional>
#include <vector>

class KaSettingsStore;

/** The preset folders under one preset root and the ".nap" files in them, in the order the
    preset browser shows them: the folders "User", "Installed" and "Default" first, then any
    others; within a folder, presets by shown name in natural order, ignoring case. Hidden
    folders and files are skipped. Message thread; touches the disk. */
class KaPresetLibrary
{
public:
    struct Entry
    {
        juce::String name;  // as shown (decoded)
        juce::File file;
        juce::String diskName() const { return file.getFileNameWithoutExtension(); }
    };

    static constexpr const char* userFolder = "User";
    static constexpr const char* installedFolder = "Installed";
    static constexpr const char* defaultFolder = "Default";
    /** Settings-store key holding the program version whose factory presets were installed. */
    static constexpr const char* installedVersionKey = "FactoryPresetsInstalled";

    explicit KaPresetLibrary (juce::File root);
    /** The library under this user's preset root. */
    static KaPresetLibrary standard();

    const juce::File& getRoot() const noexcept { return m_root; }

    /** Creates the root with "User", "Installed" and "Default"; false when the disk refuses. */
    bool createStandardFolders() const;

    std::vector<Entry> listFolders() const;
    std::vector<Entry> listPresets (const juce::String& folderDiskName) const;

    /** A folder named on disk below the root, or by its full path when outside it. */
    juce::File folderFile (const juce::String& folderDiskName) const;
    /** The folder name that finds this preset file again through folderFile(). */
    juce::String folderNameOf (const juce::File& presetFile) const;
    juce::File presetFile (const juce::String& folderDiskName, const juce::String& fileDiskName) const;

    /** The preset `direction` steps (+1 next, -1 previous) from the given one in its folder,
        wrapping at either end. A preset not found in the folder steps to the first (or last);
        without a folder, the first folder that holds presets is walked. */
    std::optional<Entry> neighbour (const juce::String& folderDiskName, const juce::String& fileDiskName, int direction) const;

    /** A preset named by a file path, or by its shown or disk name in any folder (browser
        order decides between namesakes); a non-existent file when there is none. */
    juce::File find (const juce::String& nameOrPath) const;

    /** Writes each preset into its folder unless a file of that name exists; returns how many
        were written. */
    int installMissing (const std::vector<KaPreset>& presets, const KaParameterTable& table) const;

    /** installMissing() once per program version: a user who deletes a factory preset keeps it
        deleted until an update brings the set again. */
    int installFactoryPresets (const std::vector<KaPreset>& presets, const KaParameterTable& table, KaSettingsStore& store) const;

private:
    juce::File m_root;
};

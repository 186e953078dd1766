#pragma once

#include "processor/KaPresetName.h"

#include <vector>

/** One open preset: where it lives on disk and the values its file holds.

    Folder and file are the names on disk (encoded, the file without ".nap"); an empty folder
    with the file "Default" stands for the default preset kept in the settings store. Values are
    normalised, one per host parameter; where the file had no value, the parameter's default
    stands in and `supplied` is false. */
struct KaPreset
{
    static constexpr int maxRecords = 3000;
    static constexpr const char* defaultFileName = "Default";

    juce::String folder;
    juce::String file;
    std::vector<float> values;
    std::vector<float> defaults;
    std::vector<bool> supplied;
    juce::String specificData;  // an XML fragment, kept as text
    int fileVersion = 0;

    juce::String getName() const { return KaPresetName::decode (file); }
    bool isSet() const noexcept { return file.isNotEmpty(); }
    bool isStoredDefault() const noexcept { return folder.isEmpty() && file == defaultFileName; }
    bool suppliedValue (int number) const noexcept { return number >= 0 && number < (int) supplied.size() && supplied[(size_t) number]; }
};

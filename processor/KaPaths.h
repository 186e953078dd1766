#pragma once

#include <juce_core/juce_core.h>

/** Where the program keeps its per-user files.

    Everything lives under one "Kestro Audio" folder in the user's application-data folder
    (on Linux ~/.config/Kestro Audio, on macOS ~/Library/Application Support/Kestro Audio, on
    Windows %APPDATA%\Kestro Audio). The environment variable KESTRO_AUDIO_DIR replaces that
    folder, which keeps tests, CI and portable installs away from the user's own files.
*/
namespace KaPaths
{
    inline constexpr const char* companyFolderName = "Kestro Audio";
    inline constexpr const char* productName = "Orrin Upmix";
    inline constexpr const char* settingsName = "OrrinUpmix_1";

    /** The "Kestro Audio" folder (not created here). */
    juce::File companyFolder();

    /** Per-user settings of this product: companyFolder()/OrrinUpmix_1. */
    juce::File settingsFolder();

    /** Preset root: companyFolder()/Presets/OrrinUpmix_1. */
    juce::File presetRoot();

    /** The main log file, companyFolder()/KaLog.log. */
    juce::File mainLogFile();

    /** The support log, in the user's documents folder: Kestro Audio/Orrin Upmix/KaSupportLog.log
        (under KESTRO_AUDIO_DIR when that is set). */
    juce::File supportLogFile();

    /** Where the manual's HTML (resources/manual/index.html) may be, most specific first: beside
        the running binary (a build tree), in the share folder of the prefix the binary is
        installed under, then the user's and the system's install places. */
    juce::Array<juce::File> manualCandidates();

    /** The first of manualCandidates() that exists, or an empty file. */
    juce::File manualFile();
}

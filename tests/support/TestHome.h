#pragma once

#include <juce_core/juce_core.h>

#include <cstdlib>

/** A private "Kestro Audio" folder for one test run: every file the program writes (settings,
    logs, presets) goes there, never to the user's own folders. Removed when the run ends. */
struct TestHome
{
    explicit TestHome (const char* name)
        : folder (juce::File::getSpecialLocation (juce::File::tempDirectory).getNonexistentChildFile (name, "", false))
    {
        folder.createDirectory();
        setenv ("KESTRO_AUDIO_DIR", folder.getFullPathName().toRawUTF8(), 1);
    }

    ~TestHome() { folder.deleteRecursively(); }

    juce::File folder;
};

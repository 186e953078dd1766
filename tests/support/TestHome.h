#pragma once

#include "TempFolder.h"

/** A private "Kestro Audio" folder for one test process: every file the program writes (settings,
    logs, presets) goes there, never to the user's own folders. Removed when the run ends. */
struct TestHome
{
    explicit TestHome (const char* name)
        : folder (makeTempFolder (name))
    {
        setenv ("KESTRO_AUDIO_DIR", folder.getFullPathName().toRawUTF8(), 1);
    }

    ~TestHome() { folder.deleteRecursively(); }

    juce::File folder;
};

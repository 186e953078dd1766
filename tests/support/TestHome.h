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
#ifdef ORRIN_KAPOD_PATH
        // Instances meet in the pod library of this build, never in one installed on the machine.
        setenv ("KAPOD_LIBRARY", ORRIN_KAPOD_PATH, 1);
#endif
    }

    ~TestHome() { folder.deleteRecursively(); }

    juce::File folder;
};

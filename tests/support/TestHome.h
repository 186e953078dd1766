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
        // No test reaches for the network: an editor's daily update check asks a port of this
        // machine where nothing listens, and is refused at once.
        const auto settings = folder.getChildFile ("OrrinUpmix_1/settings.xml");
        settings.create();
        settings.replaceWithText ("<KaSettings>\n  <Value name=\"UpdateFeedUrl\" data=\""
                                  + juce::Base64::toBase64 (juce::String ("http://127.0.0.1:1/")) + "\"/>\n</KaSettings>\n");
    }

    ~TestHome() { folder.deleteRecursively(); }

    juce::File folder;
};

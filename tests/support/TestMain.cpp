// Test runner entry: JUCE's message manager exists for the whole run, and every file the
// program writes (settings, logs, presets) goes to a fresh temporary folder, never to the
// user's own.
#include <gtest/gtest.h>
#include <juce_events/juce_events.h>

#include <cstdlib>

int main (int argc, char** argv)
{
    auto home = juce::File::getSpecialLocation (juce::File::tempDirectory)
                    .getNonexistentChildFile ("orrin-tests", "", false);
    home.createDirectory();
    setenv ("KESTRO_AUDIO_DIR", home.getFullPathName().toRawUTF8(), 1);

    juce::ScopedJuceInitialiser_GUI juce;
    ::testing::InitGoogleTest (&argc, argv);
    const int result = RUN_ALL_TESTS();
    home.deleteRecursively();
    return result;
}

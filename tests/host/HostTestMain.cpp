// Host test runner entry: a JUCE message manager for the hosting classes, and a private folder
// for everything the loaded plug-ins write.
#include <gtest/gtest.h>
#include <juce_events/juce_events.h>

#include <cstdlib>

int main (int argc, char** argv)
{
    auto home = juce::File::getSpecialLocation (juce::File::tempDirectory).getNonexistentChildFile ("orrin-host-tests", "", false);
    home.createDirectory();
    setenv ("KESTRO_AUDIO_DIR", home.getFullPathName().toRawUTF8(), 1);

    juce::ScopedJuceInitialiser_GUI juce;
    ::testing::InitGoogleTest (&argc, argv);
    const int result = RUN_ALL_TESTS();
    home.deleteRecursively();
    return result;
}

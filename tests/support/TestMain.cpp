// Test runner entry: JUCE's message manager exists for the whole run, and every file the
// program writes (settings, logs, presets) goes to a fresh temporary folder.
#include "support/TestHome.h"

#include <gtest/gtest.h>
#include <juce_events/juce_events.h>

int main (int argc, char** argv)
{
    TestHome home ("orrin-tests");
    juce::ScopedJuceInitialiser_GUI juce;
    ::testing::InitGoogleTest (&argc, argv);
    return RUN_ALL_TESTS();
}

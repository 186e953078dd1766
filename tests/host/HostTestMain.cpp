// Host test runner entry: a JUCE message manager for the hosting classes, and a private folder
// for everything the loaded plug-ins write.
#include "../support/TestHome.h"

#include <gtest/gtest.h>
#include <juce_events/juce_events.h>

#include "XWindowGrab.h"

int main (int argc, char** argv)
{
    XWindowGrab::tolerateXErrors();
    TestHome home ("orrin-host-tests");
    juce::ScopedJuceInitialiser_GUI juce;
    ::testing::InitGoogleTest (&argc, argv);
    return RUN_ALL_TESTS();
}

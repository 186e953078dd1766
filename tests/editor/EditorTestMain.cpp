// Editor test runner entry: JUCE's message manager, a private folder for what the processor
// writes, and tolerance for the errors a bare Xvfb raises when a window opens.
#include "support/TestHome.h"

#include <gtest/gtest.h>
#include <juce_events/juce_events.h>

#include "XWindowGrab.h"

int main (int argc, char** argv)
{
    XWindowGrab::tolerateXErrors();
    TestHome home ("orrin-editor-tests");
    juce::ScopedJuceInitialiser_GUI juce;
    ::testing::InitGoogleTest (&argc, argv);
    return RUN_ALL_TESTS();
}

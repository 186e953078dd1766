// Editor test runner entry: JUCE's message manager, a private folder for what the processor
// writes, and an X error handler that tolerates the property errors a bare Xvfb (no window
// manager) raises when a window opens.
#include "support/TestHome.h"

#include <gtest/gtest.h>
#include <juce_events/juce_events.h>

// Xlib last: its macros clash with names in the headers above.
#include <X11/Xlib.h>

int main (int argc, char** argv)
{
    XSetErrorHandler ([] (Display*, XErrorEvent*) { return 0; });
    TestHome home ("orrin-editor-tests");
    juce::ScopedJuceInitialiser_GUI juce;
    ::testing::InitGoogleTest (&argc, argv);
    return RUN_ALL_TESTS();
}

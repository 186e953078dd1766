// Host test runner entry: a JUCE message manager for the hosting classes, and a private folder
// for everything the loaded plug-ins write.
#include "../support/TestHome.h"

#include <gtest/gtest.h>
#include <juce_events/juce_events.h>

// Xlib last: its macros clash with names in the headers above.
#include <X11/Xlib.h>

int main (int argc, char** argv)
{
    // A bare Xvfb (no window manager) answers some of JUCE's window properties with errors that
    // Xlib's default handler would exit on.
    XSetErrorHandler ([] (Display*, XErrorEvent*) { return 0; });
    TestHome home ("orrin-host-tests");
    juce::ScopedJuceInitialiser_GUI juce;
    ::testing::InitGoogleTest (&argc, argv);
    return RUN_ALL_TESTS();
}

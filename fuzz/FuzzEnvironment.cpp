#include "FuzzEnvironment.h"

#include <juce_events/juce_events.h>

#include <cstdlib>

namespace FuzzEnvironment
{
    void setUp()
    {
        static const auto home = []
        {
            auto dir = juce::File::getSpecialLocation (juce::File::tempDirectory).getChildFile ("orrin-fuzz");
            dir.createDirectory();
            setenv ("KESTRO_AUDIO_DIR", dir.getFullPathName().toRawUTF8(), 1);
            return dir;
        }();
        // Never shut down: a fuzz run ends by exit(), and JUCE's shutdown from a static
        // destructor would run after JUCE's own statics are gone.
        static const auto* initialiser = new juce::ScopedJuceInitialiser_GUI();
        juce::ignoreUnused (home, initialiser);
    }
}

#pragma once

#include <juce_core/juce_core.h>

/** Writes real session blocks into a folder to seed the state fuzzer's corpus: the processor's
    own states in several shapes (fresh; every slot and attribute in use; an earlier and a newer
    map version; a tracked default preset), so the seeds always follow the current format. */
namespace SessionSeeds
{
    void write (const juce::File& folder);
}

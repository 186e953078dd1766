#pragma once

#include <juce_core/juce_core.h>

/** Classifies the host program by its file name or full path, so that the editor and the
    wrappers can work around host peculiarities. The first matching test wins; the tests are
    case-sensitive ("reaper" and "nuendo" are lower case on purpose) and the numbers are not in
    test order. 0 means no known host.
*/
namespace KaHostDetection
{
    /** The part of a host path after its last '\' or '/' (extension kept). */
    juce::String fileNameOf (const juce::String& hostPath);

    /** The host number for a host program path. */
    int detectHost (const juce::String& hostPath);

    /** The running host's own path. */
    juce::String currentHostPath();

    /** True for hosts whose file name contains "Nuendo" (capital N), which compensate the send
        delays themselves. */
    bool isNuendo (const juce::String& hostPath);
}

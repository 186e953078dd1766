#pragma once

#include "pod/KaPodApi.h"

#include <juce_core/juce_core.h>

/** Finds and loads libKaPod, once per process, by an absolute path: every instance of every
    format then shares the one registry in it (the dynamic loader hands out the same handle for
    the same file). Search order, first found wins: $KAPOD_LIBRARY, the per-user and system-wide
    install folders, then beside the plug-in's own binary (docs/instance-link.md). */
namespace KaPodLibrary
{
    /** The interface, or nullptr when no usable library was found. Loads on the first call
        and logs the outcome. Any thread but the audio thread. */
    const KaPodApiV1* api();

    /** Where the library was loaded from, or why there is none (after api()). */
    juce::String status();

    /** The files looked for, in order. */
    juce::StringArray candidatePaths();
}

#pragma once

/** What every fuzz target needs before its first input: JUCE's message manager (the processor
    starts a timer) and a private "Kestro Audio" folder, so that logs, settings and presets
    never land in the user's own. */
namespace FuzzEnvironment
{
    void setUp();
}

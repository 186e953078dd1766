#pragma once

#include <juce_core/juce_core.h>

class KaJuceProcessorBase;

/** The support file: one zip a user sends when something goes wrong.

    It holds the main log and the support log, the per-user settings file, the instance's state
    as a host saves it (XML), and "system.txt": the build line, operating system, CPU, host and
    plug-in format, sample rate, block size, layouts and the instance's recent timing figures.
    Nothing personal is added beyond what the logs already hold: the build line's user name is
    left out and the only folders named are the product's own, with the home folder written "~".

    The editor's "Export support file…" and `orrin-upmix --support-bundle` both write it through
    this class. Message thread or any other non-audio thread: it allocates and touches the disk. */
class KaSupportBundle
{
public:
    /** Writes the zip atomically (a temporary file beside it, renamed when complete). Returns
        an empty string on success, else one line saying why not. */
    static juce::String write (KaJuceProcessorBase& processor, const juce::File& zip);

    /** The text of system.txt. */
    static juce::String describe (KaJuceProcessorBase& processor);

    /** A path with the user's home folder written as "~". */
    static juce::String withoutHome (const juce::String& path);
};

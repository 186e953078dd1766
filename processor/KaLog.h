#pragma once

#include <juce_core/juce_core.h>

/** The process-wide log "KaLog.log" and the optional support log.

    The first processor instance in the process opens the main log with its build line; later
    instances share it. Lines name class and operation; errors begin with "ERROR: " and warnings
    with "WARNING: ". Files that cannot be opened are simply not written.

    Message thread only (never the audio thread): writing allocates and touches the disk.
*/
namespace KaLog
{
    inline constexpr juce::int64 sizeCapBytes = 131072;

    /** Opens the main log with the given welcome (build) line if no main log exists yet in the
        process, and makes it the current logger. Returns true when this call opened it. */
    bool openMainLog (const juce::String& buildLine);

    /** Opens the support log and writes its header line through it, then restores the logger
        that was current before. */
    void openSupportLog (const juce::String& headerLine);

    /** Writes a line to the current logger (the main log once it is open). */
    void write (const juce::String& line);

    /** Writes a line to the support log, if it is open. */
    void writeSupport (const juce::String& line);

    /** The file of the main log, or an empty file when none is open. */
    juce::File mainLogFile();
}

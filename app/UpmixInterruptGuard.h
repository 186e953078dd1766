#pragma once

#include <juce_core/juce_core.h>

/** Keeps Ctrl-C (and a terminal closing, or a kill) from leaving a half-written file behind: while
    a guard is alive, SIGINT, SIGTERM and SIGHUP remove its file, say so in one line, and end the
    program as the signal would have. One guard at a time. */
class UpmixInterruptGuard
{
public:
    explicit UpmixInterruptGuard (const juce::File& fileToRemove);
    ~UpmixInterruptGuard();

    UpmixInterruptGuard (const UpmixInterruptGuard&) = delete;
    UpmixInterruptGuard& operator= (const UpmixInterruptGuard&) = delete;
};

#pragma once

#include "analysis/ObserverDataGuard.h"

/** Holds an ObserverDataGuard for a scope, shared or exclusive, waiting for it or trying once.

    Waiting is a busy retry without sleeping: the holders it waits for only copy a frame of
    spectra. The audio thread waits only where it must replace storage (a new frame size,
    clear()); for its copy it tries once and skips the frame when the guard is busy. The caller's
    signature is kept for diagnostics (pass __PRETTY_FUNCTION__).
*/
class ScopedObserverLock
{
public:
    enum Mode { shared = 0, exclusive = 1 };
    enum Wait { tryOnce = 0, waitUntilAcquired = 1 };

    /** Any thread, no allocation; with waitUntilAcquired it spins until granted. */
    ScopedObserverLock (ObserverDataGuard& guard, Mode mode, Wait wait, const char* caller) noexcept;

    /** Any thread, no allocation: releases the grant if there is one. */
    ~ScopedObserverLock() noexcept;

    ScopedObserverLock (const ScopedObserverLock&) = delete;
    ScopedObserverLock& operator= (const ScopedObserverLock&) = delete;

    /** Any thread, no allocation. */
    bool isAcquired() const noexcept { return acquired; }
    const char* getCaller() const noexcept { return caller; }

private:
    bool tryAcquire() noexcept;

    ObserverDataGuard& guard;
    const Mode mode;
    const char* const caller;
    bool acquired = false;
};

#include "analysis/ScopedObserverLock.h"

#include <thread>

ScopedObserverLock::ScopedObserverLock (ObserverDataGuard& guardIn, Mode modeIn, Wait wait, const char* callerIn) noexcept
    : guard (guardIn), mode (modeIn), caller (callerIn)
{
    acquired = tryAcquire();
    while (! acquired && wait == waitUntilAcquired)
    {
        // Give the holder's core a chance on machines with fewer cores than busy threads.
        std::this_thread::yield();
        acquired = tryAcquire();
    }
}

ScopedObserverLock::~ScopedObserverLock() noexcept
{
    if (! acquired)
        return;
    if (mode == exclusive)
        guard.releaseExclusive();
    else
        guard.releaseShared();
}

bool ScopedObserverLock::tryAcquire() noexcept
{
    return mode == exclusive ? guard.tryAcquireExclusive() : guard.tryAcquireShared();
}

#include "analysis/ObserverDataGuard.h"

bool ObserverDataGuard::tryAcquireShared() noexcept
{
    int expected = state.load (std::memory_order_relaxed);
    // A failed exchange because another reader came or went is not "busy": try again with the
    // new count. Only an exclusive holder refuses the grant.
    while (expected != writerHolds)
        if (state.compare_exchange_weak (expected, expected + 1, std::memory_order_acquire, std::memory_order_relaxed))
            return true;
    return false;
}

bool ObserverDataGuard::tryAcquireExclusive() noexcept
{
    int expected = 0;
    while (! state.compare_exchange_weak (expected, writerHolds, std::memory_order_acquire, std::memory_order_relaxed))
        if (expected != 0)
            return false;  // held by somebody (a spurious failure leaves expected at 0: retry)
    return true;
}

void ObserverDataGuard::releaseShared() noexcept
{
    state.fetch_sub (1, std::memory_order_release);
}

void ObserverDataGuard::releaseExclusive() noexcept
{
    state.store (0, std::memory_order_release);
}

int ObserverDataGuard::getNumReaders() const noexcept
{
    const int s = state.load (std::memory_order_relaxed);
    return s > 0 ? s : 0;
}

bool ObserverDataGuard::hasWriter() const noexcept
{
    return state.load (std::memory_order_relaxed) == writerHolds;
}

#pragma once

#include <atomic>

/** A shared/exclusive guard between an observer's audio-thread copy and its readers.

    Shared holders may overlap each other; an exclusive holder excludes everybody. The count of
    shared holders and the exclusive flag live in one atomic word, so granting is one
    compare-and-swap: the audio thread never enters a mutex, and a holder that cannot be granted
    either gives up (and the caller skips its work) or retries at once. Held through
    ScopedObserverLock, never directly.
*/
class ObserverDataGuard
{
public:
    ObserverDataGuard() = default;
    ObserverDataGuard (const ObserverDataGuard&) = delete;
    ObserverDataGuard& operator= (const ObserverDataGuard&) = delete;

    /** Any thread, no allocation, never waits: one grant attempt. */
    bool tryAcquireShared() noexcept;
    bool tryAcquireExclusive() noexcept;

    /** Any thread, no allocation: gives back a grant. */
    void releaseShared() noexcept;
    void releaseExclusive() noexcept;

    /** Any thread, no allocation: the number of shared holders, and whether an exclusive holder
        has it (for diagnostics and tests; stale as soon as it is read). */
    int getNumReaders() const noexcept;
    bool hasWriter() const noexcept;

private:
    static constexpr int writerHolds = -1;
    // >= 0: that many shared holders; writerHolds: one exclusive holder.
    std::atomic<int> state { 0 };
};

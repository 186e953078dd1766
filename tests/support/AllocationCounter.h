#pragma once

#include <cstddef>

/** Counts heap allocations, and calls that may block on a lock, made by the current thread while
    a ScopedAllocationCheck is alive: the two things an audio thread must never do. The test
    program replaces the global operator new, C's malloc, calloc, realloc and the aligned
    allocators, and pthread_mutex_lock and the read-write locks (std::mutex and JUCE's
    CriticalSection lock through them; their try-locks are not counted), for itself and for every
    library it loads (a plug-in too). */
namespace AllocationCounter
{
    enum class Callers
    {
        all,               // every allocation of the thread
        outsideThisProgram // only those made by code outside the test program: a loaded plug-in
                           // and the libraries it calls, not the test's own host code
    };

    std::size_t count() noexcept;

    struct ScopedAllocationCheck
    {
        explicit ScopedAllocationCheck (Callers callers = Callers::all) noexcept;
        ~ScopedAllocationCheck() noexcept;
        std::size_t allocations() const noexcept;
        std::size_t blockingLocks() const noexcept;

    private:
        std::size_t start, locksAtStart;
    };
}

#pragma once

#include <cstddef>

/** Counts heap allocations, and calls that may block on a lock, made by the current thread while
    a ScopedAllocationCheck is alive: the two things an audio thread must never do. The test
    program replaces the global operator new, C's malloc, calloc, realloc and the aligned
    allocators, and pthread_mutex_lock and the read-write locks (std::mutex and JUCE's
    CriticalSection lock through them; their try-locks are not counted), for itself and for every
    library it loads (a plug-in too). With ORRIN_ALLOC_TRACE or ORRIN_LOCK_TRACE set in the
    environment, each counted call prints its stack to stderr (addr2line names the frames). */
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    #define ORRIN_SANITIZER_BUILD 1
#elif defined(__has_feature)
    #if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
        #define ORRIN_SANITIZER_BUILD 1
    #endif
#endif

namespace AllocationCounter
{
    /** Whether C's allocators and the pthread locks are counted. Not in sanitizer builds: the
        sanitizers replace those functions themselves and must keep seeing every call, so there
        only operator new is counted. */
   #ifdef ORRIN_SANITIZER_BUILD
    inline constexpr bool countsCCalls = false;
   #else
    inline constexpr bool countsCCalls = true;
   #endif

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

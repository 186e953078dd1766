#pragma once

#include <cstddef>

/** Counts heap allocations made by the current thread while a ScopedAllocationCheck is alive.
    The test program replaces the global operator new and C's malloc, calloc, realloc and the
    aligned allocators to feed it, for itself and for every library it loads (a plug-in too). */
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

    private:
        std::size_t start;
    };
}

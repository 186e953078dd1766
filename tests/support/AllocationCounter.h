#pragma once

#include <cstddef>

/** Counts heap allocations made by the current thread while a ScopedAllocationCheck is alive.
    The test runner replaces the global operator new and C's malloc, calloc, realloc and the
    aligned allocators to feed it. */
namespace AllocationCounter
{
    std::size_t count() noexcept;

    struct ScopedAllocationCheck
    {
        ScopedAllocationCheck() noexcept;
        ~ScopedAllocationCheck() noexcept;
        std::size_t allocations() const noexcept;

    private:
        std::size_t start;
    };
}

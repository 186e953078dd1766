#include "support/AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace
{
    thread_local bool counting = false;
    thread_local std::size_t allocationCount = 0;

    void* allocate (std::size_t size)
    {
        if (counting)
            ++allocationCount;
        if (void* p = std::malloc (size == 0 ? 1 : size))
            return p;
        throw std::bad_alloc();
    }

    void* allocateAligned (std::size_t size, std::align_val_t alignment)
    {
        if (counting)
            ++allocationCount;
        const auto a = static_cast<std::size_t> (alignment);
        if (void* p = std::aligned_alloc (a, (size + a - 1) / a * a))
            return p;
        throw std::bad_alloc();
    }
}

void* operator new (std::size_t size) { return allocate (size); }
void* operator new[] (std::size_t size) { return allocate (size); }
void* operator new (std::size_t size, const std::nothrow_t&) noexcept { try { return allocate (size); } catch (...) { return nullptr; } }
void* operator new[] (std::size_t size, const std::nothrow_t&) noexcept { try { return allocate (size); } catch (...) { return nullptr; } }
void* operator new (std::size_t size, std::align_val_t a) { return allocateAligned (size, a); }
void* operator new[] (std::size_t size, std::align_val_t a) { return allocateAligned (size, a); }
void operator delete (void* p) noexcept { std::free (p); }
void operator delete[] (void* p) noexcept { std::free (p); }
void operator delete (void* p, std::size_t) noexcept { std::free (p); }
void operator delete[] (void* p, std::size_t) noexcept { std::free (p); }
void operator delete (void* p, std::align_val_t) noexcept { std::free (p); }
void operator delete[] (void* p, std::align_val_t) noexcept { std::free (p); }
void operator delete (void* p, std::size_t, std::align_val_t) noexcept { std::free (p); }
void operator delete[] (void* p, std::size_t, std::align_val_t) noexcept { std::free (p); }

namespace AllocationCounter
{
    std::size_t count() noexcept { return allocationCount; }

    ScopedAllocationCheck::ScopedAllocationCheck() noexcept : start (allocationCount) { counting = true; }
    ScopedAllocationCheck::~ScopedAllocationCheck() noexcept { counting = false; }
    std::size_t ScopedAllocationCheck::allocations() const noexcept { return allocationCount - start; }
}

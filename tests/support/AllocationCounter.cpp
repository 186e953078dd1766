#include "support/AllocationCounter.h"

#include <cerrno>
#include <cstdlib>
#include <new>

namespace
{
    thread_local bool counting = false;
    thread_local std::size_t allocationCount = 0;

    inline void note() noexcept
    {
        if (counting)
            ++allocationCount;
    }

    void* allocate (std::size_t size)
    {
        if (void* p = std::malloc (size == 0 ? 1 : size))
            return p;
        throw std::bad_alloc();
    }

    void* allocateAligned (std::size_t size, std::align_val_t alignment)
    {
        const auto a = static_cast<std::size_t> (alignment);
        if (void* p = std::aligned_alloc (a, (size + a - 1) / a * a))
            return p;
        throw std::bad_alloc();
    }
}

// C's allocation functions too, not only C++'s: JUCE's buffers and FFTW's plans and arrays take
// their memory from malloc and its kin. The test program's definitions replace the C library's
// for every library it loads, and hand on to glibc's own entry points; free stays glibc's.
extern "C"
{
    void* __libc_malloc (std::size_t);
    void* __libc_calloc (std::size_t, std::size_t);
    void* __libc_realloc (void*, std::size_t);
    void* __libc_memalign (std::size_t, std::size_t);

    void* malloc (std::size_t size) { note(); return __libc_malloc (size); }
    void* calloc (std::size_t count, std::size_t size) { note(); return __libc_calloc (count, size); }
    void* realloc (void* p, std::size_t size) { note(); return __libc_realloc (p, size); }
    void* memalign (std::size_t alignment, std::size_t size) { note(); return __libc_memalign (alignment, size); }
    void* aligned_alloc (std::size_t alignment, std::size_t size) { note(); return __libc_memalign (alignment, size); }
    int posix_memalign (void** out, std::size_t alignment, std::size_t size)
    {
        note();
        if (void* p = __libc_memalign (alignment, size))
        {
            *out = p;
            return 0;
        }
        return ENOMEM;
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

#include "support/AllocationCounter.h"

#include <pthread.h>
#include <execinfo.h>

#include <cerrno>
#include <cstdlib>
#include <new>

// The test program's own code lies between these two linker-defined symbols.
extern "C" const char __executable_start;
extern "C" const char etext;

extern "C"
{
    void* __libc_malloc (std::size_t);
    void* __libc_calloc (std::size_t, std::size_t);
    void* __libc_realloc (void*, std::size_t);
    void* __libc_memalign (std::size_t, std::size_t);
    // glibc's lock entry points under their internal names, which it exports only as versioned
    // (not default) symbols: bound here by version.
    int glibcMutexLock (pthread_mutex_t*);
    int glibcReadLock (pthread_rwlock_t*);
    int glibcWriteLock (pthread_rwlock_t*);
}
__asm__ (".symver glibcMutexLock, __pthread_mutex_lock@GLIBC_2.2.5");
__asm__ (".symver glibcReadLock, __pthread_rwlock_rdlock@GLIBC_2.2.5");
__asm__ (".symver glibcWriteLock, __pthread_rwlock_wrlock@GLIBC_2.2.5");

namespace
{
    // Memory for operator new straight from glibc, so that the replaced malloc below does not
    // count it a second time; from the sanitizer's malloc where one watches every call.
   #ifdef ORRIN_SANITIZER_BUILD
    void* rawMalloc (std::size_t size) { return std::malloc (size); }
    void* rawMemalign (std::size_t alignment, std::size_t size) { return std::aligned_alloc (alignment, size); }
   #else
    void* rawMalloc (std::size_t size) { return __libc_malloc (size); }
    void* rawMemalign (std::size_t alignment, std::size_t size) { return __libc_memalign (alignment, size); }
   #endif

    thread_local bool counting = false;
    thread_local bool outsideOnly = false;
    thread_local std::size_t allocationCount = 0;
    thread_local std::size_t lockCount = 0;

    /** Whether a call from `caller` counts now: on a counting thread, and (when only calls from
        outside the program count) not from the program's own code. */
    inline bool counts (const void* caller) noexcept
    {
        const auto* address = static_cast<const char*> (caller);
        return counting && ! (outsideOnly && address >= &__executable_start && address < &etext);
    }

    /** With the variable set, the stack of a counted call goes to stderr (uncounted itself). */
    inline void traceIf (const char* variable) noexcept
    {
        if (std::getenv (variable) == nullptr)
            return;
        counting = false;
        void* frames[24];
        backtrace_symbols_fd (frames, backtrace (frames, 24), 2);
        counting = true;
    }

    /** caller: the return address of the allocation call, i.e. the code that asked for memory. */
    inline void note (const void* caller) noexcept
    {
        if (counts (caller))
        {
            ++allocationCount;
            traceIf ("ORRIN_ALLOC_TRACE");
        }
    }

    inline void noteLock (const void* caller) noexcept
    {
        if (counts (caller))
        {
            ++lockCount;
            traceIf ("ORRIN_LOCK_TRACE");
        }
    }

    void* allocate (std::size_t size, const void* caller)
    {
        note (caller);
        if (void* p = rawMalloc (size == 0 ? 1 : size))
            return p;
        throw std::bad_alloc();
    }

    void* allocateAligned (std::size_t size, std::align_val_t alignment, const void* caller)
    {
        note (caller);
        const auto a = static_cast<std::size_t> (alignment);
        if (void* p = rawMemalign (a, (size + a - 1) / a * a))
            return p;
        throw std::bad_alloc();
    }

    void* allocateNoThrow (std::size_t size, const void* caller) noexcept
    {
        note (caller);
        return rawMalloc (size == 0 ? 1 : size);
    }
}

#ifndef ORRIN_SANITIZER_BUILD
// C's allocation functions too, not only C++'s: JUCE's buffers and FFTW's plans and arrays take
// their memory from malloc and its kin. The test program's definitions replace the C library's
// for every library it loads, and hand on to glibc's own entry points; free stays glibc's.
// Each notes its own caller, so operator new goes to glibc directly, not through malloc.
extern "C"
{
    void* malloc (std::size_t size) { note (__builtin_return_address (0)); return __libc_malloc (size); }
    void* calloc (std::size_t count, std::size_t size) { note (__builtin_return_address (0)); return __libc_calloc (count, size); }
    void* realloc (void* p, std::size_t size) { note (__builtin_return_address (0)); return __libc_realloc (p, size); }
    void* memalign (std::size_t alignment, std::size_t size) { note (__builtin_return_address (0)); return __libc_memalign (alignment, size); }
    void* aligned_alloc (std::size_t alignment, std::size_t size) { note (__builtin_return_address (0)); return __libc_memalign (alignment, size); }

    int posix_memalign (void** out, std::size_t alignment, std::size_t size)
    {
        note (__builtin_return_address (0));
        if (void* p = __libc_memalign (alignment, size))
        {
            *out = p;
            return 0;
        }
        return ENOMEM;
    }
}

// Blocking lock calls, counted on the same terms, handed on to glibc's own entry points.
extern "C"
{
    int pthread_mutex_lock (pthread_mutex_t* mutex) { noteLock (__builtin_return_address (0)); return glibcMutexLock (mutex); }
    int pthread_rwlock_rdlock (pthread_rwlock_t* lock) { noteLock (__builtin_return_address (0)); return glibcReadLock (lock); }
    int pthread_rwlock_wrlock (pthread_rwlock_t* lock) { noteLock (__builtin_return_address (0)); return glibcWriteLock (lock); }
}
#endif

void* operator new (std::size_t size) { return allocate (size, __builtin_return_address (0)); }
void* operator new[] (std::size_t size) { return allocate (size, __builtin_return_address (0)); }
void* operator new (std::size_t size, const std::nothrow_t&) noexcept { return allocateNoThrow (size, __builtin_return_address (0)); }
void* operator new[] (std::size_t size, const std::nothrow_t&) noexcept { return allocateNoThrow (size, __builtin_return_address (0)); }
void* operator new (std::size_t size, std::align_val_t a) { return allocateAligned (size, a, __builtin_return_address (0)); }
void* operator new[] (std::size_t size, std::align_val_t a) { return allocateAligned (size, a, __builtin_return_address (0)); }
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

    ScopedAllocationCheck::ScopedAllocationCheck (Callers callers) noexcept : start (allocationCount), locksAtStart (lockCount)
    {
        outsideOnly = callers == Callers::outsideThisProgram;
        counting = true;
    }

    ScopedAllocationCheck::~ScopedAllocationCheck() noexcept
    {
        counting = false;
        outsideOnly = false;
    }

    std::size_t ScopedAllocationCheck::allocations() const noexcept { return allocationCount - start; }
    std::size_t ScopedAllocationCheck::blockingLocks() const noexcept { return lockCount - locksAtStart; }
}

#pragma once

#include "dsp/FreqDataStore.h"

#include <atomic>
#include <mutex>

/** The process-wide FFT kernels: one FFTW real-to-complex and one complex-to-real plan in double
    precision for each of the ten supported sizes, 256 to 131072.

    FFTW's planner is not thread-safe and may take a while, so each size is planned once, the
    first time an operator of that size is built (FreqDomainOperator's constructor and
    setFftSize do that, never the audio thread), with FFTW_ESTIMATE, under plannerMutex().
    Planning only the sizes in use keeps start-up cheap: all ten together cost about a tenth of
    a second. After that a plan is never changed: each transform runs through FFTW's new-array
    execute functions on the caller's own
    arrays, which are thread-safe for arrays with the plans' alignment (those from fftw_alloc_*).
    So any number of transforms of one size may run at once on different threads with no shared
    mutable state and no lock: that is the per-size instance pool, realised without instances.
*/
class FftPlans
{
public:
    /** Any thread, no allocation after its first call. */
    static const FftPlans& get();

    /** Any thread but the audio thread; allocates when n has not been planned yet. Plans size n
        (a supported size) for later transforms. */
    static void prepare (int n);

    /** Any thread, no allocation: whether n is one of the ten supported sizes. */
    static bool isSupportedSize (int n) noexcept;

    /** Any thread but the audio thread. Anything else in the process that calls FFTW's planner
        must hold this lock while it does. */
    static std::mutex& plannerMutex();

    /** Any thread, no allocation: unscaled forward transform of n doubles into n / 2 + 1 bins.
        Both arrays must come from fftw_alloc_*; `time` is left intact. Returns false, writing
        nothing, for an unsupported or not yet prepared size. */
    bool forward (int n, double* time, Complex* bins) const noexcept;

    /** Any thread, no allocation: unscaled inverse transform of n / 2 + 1 bins into n doubles
        (a forward-inverse pair multiplies by n). Both arrays must come from fftw_alloc_*; `bins`
        is overwritten. Returns false, writing nothing, for an unsupported or not yet prepared size. */
    bool inverse (int n, Complex* bins, double* time) const noexcept;

    static constexpr int numSizes = 10;
    static constexpr int smallestSize = 256;
    static constexpr int largestSize = 131072;

    FftPlans (const FftPlans&) = delete;
    FftPlans& operator= (const FftPlans&) = delete;

private:
    FftPlans();
    ~FftPlans();

    static int sizeIndex (int n) noexcept;

    // Opaque fftw_plan handles, kept out of this header so users need no FFTW include. Written
    // once under the planner lock, read without it.
    std::atomic<void*> forwardPlans[numSizes] {};
    std::atomic<void*> inversePlans[numSizes] {};
};

#pragma once

#include "dsp/FreqDataStore.h"

#include <atomic>
#include <memory>

/** A real FFT engine of one size with its own work arrays and a lock.

    Transforms run in double precision through the process-wide FftPlans. The forward transform
    is unscaled; the inverse multiplies by 1 / N, so a forward-inverse pair is the identity.
    Bin k of N / 2 + 1 is a Complex; bins 0 and N / 2 are real: their imaginary parts are written
    as 0 and ignored on the way back. A size that is not one of the ten supported ones, or a
    length n other than the engine's size, leaves the output exactly as it was.

    The lock guards the work arrays against setFftSize(). Nobody ever waits for it: a transform
    that finds it busy is skipped (the output keeps its previous values), and so is a resize.
*/
class FreqDomainOperator : public juce::ReferenceCountedObject
{
public:
    using Ptr = juce::ReferenceCountedObjectPtr<FreqDomainOperator>;

    /** Not the audio thread; allocates (and plans every FFT size on the process's first use). */
    explicit FreqDomainOperator (int fftSize);

    ~FreqDomainOperator() override;

    /** Not the audio thread; allocates. Re-sizes the work arrays only if the lock is free at once,
        otherwise does nothing. */
    void setFftSize (int n);

    /** Audio thread, no allocation: the unscaled spectrum (n / 2 + 1 bins) of n samples. */
    void forwardTransform (int n, Complex* out, const float* in) noexcept;

    /** Audio thread, no allocation: the double-precision form of forwardTransform. */
    void forwardTransform (int n, Complex* out, const double* in) noexcept;

    /** Audio thread, no allocation: n samples (scaled by 1 / n) from n / 2 + 1 bins. */
    void inverseTransform (int n, const Complex* in, float* out) noexcept;

    /** Audio thread, no allocation: the double-precision form of inverseTransform. */
    void inverseTransform (int n, const Complex* in, double* out) noexcept;

    /** Any thread, no allocation. */
    int getFftSize() const noexcept { return fftSize; }

private:
    template <typename Sample>
    void forward (int n, Complex* out, const Sample* in) noexcept;

    template <typename Sample>
    void inverse (int n, const Complex* in, Sample* out) noexcept;

    void allocateArrays();

    struct FftwFree
    {
        void operator() (void* p) const noexcept;
    };

    // FFTW's aligned allocations: the shared plans may only run on such arrays.
    std::atomic<int> fftSize;
    // FFTW's r2c layout, bins 0 ... N / 2 as (re, im) pairs: the same information as a packed
    // half-complex array of N doubles (whose two missing slots are the zero imaginary parts of
    // bins 0 and N / 2), in the order the spectra are handed out.
    std::unique_ptr<Complex[], FftwFree> packed;
    std::unique_ptr<double[], FftwFree> timeData;  // fftSize samples
    juce::CriticalSection lock;
};

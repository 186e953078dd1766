#include "dsp/FreqDomainOperator.h"

#include "dsp/FftPlans.h"

#include <fftw3.h>

void FreqDomainOperator::FftwFree::operator() (void* p) const noexcept
{
    fftw_free (p);
}

FreqDomainOperator::FreqDomainOperator (int size)
    : fftSize (size)
{
    FftPlans::prepare (size);
    allocateArrays();
}

FreqDomainOperator::~FreqDomainOperator() = default;

void FreqDomainOperator::allocateArrays()
{
    const size_t n = (size_t) std::max (0, fftSize.load());
    packed.reset (reinterpret_cast<Complex*> (fftw_alloc_complex (n / 2 + 1)));
    timeData.reset (fftw_alloc_real (std::max<size_t> (n, 1)));

    if (packed == nullptr || timeData == nullptr)
        throw std::bad_alloc();

    std::fill_n (packed.get(), n / 2 + 1, Complex {});
    std::fill_n (timeData.get(), n, 0.0);
}

void FreqDomainOperator::setFftSize (int n)
{
    const juce::ScopedTryLock tryLock (lock);
    if (! tryLock.isLocked())
        return;

    FftPlans::prepare (n);
    fftSize = n;
    allocateArrays();
}

template <typename Sample>
void FreqDomainOperator::forward (int n, Complex* out, const Sample* in) noexcept
{
    const juce::ScopedTryLock tryLock (lock);
    if (! tryLock.isLocked() || n != fftSize.load (std::memory_order_relaxed)
        || ! FftPlans::isSupportedSize (n))
        return;

    std::copy (in, in + n, timeData.get());
    FftPlans::get().forward (n, timeData.get(), packed.get());

    // Bins 0 and N / 2 of a real signal are real; FFTW already writes 0 there, this makes the
    // guarantee independent of the kernel.
    packed[0].im = 0.0;
    packed[(size_t) n / 2].im = 0.0;
    std::copy (packed.get(), packed.get() + n / 2 + 1, out);
}

template <typename Sample>
void FreqDomainOperator::inverse (int n, const Complex* in, Sample* out) noexcept
{
    const juce::ScopedTryLock tryLock (lock);
    if (! tryLock.isLocked() || n != fftSize.load (std::memory_order_relaxed)
        || ! FftPlans::isSupportedSize (n))
        return;

    std::copy (in, in + n / 2 + 1, packed.get());
    // The imaginary parts of bins 0 and N / 2 have no place in a real signal's spectrum.
    packed[0].im = 0.0;
    packed[(size_t) n / 2].im = 0.0;
    FftPlans::get().inverse (n, packed.get(), timeData.get());

    const double scale = 1.0 / (double) n;
    for (int i = 0; i < n; ++i)
        out[i] = (Sample) (timeData[(size_t) i] * scale);
}

void FreqDomainOperator::forwardTransform (int n, Complex* out, const float* in) noexcept
{
    forward (n, out, in);
}

void FreqDomainOperator::forwardTransform (int n, Complex* out, const double* in) noexcept
{
    forward (n, out, in);
}

void FreqDomainOperator::inverseTransform (int n, const Complex* in, float* out) noexcept
{
    inverse (n, in, out);
}

void FreqDomainOperator::inverseTransform (int n, const Complex* in, double* out) noexcept
{
    inverse (n, in, out);
}

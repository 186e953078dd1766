#include "dsp/FftPlans.h"

#include <fftw3.h>

static_assert (sizeof (Complex) == sizeof (fftw_complex), "Complex must match FFTW's layout");

const FftPlans& FftPlans::get()
{
    static const FftPlans plans;
    return plans;
}

void FftPlans::prepare (int n)
{
    const int index = sizeIndex (n);
    if (index < 0)
        return;

    auto& plans = const_cast<FftPlans&> (get());
    const std::lock_guard<std::mutex> lock (plannerMutex());
    if (plans.forwardPlans[index].load (std::memory_order_acquire) != nullptr)
        return;

    // Planned on arrays from fftw_alloc_* so that the plans assume exactly the alignment every
    // user's fftw_alloc'd arrays will have.
    double* time = fftw_alloc_real ((size_t) n);
    fftw_complex* bins = fftw_alloc_complex ((size_t) n / 2 + 1);
    plans.inversePlans[index].store (fftw_plan_dft_c2r_1d (n, bins, time, FFTW_ESTIMATE), std::memory_order_release);
    plans.forwardPlans[index].store (fftw_plan_dft_r2c_1d (n, time, bins, FFTW_ESTIMATE), std::memory_order_release);
    fftw_free (bins);
    fftw_free (time);
}

std::mutex& FftPlans::plannerMutex()
{
    static std::mutex mutex;
    return mutex;
}

bool FftPlans::isSupportedSize (int n) noexcept
{
    return sizeIndex (n) >= 0;
}

int FftPlans::sizeIndex (int n) noexcept
{
    if (n < smallestSize || n > largestSize || (n & (n - 1)) != 0)
        return -1;

    int index = 0;
    for (int size = smallestSize; size < n; size *= 2)
        ++index;
    return index;
}

FftPlans::FftPlans() = default;

FftPlans::~FftPlans()
{
    const std::lock_guard<std::mutex> lock (plannerMutex());

    for (int index = 0; index < numSizes; ++index)
    {
        if (auto* plan = forwardPlans[index].load())
            fftw_destroy_plan (static_cast<fftw_plan> (plan));
        if (auto* plan = inversePlans[index].load())
            fftw_destroy_plan (static_cast<fftw_plan> (plan));
    }
}

bool FftPlans::forward (int n, double* time, Complex* bins) const noexcept
{
    const int index = sizeIndex (n);
    auto* plan = index >= 0 ? forwardPlans[index].load (std::memory_order_acquire) : nullptr;
    if (plan == nullptr)
        return false;

    fftw_execute_dft_r2c (static_cast<fftw_plan> (plan), time, reinterpret_cast<fftw_complex*> (bins));
    return true;
}

bool FftPlans::inverse (int n, Complex* bins, double* time) const noexcept
{
    const int index = sizeIndex (n);
    auto* plan = index >= 0 ? inversePlans[index].load (std::memory_order_acquire) : nullptr;
    if (plan == nullptr)
        return false;

    fftw_execute_dft_c2r (static_cast<fftw_plan> (plan), reinterpret_cast<fftw_complex*> (bins), time);
    return true;
}

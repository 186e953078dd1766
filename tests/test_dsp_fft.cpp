// FreqDomainOperator (the FFT engine), FftPlans (the shared kernels) and FFTWindow.
// Cases:
//  - forward then inverse is the identity (1e-12 in double) for all ten sizes; the end bins are
//    real, and imaginary parts put there do not reach the inverse (the unscaled forward
//    transform and float are seen through FftFilter);
//  - unsupported sizes (and a length other than the engine's) leave the output as it was;
//    setFftSize moves the engine to the new size;
//  - transforms on several threads at once give the single-thread results;
//  - windows: symmetric, peaking in the centre; any other type is all zero.
#include "dsp/FFTWindow.h"
#include "dsp/FftPlans.h"
#include "dsp/FreqDomainOperator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <thread>
#include <vector>

namespace
{
constexpr int supportedSizes[] = { 256, 512, 1024, 2048, 4096, 8192, 16384, 32768, 65536, 131072 };

template <typename T>
std::vector<T> noise (int n, unsigned seed)
{
    std::mt19937 rng (seed);
    std::uniform_real_distribution<double> dist (-1.0, 1.0);
    std::vector<T> v ((size_t) n);
    for (auto& x : v)
        x = (T) dist (rng);
    return v;
}
} // namespace

TEST (DspFft, ForwardInversePairIsTheIdentity)
{
    for (const int n : supportedSizes)
    {
        SCOPED_TRACE (n);
        FreqDomainOperator fft (n);
        const auto input = noise<double> (n, (unsigned) n);
        std::vector<Complex> spectrum ((size_t) n / 2 + 1);
        std::vector<double> output ((size_t) n, 99.0);

        fft.forwardTransform (n, spectrum.data(), input.data());
        EXPECT_EQ (spectrum.front().im, 0.0);
        EXPECT_EQ (spectrum.back().im, 0.0);
        spectrum.front().im = 123.0;  // the end bins are real: the inverse ignores these
        spectrum.back().im = -77.0;
        fft.inverseTransform (n, spectrum.data(), output.data());

        double worst = 0.0;
        for (int i = 0; i < n; ++i)
            worst = std::max (worst, std::abs (output[(size_t) i] - input[(size_t) i]));
        EXPECT_LT (worst, 1e-12);
    }
}

TEST (DspFft, UnsupportedSizesLeaveTheOutputAsItWas)
{
    for (const int n : { 0, 100, 128, 1000, 1536, 262144 })
    {
        SCOPED_TRACE (n);
        EXPECT_FALSE (FftPlans::isSupportedSize (n));
        FreqDomainOperator fft (n);
        const auto input = noise<float> (std::max (n, 1), 5);
        std::vector<Complex> spectrum ((size_t) std::max (n, 1) / 2 + 1, Complex { 3.0, -4.0 });
        std::vector<float> output ((size_t) std::max (n, 1), 8.0f);

        fft.forwardTransform (n, spectrum.data(), input.data());
        fft.inverseTransform (n, spectrum.data(), output.data());
        for (auto& bin : spectrum)
            ASSERT_TRUE (bin.re == 3.0 && bin.im == -4.0);
        for (float x : output)
            ASSERT_EQ (x, 8.0f);
    }

    // A supported engine asked for another length does nothing either, until it is re-sized.
    FreqDomainOperator fft (1024);
    const auto input = noise<float> (2048, 5);
    std::vector<Complex> spectrum (1025, Complex { 3.0, -4.0 });
    fft.forwardTransform (2048, spectrum.data(), input.data());
    EXPECT_EQ (spectrum[1].re, 3.0);

    fft.setFftSize (2048);
    EXPECT_EQ (fft.getFftSize(), 2048);
    fft.forwardTransform (2048, spectrum.data(), input.data());
    EXPECT_NE (spectrum[1].re, 3.0);
    EXPECT_EQ (spectrum[0].im, 0.0);
}

TEST (DspFft, SeveralThreadsTransformAtOnce)
{
    constexpr int numThreads = 6;
    const int sizes[numThreads] = { 1024, 1024, 1024, 256, 4096, 1024 };

    // A trace of each thread's spectra and round trips, first one thread at a time, then all at once.
    auto runThread = [&] (int t)
    {
        const int n = sizes[t];
        FreqDomainOperator fft (n);
        std::vector<Complex> spectrum ((size_t) n / 2 + 1);
        std::vector<float> back ((size_t) n);
        std::vector<double> trace;
        for (int r = 0; r < 300; ++r)
        {
            const auto input = noise<float> (n, (unsigned) (t * 1000 + r));
            fft.forwardTransform (n, spectrum.data(), input.data());
            fft.inverseTransform (n, spectrum.data(), back.data());
            trace.insert (trace.end(), { spectrum[(size_t) r % spectrum.size()].re, spectrum[(size_t) r % spectrum.size()].im, back[(size_t) r % back.size()] });
        }
        return trace;
    };

    std::vector<double> expected[numThreads], actual[numThreads];
    for (int t = 0; t < numThreads; ++t)
        expected[t] = runThread (t);
    std::vector<std::thread> threads;
    for (int t = 0; t < numThreads; ++t)
        threads.emplace_back ([&, t] { actual[t] = runThread (t); });
    for (auto& thread : threads)
        thread.join();
    for (int t = 0; t < numThreads; ++t)
        EXPECT_EQ (actual[t], expected[t]) << "thread " << t;
}

TEST (DspFftWindow, ShapesAreSymmetricAndPeakInTheCentre)
{
    // Every shape peaks at 1 in the centre of an odd length.
    for (const int type : { 0, 1, 2, 3, 4 })
    {
        const FFTWindow window (1025, type);
        const float* table = window.getTable();
        EXPECT_NEAR (table[512], 1.0, 1e-6) << type;
        for (int n = 0; n < 1025; ++n)
        {
            ASSERT_NEAR (table[n], table[1024 - n], 1e-6) << type << ", " << n;
            ASSERT_LE (table[n], table[512] + 1e-6f) << type << ", " << n;
        }
    }
    for (const int type : { -1, 5, 7, 100 })
    {
        const FFTWindow none (256, type);
        for (int n = 0; n < 256; ++n)
            ASSERT_EQ (none.getTable()[n], 0.0f) << "type " << type;
    }
}

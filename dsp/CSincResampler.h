#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

/** Band-limited resampling of a short response (an impulse response, not a stream) by a
    Kaiser-windowed sinc: each output sample is the input's band-limited interpolation at its
    instant, low-passed at 0.95 of the lower of the two Nyquist frequencies.

    Kernel: 2 fc sinc (2 fc x) w (x / W) over |x| <= W input samples, fc the cut-off in cycles per
    input sample, W = 16 zero crossings of the kernel either side (wider when decimating), w a
    Kaiser window of beta 8.6 (side lobes near -90 dB). The result is scaled by fromRate / toRate
    so that the response keeps its frequency response (its DC gain in particular): an impulse
    response is a density in time, and the new rate samples it at a different spacing.

    Any thread but the audio thread; allocates. */
namespace CSincResampler
{
    /** Zeroth-order modified Bessel function of the first kind, by its power series. */
    inline double besselI0 (double x) noexcept
    {
        double sum = 1.0, term = 1.0;
        for (int k = 1; k < 50 && term > 1.0e-12 * sum; ++k)
        {
            term *= (x / (2.0 * k)) * (x / (2.0 * k));
            sum += term;
        }
        return sum;
    }

    inline std::vector<float> resample (const std::vector<float>& in, double fromRate, double toRate)
    {
        if (in.empty() || ! (fromRate > 0.0) || ! (toRate > 0.0) || fromRate == toRate)
            return in;

        constexpr double beta = 8.6, rolloff = 0.95, pi = 3.14159265358979323846;
        const double step = fromRate / toRate;                         // input samples per output sample
        const double cutoff = 0.5 * rolloff * std::min (1.0, 1.0 / step);  // cycles per input sample
        const double halfWidth = 16.0 / (2.0 * cutoff);                // 16 zero crossings either side
        const double windowNorm = besselI0 (beta);

        const auto outLength = (size_t) std::ceil ((double) in.size() / step);
        std::vector<float> out (outLength, 0.0f);
        for (size_t m = 0; m < outLength; ++m)
        {
            const double t = (double) m * step;
            const int first = std::max (0, (int) std::ceil (t - halfWidth));
            const int last = std::min ((int) in.size() - 1, (int) std::floor (t + halfWidth));
            double sum = 0.0;
            for (int n = first; n <= last; ++n)
            {
                const double x = t - n;
                const double r = x / halfWidth;
                const double window = besselI0 (beta * std::sqrt (std::max (0.0, 1.0 - r * r))) / windowNorm;
                const double arg = 2.0 * cutoff * x;
                const double sinc = std::abs (arg) < 1.0e-12 ? 1.0 : std::sin (pi * arg) / (pi * arg);
                sum += in[(size_t) n] * 2.0 * cutoff * sinc * window;
            }
            out[m] = (float) (sum * step);
        }
        return out;
    }
}

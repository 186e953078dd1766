// Recursive filters: responses measured by running tones, DC and Nyquist through the filters:
//  - one table of designs and probes: low- and high-pass (-3 dB at the corner for q = 1/sqrt 2,
//    gain q there), shelves (the gain at the far end, half of it in dB at the shelf frequency),
//    peaking, band-pass (peak gain q), notch, narrow-band 7 and 8; float agrees with double;
//  - a shelf of gain 0 is the opposite pass filter; bad sample rates and types keep the
//    coefficients; re-designing keeps the history; block splits change nothing; the all-pass is
//    flat; designs at or above Nyquist stay bounded.
#include "dsp/CRecursiveFilter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace
{
constexpr double fs = 48000.0;
constexpr double dc = 0.0, nyquist = fs / 2.0;
using Biquad = CRecursiveFilterBiquad<float>;

double dB (double gain) { return 20.0 * std::log10 (std::abs (gain)); }

// The steady-state gain at f: DC and Nyquist (signed) from constant and alternating input, any
// other f from the output's correlation with sine and cosine over whole cycles after settling.
template <typename Filter>
double response (Filter& filter, double f)
{
    using T = std::decay_t<decltype (filter.getFeedForward (0))>;
    double y = 0.0;
    if (f == dc || f == nyquist)
    {
        for (int n = 0; n < 48000; ++n)
            y = (double) filter.process (f == dc || n % 2 == 0 ? T (1) : T (-1)) * (f == dc || n % 2 == 0 ? 1.0 : -1.0);
        return y;
    }
    const double w = 2.0 * 3.14159265358979323846 * f / fs;
    const int settle = 48000, length = (int) std::lround (std::max (50.0, std::floor (65536.0 * f / fs)) * fs / f);
    double s = 0.0, c = 0.0;
    for (int n = 0; n < settle + length; ++n)
    {
        y = (double) filter.process ((T) std::sin (w * n));
        s += n >= settle ? y * std::sin (w * n) : 0.0;
        c += n >= settle ? y * std::cos (w * n) : 0.0;
    }
    return 2.0 / length * std::hypot (s, c);
}

template <typename T = float>
CRecursiveFilterBiquad<T> designed (int type, float f, float q, float gain = 1.0f, float rate = (float) fs)
{
    CRecursiveFilterBiquad<T> filter (type);
    EXPECT_TRUE (filter.setParameters (f, q, rate, gain));
    return filter;
}
} // namespace

TEST (DspFilter, ResponsesOfEveryDesign)
{
    struct Row
    {
        int type;
        float f, q, gain;
        double probe, lowDb, highDb;
    };
    const float butterworth = 1.0f / std::sqrt (2.0f);
    const double silent = -HUGE_VAL, minus3 = 20.0 * std::log10 (std::sqrt (0.5));
    std::vector<Row> rows = {
        { Biquad::lowPass, 7000.0f, butterworth, 1.0f, dc, -1e-4, 1e-4 },
        { Biquad::lowPass, 7000.0f, butterworth, 1.0f, 7000.0, minus3 - 0.01, minus3 + 0.01 },
        { Biquad::lowPass, 7000.0f, butterworth, 1.0f, 14000.0, silent, -6.0 },
        { Biquad::lowPass, 7000.0f, butterworth, 1.0f, nyquist, silent, -100.0 },
        { Biquad::lowPass, 7000.0f, 1.0f, 1.0f, 7000.0, -0.01, 0.01 },  // the cookbook's gain q at the corner
        { Biquad::highPass, 7000.0f, butterworth, 1.0f, dc, silent, -100.0 },
        { Biquad::highPass, 7000.0f, butterworth, 1.0f, 7000.0, minus3 - 0.01, minus3 + 0.01 },
        { Biquad::highPass, 7000.0f, butterworth, 1.0f, 3500.0, silent, -6.0 },
        { Biquad::highPass, 7000.0f, butterworth, 1.0f, nyquist, -1e-4, 1e-4 },
        { Biquad::peaking, 1000.0f, 2.0f, 1.5f, 1000.0, dB (1.5) - 0.01, dB (1.5) + 0.01 },
        { Biquad::peaking, 1000.0f, 2.0f, 1.5f, dc, -1e-3, 1e-3 },
        { Biquad::peaking, 1000.0f, 2.0f, 1.5f, nyquist, -1e-3, 1e-3 },
        { Biquad::bandPass, 1000.0f, 2.0f, 1.0f, 1000.0, dB (2.0) - 0.01, dB (2.0) + 0.01 },
        { Biquad::bandPass, 1000.0f, 2.0f, 1.0f, dc, silent, -100.0 },
        { Biquad::notch, 1000.0f, 2.0f, 1.0f, 1000.0, silent, -60.0 },
        { Biquad::notch, 1000.0f, 2.0f, 1.0f, dc, -1e-3, 1e-3 },
        { Biquad::resonantBandPass, 480.0f, 0.1f, 1.0f, 480.0, -0.01, 0.01 },
        { Biquad::resonantBandPass, 480.0f, 0.1f, 1.0f, dc, silent, -80.0 },
        { Biquad::resonantBandReject, 480.0f, 0.1f, 1.0f, 480.0, silent, -60.0 },
        { Biquad::resonantBandReject, 480.0f, 0.1f, 1.0f, dc, -1e-3, 1e-3 },
    };
    // Shelves: unity at one end, the gain at the other, half of it in dB at the shelf frequency.
    // Within 0.02 dB: single-precision poles this close to z = 1 (200 Hz) round the DC gain.
    for (const float a : { 0.8f, 1.25f, 0.3f })
    {
        const double g = dB (a);
        rows.push_back ({ Biquad::highShelf, 2000.0f, 1.0f, a, dc, -0.02, 0.02 });
        rows.push_back ({ Biquad::highShelf, 2000.0f, 1.0f, a, nyquist, g - 0.02, g + 0.02 });
        rows.push_back ({ Biquad::highShelf, 2000.0f, 1.0f, a, 2000.0, g / 2 - 0.02, g / 2 + 0.02 });
        rows.push_back ({ Biquad::lowShelf, 200.0f, 1.0f, a, dc, g - 0.02, g + 0.02 });
        rows.push_back ({ Biquad::lowShelf, 200.0f, 1.0f, a, nyquist, -0.02, 0.02 });
    }

    for (const auto& row : rows)
    {
        SCOPED_TRACE (testing::Message() << "type " << row.type << ", f " << row.f << ", q " << row.q << ", gain " << row.gain << ", at " << row.probe << " Hz");
        auto filter = designed (row.type, row.f, row.q, row.gain);
        const double measured = dB (response (filter, row.probe));
        EXPECT_GE (measured, row.lowDb);
        EXPECT_LE (measured, row.highDb);
    }

    for (const double f : { 50.0, 200.0, 1000.0 })
    {
        auto single = designed<float> (Biquad::lowPass, 200.0f, 1.0f);
        auto twice = designed<double> (Biquad::lowPass, 200.0f, 1.0f);
        EXPECT_NEAR (dB (response (single, f)), dB (response (twice, f)), 0.001) << f;
    }
}

TEST (DspFilter, ZeroGainShelvesAreTheOppositePassFilters)
{
    auto lowShelf = designed (Biquad::lowShelf, 1000.0f, 0.9f, 0.0f), highPass = designed (Biquad::highPass, 1000.0f, 0.9f);
    auto highShelf = designed (Biquad::highShelf, 3000.0f, 0.7f, 0.0f), lowPass = designed (Biquad::lowPass, 3000.0f, 0.7f);
    for (int n = 0; n < 5000; ++n)
    {
        const float x = (float) std::sin (0.37 * n) + ((n % 7) == 0 ? 0.5f : 0.0f);
        ASSERT_EQ (lowShelf.process (x), highPass.process (x)) << n;
        ASSERT_EQ (highShelf.process (x), lowPass.process (x)) << n;
    }
}

TEST (DspFilter, BadParametersRedesignsAndBlockSplits)
{
    auto touched = designed (Biquad::lowPass, 1000.0f, 1.0f), untouched = designed (Biquad::lowPass, 1000.0f, 1.0f);
    EXPECT_FALSE (touched.setParameters (5000.0f, 3.0f, 0.0f, 1.0f));
    EXPECT_FALSE (touched.setParameters (5000.0f, 3.0f, -48000.0f, 1.0f));
    Biquad unknownType (9);
    EXPECT_TRUE (unknownType.setParameters (1000.0f, 1.0f, (float) fs, 1.0f));

    auto reference = designed (Biquad::highShelf, 3000.0f, 1.0f, 0.5f);
    auto redesigned = reference, split = reference;
    std::vector<float> input (3000);
    for (size_t n = 0; n < input.size(); ++n)
        input[n] = (float) std::sin (0.9 * (double) n) * 0.7f;
    std::vector<float> blockwise = input;
    const int splits[] = { 1, 13, 50, 51, 52, 813 };
    for (size_t i = 0, position = 0; position < blockwise.size(); position += (size_t) splits[i++ % 6])
        split.processInPlace (blockwise.data() + position, std::min ((int) (blockwise.size() - position), splits[i % 6]));

    for (size_t n = 0; n < input.size(); ++n)
    {
        if (n == 1000)
            redesigned.setParameters (3000.0f, 1.0f, (float) fs, 0.5f);  // the history stays
        const float y = reference.process (input[n]);
        ASSERT_EQ (redesigned.process (input[n]), y) << n;
        ASSERT_EQ (blockwise[n], y) << n;
        const float x = (float) std::sin (0.05 * (double) n);
        ASSERT_EQ (touched.process (x), untouched.process (x)) << n;
        ASSERT_EQ (unknownType.process (1.0f), 0.0f) << "coefficients stay as constructed (zero)";
    }
}

TEST (DspFilter, FirstOrderAllPassIsFlat)
{
    for (const float c : { 0.3f, -0.3f, 0.5f, -0.5f })
        for (const double f : { dc, 20.0, 200.0, 1000.0, 5000.0, 12000.0, 20000.0, 23500.0, nyquist })
        {
            CRecursiveAllPassWikipedia2<float> allPass;
            allPass.setCoefficient (c);
            // Signed at the ends: the phase has turned by pi at Nyquist.
            EXPECT_NEAR (response (allPass, f), f == nyquist ? -1.0 : 1.0, 1.2e-3) << "c " << c << ", " << f << " Hz";
        }

    CRecursiveAllPassWikipedia2<double> a, b;
    a.setCoefficient (0.5);
    b.setCoefficient (0.5);
    std::vector<double> block (200);
    for (size_t n = 0; n < block.size(); ++n)
        block[n] = std::cos (0.3 * (double) n);
    const auto input = block;
    b.processInPlace (block.data(), 77);
    b.processInPlace (block.data() + 77, 123);
    for (size_t n = 0; n < block.size(); ++n)
        ASSERT_EQ (block[n], a.process (input[n]));
}

TEST (DspFilter, DesignsAtOrAboveNyquistStayStable)
{
    // A 22 kHz shelf at a 22.05 kHz rate (the surround shelves' top setting) and a low-pass
    // asked for above Nyquist: both must stay bounded on loud, broadband input.
    for (int type : { 1, 2, 3, 4, 0 })
    {
        auto filter = designed (type, 22000.0f, 1.0f, 0.5f, 22050.0f);
        float peak = 0.0f;
        for (int n = 0; n < 20000; ++n)
            peak = std::max (peak, std::abs (filter.process ((n % 3 == 0 ? 0.5f : -0.5f) + (float) std::sin (0.9 * n))));
        EXPECT_TRUE (std::isfinite (peak)) << type;
        EXPECT_LT (peak, 100.0f) << type;
    }
}

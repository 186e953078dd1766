// Recursive filters: responses measured by running tones, DC and Nyquist through the real filters.
// Cases:
//  - low-pass at 7 kHz / 48 kHz: unity at DC, -3 dB at the corner for q = 1/sqrt 2, 0 dB there
//    for q = 1, falling above; high-pass the mirror image (float and double agree);
//  - shelves: unity at one end and the given linear gain at the far end (a high shelf of 0.8
//    ends at 0.8), for cut and boost, half of it in dB at the shelf frequency; a shelf with
//    gain 0 is sample for sample the opposite pass filter;
//  - peaking reaches the given gain at its centre; band-pass (type 5) peaks at q; notch nulls;
//  - narrow-band designs: type 7 passes its centre at unity and blocks DC, type 8 nulls its
//    centre and passes DC, and each rings with the pole radius of its own bandwidth term
//    (10.1 q for 7, 10.1 q + 0.1 for 8);
//  - setParameters with sample rate 0 (or below) returns false and leaves the output unchanged;
//    a type outside 0 to 8 keeps its coefficients; re-designing does not clear the history;
//  - first-order all-pass: flat within 0.01 dB for c = +-0.3, +-0.5, inverting at Nyquist;
//  - block splits give the sample-by-sample output.
#include "dsp/CRecursiveFilter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace
{
constexpr double fs = 48000.0;
constexpr double pi = 3.14159265358979323846;

double dB (double gain) { return 20.0 * std::log10 (gain); }

template <typename Filter>
using SampleOf = std::decay_t<decltype (std::declval<Filter>().getFeedForward (0))>;

// Steady-state amplitude of the filter's response to a unit sine at f Hz, from the output's
// correlation with sine and cosine over a whole number of cycles after a long settling time.
template <typename Filter>
double toneGain (Filter& filter, double f)
{
    using T = SampleOf<Filter>;
    const double w = 2.0 * pi * f / fs;
    const int settle = 48000;
    const double cycles = std::max (50.0, std::floor (65536.0 * f / fs));
    const int length = (int) std::lround (cycles * fs / f);

    double s = 0.0, c = 0.0;
    for (int n = 0; n < settle + length; ++n)
    {
        const double y = (double) filter.process ((T) std::sin (w * n));
        if (n >= settle)
        {
            s += y * std::sin (w * n);
            c += y * std::cos (w * n);
        }
    }
    return 2.0 / length * std::hypot (s, c);
}

// Gain for a constant input (DC).
template <typename Filter>
double dcGain (Filter& filter)
{
    using T = SampleOf<Filter>;
    double y = 0.0;
    for (int n = 0; n < 48000; ++n)
        y = (double) filter.process (T (1));
    return y;
}

// Signed gain for the alternating sequence +1, -1, ... (exactly Nyquist).
template <typename Filter>
double nyquistGain (Filter& filter)
{
    using T = SampleOf<Filter>;
    double y = 0.0;
    for (int n = 0; n < 48000; ++n)
        y = (double) filter.process ((n % 2) == 0 ? T (1) : T (-1)) * ((n % 2) == 0 ? 1.0 : -1.0);
    return y;
}

template <template <typename> class FilterClass, typename T = float>
FilterClass<T> designed (float f, float q, float gain = 1.0f)
{
    FilterClass<T> filter;
    EXPECT_TRUE (filter.setParameters (f, q, (float) fs, gain));
    return filter;
}

CRecursiveFilterBiquad<float> designedType (int type, float f, float q, float gain = 1.0f, float rate = (float) fs)
{
    CRecursiveFilterBiquad<float> filter (type);
    EXPECT_TRUE (filter.setParameters (f, q, rate, gain));
    return filter;
}
} // namespace

TEST (DspFilter, LowPassAndHighPassMagnitudes)
{
    const float butterworthQ = 1.0f / std::sqrt (2.0f);
    {
        auto lp = designed<CRecursiveFilterBiquadLowPass> (7000.0f, butterworthQ);
        EXPECT_NEAR (dB (dcGain (lp)), 0.0, 1e-4);
        EXPECT_NEAR (dB (toneGain (lp, 7000.0)), -3.0103, 0.01);
        EXPECT_LT (toneGain (lp, 14000.0), toneGain (lp, 7000.0));
        EXPECT_LT (toneGain (lp, 7000.0), toneGain (lp, 3500.0));
        EXPECT_NEAR (nyquistGain (lp), 0.0, 1e-5);
    }
    {
        auto lp = designed<CRecursiveFilterBiquadLowPass> (7000.0f, 1.0f);
        EXPECT_NEAR (dB (dcGain (lp)), 0.0, 1e-4);
        EXPECT_NEAR (dB (toneGain (lp, 7000.0)), 0.0, 0.01) << "the cookbook low-pass has gain q at its corner";
    }
    {
        auto hp = designed<CRecursiveFilterBiquadHighPass> (7000.0f, butterworthQ);
        EXPECT_NEAR (dcGain (hp), 0.0, 1e-5);
        EXPECT_NEAR (dB (std::abs (nyquistGain (hp))), 0.0, 1e-4);
        EXPECT_NEAR (dB (toneGain (hp, 7000.0)), -3.0103, 0.01);
        EXPECT_LT (toneGain (hp, 3500.0), toneGain (hp, 7000.0));
    }
    {
        auto single = designed<CRecursiveFilterBiquadLowPass, float> (200.0f, 1.0f);
        auto twice = designed<CRecursiveFilterBiquadLowPass, double> (200.0f, 1.0f);
        for (const double f : { 50.0, 200.0, 1000.0 })
            EXPECT_NEAR (dB (toneGain (single, f)), dB (toneGain (twice, f)), 0.001) << f;
    }
}

TEST (DspFilter, ShelvesReachTheirGainAtTheFarEndAndUnityAtTheOther)
{
    for (const float a : { 0.8f, 1.25f, 0.3f })
    {
        SCOPED_TRACE (a);
        // Within 0.02 dB: a single-precision design with poles this close to z = 1 (200 Hz)
        // leaves some coefficient rounding in the DC gain.
        auto high = designed<CRecursiveFilterBiquadHighShelf> (2000.0f, 1.0f, a);
        EXPECT_NEAR (dB (dcGain (high)), 0.0, 0.02);
        EXPECT_NEAR (dB (nyquistGain (high)), dB (a), 0.02);

        auto low = designed<CRecursiveFilterBiquadLowShelf> (200.0f, 1.0f, a);
        EXPECT_NEAR (dB (dcGain (low)), dB (a), 0.02);
        EXPECT_NEAR (dB (nyquistGain (low)), 0.0, 0.02);

        // Halfway in dB at the shelf frequency (the cookbook shelf's midpoint).
        auto mid = designed<CRecursiveFilterBiquadHighShelf> (2000.0f, 1.0f, a);
        EXPECT_NEAR (dB (toneGain (mid, 2000.0)), dB (a) / 2.0, 0.02);
    }
}

TEST (DspFilter, ShelfWithGainZeroIsTheOppositePassFilter)
{
    auto lowShelf = designed<CRecursiveFilterBiquadLowShelf> (1000.0f, 0.9f, 0.0f);
    auto highPass = designed<CRecursiveFilterBiquadHighPass> (1000.0f, 0.9f);
    auto highShelf = designed<CRecursiveFilterBiquadHighShelf> (3000.0f, 0.7f, 0.0f);
    auto lowPass = designed<CRecursiveFilterBiquadLowPass> (3000.0f, 0.7f);

    for (int n = 0; n < 5000; ++n)
    {
        const float x = (float) std::sin (0.37 * n) + ((n % 7) == 0 ? 0.5f : 0.0f);
        ASSERT_EQ (lowShelf.process (x), highPass.process (x)) << n;
        ASSERT_EQ (highShelf.process (x), lowPass.process (x)) << n;
    }
}

TEST (DspFilter, PeakingBandPassAndNotch)
{
    auto peak = designedType (0, 1000.0f, 2.0f, 1.5f);
    EXPECT_NEAR (toneGain (peak, 1000.0), 1.5, 1e-3);
    EXPECT_NEAR (dcGain (peak), 1.0, 1e-4);
    EXPECT_NEAR (nyquistGain (peak), 1.0, 1e-4);

    auto bandPass = designedType (5, 1000.0f, 2.0f);
    EXPECT_NEAR (toneGain (bandPass, 1000.0), 2.0, 1e-3) << "peak gain q";
    EXPECT_NEAR (dcGain (bandPass), 0.0, 1e-5);

    auto notch = designedType (6, 1000.0f, 2.0f);
    EXPECT_LT (toneGain (notch, 1000.0), 1e-3);
    EXPECT_NEAR (dcGain (notch), 1.0, 1e-4);
}

TEST (DspFilter, NarrowBandDesignsAndTheirBandwidthTerms)
{
    const float f = 480.0f; // g = 0.01: the ringing has a period of exactly 100 samples
    const float q = 0.1f;

    auto bandPass = designedType (7, f, q);
    EXPECT_NEAR (toneGain (bandPass, f), 1.0, 1e-3);
    EXPECT_NEAR (dcGain (bandPass), 0.0, 1e-4);

    auto bandReject = designedType (8, f, q);
    EXPECT_LT (toneGain (bandReject, f), 1e-3);
    EXPECT_NEAR (dcGain (bandReject), 1.0, 1e-4);

    // The pole radius, measured from how fast the impulse response's peaks decay over 5 periods.
    auto measuredRadius = [] (CRecursiveFilterBiquad<float> filter)
    {
        std::vector<double> y (1000);
        for (size_t n = 0; n < y.size(); ++n)
            y[n] = filter.process (n == 0 ? 1.0f : 0.0f);
        auto peak = [&] (size_t from)
        {
            double m = 0.0;
            for (size_t n = from; n < from + 100; ++n)
                m = std::max (m, std::abs (y[n]));
            return m;
        };
        return std::pow (peak (800) / peak (300), 1.0 / 500.0);
    };

    const double g = 0.01;
    const double r7 = measuredRadius (designedType (7, f, q));
    const double r8 = measuredRadius (designedType (8, f, q));
    EXPECT_NEAR (r7, 1.0 - 3.0 * g / (10.1 * q), 2e-5);
    EXPECT_NEAR (r8, 1.0 - 3.0 * g / (10.1 * q + 0.1), 2e-5);
    EXPECT_GT (r8, r7 + 0.002) << "the band-reject's extra 0.1 narrows it and makes it ring longer";
}

TEST (DspFilter, BadParametersKeepTheCoefficients)
{
    auto touched = designed<CRecursiveFilterBiquadLowPass> (1000.0f, 1.0f);
    auto untouched = designed<CRecursiveFilterBiquadLowPass> (1000.0f, 1.0f);
    EXPECT_FALSE (touched.setParameters (5000.0f, 3.0f, 0.0f, 1.0f));
    EXPECT_FALSE (touched.setParameters (5000.0f, 3.0f, -48000.0f, 1.0f));
    for (int n = 0; n < 2000; ++n)
    {
        const float x = (float) std::sin (0.05 * n);
        ASSERT_EQ (touched.process (x), untouched.process (x)) << n;
    }

    CRecursiveFilterBiquad<float> unknownType (9);
    EXPECT_TRUE (unknownType.setParameters (1000.0f, 1.0f, (float) fs, 1.0f));
    for (int n = 0; n < 100; ++n)
        ASSERT_EQ (unknownType.process (1.0f), 0.0f) << "coefficients stay as constructed (zero)";
}

TEST (DspFilter, RedesigningKeepsTheHistoryAndBlockSplitsChangeNothing)
{
    auto reference = designed<CRecursiveFilterBiquadHighShelf> (3000.0f, 1.0f, 0.5f);
    auto redesigned = designed<CRecursiveFilterBiquadHighShelf> (3000.0f, 1.0f, 0.5f);
    auto split = designed<CRecursiveFilterBiquadHighShelf> (3000.0f, 1.0f, 0.5f);

    std::vector<float> input (3000);
    for (size_t n = 0; n < input.size(); ++n)
        input[n] = (float) std::sin (0.9 * (double) n) * 0.7f;

    std::vector<float> blockwise = input;
    const int splits[] = { 1, 13, 50, 51, 52, 813 };
    size_t position = 0;
    for (int i = 0; position < blockwise.size(); ++i)
    {
        const int n = std::min ((int) (blockwise.size() - position), splits[i % 6]);
        split.processInPlace (blockwise.data() + position, n);
        position += (size_t) n;
    }

    for (size_t n = 0; n < input.size(); ++n)
    {
        if (n == 1000)
            redesigned.setParameters (3000.0f, 1.0f, (float) fs, 0.5f);
        const float y = reference.process (input[n]);
        ASSERT_EQ (redesigned.process (input[n]), y) << n;
        ASSERT_EQ (blockwise[n], y) << n;
    }
}

TEST (DspFilter, FirstOrderAllPassIsFlat)
{
    for (const float c : { 0.3f, -0.3f, 0.5f, -0.5f })
    {
        SCOPED_TRACE (c);
        for (const double f : { 20.0, 200.0, 1000.0, 5000.0, 12000.0, 20000.0, 23500.0 })
        {
            CRecursiveAllPassWikipedia2<float> allPass;
            allPass.setCoefficient (c);
            EXPECT_NEAR (dB (toneGain (allPass, f)), 0.0, 0.01) << f;
        }
        CRecursiveAllPassWikipedia2<float> allPass;
        allPass.setCoefficient (c);
        EXPECT_NEAR (dcGain (allPass), 1.0, 1e-5);
        allPass.setCoefficient (c);
        EXPECT_NEAR (nyquistGain (allPass), -1.0, 1e-5) << "the phase has turned by pi at Nyquist";
    }

    // Block and sample runs agree here too.
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
        auto filter = designedType (type, 22000.0f, 1.0f, 0.5f, 22050.0f);
        float peak = 0.0f;
        for (int n = 0; n < 20000; ++n)
        {
            const float x = (n % 3 == 0 ? 0.5f : -0.5f) + (float) std::sin (0.9 * n);
            peak = std::max (peak, std::abs (filter.process (x)));
        }
        EXPECT_TRUE (std::isfinite (peak)) << type;
        EXPECT_LT (peak, 100.0f) << type;
    }
}

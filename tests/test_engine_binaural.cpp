// The binaural renderer and the set of head-related responses it reads:
//  - a source at a loudspeaker reaches the nearer ear earlier and louder: interaural time
//    (cross-correlation lag) and level (broadband energy) differences of the right sign and a
//    plausible size for +-30, +-110 degrees and a height loudspeaker, at the set's own rate and
//    resampled to 48 and 96 kHz;
//  - the zero-latency partitioned convolution equals a direct convolution with the responses,
//    fed in calls of 1, 13, 128 and 813 samples, with a source falling silent part-way;
//  - the LFE is a low-passed centre: 60 Hz reaches both ears alike, 1 kHz 30 dB below it.
// (A missing SOFA file is tried through the processor, in test_processor_headphones.cpp.)
#include "engine/UpmixerBinauralRenderer.h"
#include "engine/UpmixerHrirSet.h"
#include "InterauralDifferences.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace
{
std::shared_ptr<const UpmixerHrirSet> defaultSet()
{
    static auto set = [] { std::string error; return UpmixerHrirSet::load (UpmixerHrirSet::defaultPath, error); }();
    return set;
}
}

TEST (BinauralResponses, NearerEarEarlierAndLouder)
{
    auto set = defaultSet();
    ASSERT_NE (set, nullptr);
    struct Case { float azimuth, elevation; double minItdMs, maxItdMs, minIldDb, maxIldDb; };
    const Case cases[] = {
        { -30.0f, 0.0f, 0.15, 0.45, 2.0, 15.0 },   // L
        { -110.0f, 0.0f, 0.45, 0.9, 5.0, 30.0 },   // Ls without rears
        { -90.0f, 45.0f, 0.3, 0.8, 3.0, 25.0 },    // top side left
    };
    for (double rate : { 44100.0, 48000.0, 96000.0 })
        for (const auto& c : cases)
            for (float side : { 1.0f, -1.0f })  // the left loudspeaker, then its mirror on the right
            {
                SCOPED_TRACE (testing::Message() << rate << " Hz, azimuth " << c.azimuth * side << ", elevation " << c.elevation);
                const auto pair = set->responseFor (c.azimuth * side, c.elevation, rate);
                const double itdMs = InterauralDifferences::lag (pair.left, pair.right, rate) / rate * 1000.0 * side;
                const double ildDb = (InterauralDifferences::energyDb (pair.left) - InterauralDifferences::energyDb (pair.right)) * side;
                EXPECT_GT (itdMs, c.minItdMs);
                EXPECT_LT (itdMs, c.maxItdMs);
                EXPECT_GT (ildDb, c.minIldDb);
                EXPECT_LT (ildDb, c.maxIldDb);
            }
}

TEST (BinauralRenderer, EqualsDirectConvolutionInAnySplit)
{
    auto set = defaultSet();
    ASSERT_NE (set, nullptr);
    const double rate = 48000.0;
    const std::vector<UpmixerBinauralRenderer::Source> sources = { { -30.0f, 0.0f, false }, { 110.0f, 0.0f, false }, { 0.0f, 0.0f, true } };
    const int length = 3000, silentFrom = 1700;

    std::mt19937 random (7);
    std::normal_distribution<float> noise (0.0f, 0.3f);
    std::vector<std::vector<float>> inputs (sources.size(), std::vector<float> (length));
    for (auto& in : inputs)
        for (auto& v : in)
            v = noise (random);

    // Reference: direct convolution with each response; the LFE source (checked on its own
    // below) stays silent here.
    std::vector<double> expected[2] = { std::vector<double> (length), std::vector<double> (length) };
    for (size_t s = 0; s < 2; ++s)
    {
        const auto pair = set->responseFor (sources[s].azimuth, sources[s].elevation, rate);
        for (int ear = 0; ear < 2; ++ear)
        {
            const auto& ir = ear == 0 ? pair.left : pair.right;
            for (int n = 0; n < length; ++n)
                for (size_t k = 0; k < ir.size() && k <= (size_t) n; ++k)
                    if (const int at = n - (int) k; s == 0 || at < silentFrom)
                        expected[ear][(size_t) n] += (double) ir[k] * inputs[s][(size_t) at];
        }
    }

    UpmixerBinauralRenderer renderer;
    renderer.prepare (*set, sources, rate);
    ASSERT_GT (renderer.getNumPartitions(), 1);
    for (int split : { 1, 13, 128, 813 })
    {
        SCOPED_TRACE (testing::Message() << "calls of " << split);
        renderer.reset();
        std::vector<float> left (length), right (length);
        for (int done = 0; done < length; done += split)
        {
            const int n = std::min (split, length - done);
            // The second source falls silent (a null feed) from silentFrom on; the LFE stays silent.
            const float* feeds[3] = { inputs[0].data() + done, done >= silentFrom ? nullptr : inputs[1].data() + done, nullptr };
            if (done < silentFrom && done + n > silentFrom)
            {
                // A call that straddles the change is split there.
                const int first = silentFrom - done;
                renderer.process (feeds, left.data() + done, right.data() + done, first);
                const float* rest[3] = { inputs[0].data() + silentFrom, nullptr, nullptr };
                renderer.process (rest, left.data() + silentFrom, right.data() + silentFrom, n - first);
                continue;
            }
            renderer.process (feeds, left.data() + done, right.data() + done, n);
        }
        double worst = 0.0;
        for (int n = 0; n < length; ++n)
            worst = std::max ({ worst, std::abs (left[(size_t) n] - expected[0][(size_t) n]), std::abs (right[(size_t) n] - expected[1][(size_t) n]) });
        EXPECT_LT (worst, 1.0e-5);
    }
}

TEST (BinauralRenderer, LfeIsALowPassedCentre)
{
    auto set = defaultSet();
    ASSERT_NE (set, nullptr);
    const double rate = 48000.0;
    UpmixerBinauralRenderer renderer;
    renderer.prepare (*set, { { 0.0f, 0.0f, true } }, rate);
    double level[2][2] {};  // by frequency, by ear: energy after the first 0.1 s
    for (int f = 0; f < 2; ++f)
    {
        renderer.reset();
        const int length = 24000;
        std::vector<float> in (length), left (length), right (length);
        for (int n = 0; n < length; ++n)
            in[(size_t) n] = 0.5f * (float) std::sin (2.0 * 3.14159265358979 * (f == 0 ? 60.0 : 1000.0) * n / rate);
        const float* feeds[1] = { in.data() };
        renderer.process (feeds, left.data(), right.data(), length);
        for (int n = 4800; n < length; ++n)
            level[f][0] += (double) left[(size_t) n] * left[(size_t) n], level[f][1] += (double) right[(size_t) n] * right[(size_t) n];
    }
    EXPECT_NEAR (10.0 * std::log10 (level[0][0] / level[0][1]), 0.0, 1.0);
    EXPECT_LT (10.0 * std::log10 (level[1][0] / level[0][0]), -30.0);
}

// Denormal guard noise and the running average.
// Cases:
//  - users of a generator in turn continue one sequence (the advanced state is put back); the
//    three generators differ; values have both signs and a magnitude between 2^-67 and 2^-66;
//  - with the noise added to its input, a float low-pass and an all-pass ringing out into a long
//    silent tail never produce a subnormal sample (without it they do);
//  - CRunningAverage, run in blocks, matches a direct mean of the last N inputs (of those so
//    far while filling) over a long run, and reset empties it.
#include "dsp/CRecursiveFilter.h"
#include "dsp/CRunningAverage.h"
#include "dsp/DenormalNoise.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <deque>
#include <random>
#include <set>
#include <vector>

namespace
{
// Saves a generator's shared state and puts it back, so the test does not disturb others.
struct SavedNoiseState
{
    int source;
    std::uint32_t state = DenormalNoise::load (source);
    ~SavedNoiseState() { DenormalNoise::store (source, state); }
};
} // namespace

TEST (DspNoise, UsersOfAGeneratorContinueOneSequenceOfTinyValuesWithBothSigns)
{
    // Three users in turn draw what one user drawing throughout would: each takes the shared
    // state and puts the advanced state back. The generators differ from their first value on.
    std::set<std::uint32_t> firstValues;
    for (int source = 0; source < DenormalNoise::numSources; ++source)
    {
        SavedNoiseState saved { source };
        std::vector<float> throughout, inTurn;
        DenormalNoise::store (source, DenormalNoise::initialStates[source]);
        {
            DenormalNoise noise (source);
            for (int i = 0; i < 10000; ++i)
                throughout.push_back (noise.next());
        }
        DenormalNoise::store (source, DenormalNoise::initialStates[source]);
        for (const int n : { 1, 4999, 5000 })
        {
            DenormalNoise noise (source);
            for (int i = 0; i < n; ++i)
                inTurn.push_back (noise.next());
        }
        ASSERT_EQ (inTurn, throughout) << "source " << source;
        firstValues.insert (std::bit_cast<std::uint32_t> (throughout[0]));

        int negatives = 0;
        for (const float v : throughout)
        {
            negatives += v < 0.0f ? 1 : 0;
            ASSERT_GE (std::abs (v), std::ldexp (1.0f, -67));
            ASSERT_LT (std::abs (v), std::ldexp (1.0f, -66));
        }
        EXPECT_GT (negatives, 4000);
        EXPECT_LT (negatives, 6000);
    }
    EXPECT_EQ (firstValues.size(), 3u);
}

TEST (DspNoise, KeepsALongSilentTailOutOfTheDenormalRange)
{
    SavedNoiseState saved { DenormalNoise::difference };

    // An impulse, then ten seconds of silence at 48 kHz.
    auto countSubnormals = [] (bool withNoise)
    {
        CRecursiveFilterBiquadLowPass<float> lowPass;
        lowPass.setParameters (200.0f, 1.0f, 48000.0f, 1.0f);
        CRecursiveAllPassWikipedia2<float> allPass;
        allPass.setCoefficient (0.5f);

        int subnormals = 0;
        DenormalNoise noise (DenormalNoise::difference);
        for (int n = 0; n < 480000; ++n)
        {
            const float x = n == 0 ? 1.0f : 0.0f;
            const float a = lowPass.process (withNoise ? x + noise.next() : x);
            const float b = allPass.process (withNoise ? a + noise.next() : a);
            subnormals += (std::fpclassify (a) == FP_SUBNORMAL) + (std::fpclassify (b) == FP_SUBNORMAL);
        }
        return subnormals;
    };

    EXPECT_GT (countSubnormals (false), 0) << "without the noise the tail does sink into subnormals";
    EXPECT_EQ (countSubnormals (true), 0);
}

TEST (DspRunningAverage, IsTheMeanOfTheLastWindow)
{
    // A long random run against a direct windowed mean (of the inputs so far while filling).
    const int window = 300;
    CRunningAverage<float, double> running (window, 512);
    std::deque<float> last;
    std::mt19937 rng (5);
    std::uniform_real_distribution<float> dist (-1000.0f, 1000.0f);
    std::vector<float> block (512);
    for (int b = 0; b < 400; ++b)
    {
        for (auto& x : block)
            x = dist (rng) + (b % 50 == 0 ? 1e6f : 0.0f);
        const double* means = running.processBlock (block.data(), (int) block.size());
        for (size_t i = 0; i < block.size(); ++i)
        {
            last.push_back (block[i]);
            if ((int) last.size() > window)
                last.pop_front();
            double sum = 0.0;
            for (float x : last)
                sum += x;
            ASSERT_NEAR (means[i], sum / (double) last.size(), 1e-9 * (1.0 + std::abs (sum / (double) last.size())) + 1e-7) << "block " << b << ", sample " << i;
        }
    }

    EXPECT_EQ (running.getCount(), window);

    running.reset();
    EXPECT_EQ (running.getCount(), 0);
    EXPECT_EQ (running.getAverage(), 0.0);
}

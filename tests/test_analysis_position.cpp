// The reader's side of the haze: where each band's energy sits in the surround field.
// - bands: contiguous, rising, at least one bin each, within the FFT's bins, none for
//   nonsense arguments;
// - the energy vector: one speaker gives its azimuth and no spread, an equal pair gives the
//   phantom between them, opposite speakers and silence read as fully spread, sums add;
// - loudspeaker azimuths for 5.1, 7.1, 7.1.2 (top side) and 7.1.4 (top front), none for LFE
//   and for kinds a layout lacks;
// - end to end through the real observers: a signal that exists only in L, or only in Ls, is
//   placed at that speaker's azimuth in every band, whichever host position the routing gives
//   it; the same signal in L and R sits in front, spread by the pair's angle.
#include "analysis/SpatialPosition.h"
#include "analysis/UpmixerObservers.h"
#include "analysis/UpmixerSpeakerAngles.h"
#include "processor/KaChannelRouting.h"

#include <gtest/gtest.h>

using namespace KaChannelRouting;

namespace
{
    struct FixedLayout : KaJuceChannelUser
    {
        int routing = 1;
        int getCurrentRouting() const noexcept override { return routing; }
    };

    /** Feeds the observers with engine outputs in which only the given host positions carry
        noise (the same noise in each), and returns the per-band vectors of the upmix haze. */
    std::vector<EnergyVector> positionsOf (int routing, int numOutputs, const std::vector<int>& loudPositions)
    {
        FixedLayout layout;
        layout.routing = routing;
        UpmixerObservers observers (layout);
        constexpr int block = 512;
        observers.prepare (48000.0, block);

        juce::AudioBuffer<float> upmix (12, block), source (12, block), downmix (2, block), delta (2, block);
        source.clear();
        downmix.clear();
        delta.clear();
        juce::Random random (7);
        for (int round = 0; round < 4; ++round)
        {
            upmix.clear();
            for (int i = 0; i < block; ++i)
            {
                const float x = 0.5f * (random.nextFloat() * 2.0f - 1.0f);
                for (int position : loudPositions)
                    upmix.setSample (position, i, x);
            }
            UpmixerObservers::Signals s;
            s.upmix = upmix.getArrayOfWritePointers();
            s.numUpmix = numOutputs;
            s.source = source.getArrayOfWritePointers();
            s.numSource = 12;
            s.downmix = downmix.getArrayOfWritePointers();
            s.delta = delta.getArrayOfWritePointers();
            s.routing = routing;
            observers.feedOutputs (s, block);
        }

        SpectraSnapshot snapshot;
        observers.getUpmixHaze()->readSnapshot (snapshot);
        const SpatialBands bands (48000.0, UpmixerObservers::analyserFftSize, 24);
        const auto azimuths = UpmixerSpeakerAngles::forUpmixHaze (routing, numOutputs);
        std::vector<EnergyVector> out;
        SpatialPosition::accumulate (snapshot, azimuths.data(), (int) azimuths.size(), bands, out);
        return out;
    }
}

TEST (AnalysisPosition, BandsCoverTheBinsInRisingOrder)
{
    const SpatialBands bands (48000.0, 256, 24);
    ASSERT_GE (bands.size(), 12);
    ASSERT_LE (bands.size(), 24);
    int expectedFirst = bands.getBands().front().firstBin;
    EXPECT_EQ (expectedFirst, 1);  // 100 Hz falls below bin 1's centre (187.5 Hz)
    for (const auto& band : bands.getBands())
    {
        EXPECT_EQ (band.firstBin, expectedFirst);
        EXPECT_GT (band.endBin, band.firstBin);
        EXPECT_LE (band.endBin, 129);
        EXPECT_LT (band.lowHz, band.centreHz);
        EXPECT_LT (band.centreHz, band.highHz);
        expectedFirst = band.endBin;
    }
    EXPECT_NEAR (bands.getBands().back().highHz, 20000.0f, 200.0f);

    // Each band is at most about a third of an octave wider than its log share, except where
    // a single bin is wider than that share.
    for (const auto& band : bands.getBands())
    {
        if (band.endBin - band.firstBin > 1)
        {
            EXPECT_LT (band.highHz / band.lowHz, 1.6f) << band.centreHz;
        }
    }

    EXPECT_EQ (SpatialBands (0.0, 256, 24).size(), 0);
    EXPECT_EQ (SpatialBands (48000.0, 256, 0).size(), 0);
    EXPECT_EQ (SpatialBands (48000.0, 256, 8, 5000.0, 100.0).size(), 0);
}

TEST (AnalysisPosition, EnergyVectorDirectionAndSpread)
{
    EnergyVector one;
    one.add (2.0, -110.0);
    EXPECT_NEAR (one.azimuthDegrees(), -110.0, 1.0e-9);
    EXPECT_NEAR (one.spread(), 0.0, 1.0e-9);

    EnergyVector pair;
    pair.add (1.0, -30.0);
    pair.add (1.0, 30.0);
    EXPECT_NEAR (pair.azimuthDegrees(), 0.0, 1.0e-9);
    EXPECT_NEAR (pair.spread(), 1.0 - std::cos (juce::degreesToRadians (30.0)), 1.0e-9);

    EnergyVector behind;
    behind.add (1.0, 145.0);
    behind.add (1.0, -145.0);
    EXPECT_NEAR (std::abs (behind.azimuthDegrees()), 180.0, 1.0e-9);

    EnergyVector opposite;
    opposite.add (1.0, -90.0);
    opposite.add (1.0, 90.0);
    EXPECT_NEAR (opposite.spread(), 1.0, 1.0e-9);

    EXPECT_EQ (EnergyVector {}.spread(), 1.0);
    EXPECT_EQ (EnergyVector {}.azimuthDegrees(), 0.0);

    // Vectors add as their energies do: three parts left, one part right.
    EnergyVector sum;
    sum.add (one);
    sum.add (pair);
    EXPECT_DOUBLE_EQ (sum.energy, 4.0);
    EXPECT_LT (sum.azimuthDegrees(), -30.0);
}

TEST (AnalysisPosition, LoudspeakerAzimuthsPerLayout)
{
    namespace A = UpmixerSpeakerAngles;
    // L, R and Ls of 5.1 and 7.1 are read end to end below. 5.1 in JUCE's order (routing 1):
    // surrounds at 110 degrees, no rears, no heights.
    EXPECT_EQ (A::azimuthOf (kindC, 1, 6), 0.0f);
    EXPECT_EQ (A::azimuthOf (kindRs, 1, 6), 110.0f);
    EXPECT_TRUE (std::isnan (A::azimuthOf (kindLsr, 1, 6)));
    EXPECT_TRUE (std::isnan (A::azimuthOf (kindLfe, 1, 6)));
    // 7.1 (routing 4): side pair at 100, rears at 145.
    EXPECT_EQ (A::azimuthOf (kindLsr, 4, 8), -145.0f);
    EXPECT_EQ (A::azimuthOf (kindRsr, 4, 8), 145.0f);
    EXPECT_TRUE (std::isnan (A::azimuthOf (kindLts, 4, 8)));
    // 7.1.2 (routing 16): top side pair over the listener.
    EXPECT_EQ (A::azimuthOf (kindLts, 16, 10), -90.0f);
    EXPECT_EQ (A::azimuthOf (kindRts, 16, 10), 90.0f);
    // 7.1.4 (routing 25): kinds 8 and 9 are the top front pair.
    EXPECT_EQ (A::azimuthOf (kindLts, 25, 12), -45.0f);
    EXPECT_EQ (A::azimuthOf (kindTrl, 25, 12), -135.0f);
    EXPECT_EQ (A::azimuthOf (kindTrr, 25, 12), 135.0f);
    // Routing 14 has no rear positions at all.
    EXPECT_TRUE (std::isnan (A::azimuthOf (kindLsr, 14, 8)));
}

TEST (AnalysisPosition, ASignalSitsAtItsSpeakersInEveryBand)
{
    // Routing 1 (L R C LFE Ls Rs ...) has Ls at position 4; routing 0 (L C R Ls Rs LFE ...)
    // at 3; routing 4 is 7.1, where Ls is the side speaker at 100 degrees. The same noise in L
    // and R is a phantom centre, spread by the pair's angle.
    struct Case
    {
        int routing, numOutputs;
        std::vector<int> loudPositions;
        double azimuth, spread;
    };
    const double phantomSpread = 1.0 - std::cos (juce::degreesToRadians (30.0));
    for (const auto& c : { Case { 1, 6, { 4 }, -110.0, 0.0 }, Case { 0, 6, { 3 }, -110.0, 0.0 }, Case { 4, 8, { 4 }, -100.0, 0.0 },
                           Case { 1, 6, { 0 }, -30.0, 0.0 }, Case { 1, 6, { 0, 1 }, 0.0, phantomSpread } })
    {
        const auto bands = positionsOf (c.routing, c.numOutputs, c.loudPositions);
        ASSERT_FALSE (bands.empty());
        for (size_t b = 0; b < bands.size(); ++b)
        {
            ASSERT_GT (bands[b].energy, 0.0) << "band " << b;
            EXPECT_NEAR (bands[b].azimuthDegrees(), c.azimuth, 1.0e-6) << "routing " << c.routing << ", band " << b;
            EXPECT_NEAR (bands[b].spread(), c.spread, 1.0e-6) << "routing " << c.routing << ", band " << b;
        }
    }
}

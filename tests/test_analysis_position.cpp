// The reader's side of the haze: where each band's energy sits in the surround field.
// - bands: contiguous, rising, at least one bin each, within the FFT's bins, none for
//   nonsense arguments;
// - the energy vector: one speaker gives its azimuth and no spread, an equal pair the phantom
//   between them, opposite speakers and silence read as fully spread, sums add;
// - end to end through the real observers, for 5.1, 7.1, 7.1.2 and 7.1.4: a signal in one
//   speaker's channel sits at that speaker's azimuth in every band, whichever host position the
//   routing gives it; the LFE and kinds a layout lacks have none; the same signal in L and R
//   sits in front, spread by the pair's angle.
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
        for (auto* b : { &source, &downmix, &delta })
            b->clear();
        const UpmixerObservers::Signals s { upmix.getArrayOfWritePointers(), numOutputs, source.getArrayOfWritePointers(), 12,
                                            downmix.getArrayOfWritePointers(), delta.getArrayOfWritePointers(), routing };
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
        // At most about a third of an octave wider than its log share, unless one bin is wider.
        EXPECT_TRUE (band.endBin - band.firstBin == 1 || band.highHz / band.lowHz < 1.6f) << band.centreHz;
    }
    EXPECT_NEAR (bands.getBands().back().highHz, 20000.0f, 200.0f);

    EXPECT_EQ (SpatialBands (0.0, 256, 24).size(), 0);
    EXPECT_EQ (SpatialBands (48000.0, 256, 0).size(), 0);
    EXPECT_EQ (SpatialBands (48000.0, 256, 8, 5000.0, 100.0).size(), 0);
}

TEST (AnalysisPosition, EnergyVectorsBehindOppositeSilentAndSummed)
{
    // One speaker and a phantom pair are read end to end below; here the cases between.
    EnergyVector behind, opposite, sum;
    behind.add (1.0, 145.0);
    behind.add (1.0, -145.0);
    EXPECT_NEAR (std::abs (behind.azimuthDegrees()), 180.0, 1.0e-9);
    opposite.add (1.0, -90.0);
    opposite.add (1.0, 90.0);
    EXPECT_NEAR (opposite.spread(), 1.0, 1.0e-9);
    EXPECT_EQ (EnergyVector {}.spread(), 1.0);
    EXPECT_EQ (EnergyVector {}.azimuthDegrees(), 0.0);

    // Vectors add as their energies do: a speaker at -110 and the pair behind lie between.
    sum.add (2.0, -110.0);
    sum.add (behind);
    EXPECT_DOUBLE_EQ (sum.energy, 4.0);
    EXPECT_LT (sum.azimuthDegrees(), -120.0);
    EXPECT_GT (sum.azimuthDegrees(), -170.0);
}

TEST (AnalysisPosition, ASignalSitsAtItsSpeakersInEveryBand)
{
    // Routing 0 puts Ls at position 3, routing 1 at 4; 7.1.2 has a top side pair, 7.1.4 top
    // front and rear pairs.
    struct Case
    {
        int routing, numOutputs;
        std::vector<int> kinds;
        double azimuth, spread;
    };
    const double phantomSpread = 1.0 - std::cos (juce::degreesToRadians (30.0));
    const Case cases[] = {
        { 1, 6, { kindLs }, -110.0, 0.0 }, { 0, 6, { kindLs }, -110.0, 0.0 }, { 1, 6, { kindRs }, 110.0, 0.0 },
        { 1, 6, { kindL }, -30.0, 0.0 }, { 1, 6, { kindC }, 0.0, 0.0 }, { 1, 6, { kindL, kindR }, 0.0, phantomSpread },
        { 4, 8, { kindLs }, -100.0, 0.0 }, { 4, 8, { kindLsr }, -145.0, 0.0 }, { 4, 8, { kindRsr }, 145.0, 0.0 },
        { 16, 10, { kindLts }, -90.0, 0.0 }, { 16, 10, { kindRts }, 90.0, 0.0 }, { 25, 12, { kindLts }, -45.0, 0.0 },
        { 25, 12, { kindTrl }, -135.0, 0.0 }, { 25, 12, { kindTrr }, 135.0, 0.0 }, { 1, 6, { kindLfe }, NAN, 0.0 },
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE (testing::Message() << "routing " << c.routing << ", first kind " << c.kinds[0]);
        std::vector<int> positions;
        for (int kind : c.kinds)
            positions.push_back (hostPositionOfKind (c.routing, kind));
        const auto bands = positionsOf (c.routing, c.numOutputs, positions);
        ASSERT_FALSE (bands.empty());
        for (size_t b = 0; b < bands.size(); ++b)
        {
            if (std::isnan (c.azimuth))
            {
                EXPECT_EQ (bands[b].energy, 0.0) << "band " << b;
                continue;
            }
            ASSERT_GT (bands[b].energy, 0.0) << "band " << b;
            EXPECT_NEAR (bands[b].azimuthDegrees(), c.azimuth, 1.0e-6) << "band " << b;
            EXPECT_NEAR (bands[b].spread(), c.spread, 1.0e-6) << "band " << b;
        }
    }
    // Kinds a layout lacks have no azimuth either.
    EXPECT_TRUE (std::isnan (UpmixerSpeakerAngles::azimuthOf (kindLsr, 1, 6)));
    EXPECT_TRUE (std::isnan (UpmixerSpeakerAngles::azimuthOf (kindLts, 4, 8)));
    EXPECT_TRUE (std::isnan (UpmixerSpeakerAngles::azimuthOf (kindLsr, 14, 8)));
}

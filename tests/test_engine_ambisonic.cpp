// The Ambisonic encoder, checked against the test's own spherical harmonics (Legendre functions
// of the standard library, SN3D by its closed formula, FuMa by its published weights against
// SN3D and its channel order):
//  - a source at each speaker of the 7.1 bed, under two channel orders, and the centre lifted or
//    kept down by the height controls, decoded by a projection decoder, comes back from where it
//    was encoded, in both formats and all three orders;
//  - W carries the upmix's energy: the plain sum for AmbiX (SN3D W = 1), half of it for FuMa
//    (W at -3 dB), whatever the height controls lift.
#include "engine/UpmixerAmbisonicStage.h"
#include "support/EngineTestRig.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace KaChannelRouting;

namespace
{
constexpr double pi = 3.14159265358979323846;
constexpr int numChannels = 16;
constexpr int fumaChannelHarmonic[numChannels] = { 0, 3, 1, 2, 6, 7, 5, 8, 4, 12, 13, 11, 14, 10, 15, 9 };

/** FuMa weight over SN3D weight, by ACN index (W, XYZ, RSTUV, KLMNOPQ). */
double fumaOverSn3d (int k)
{
    const double table[numChannels] = { std::sqrt (0.5), 1, 1, 1, 2 / std::sqrt (3.0), 2 / std::sqrt (3.0), 1,
                                        2 / std::sqrt (3.0), 2 / std::sqrt (3.0), std::sqrt (1.6), 3 / std::sqrt (5.0),
                                        std::sqrt (45.0 / 32), 1, std::sqrt (45.0 / 32), 3 / std::sqrt (5.0), std::sqrt (1.6) };
    return table[k];
}

/** Real SN3D harmonic of ACN index k, azimuth positive to the left. */
double sn3d (int k, double azimuth, double elevation)
{
    const int l = (int) std::sqrt ((double) k), m = k - l * l - l, am = std::abs (m);
    const double n = std::sqrt ((m == 0 ? 1.0 : 2.0) * std::tgamma (l - am + 1) / std::tgamma (l + am + 1));
    return n * std::assoc_legendre (l, am, std::sin (elevation)) * (m < 0 ? std::sin (am * azimuth) : std::cos (am * azimuth));
}

/** Encodes a unit DC signal in one kind; returns the output channels' values as SN3D in ACN order. */
std::vector<double> encodeToSn3d (int routing, int kind, int order, int format, float onPhase, bool excludeCentre)
{
    constexpr int n = 64;
    juce::AudioBuffer<float> block (8, n), out (numChannels, n);
    block.clear();
    const int position = hostPositionOfKind (routing, kind);
    for (int i = 0; i < n; ++i)
        block.setSample (position, i, 1.0f);

    UpmixerAmbisonicStage stage;
    UpmixerAmbisonicStage::Settings s;
    s.order = order;
    s.format = format;
    s.onPhase = onPhase;
    s.excludeCentre = excludeCentre;
    stage.process (UpmixerChannels (block.getArrayOfWritePointers(), 8, routing), out.getArrayOfWritePointers(), numChannels, n, s);

    const int count = (order + 1) * (order + 1);
    std::vector<double> b ((size_t) count, 0.0);
    for (int c = 0; c < numChannels; ++c)
    {
        const double value = out.getSample (c, n - 1);
        if (c >= count)
            EXPECT_EQ (value, 0.0) << "channel " << c << " past order " << order;
        else if (format == UpmixerAmbisonicStage::formatFuMa)
            b[(size_t) fumaChannelHarmonic[c]] = value / fumaOverSn3d (fumaChannelHarmonic[c]);
        else
            b[(size_t) c] = value;
    }
    return b;
}

/** The loudest direction of a projection decoder (degree-weighted sampling), on a 1-degree grid. */
std::pair<double, double> decodedDirection (const std::vector<double>& b)
{
    struct Grid
    {
        std::vector<std::array<double, numChannels>> y;
        Grid()
        {
            for (int el = -90; el <= 90; ++el)
                for (int az = -180; az < 180; ++az)
                {
                    std::array<double, numChannels> row {};
                    for (int k = 0; k < numChannels; ++k)
                        row[(size_t) k] = (2 * (int) std::sqrt ((double) k) + 1) * sn3d (k, az * pi / 180, el * pi / 180);
                    y.push_back (row);
                }
        }
    };
    static const Grid grid;

    size_t best = 0;
    double bestGain = -1e9;
    for (size_t point = 0; point < grid.y.size(); ++point)
    {
        double gain = 0.0;
        for (size_t k = 0; k < b.size(); ++k)
            gain += grid.y[point][k] * b[k];
        if (gain > bestGain)
            bestGain = gain, best = point;
    }
    return { (double) ((int) (best % 360) - 180), (double) ((int) (best / 360) - 90) };
}
}

TEST (AmbisonicEncoder, SourcesDecodeFromTheirSpeakerDirections)
{
    struct Case { int routing, kind; double angle, elevation; float onPhase; bool excludeCentre; };
    const Case cases[] = {
        { 4, kindL, -30, 0, 0, false }, { 4, kindR, 30, 0, 0, false }, { 4, kindC, 0, 0, 0, false },
        { 4, kindLs, -100, 0, 0, false }, { 4, kindRs, 100, 0, 0, false }, { 4, kindLsr, -145, 0, 0, false },
        { 4, kindRsr, 145, 0, 0, false },
        // Another channel order: the kinds, not the positions, set the direction.
        { 9, kindLs, -100, 0, 0, false }, { 9, kindRsr, 145, 0, 0, false },
        // Full on-phase lifts the centre to the height layer, unless it is excluded.
        { 4, kindC, 0, 45, 1, false }, { 4, kindC, 0, 0, 1, true },
    };
    for (int format : { UpmixerAmbisonicStage::formatAmbiX, UpmixerAmbisonicStage::formatFuMa })
        for (int order = 1; order <= 3; ++order)
            for (const auto& c : cases)
            {
                const auto [azimuth, elevation] = decodedDirection (encodeToSn3d (c.routing, c.kind, order, format, c.onPhase, c.excludeCentre));
                SCOPED_TRACE (testing::Message() << "format " << format << " order " << order << " routing " << c.routing << " kind " << c.kind);
                EXPECT_NEAR (azimuth, -c.angle, 1.0);  // Ambisonic azimuths count to the left
                EXPECT_NEAR (elevation, c.elevation, 1.0);
            }
}

TEST (AmbisonicEncoder, OrderZeroCarriesTheUpmixEnergyByTheNormalisation)
{
    constexpr int n = 48000, routing = 4;
    juce::AudioBuffer<float> block (8, n), out (numChannels, n);
    double sum = 0.0;
    for (int ch = 0; ch < 8; ++ch)
    {
        EngineSignals::noise (block.getWritePointer (ch), n, 10 + ch, 0.1f * (float) (ch + 1));
        if (kindAtPosition (routing, ch) != kindLfe)  // the LFE has no direction and stays out
            sum += std::pow (EngineSignals::rms (block, ch), 2.0);
    }

    for (const auto& [format, ratio] : { std::pair { (int) UpmixerAmbisonicStage::formatAmbiX, 1.0 }, std::pair { (int) UpmixerAmbisonicStage::formatFuMa, 0.5 } })
        for (const float onPhase : { 0.0f, 0.7f })
        {
            UpmixerAmbisonicStage stage;
            UpmixerAmbisonicStage::Settings s;
            s.order = 3;
            s.format = format;
            s.onPhase = onPhase;
            s.offPhase = 0.4f;
            stage.process (UpmixerChannels (block.getArrayOfWritePointers(), 8, routing), out.getArrayOfWritePointers(), numChannels, n, s);
            EXPECT_NEAR (std::pow (EngineSignals::rms (out, 0), 2.0) / sum, ratio, 0.03 * ratio) << "format " << format << " on " << onPhase;
        }
}

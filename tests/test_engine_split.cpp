// The engine's frequency-domain split, heard through the whole engine on real signals.
// Cases:
//  - identical L and R with Divergence 0: nearly all the energy lands in C; with Divergence 1
//    none does, and L and R carry it at equal level;
//  - L = -R: C stays silent, the energy goes to the surrounds and the fronts;
//  - a hard-left source: nothing reaches R or Rs without diffusion, the diffuse sound stays
//    30 dB down with the default diffusion, and most of the energy stays in L;
//  - FadeFS 0 keeps everything in front (surrounds silent); FadeFS 1 (no diffusion, no
//    centre) empties the fronts into the surrounds;
//  - 60 s of silence in 7.1.4 with dialogue isolation on stays silent: no NaN, no subnormals;
//  - a block said to have 6 channels leaves channels 6 to 11 (Lsr and Rsr under routing 1)
//    exactly as they were.
#include "support/EngineTestRig.h"
#include "processor/UpmixerParameters.h"

#include <gtest/gtest.h>

using namespace UpmixerParam;
using namespace EngineSignals;
using namespace KaChannelRouting;

namespace
{
constexpr double fs = 48000.0;
constexpr int seconds3 = 3 * 48000;
constexpr int lastSecond = 2 * 48000;  // measuring window: after the coefficients settled

struct Energies
{
    double byKind[12] {};
    double total = 0.0;  // all kinds but the LFE
};

Energies energiesOf (const juce::AudioBuffer<float>& out, int start = lastSecond)
{
    Energies e;
    for (int kind = 0; kind < 12; ++kind)
    {
        e.byKind[kind] = std::pow (rms (out, kind, start), 2.0);
        if (kind != kindLfe)
            e.total += e.byKind[kind];
    }
    return e;
}

juce::AudioBuffer<float> stereo (int numSamples, int seedL, int seedR, float gainR = 1.0f)
{
    auto in = byKind (numSamples);
    noise (in.getWritePointer (kindL), numSamples, seedL);
    if (seedR == seedL)
    {
        in.copyFrom (kindR, 0, in, kindL, 0, numSamples);
        in.applyGain (kindR, 0, numSamples, gainR);
    }
    else if (seedR >= 0)
        noise (in.getWritePointer (kindR), numSamples, seedR);
    return in;
}
}

TEST (EngineSplit, CentredSourceGoesToCentreOrToAPhantomCentre)
{
    const auto input = stereo (seconds3, 1, 1);

    EngineRig hardCentre (4, 8);
    hardCentre.set (Divergence, 0.0f);
    const auto e = energiesOf (hardCentre.run (input));
    EXPECT_GT (e.byKind[kindC] / e.total, 0.95);
    EXPECT_LT (relativeDb (std::sqrt (e.byKind[kindL]), std::sqrt (e.byKind[kindC])), -30.0);

    EngineRig phantom (4, 8);
    phantom.set (Divergence, 1.0f);
    const auto p = energiesOf (phantom.run (input));
    EXPECT_LT (relativeDb (std::sqrt (p.byKind[kindC]), std::sqrt (p.total)), -60.0);
    EXPECT_GT ((p.byKind[kindL] + p.byKind[kindR]) / p.total, 0.9);
    EXPECT_NEAR (relativeDb (std::sqrt (p.byKind[kindL]), std::sqrt (p.byKind[kindR])), 0.0, 0.1);
}

TEST (EngineSplit, AntiPhasePairLeavesCentreSilent)
{
    const auto input = stereo (seconds3, 2, 2, -1.0f);
    EngineRig rig (4, 8);
    const auto out = rig.run (input);
    const auto e = energiesOf (out);
    const double in = rms (input, kindL, lastSecond);

    EXPECT_LT (relativeDb (rms (out, kindC, lastSecond), in), -120.0);
    const double surrounds = e.byKind[kindLs] + e.byKind[kindRs] + e.byKind[kindLsr] + e.byKind[kindRsr];
    EXPECT_GT (surrounds / e.total, 0.5);
    EXPECT_GT (relativeDb (std::sqrt (e.byKind[kindL]), in), -40.0);
    EXPECT_GT (relativeDb (std::sqrt (e.byKind[kindR]), in), -40.0);
}

TEST (EngineSplit, HardLeftSourceStaysOutOfTheRightSide)
{
    const auto input = stereo (seconds3, 3, -1);
    const double in = rms (input, kindL, lastSecond);

    EngineRig dry (1, 6);
    dry.set (Diffusion, 0.0f);
    const auto outDry = dry.run (input);
    EXPECT_LT (relativeDb (rms (outDry, kindR, lastSecond), in), -100.0);
    EXPECT_LT (relativeDb (rms (outDry, kindRs, lastSecond), in), -100.0);
    EXPECT_GT (energiesOf (outDry).byKind[kindL] / energiesOf (outDry).total, 0.5);

    EngineRig defaults (1, 6);
    const auto out = defaults.run (input);
    EXPECT_LT (relativeDb (rms (out, kindR, lastSecond), in), -30.0);
    EXPECT_GT (energiesOf (out).byKind[kindL] / energiesOf (out).total, 0.5);
}

TEST (EngineSplit, FrontFadeAtItsEndsSwitchesHard)
{
    const auto input = stereo (seconds3, 4, 5);
    const double in = rms (input, kindL, lastSecond);

    EngineRig allFront (4, 8);
    allFront.set (FadeFS, 0.0f);
    const auto front = allFront.run (input);
    for (int kind : { kindLs, kindRs, kindLsr, kindRsr })
        EXPECT_LT (relativeDb (rms (front, kind, lastSecond), in), -100.0) << "kind " << kind;

    EngineRig allBack (4, 8);
    allBack.set (FadeFS, 1.0f);
    allBack.set (Diffusion, 0.0f);
    allBack.set (Divergence, 1.0f);
    const auto back = allBack.run (input);
    EXPECT_LT (relativeDb (rms (back, kindL, lastSecond), in), -100.0);
    EXPECT_LT (relativeDb (rms (back, kindR, lastSecond), in), -100.0);
    EXPECT_GT (relativeDb (rms (back, kindLs, lastSecond), in), -6.0);
}

TEST (EngineSplit, SilenceStaysSilentForAMinute)
{
    EngineRig rig (25, 12);
    rig.set (DialogIsolate, 1.0f);
    const auto out = rig.run (byKind (60 * 48000), 4096);

    EXPECT_TRUE (allFinite (out));
    EXPECT_FALSE (anySubnormal (out));
    for (int kind = 0; kind < 12; ++kind)
        EXPECT_LT (out.getMagnitude (kind, 0, out.getNumSamples()), 1.0e-15f) << "kind " << kind;
}

TEST (EngineSplit, SixChannelBlockLeavesTheOtherChannelsAlone)
{
    auto input = stereo (48000, 6, 7);
    for (int kind = 6; kind < 12; ++kind)
        noise (input.getWritePointer (kind), input.getNumSamples(), 100 + kind);

    EngineRig rig (1, 6);
    const auto out = rig.run (input, 512, 6);
    for (int kind = 6; kind < 12; ++kind)  // Lsr, Rsr and the heights sit at positions 6 to 11
        for (int i = 0; i < out.getNumSamples(); ++i)
            ASSERT_EQ (out.getSample (kind, i), input.getSample (kind, i)) << "kind " << kind << " sample " << i;
    EXPECT_GT (rms (out, kindLs, 24000), 0.0);
}

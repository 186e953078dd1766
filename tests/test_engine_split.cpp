// The engine's frequency-domain split, heard through the whole engine on real signals.
// Cases:
//  - identical L and R: Divergence 0 puts nearly all the energy in C, Divergence 1 none, with L
//    and R at equal level; L = -R leaves C silent and feeds the surrounds and the fronts;
//  - a hard-left source: nothing in R or Rs without diffusion, R 30 dB down with the default
//    diffusion, most of the energy in L;
//  - FadeFS 0 keeps everything in front; FadeFS 1 (no diffusion, no centre) empties the fronts;
//  - a minute of silence in 7.1.4 with dialogue isolation stays silent, finite and normal;
//  - a block said to have 6 channels leaves channels 6 to 11 exactly as they were.
#include "support/EngineTestRig.h"
#include "processor/UpmixerParameters.h"

#include <gtest/gtest.h>

using namespace UpmixerParam;
using namespace EngineSignals;
using namespace KaChannelRouting;

namespace
{
constexpr int seconds3 = 3 * 48000;
constexpr int lastSecond = 2 * 48000;  // measuring window: after the coefficients settled

/** Noise in L; in R the same noise times gainR (seedR == seedL), other noise, or nothing (-1). */
juce::AudioBuffer<float> stereo (int numSamples, int seedL, int seedR, float gainR = 1.0f)
{
    auto in = byKind (numSamples);
    noise (in.getWritePointer (kindL), numSamples, seedL);
    if (seedR == seedL)
        in.copyFromWithRamp (kindR, 0, in.getReadPointer (kindL), numSamples, gainR, gainR);
    else if (seedR >= 0)
        noise (in.getWritePointer (kindR), numSamples, seedR);
    return in;
}

/** The share of the given kinds in the output's energy (all kinds but the LFE). */
double share (const juce::AudioBuffer<float>& out, std::initializer_list<int> kinds)
{
    double part = 0.0, total = 0.0;
    for (int kind = 0; kind < 12; ++kind)
        if (kind != kindLfe)
            total += std::pow (rms (out, kind, lastSecond), 2.0);
    for (int kind : kinds)
        part += std::pow (rms (out, kind, lastSecond), 2.0);
    return part / total;
}

double levelDb (const juce::AudioBuffer<float>& out, int kind, const juce::AudioBuffer<float>& in)
{
    return relativeDb (rms (out, kind, lastSecond), rms (in, kindL, lastSecond));
}
}

TEST (EngineSplit, CentredAntiPhaseAndHardLeftSources)
{
    const auto centred = stereo (seconds3, 1, 1);
    const auto hard = EngineRig (4, 8).with ({ { Divergence, 0.0f } }).run (centred);
    EXPECT_GT (share (hard, { kindC }), 0.95);
    EXPECT_LT (relativeDb (rms (hard, kindL, lastSecond), rms (hard, kindC, lastSecond)), -30.0);
    const auto phantom = EngineRig (4, 8).with ({ { Divergence, 1.0f } }).run (centred);
    EXPECT_LT (share (phantom, { kindC }), 1.0e-6);  // -60 dB
    EXPECT_GT (share (phantom, { kindL, kindR }), 0.9);
    EXPECT_NEAR (relativeDb (rms (phantom, kindL, lastSecond), rms (phantom, kindR, lastSecond)), 0.0, 0.1);

    const auto antiPhase = stereo (seconds3, 2, 2, -1.0f);
    const auto out = EngineRig (4, 8).run (antiPhase);
    EXPECT_LT (levelDb (out, kindC, antiPhase), -120.0);
    EXPECT_GT (share (out, { kindLs, kindRs, kindLsr, kindRsr }), 0.5);
    EXPECT_GT (levelDb (out, kindL, antiPhase), -40.0);
    EXPECT_GT (levelDb (out, kindR, antiPhase), -40.0);

    const auto left = stereo (seconds3, 3, -1);
    const auto dry = EngineRig (1, 6).with ({ { Diffusion, 0.0f } }).run (left);
    EXPECT_LT (levelDb (dry, kindR, left), -100.0);
    EXPECT_LT (levelDb (dry, kindRs, left), -100.0);
    EXPECT_GT (share (dry, { kindL }), 0.5);
    const auto defaults = EngineRig (1, 6).run (left);
    EXPECT_LT (levelDb (defaults, kindR, left), -30.0);
    EXPECT_GT (share (defaults, { kindL }), 0.5);
}

TEST (EngineSplit, FrontFadeAtItsEndsSwitchesHard)
{
    const auto input = stereo (seconds3, 4, 5);
    const auto front = EngineRig (4, 8).with ({ { FadeFS, 0.0f } }).run (input);
    for (int kind : { kindLs, kindRs, kindLsr, kindRsr })
        EXPECT_LT (levelDb (front, kind, input), -100.0) << "kind " << kind;

    const auto back = EngineRig (4, 8).with ({ { FadeFS, 1.0f }, { Diffusion, 0.0f }, { Divergence, 1.0f } }).run (input);
    EXPECT_LT (levelDb (back, kindL, input), -100.0);
    EXPECT_LT (levelDb (back, kindR, input), -100.0);
    EXPECT_GT (levelDb (back, kindLs, input), -6.0);
}

TEST (EngineSplit, SilenceStaysSilentForAMinute)
{
    const auto out = EngineRig (25, 12).with ({ { DialogIsolate, 1.0f } }).run (byKind (60 * 48000), 4096);
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
    const auto out = EngineRig (1, 6).run (input, 512, 6);
    for (int kind = 6; kind < 12; ++kind)  // Lsr, Rsr and the heights sit at positions 6 to 11
        for (int i = 0; i < out.getNumSamples(); ++i)
            ASSERT_EQ (out.getSample (kind, i), input.getSample (kind, i)) << "kind " << kind << " sample " << i;
    EXPECT_GT (rms (out, kindLs, 24000), 0.0);
}

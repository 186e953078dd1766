// The engine's time-domain stages, heard through the whole engine on real signals:
//  - diffusion decorrelates an anti-phase pair's surrounds, adds nothing to a centred source,
//    and takes a width change mid-stream without a click; the surround shelf lifts 10 dB above
//    its corner only;
//  - LFE: the low band only, LfeGain over 55 dB; LfeSplit moves or copies it out of C
//    (DownmixExact copies); the low-frequency centre divergence and its monitor;
//  - overheads: silent with both phase controls at 0 (the lower channels as without them),
//    on-phase lifting in-phase content (C unless excluded), -6 dB halfway, 7.1.4's four;
//  - multiple inputs: a discrete centre and LFE unchanged after the latency (the LFE at its
//    exclusion gain or off), sides following FadeSB, backs joining the sides at -3 dB.
#include "processor/UpmixerParameters.h"
#include "support/EngineTestRig.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace UpmixerParam;
using namespace EngineSignals;
using namespace KaChannelRouting;

namespace
{
constexpr double fs = 48000.0;
constexpr int length = 3 * 48000;
constexpr int settled = 2 * 48000;

/** Noise (or, with f > 0, a tone at gain) in L, and in R times rightSign (1: centred). */
juce::AudioBuffer<float> stereoPair (float rightSign, int seed, double f = 0.0, float gain = 0.3f, int numSamples = length)
{
    auto in = byKind (numSamples);
    if (f > 0.0)
        sine (in.getWritePointer (kindL), numSamples, f, fs, gain);
    else
        noise (in.getWritePointer (kindL), numSamples, seed);
    in.copyFrom (kindR, 0, in, kindL, 0, numSamples);
    in.applyGain (kindR, 0, numSamples, rightSign);
    return in;
}

/** A low and a high tone (0.2 each) in L, and in R times rightSign. */
juce::AudioBuffer<float> twoTones (double low, double high, float rightSign)
{
    auto in = stereoPair (rightSign, 0, low, 0.2f);
    const auto highTone = stereoPair (rightSign, 0, high, 0.2f);
    for (int kind : { kindL, kindR })
        in.addFrom (kind, 0, highTone, kind, 0, length);
    return in;
}

/** Independent noise in L and R. */
juce::AudioBuffer<float> stereoNoise (int seed)
{
    auto in = byKind (length);
    noise (in.getWritePointer (kindL), length, seed);
    noise (in.getWritePointer (kindR), length, seed + 1);
    return in;
}

double levelDb (const juce::AudioBuffer<float>& out, int kind, const juce::AudioBuffer<float>& in, int inKind = kindL)
{
    return relativeDb (rms (out, kind, settled), rms (in, inKind, settled));
}

double toneDb (const juce::AudioBuffer<float>& a, int kindA, const juce::AudioBuffer<float>& b, int kindB, double f)
{
    return relativeDb (toneLevel (a, kindA, f), toneLevel (b, kindB, f));
}
}

TEST (EngineDiffuse, DiffusionDecorrelatesTheSurroundsAndLeavesACentredSourceAlone)
{
    const auto antiPhase = stereoPair (-1.0f, 11);
    EXPECT_LT (correlation (EngineRig (1, 6).with ({ { Diffusion, 0.0f } }).run (antiPhase), kindLs, kindRs), -0.99);
    const double r = correlation (EngineRig (1, 6).with ({ { Diffusion, 1.0f } }).run (antiPhase), kindLs, kindRs);
    EXPECT_GT (r, 0.2);  // the two all-passes of a pair turn the phase differently
    EXPECT_LT (r, 0.9);

    const auto centred = stereoPair (1.0f, 12);
    const auto out = EngineRig (4, 8).with ({ { Diffusion, 1.0f } }).run (centred);
    for (int kind : { kindLs, kindRs, kindLsr, kindRsr })
        EXPECT_LT (levelDb (out, kind, centred), -100.0) << "kind " << kind;
}

TEST (EngineDiffuse, WidthChangeDuringPlaybackDoesNotClick)
{
    const auto input = stereoPair (-1.0f, 0, 300.0, 0.3f, 4 * 48000);
    EngineRig rig (1, 6);
    rig.set (Diffusion, 1.0f);
    const int changeAt = 2 * 48000;
    const auto out = rig.run (input, 480, 12, [&] (int start) {
        if (start >= changeAt)
            rig.set (UpmixPsdWidth, 0.2f);
    });

    // The largest second difference (curvature) of Ls before and after the change: a jump of
    // the delay would show as a spike many times the sine's own curvature.
    auto curvature = [&] (int from, int to) {
        const float* ls = out.getReadPointer (kindLs);
        float worst = 0.0f;
        for (int i = from; i < to; ++i)
            worst = std::max (worst, std::abs (ls[i] - 2.0f * ls[i - 1] + ls[i - 2]));
        return worst;
    };
    const float before = curvature (changeAt - 48000, changeAt);
    EXPECT_GT (before, 0.0f);
    EXPECT_LT (curvature (changeAt, changeAt + 30000), 1.5f * before);
}

TEST (EngineDiffuse, SurroundShelfLiftsOnlyAboveItsCorner)
{
    const auto input = twoTones (100.0, 12000.0, -1.0f);
    auto run = [&] (float enable) {  // ShelfFreq 0: 1 kHz; ShelfGain 1: +10 dB
        return EngineRig (1, 6).with ({ { Diffusion, 0.0f }, { ShelfFreq, 0.0f }, { ShelfGain, 1.0f }, { ShelfEnable, enable } }).run (input);
    };
    const auto flat = run (0.0f), shelved = run (1.0f);
    EXPECT_NEAR (toneDb (shelved, kindLs, flat, kindLs, 12000.0), 10.0, 0.5);
    EXPECT_NEAR (toneDb (shelved, kindLs, flat, kindLs, 100.0), 0.0, 0.5);
}

TEST (EngineLfe, CarriesTheLowBandOnlyWithAGainSpanning55dBAndSplitsIt)
{
    // Crossover 50 Hz (LfeFreq at ln (5) / ln (20)); LfeGain 45 / 55 is 0 dB.
    const float crossover = (float) (std::log (5.0) / std::log (20.0));
    auto lfeLevel = [&] (double f, float gain) {
        return toneLevel (EngineRig (1, 6).with ({ { LfeFreq, crossover }, { LfeGain, gain } }).run (stereoPair (1.0f, 0, f)), kindLfe, f);
    };
    const double below = lfeLevel (12.5, 45.0f / 55.0f);
    EXPECT_GT (below, 0.1);
    EXPECT_LT (relativeDb (lfeLevel (200.0, 45.0f / 55.0f), below), -20.0);  // second order: -24 dB two octaves up
    EXPECT_NEAR (relativeDb (lfeLevel (12.5, 1.0f), lfeLevel (12.5, 0.0f)), 55.0, 0.1);

    // LfeFreq 1: 200 Hz; Divergence 0 keeps the tone in C.
    auto run = [&] (float split, float exact) {
        return EngineRig (1, 6).with ({ { Divergence, 0.0f }, { LfeFreq, 1.0f }, { LfeSplit, split }, { DownmixExact, exact } }).run (stereoPair (1.0f, 0, 20.0));
    };
    const auto copied = run (0.0f, 0.0f), moved = run (1.0f, 0.0f), exact = run (1.0f, 1.0f);
    EXPECT_LT (toneDb (moved, kindC, copied, kindC, 20.0), -15.0);
    EXPECT_NEAR (toneLevel (moved, kindLfe, 20.0), toneLevel (copied, kindLfe, 20.0), 1.0e-4);
    EXPECT_NEAR (toneLevel (exact, kindC, 20.0), toneLevel (copied, kindC, 20.0), 1.0e-5);
}

TEST (EngineLowCentreDivergence, MovesTheCentresLowBandToTheFronts)
{
    const auto input = twoTones (20.0, 5000.0, 1.0f);
    auto run = [&] (float enable, float amount, float monitor) {  // DivergeLfcFreq 0.5: 200 Hz
        return EngineRig (1, 6).with ({ { Divergence, 0.0f }, { Lfe, 0.0f }, { DivergeLfcEnable, enable }, { DivergeLfcAmount, amount },
                                        { DivergeLfcFreq, 0.5f }, { MonitorCLF, monitor } }).run (input);
    };

    // A 40 dB low shelf at 200 Hz: -40 dB at 20 Hz, 0 dB at 5 kHz.
    const auto plain = run (0.0f, 1.0f, 0.0f), diverged = run (1.0f, 1.0f, 0.0f), monitor = run (1.0f, 1.0f, 1.0f);
    EXPECT_LT (toneDb (diverged, kindC, plain, kindC, 20.0), -35.0);
    EXPECT_NEAR (toneDb (diverged, kindC, plain, kindC, 5000.0), 0.0, 0.5);
    EXPECT_NEAR (toneDb (diverged, kindL, plain, kindC, 20.0), -3.0, 0.5);
    EXPECT_NEAR (toneDb (monitor, kindL, plain, kindC, 20.0), -3.0, 0.5);
    EXPECT_LT (relativeDb (toneLevel (monitor, kindL, 5000.0), toneLevel (monitor, kindL, 20.0)), -15.0);
    // Silent but for the rounding of a 0 dB shelf in single precision.
    EXPECT_LT (levelDb (run (1.0f, 0.0f, 1.0f), kindL, input), -90.0);
}

TEST (EngineOverheads, SilentWithBothPhaseControlsAtZero)
{
    const auto input = stereoNoise (21);
    // 7.1 and 7.1.2 in the same order L R C LFE Ls Rs Lsr Rsr Lts Rts Trl Trr.
    const auto lower = EngineRig (4, 8).run (input);
    const auto both = EngineRig (16, 10).with ({ { VerticalOnPhase, 0.0f }, { VerticalOffPhase, 0.0f } }).run (input);
    EXPECT_LT (both.getMagnitude (kindLts, 0, length), 1.0e-15f);
    EXPECT_LT (both.getMagnitude (kindRts, 0, length), 1.0e-15f);
    for (int kind = 0; kind < 8; ++kind)
        for (int i = 0; i < length; i += 7)
            ASSERT_NEAR (both.getSample (kind, i), lower.getSample (kind, i), 1.0e-6f) << "kind " << kind;
}

TEST (EngineOverheads, OnPhaseLiftsInPhaseContentHalfwayIsMinus6dBAndFourOverheadsAreFilled)
{
    const auto centred = stereoPair (1.0f, 23);
    auto run = [&] (float excludeC) {
        return EngineRig (16, 10).with ({ { VerticalOnPhase, 1.0f }, { VerticalOffPhase, 0.0f }, { VerticalExcludeC, excludeC } }).run (centred);
    };
    const auto lifted = run (0.0f);
    for (int kind : { kindL, kindR, kindC })
        EXPECT_LT (levelDb (lifted, kind, centred), -60.0) << "kind " << kind;
    EXPECT_GT (levelDb (lifted, kindLts, centred), -6.0);
    EXPECT_GT (levelDb (run (1.0f), kindC, centred), -10.0);

    // Centred material with no centre channel (phantom): the overheads take gOn of the fronts'
    // sum and the fronts keep 1 - gOn of it; at 0.5 both halves are equal.
    for (float extended : { 0.0f, 1.0f })
    {
        const auto out = EngineRig (16, 10).with ({ { Divergence, 1.0f }, { Diffusion, 0.0f }, { VerticalShelfEnable, 0.0f }, { VerticalOnPhase, 0.5f },
                                                    { VerticalOffPhase, 0.0f }, { ExtendedVerticalParamRange, extended } }).run (stereoPair (1.0f, 0, 1000.0));
        EXPECT_NEAR (toneDb (out, kindLts, out, kindL, 1000.0), 0.0, 0.1) << "extended " << extended;
    }

    const auto input = stereoNoise (24);
    const auto out = EngineRig (25, 12).run (input);
    for (int kind : { kindLts, kindRts, kindTrl, kindTrr })
        EXPECT_GT (levelDb (out, kind, input), -30.0) << "kind " << kind;
    EXPECT_LT (correlation (out, kindTrl, kindTrr), 0.99);  // a pair, not one signal twice
}

TEST (EngineMultiInput, DiscreteCentreAndLfeArriveUnchangedAfterTheLatency)
{
    auto input = byKind (length);
    noise (input.getWritePointer (kindC), length, 31);
    noise (input.getWritePointer (kindLfe), length, 32);
    const int latency = UpmixerAlgo::getLatencySamples();
    EXPECT_EQ (EngineRig (1, 6, fs, 6).with ({ { Lfe, 0.0f } }).run (input).getMagnitude (kindLfe, 0, length), 0.0f);

    // ExcludeLfeGain 0 (-45 dB) sets the level of an excluded LFE, and of no other.
    for (const bool excluded : { true, false })
    {
        const auto out = EngineRig (1, 6, fs, 6).with ({ { ExcludeLfe, excluded ? 1.0f : 0.0f }, { ExcludeLfeGain, 0.0f } }).run (input, 333);
        const float gain = excluded ? std::pow (10.0f, -45.0f / 20.0f) : 1.0f;
        for (int i = latency; i < length; i += 3)
        {
            ASSERT_NEAR (out.getSample (kindC, i), input.getSample (kindC, i - latency), 1.0e-6f) << i;
            ASSERT_NEAR (out.getSample (kindLfe, i), gain * input.getSample (kindLfe, i - latency), 1.0e-6f) << i << " excluded " << excluded;
        }
    }
}

TEST (EngineMultiInput, InputSidesFollowFadeSBAndBacksJoinTheSidesWithoutBackChannels)
{
    auto input = byKind (length);
    noise (input.getWritePointer (kindLs), length, 33);
    auto run = [&] (float fadeSB, float switched) {  // L R Ls Rs into 7.1
        return EngineRig (4, 8, fs, 4).with ({ { FadeSB, fadeSB }, { SwitchedMultiInputFadeAlgo, switched } }).run (input);
    };
    const auto front = run (0.2f, 1.0f), back = run (0.8f, 1.0f), half = run (0.5f, 0.0f);
    EXPECT_NEAR (levelDb (front, kindLs, input, kindLs), 0.0, 0.5);
    EXPECT_LT (levelDb (front, kindLsr, input, kindLs), -100.0);
    EXPECT_NEAR (levelDb (back, kindLsr, input, kindLs), 0.0, 0.5);
    EXPECT_LT (levelDb (back, kindLs, input, kindLs), -100.0);
    EXPECT_NEAR (levelDb (half, kindLs, input, kindLs), -3.0, 0.5);
    EXPECT_NEAR (levelDb (half, kindLsr, input, kindLs), -3.0, 0.5);

    auto backs = byKind (length);
    noise (backs.getWritePointer (kindLsr), length, 34);
    const auto out = EngineRig (1, 6, fs, 8).with ({ { ShelfEnable, 0.0f } }).run (backs);  // L C R Ls Rs Lsr Rsr LFE into 5.1
    EXPECT_NEAR (levelDb (out, kindLs, backs, kindLsr), -3.0, 0.2);
}

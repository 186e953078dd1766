// The engine's time-domain stages, heard through the whole engine on real signals.
// Cases:
//  - diffuse surrounds: with full diffusion an anti-phase pair's surrounds lose their strict
//    anti-correlation (decorrelated all-pass pairs); a centred source makes no diffuse sound;
//    a change of UpmixPsdWidth mid-stream moves the delay without a click;
//  - surround shelf: at its top gain it lifts a tone above the corner by the full 10 dB and
//    leaves a low tone alone;
//  - LFE: above the crossover it is down by the low-passes' slope (two octaves up, >= 20 dB
//    below two octaves down); LfeGain spans 55 dB; LfeSplit 1 takes the low band out of the
//    fronts, 0 leaves it, and DownmixExact forces 0;
//  - low-frequency centre divergence: the centre's low band goes to L and R, its high band stays;
//    with the monitor on and no divergence, L and R are silent; with the monitor on, L and R
//    carry the low band, and of the high band only what the shelf's wide slope lets by;
//  - overheads: both phase controls at 0 give silent overheads and lower channels identical to
//    the same layout without overheads; on-phase 1 lifts all in-phase content (C too, unless
//    VerticalExcludeC); a control at 0.5 is -6 dB whatever the floor; 7.1.4 fills Trl and Trr;
//  - multi-input: a discrete centre arrives in C unchanged, 1536 samples later; a discrete LFE
//    in the LFE (at ExcludeLfeGain when excluded), or nowhere with LFE off; the input's sides go
//    to the sides or the backs by FadeSB (switched or faded at constant power); backs with no
//    back channels join the sides at -3 dB; the input-slot table's centre and LFE queries.
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

juce::AudioBuffer<float> centredTone (double f, float gain = 0.3f)
{
    auto in = byKind (length);
    sine (in.getWritePointer (kindL), length, f, fs, gain);
    in.copyFrom (kindR, 0, in, kindL, 0, length);
    return in;
}

/** Noise in L, and in R times rightSign (1: centred, -1: anti-phase). */
juce::AudioBuffer<float> noisePair (int seed, float rightSign)
{
    auto in = byKind (length);
    noise (in.getWritePointer (kindL), length, seed);
    in.copyFrom (kindR, 0, in, kindL, 0, length);
    in.applyGain (kindR, 0, length, rightSign);
    return in;
}

/** A low and a high tone (0.2 each) in L, and in R times rightSign. */
juce::AudioBuffer<float> twoTones (double low, double high, float rightSign)
{
    auto in = byKind (length);
    std::vector<float> highTone ((size_t) length);
    sine (in.getWritePointer (kindL), length, low, fs, 0.2f);
    sine (highTone.data(), length, high, fs, 0.2f);
    juce::FloatVectorOperations::add (in.getWritePointer (kindL), highTone.data(), length);
    in.copyFrom (kindR, 0, in, kindL, 0, length);
    in.applyGain (kindR, 0, length, rightSign);
    return in;
}
}

TEST (EngineDiffuse, FullDiffusionDecorrelatesTheSurrounds)
{
    const auto input = noisePair (11, -1.0f);

    EngineRig plain (1, 6);
    plain.set (Diffusion, 0.0f);
    EXPECT_LT (correlation (plain.run (input), kindLs, kindRs), -0.99);

    EngineRig diffuse (1, 6);
    diffuse.set (Diffusion, 1.0f);
    const double r = correlation (diffuse.run (input), kindLs, kindRs);
    EXPECT_GT (r, 0.2);  // the two all-passes of a pair turn the phase differently
    EXPECT_LT (r, 0.9);
}

TEST (EngineDiffuse, CentredSourceMakesNoDiffuseSound)
{
    const auto input = noisePair (12, 1.0f);
    EngineRig rig (4, 8);
    rig.set (Diffusion, 1.0f);
    const auto out = rig.run (input);
    const double in = rms (input, kindL, settled);
    for (int kind : { kindLs, kindRs, kindLsr, kindRsr })
        EXPECT_LT (relativeDb (rms (out, kind, settled), in), -100.0) << "kind " << kind;
}

TEST (EngineDiffuse, WidthChangeDuringPlaybackDoesNotClick)
{
    auto input = byKind (4 * 48000);
    sine (input.getWritePointer (kindL), input.getNumSamples(), 300.0, fs, 0.3f);
    input.copyFrom (kindR, 0, input, kindL, 0, input.getNumSamples());
    input.applyGain (kindR, 0, input.getNumSamples(), -1.0f);

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
    const float after = curvature (changeAt, changeAt + 30000);
    EXPECT_GT (before, 0.0f);
    EXPECT_LT (after, 1.5f * before);
}

TEST (EngineDiffuse, SurroundShelfLiftsOnlyAboveItsCorner)
{
    const auto input = twoTones (100.0, 12000.0, -1.0f);
    auto run = [&] (float enable) {
        EngineRig rig (1, 6);
        rig.set (Diffusion, 0.0f);
        rig.set (ShelfFreq, 0.0f);  // 1 kHz
        rig.set (ShelfGain, 1.0f);  // +10 dB
        rig.set (ShelfEnable, enable);
        return rig.run (input);
    };
    const auto flat = run (0.0f), shelved = run (1.0f);
    EXPECT_NEAR (relativeDb (toneLevel (shelved, kindLs, 12000.0), toneLevel (flat, kindLs, 12000.0)), 10.0, 0.5);
    EXPECT_NEAR (relativeDb (toneLevel (shelved, kindLs, 100.0), toneLevel (flat, kindLs, 100.0)), 0.0, 0.5);
}

TEST (EngineLfe, CarriesTheLowBandOnlyWithAGainSpanning55dB)
{
    // Crossover 50 Hz (LfeFreq at ln (5) / ln (20)); LfeGain 45 / 55 is 0 dB.
    const float crossover = (float) (std::log (5.0) / std::log (20.0));
    auto lfeLevel = [&] (double f, float gain) {
        EngineRig rig (1, 6);
        rig.set (LfeFreq, crossover);
        rig.set (LfeGain, gain);
        return toneLevel (rig.run (centredTone (f)), kindLfe, f);
    };
    const double below = lfeLevel (12.5, 45.0f / 55.0f), above = lfeLevel (200.0, 45.0f / 55.0f);
    EXPECT_GT (below, 0.1);
    EXPECT_LT (relativeDb (above, below), -20.0);  // second order: -24 dB two octaves up
    EXPECT_NEAR (relativeDb (lfeLevel (12.5, 1.0f), lfeLevel (12.5, 0.0f)), 55.0, 0.1);
}

TEST (EngineLfe, SplitMovesOrCopiesTheLowBand)
{
    auto run = [&] (float split, float exact) {
        EngineRig rig (1, 6);
        rig.set (Divergence, 0.0f);  // the tone stays in C
        rig.set (LfeFreq, 1.0f);     // 200 Hz
        rig.set (LfeSplit, split);
        rig.set (DownmixExact, exact);
        return rig.run (centredTone (20.0));
    };
    const auto copied = run (0.0f, 0.0f), moved = run (1.0f, 0.0f), exact = run (1.0f, 1.0f);
    EXPECT_LT (relativeDb (toneLevel (moved, kindC, 20.0), toneLevel (copied, kindC, 20.0)), -15.0);
    EXPECT_NEAR (toneLevel (moved, kindLfe, 20.0), toneLevel (copied, kindLfe, 20.0), 1.0e-4);
    EXPECT_NEAR (toneLevel (exact, kindC, 20.0), toneLevel (copied, kindC, 20.0), 1.0e-5);
}

TEST (EngineLowCentreDivergence, MovesTheCentresLowBandToTheFronts)
{
    const auto input = twoTones (20.0, 5000.0, 1.0f);
    auto run = [&] (float enable, float amount, float monitor) {
        EngineRig rig (1, 6);
        rig.set (Divergence, 0.0f);
        rig.set (Lfe, 0.0f);
        rig.set (DivergeLfcEnable, enable);
        rig.set (DivergeLfcAmount, amount);
        rig.set (DivergeLfcFreq, 0.5f);  // 200 Hz
        rig.set (MonitorCLF, monitor);
        return rig.run (input);
    };

    // A 40 dB low shelf at 200 Hz: -40 dB at 20 Hz, 0 dB at 5 kHz.
    const auto plain = run (0.0f, 1.0f, 0.0f), diverged = run (1.0f, 1.0f, 0.0f);
    EXPECT_LT (relativeDb (toneLevel (diverged, kindC, 20.0), toneLevel (plain, kindC, 20.0)), -35.0);
    EXPECT_NEAR (relativeDb (toneLevel (diverged, kindC, 5000.0), toneLevel (plain, kindC, 5000.0)), 0.0, 0.5);
    EXPECT_NEAR (relativeDb (toneLevel (diverged, kindL, 20.0), toneLevel (plain, kindC, 20.0)), -3.0, 0.5);

    const auto silentMonitor = run (1.0f, 0.0f, 1.0f);
    // Silent but for the rounding of a 0 dB shelf in single precision.
    EXPECT_LT (relativeDb (rms (silentMonitor, kindL, settled), rms (input, kindL, settled)), -90.0);

    const auto monitor = run (1.0f, 1.0f, 1.0f);
    EXPECT_NEAR (relativeDb (toneLevel (monitor, kindL, 20.0), toneLevel (plain, kindC, 20.0)), -3.0, 0.5);
    EXPECT_LT (relativeDb (toneLevel (monitor, kindL, 5000.0), toneLevel (monitor, kindL, 20.0)), -15.0);
}

TEST (EngineOverheads, SilentWithBothPhaseControlsAtZero)
{
    auto input = byKind (length);
    noise (input.getWritePointer (kindL), length, 21);
    noise (input.getWritePointer (kindR), length, 22);

    EngineRig without (4, 8);  // 7.1 in the order L R C LFE Ls Rs Lsr Rsr Lts Rts Trl Trr
    EngineRig with (16, 10);   // 7.1.2 in the same order
    with.set (VerticalOnPhase, 0.0f);
    with.set (VerticalOffPhase, 0.0f);
    const auto lower = without.run (input), both = with.run (input);

    EXPECT_LT (both.getMagnitude (kindLts, 0, length), 1.0e-15f);
    EXPECT_LT (both.getMagnitude (kindRts, 0, length), 1.0e-15f);
    for (int kind = 0; kind < 8; ++kind)
        for (int i = 0; i < length; i += 7)
            ASSERT_NEAR (both.getSample (kind, i), lower.getSample (kind, i), 1.0e-6f) << "kind " << kind;
}

TEST (EngineOverheads, OnPhaseAtOneLiftsAllInPhaseContent)
{
    const auto input = noisePair (23, 1.0f);
    const double in = rms (input, kindL, settled);

    auto run = [&] (float excludeC) {
        EngineRig rig (16, 10);
        rig.set (VerticalOnPhase, 1.0f);
        rig.set (VerticalOffPhase, 0.0f);
        rig.set (VerticalExcludeC, excludeC);
        return rig.run (input);
    };
    const auto lifted = run (0.0f);
    for (int kind : { kindL, kindR, kindC })
        EXPECT_LT (relativeDb (rms (lifted, kind, settled), in), -60.0) << "kind " << kind;
    EXPECT_GT (relativeDb (rms (lifted, kindLts, settled), in), -6.0);

    const auto keptCentre = run (1.0f);
    EXPECT_GT (relativeDb (rms (keptCentre, kindC, settled), in), -10.0);
}

TEST (EngineOverheads, HalfwayIsMinus6dBWhateverTheFloor)
{
    // Centred material with no centre channel (phantom): the overheads take gOn of the fronts'
    // sum and the fronts keep 1 - gOn of it; at 0.5 both halves are equal.
    for (float extended : { 0.0f, 1.0f })
    {
        EngineRig rig (16, 10);
        rig.set (Divergence, 1.0f);
        rig.set (Diffusion, 0.0f);
        rig.set (VerticalShelfEnable, 0.0f);
        rig.set (VerticalOnPhase, 0.5f);
        rig.set (VerticalOffPhase, 0.0f);
        rig.set (ExtendedVerticalParamRange, extended);
        const auto out = rig.run (centredTone (1000.0));
        EXPECT_NEAR (relativeDb (toneLevel (out, kindLts, 1000.0), toneLevel (out, kindL, 1000.0)), 0.0, 0.1);
    }
}

TEST (EngineOverheads, FourOverheadsFillTheRearPairToo)
{
    auto input = byKind (length);
    noise (input.getWritePointer (kindL), length, 24);
    noise (input.getWritePointer (kindR), length, 25);
    const double in = rms (input, kindL, settled);

    EngineRig rig (25, 12);
    const auto out = rig.run (input);
    for (int kind : { kindLts, kindRts, kindTrl, kindTrr })
        EXPECT_GT (relativeDb (rms (out, kind, settled), in), -30.0) << "kind " << kind;
    EXPECT_LT (correlation (out, kindTrl, kindTrr), 0.99);  // a pair, not one signal twice
}

TEST (EngineMultiInput, DiscreteCentreAndLfeArriveUnchangedAfterTheLatency)
{
    auto input = byKind (length);
    noise (input.getWritePointer (kindC), length, 31);
    noise (input.getWritePointer (kindLfe), length, 32);

    EngineRig rig (1, 6, fs, 6);
    const auto out = rig.run (input, 333);
    const int latency = UpmixerAlgo::getLatencySamples();
    for (int i = latency; i < length; i += 3)
    {
        ASSERT_NEAR (out.getSample (kindC, i), input.getSample (kindC, i - latency), 1.0e-6f) << i;
        ASSERT_NEAR (out.getSample (kindLfe, i), input.getSample (kindLfe, i - latency), 1.0e-6f) << i;
    }

    EngineRig lfeOff (1, 6, fs, 6);
    lfeOff.set (Lfe, 0.0f);
    EXPECT_EQ (lfeOff.run (input).getMagnitude (kindLfe, 0, length), 0.0f);

    // ExcludeLfeGain sets the level of an excluded LFE, and of no other.
    for (const bool excluded : { true, false })
    {
        EngineRig quiet (1, 6, fs, 6);
        quiet.set (ExcludeLfe, excluded ? 1.0f : 0.0f);
        quiet.set (ExcludeLfeGain, 0.0f);  // -45 dB
        const auto q = quiet.run (input);
        const float gain = excluded ? std::pow (10.0f, -45.0f / 20.0f) : 1.0f;
        for (int i = latency; i < length; i += 7)
            ASSERT_NEAR (q.getSample (kindLfe, i), gain * input.getSample (kindLfe, i - latency), 1.0e-6f) << i << " excluded " << excluded;
    }
}

TEST (EngineMultiInput, InputSidesFollowFadeSB)
{
    auto input = byKind (length);
    noise (input.getWritePointer (kindLs), length, 33);
    const double in = rms (input, kindLs, settled);

    auto run = [&] (float fadeSB, float switched) {
        EngineRig rig (4, 8, fs, 4);  // L R Ls Rs into 7.1
        rig.set (FadeSB, fadeSB);
        rig.set (SwitchedMultiInputFadeAlgo, switched);
        return rig.run (input);
    };
    const auto front = run (0.2f, 1.0f), back = run (0.8f, 1.0f), half = run (0.5f, 0.0f);
    EXPECT_NEAR (relativeDb (rms (front, kindLs, settled), in), 0.0, 0.5);
    EXPECT_LT (relativeDb (rms (front, kindLsr, settled), in), -100.0);
    EXPECT_NEAR (relativeDb (rms (back, kindLsr, settled), in), 0.0, 0.5);
    EXPECT_LT (relativeDb (rms (back, kindLs, settled), in), -100.0);
    EXPECT_NEAR (relativeDb (rms (half, kindLs, settled), in), -3.0, 0.5);
    EXPECT_NEAR (relativeDb (rms (half, kindLsr, settled), in), -3.0, 0.5);
}

TEST (EngineMultiInput, InputBacksJoinTheSidesWithoutBackChannels)
{
    auto input = byKind (length);
    noise (input.getWritePointer (kindLsr), length, 34);
    EngineRig rig (1, 6, fs, 8);  // L C R Ls Rs Lsr Rsr LFE into 5.1
    rig.set (ShelfEnable, 0.0f);
    const auto out = rig.run (input);
    EXPECT_NEAR (relativeDb (rms (out, kindLs, settled), rms (input, kindLsr, settled)), -3.0, 0.2);
}

TEST (EngineMultiInput, SlotTableNamesTheInputsWithACentreOrAnLfe)
{
    UpmixerAlgo engine;
    for (int n = 0; n <= 12; ++n)
    {
        engine.setNumInputChannels (n);
        const bool centre = n == 3 || (n >= 5 && n <= 10);
        const bool lfe = n == 6 || n == 8 || n == 10;
        EXPECT_EQ (engine.hasCentreInput(), centre) << n << " inputs";
        EXPECT_EQ (engine.hasLfeInput(), lfe) << n << " inputs";
    }
}

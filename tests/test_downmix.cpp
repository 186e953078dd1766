// The stereo fold-down (ITU-R BS.775) and the Listen signals built on it:
// - each kind reaches Lo/Ro with its coefficient (centre, surrounds, rears, LFE by choice;
//   heights at -3 dB into their side), wherever the routing puts it;
// - a coefficient change glides across the block;
// - in the processor, Listen Downmix plus Listen Delta give back the time-aligned input.
#include "engine/UpmixerDownmix.h"
#include "processor/KaChannelRouting.h"
#include "processor/UpmixerParameters.h"
#include "support/ProcessorHarness.h"

#include <gtest/gtest.h>

using namespace KaChannelRouting;

namespace
{
    /** A buffer in the host order of `routing` whose channel of kind k holds the value k + 1. */
    juce::AudioBuffer<float> kindsAsValues (int routing, int numSamples)
    {
        juce::AudioBuffer<float> b (12, numSamples);
        b.clear();
        for (int kind = 0; kind < numKinds; ++kind)
            if (const int ch = hostPositionOfKind (routing, kind); ch >= 0 && ch < 12)
                juce::FloatVectorOperations::fill (b.getWritePointer (ch), (float) (kind + 1), numSamples);
        return b;
    }
}

TEST (Downmix, EveryKindWithItsCoefficientInAnyOrder)
{
    UpmixerDownmix::Coefficients k;
    k.centre = UpmixerDownmix::coefficientForChoice (1);
    k.surround = UpmixerDownmix::coefficientForChoice (2);
    k.rear = UpmixerDownmix::coefficientForChoice (0);
    k.lfe = UpmixerDownmix::coefficientForChoice (3);
    EXPECT_EQ (k.lfe, 0.0f);
    EXPECT_EQ (UpmixerDownmix::coefficientForChoice (7), 0.0f);  // capped at 3: off

    const float h = UpmixerDownmix::heightCoefficient;
    const float lo = 1.0f + 3.0f * k.centre + 5.0f * k.surround + 7.0f * k.rear + h * (9.0f + 11.0f) + 4.0f * k.lfe;
    const float ro = 2.0f + 3.0f * k.centre + 6.0f * k.surround + 8.0f * k.rear + h * (10.0f + 12.0f) + 4.0f * k.lfe;

    for (int routing : { 0, 4, 9, 18, 25 })
    {
        auto in = kindsAsValues (routing, 16);
        juce::AudioBuffer<float> out (2, 16);
        UpmixerDownmix::fold (in.getArrayOfReadPointers(), 12, routing, k, out.getArrayOfWritePointers(), 16);
        EXPECT_NEAR (out.getSample (0, 5), lo, 1.0e-4f) << routing;
        EXPECT_NEAR (out.getSample (1, 5), ro, 1.0e-4f) << routing;
    }
}

TEST (Downmix, CoefficientChangesGlideAcrossTheBlock)
{
    UpmixerDownmix::Coefficients from, to;
    from.centre = 1.0f;
    to.centre = 0.0f;
    juce::AudioBuffer<float> in (12, 100);
    in.clear();
    juce::FloatVectorOperations::fill (in.getWritePointer (hostPositionOfKind (1, kindC)), 1.0f, 100);
    juce::AudioBuffer<float> out (2, 100);
    UpmixerDownmix::fold (in.getArrayOfReadPointers(), 12, 1, from, to, out.getArrayOfWritePointers(), 100);
    EXPECT_FLOAT_EQ (out.getSample (0, 0), 1.0f);
    EXPECT_NEAR (out.getSample (0, 50), 0.5f, 1.0e-6f);
    EXPECT_NEAR (out.getSample (0, 99), 0.01f, 1.0e-6f);
    for (int i = 1; i < 100; ++i)
        EXPECT_LT (out.getSample (0, i), out.getSample (0, i - 1));
}

TEST (Downmix, ListenDownmixPlusDeltaIsTheAlignedInput)
{
    const auto input = TestSignals::noise (2, 24000, 21);
    auto listen = [&] (int monitor)
    {
        ProcessorHarness h (2, 10);
        h.set (monitor, 1.0f);
        h.processor->runHousekeeping();
        return h.run (input);
    };
    const auto downmix = listen (UpmixerParam::MonitorDownmix);
    const auto delta = listen (UpmixerParam::MonitorDelta);

    constexpr int latency = 1536;
    for (int ch = 0; ch < 2; ++ch)
        for (int i = latency + 2000; i < input.getNumSamples(); i += 37)
            EXPECT_NEAR (downmix.getSample (ch, i) + delta.getSample (ch, i), input.getSample (ch, i - latency), 1.0e-4f);
}

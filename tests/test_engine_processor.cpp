// The engine as the processor runs it, and the engine's own frame:
//  - a centred click leaves C exactly 1536 samples later (the processor's reported latency is
//    checked with Listen Source, the alignment of its renders by the command line);
//  - every output layout x 44.1, 48 and 96 kHz x blocks of 1, 64, 480 and 4096, isolation on:
//    finite, sound on the outputs, the same output whatever the split;
//  - the engine allocates nothing and waits on no lock after prepare, for any block size.
#include "processor/UpmixerParameters.h"
#include "support/AllocationCounter.h"
#include "support/EngineTestRig.h"
#include "support/ProcessorHarness.h"

#include <gtest/gtest.h>

using namespace UpmixerParam;
using namespace EngineSignals;
using namespace KaChannelRouting;

namespace
{
constexpr int latency = UpmixerAlgo::getLatencySamples();

int peakIndex (const float* x, int from, int to)
{
    int best = from;
    for (int i = from; i < to; ++i)
        if (std::abs (x[i]) > std::abs (x[best]))
            best = i;
    return best;
}
}

TEST (EngineLatency, CentredClickReachesTheCentreExactlyOneLatencyLater)
{
    ASSERT_EQ (latency, 1536);
    const int clickAt = 3 * 48000, length = clickAt + 2 * latency;

    // Two seconds of centred noise (so the split's coefficients settle), silence, then a
    // centred click, through an engine set to pass a hard centre: no divergence, diffusion, LFE.
    auto input = byKind (length);
    noise (input.getWritePointer (kindL), 2 * 48000, 41, 0.2f);
    input.copyFrom (kindR, 0, input, kindL, 0, 2 * 48000);
    input.setSample (kindL, clickAt, 1.0f);
    input.setSample (kindR, clickAt, 1.0f);
    const auto out = EngineRig (1, 6).with ({ { Divergence, 0.0f }, { Diffusion, 0.0f }, { Lfe, 0.0f } }).run (input, 441);
    const float* c = out.getReadPointer (kindC);
    EXPECT_EQ (peakIndex (c, clickAt, length), clickAt + latency);
    EXPECT_NEAR (c[clickAt + latency], std::sqrt (2.0f), 0.05f);  // both sides' click, at constant power
}

TEST (EngineProcessorSweep, EveryLayoutRateAndBlockSize)
{
    for (int outputs : { 6, 8, 10, 12 })
        for (double rate : { 44100.0, 48000.0, 96000.0 })
        {
            const int length = (int) (rate * 0.25);
            auto input = TestSignals::noise (2, length, 51);
            const auto tone = TestSignals::sine (2, length, 440.0, rate, 0.2f);  // centred, over the noise
            for (int ch = 0; ch < 2; ++ch)
                input.addFrom (ch, 0, tone, ch, 0, length);

            auto render = [&] (int block) { return ProcessorHarness (2, outputs, rate, block).with ({ { DialogIsolate, 1.0f } }).run (input, block); };
            const auto reference = render (480);

            for (int block : { 1, 64, 480, 4096 })
            {
                const auto out = block == 480 ? reference : render (block);
                const auto label = juce::String (outputs) + " outputs, " + juce::String (rate) + " Hz, block " + juce::String (block);
                ASSERT_TRUE (allFinite (out)) << label;
                for (int ch = 0; ch < outputs; ++ch)
                {
                    // The LFE of a noise programme is quiet, not silent.
                    EXPECT_GT (ch == 3 ? 1.0 : rms (out, ch, latency * 2), 1.0e-4) << label << ", channel " << ch;
                    float worst = 0.0f;
                    for (int i = 0; i < length; ++i)
                        worst = std::max (worst, std::abs (out.getSample (ch, i) - reference.getSample (ch, i)));
                    EXPECT_LT (worst, 1.0e-5f) << label << ", channel " << ch;
                }
            }
        }
}

TEST (EngineFrame, AllocatesNothingAfterPrepare)
{
    for (int inputs : { 2, 6 })
    {
        EngineRig rig (25, 12, 48000.0, inputs);
        rig.with ({ { DialogIsolate, 1.0f }, { DivergeLfcEnable, 1.0f } });
        juce::AudioBuffer<float> block (12, 20000);
        block.clear();
        for (int ch = 0; ch < 3; ++ch)
            noise (block.getWritePointer (ch), 20000, 61 + ch);
        AllocationCounter::ScopedAllocationCheck check;
        for (int size : { 1, 64, 480, 4096, 20000, 333 })
            rig.engine->process (block.getArrayOfWritePointers(), 12, size);
        EXPECT_EQ (check.allocations(), 0u) << inputs << " inputs";
        EXPECT_EQ (check.blockingLocks(), 0u) << inputs << " inputs";
    }
}

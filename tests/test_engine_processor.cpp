// The engine as the processor runs it, and the engine's own frame:
//  - a centred click leaves C exactly 1536 samples later, from the engine and the processor;
//  - every output layout x 44.1, 48 and 96 kHz x blocks of 1, 64, 480 and 4096, isolation on:
//    finite, sound on the outputs, the same output whatever the split;
//  - the timing items 4 to 12 carry the profiling overlay's names and the block's duration;
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

/** Two seconds of centred noise (so the split's coefficients settle), silence, then a centred
    click at clickAt. */
juce::AudioBuffer<float> clickAfterNoise (int length, int clickAt, int numChannels)
{
    juce::AudioBuffer<float> b (numChannels, length);
    b.clear();
    noise (b.getWritePointer (0), 2 * 48000, 41, 0.2f);
    b.copyFrom (1, 0, b, 0, 0, 2 * 48000);
    b.setSample (0, clickAt, 1.0f);
    b.setSample (1, clickAt, 1.0f);
    return b;
}

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

    // The engine alone, set to pass a hard centre: no divergence, no diffusion, no LFE.
    EngineRig rig (1, 6);
    rig.with ({ { Divergence, 0.0f }, { Diffusion, 0.0f }, { Lfe, 0.0f } });
    const auto stereoIn = clickAfterNoise (length, clickAt, 2);
    auto input = byKind (length);
    input.copyFrom (kindL, 0, stereoIn, 0, 0, length);
    input.copyFrom (kindR, 0, stereoIn, 1, 0, length);
    const auto out = rig.run (input, 441);
    const float* c = out.getReadPointer (kindC);
    EXPECT_EQ (peakIndex (c, clickAt, length), clickAt + latency);
    EXPECT_NEAR (c[clickAt + latency], std::sqrt (2.0f), 0.05f);  // both sides' click, at constant power

    // The whole processor, 5.1 in JUCE's order L R C LFE Ls Rs.
    ProcessorHarness h (2, 6, 48000.0, 512);
    EXPECT_EQ (h.processor->getLatencySamples(), latency);
    h.with ({ { Divergence, 0.0f }, { Diffusion, 0.0f }, { Lfe, 0.0f } });
    const auto processed = h.run (stereoIn, 512);
    EXPECT_EQ (peakIndex (processed.getReadPointer (2), clickAt, length), clickAt + latency);
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

TEST (EngineFrame, RegistersAndStampsItsTimingItems)
{
    EngineRig rig (16, 10);
    // The names are the ones the profiling overlay shows.
    const char* names[] = { "Upmixer_podIn", "Upmixer_LMIn", "Upmixer_LMOut", "Upmixer_LMDownmix", "Upmixer_DialogExtraction",
                            "Upmixer_UpmixPsd", "Upmixer_spreadCentre", "Upmixer_generateLfe", "Upmixer_generateOverheadChannels" };
    for (int index = 4; index <= 12; ++index)
        ASSERT_STREQ (rig.host.profiler.item (index).name, names[index - 4]) << index;
    rig.host.profiler.setEnabled (true);
    rig.run (byKind (480), 480);
    for (int index = 8; index <= 12; ++index)
    {
        EXPECT_DOUBLE_EQ (rig.host.profiler.item (index).blockMs.load(), 10.0) << index;
        EXPECT_GT (rig.host.profiler.item (index).startMs.load(), 0.0) << index;
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

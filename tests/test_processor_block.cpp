// The processor's block path on real buffers:
// - the reported latency, and Listen Source playing the input delayed by exactly it, through
//   the input trims and mutes (per side for stereo, one shared trim otherwise), not under Bypass;
// - output mutes and solos act within milliseconds at any block size (solo wins over mute; one
//   solo silences every other output); each output trim, mute and solo reaches the speaker its
//   name says in every layout, in JUCE's order and in orders picked by hand;
// - the Listen table's priority and the 10 ms crossfade at 44.1 and 96 kHz;
// - block sizes 0..8192, rates 22.05..192 kHz and NaN/Inf input never crash or leak non-finite
//   samples, and the block path neither allocates after the first block of a size (operator new
//   or C's malloc family) nor waits on a lock (the counter is shown to see both); a host's
//   channels past its outputs stay untouched;
// - an Ambisonic bus (orders 1 to 3, both formats) runs the engine as 7.1, is named "Ambisonic",
//   fills every channel, feeds its meters, and FuMa's W is AmbiX's at -3 dB.
#include "processor/KaChannelRouting.h"
#include "processor/UpmixerParameters.h"
#include "support/AllocationCounter.h"
#include "support/ProcessorHarness.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

using namespace UpmixerParam;

namespace
{
    constexpr int latency = 1536;

    float gainOf (float db) { return std::pow (10.0f, db / 20.0f); }

    float trimValue (float db) { return (db + 70.0f) / 82.0f; }

    /** An impulse at `at` on channel `ch` of a stereo buffer. */
    juce::AudioBuffer<float> impulse (int length, int at, float left, float right)
    {
        juce::AudioBuffer<float> b (2, length);
        b.clear();
        b.setSample (0, at, left);
        b.setSample (1, at, right);
        return b;
    }
}

TEST (ProcessorBlock, ListenSourcePlaysTheTrimmedInputOneLatencyLater)
{
    ProcessorHarness h (2, 6);
    EXPECT_EQ (h.processor->getLatencySamples(), latency);
    h.set (MonitorSource, 1.0f);
    h.processor->runHousekeeping();

    // Each row adds its setting; Bypass plays the source untrimmed and unmuted.
    struct Row
    {
        int parameter;
        float value, left, right;
    };
    const Row rows[] = {
        { MonitorSource, 1.0f, 1.0f, 1.0f },
        { TrimSource0, trimValue (-6.0f), gainOf (-6.0f), 1.0f },
        { TrimSource1, trimValue (-20.0f), gainOf (-6.0f), gainOf (-20.0f) },
        { MuteSource1, 1.0f, gainOf (-6.0f), 0.0f },
        { Bypass, 1.0f, 1.0f, 1.0f },
    };
    for (const auto& row : rows)
    {
        h.set (row.parameter, row.value);
        h.run (impulse (2048, 0, 0.0f, 0.0f));  // let the ramps settle
        const auto out = h.run (impulse (4096, 100, 0.5f, -0.25f), 256);
        // 5.1 in JUCE's order: L R C LFE Ls Rs.
        EXPECT_NEAR (out.getSample (0, 100 + latency), 0.5f * row.left, 1.0e-4f) << row.parameter;
        EXPECT_NEAR (out.getSample (1, 100 + latency), -0.25f * row.right, 1.0e-4f) << row.parameter;
        EXPECT_EQ (out.getSample (0, 99 + latency), 0.0f);
        EXPECT_NEAR (TestSignals::rms (out, 2), 0.0, 1.0e-9);
    }
}

TEST (ProcessorBlock, SharedTrimAndMuteGroupsForOtherInputCounts)
{
    ProcessorHarness h (4, 8);  // 4 discrete inputs: L R Ls Rs
    h.set (MonitorSource, 1.0f);
    h.set (TrimSource0, trimValue (-12.0f));
    h.set (TrimSource1, trimValue (-40.0f));  // not used for 4 inputs
    h.set (MuteSourceMulti2, 1.0f);           // channels 2 and 3
    juce::AudioBuffer<float> in (4, 4096);
    in.clear();
    for (int ch = 0; ch < 4; ++ch)
        in.setSample (ch, 3000, 1.0f);
    h.run (in);
    // 7.1 in JUCE's order: L R C LFE Ls Rs Lsr Rsr; the impulse comes out in the next buffer.
    const auto tail = h.run (juce::AudioBuffer<float> (4, 4096));
    const int at = 3000 + latency - 4096;
    EXPECT_NEAR (tail.getSample (0, at), gainOf (-12.0f), 1.0e-4f);
    EXPECT_NEAR (tail.getSample (1, at), gainOf (-12.0f), 1.0e-4f);
    EXPECT_EQ (tail.getSample (4, at), 0.0f);
    EXPECT_EQ (tail.getSample (5, at), 0.0f);
}

TEST (ProcessorBlock, MutesAndSolosActWithinMillisecondsAtAnyBlockSize)
{
    // They once ramped across the whole host block: 43 ms at 2048 samples, 171 ms at 8192.
    const int fourMs = 192;
    for (const int block : { 64, 8192 })
    {
        SCOPED_TRACE (block);
        ProcessorHarness h (2, 6, 48000.0, block);
        const auto noise = TestSignals::noise (2, 8192, 5);
        h.run (noise);
        h.set (Mute0 + 1, 1.0f);
        auto out = h.run (noise);
        EXPECT_EQ (TestSignals::rms (out, 1, fourMs), 0.0);
        EXPECT_GT (TestSignals::rms (out, 1, 0, 48), 1.0e-3) << "a de-click ramp, not a jump";

        h.set (Mute0 + 1, 0.0f);
        h.set (Mute0 + 2, 1.0f);  // solo wins over mute
        h.set (Solo0 + 2, 1.0f);
        out = h.run (noise);
        for (int ch = 0; ch < 6; ++ch)
            if (ch == 2)
                EXPECT_GT (TestSignals::rms (out, ch, fourMs), 1.0e-3);
            else
                EXPECT_EQ (TestSignals::rms (out, ch, fourMs), 0.0) << "channel " << ch;

        h.set (Solo0 + 2, 0.0f);
        out = h.run (noise);
        const double settled = TestSignals::rms (out, 1, fourMs);
        EXPECT_GT (settled, 1.0e-3);
        EXPECT_NEAR (TestSignals::rms (out, 1, fourMs, fourMs), settled, settled * 0.5) << "back at full level within 4 ms";
    }
}

TEST (ProcessorBlock, OneInstanceKeepsEverySpeakerOnItsChannelAsTheLayoutShrinks)
{
    // The order resolved for 7.1.4 must not stay in force at 7.1.2 and 5.1 on the same instance.
    // With Listen Source, each input speaker must arrive on the output of its type.
    using Set = juce::AudioChannelSet;
    UpmixerProcessor processor;
    processor.setParameterNotifyingHost (MonitorSource, 1.0f, false);
    for (const auto& [in, out] : { std::pair { Set::create7point1(), Set::create7point1point4() },
                                   std::pair { Set::create7point1point2(), Set::create7point1point2() },
                                   std::pair { Set::create5point1(), Set::create5point1() } })
    {
        SCOPED_TRACE (out.getDescription());
        juce::AudioProcessor::BusesLayout layout;
        layout.inputBuses.add (in);
        layout.outputBuses.add (out);
        ASSERT_TRUE (processor.setBusesLayout (layout));
        processor.prepareToPlay (48000.0, 512);
        processor.runHousekeeping();
        juce::AudioBuffer<float> block (out.size(), 512);
        juce::MidiBuffer midi;
        for (int i = 0; i < 8; ++i)
        {
            for (int ch = 0; ch < out.size(); ++ch)
                juce::FloatVectorOperations::fill (block.getWritePointer (ch), ch < in.size() ? 0.05f * (float) (ch + 1) : 0.0f, 512);
            processor.processBlock (block, midi);
        }
        for (int ch = 0; ch < out.size(); ++ch)
        {
            const int source = in.getChannelIndexForType (out.getTypeOfChannel (ch));
            EXPECT_NEAR (block.getSample (ch, 511), source >= 0 ? 0.05f * (float) (source + 1) : 0.0f, 1.0e-6f)
                << Set::getAbbreviatedChannelTypeName (out.getTypeOfChannel (ch));
        }
    }
}

TEST (ProcessorBlock, OutputTrimsMutesAndSolosActOnTheSpeakerTheirNameSays)
{
    // They were once applied by host position: at 7.1.4 "Mute Lsr" silenced the top front left.
    // Per layout, JUCE's own order (the default routing) and one order picked by hand; each
    // output's trim is distinct, so the level of a channel tells which trim reached it.
    constexpr int delivered = 100;  // the Routing choice "Default": the order JUCE hands over
    struct Row
    {
        int outputs, routing, muted, soloed;  // muted and soloed are channel kinds
    };
    using namespace KaChannelRouting;
    const Row rows[] = {
        { 6, delivered, kindR, kindLs }, { 6, 0, kindR, kindLfe }, { 8, delivered, kindLsr, kindRs }, { 8, 9, kindLsr, kindLs },
        { 10, delivered, kindLts, kindRsr }, { 10, 15, kindLts, kindLfe }, { 12, delivered, kindLsr, kindLts }, { 12, 24, kindTrl, kindLsr },
    };
    using T = juce::AudioChannelSet::ChannelType;
    const std::map<T, int> speakerOfType {
        { T::left, kindL }, { T::right, kindR }, { T::centre, kindC }, { T::LFE, kindLfe }, { T::leftSurround, kindLs },
        { T::rightSurround, kindRs }, { T::leftSurroundSide, kindLs }, { T::rightSurroundSide, kindRs },
        { T::leftSurroundRear, kindLsr }, { T::rightSurroundRear, kindRsr }, { T::topSideLeft, kindLts }, { T::topSideRight, kindRts },
        { T::topFrontLeft, kindLts }, { T::topFrontRight, kindRts }, { T::topRearLeft, kindTrl }, { T::topRearRight, kindTrr },
    };
    auto trimDb = [] (int kind) { return -2.0f * (float) (kind + 1); };

    // Partly correlated noise, so that every speaker, the heights too, carries sound.
    auto input = TestSignals::noise (2, 8192, 11);
    input.addFrom (1, 0, input, 0, 0, input.getNumSamples(), 0.7f);
    const int settled = 2048;  // past the latency and the gain ramps

    for (const auto& row : rows)
    {
        SCOPED_TRACE (testing::Message() << row.outputs << " outputs, routing choice " << row.routing);
        auto render = [&] (bool trimmed, int muted, int soloed)
        {
            ProcessorHarness h (2, row.outputs);
            h.set (Routing, KaParameterTable::valueOfChoice (row.routing));
            for (int kind = 0; trimmed && kind < numOutputs; ++kind)
                h.set (Trim0 + kind, trimValue (trimDb (kind)));
            if (muted >= 0)
                h.set (Mute0 + muted, 1.0f);
            if (soloed >= 0)
                h.set (Solo0 + soloed, 1.0f);
            return h.run (input);
        };
        const auto plain = render (false, -1, -1), withMute = render (true, row.muted, -1), withSolo = render (true, -1, row.soloed);
        const auto set = ProcessorHarness::outputSet (row.outputs);
        for (int ch = 0; ch < row.outputs; ++ch)
        {
            const int speaker = row.routing == delivered ? speakerOfType.at (set.getTypeOfChannel (ch)) : kindAtPosition (row.routing, ch);
            const double reference = TestSignals::rms (plain, ch, settled);
            ASSERT_GT (reference, 1.0e-5) << "channel " << ch;
            const double trim = gainOf (trimDb (speaker));
            EXPECT_NEAR (TestSignals::rms (withMute, ch, settled) / reference, speaker == row.muted ? 0.0 : trim, 1.0e-3)
                << "channel " << ch << " carries " << kindName (speaker);
            EXPECT_NEAR (TestSignals::rms (withSolo, ch, settled) / reference, speaker == row.soloed ? trim : 0.0, 1.0e-3)
                << "channel " << ch << " carries " << kindName (speaker);
        }
    }
}

TEST (ProcessorBlock, ListenPriorityLaterSwitchWins)
{
    UpmixerProcessor p;
    auto& t = p.getParameterTable();
    EXPECT_EQ (UpmixerMonitor::selectMode (t), UpmixerMonitor::modeUpmix);
    const std::tuple<int, float, int> steps[] = {
        { Bypass, 1.0f, UpmixerMonitor::modeSource }, { MonitorC, 1.0f, 2 }, { MonitorDownmix, 1.0f, UpmixerMonitor::modeDownmix },
        { MonitorDelta, 1.0f, UpmixerMonitor::modeDelta }, { MonitorDelta, 0.0f, UpmixerMonitor::modeDownmix },
        { MonitorLbLts, 1.0f, UpmixerMonitor::modeDownmix },
    };
    for (const auto& [parameter, value, mode] : steps)
    {
        t.set (parameter, value);
        EXPECT_EQ (UpmixerMonitor::selectMode (t), mode) << "after " << parameter << " = " << value;
    }
}

TEST (ProcessorBlock, CrossfadeRisesForTenMilliseconds)
{
    for (double rate : { 44100.0, 96000.0 })
    {
        // Fade from a silent upmix to a constant source: the output is the fade-in gain.
        juce::AudioBuffer<float> ones (2, 64), zeros (2, 64);
        zeros.clear();
        for (int ch = 0; ch < 2; ++ch)
            juce::FloatVectorOperations::fill (ones.getWritePointer (ch), 1.0f, 64);
        UpmixerMonitor m;
        UpmixerMonitor::Signals s;
        s.upmix = s.downmix = s.delta = zeros.getArrayOfReadPointers();
        s.source = ones.getArrayOfReadPointers();
        s.numUpmix = s.numSource = 2;
        s.routing = 1;

        juce::AudioBuffer<float> out (2, 64);
        int samples = 0;
        float previous = 0.0f;
        do
        {
            m.process (UpmixerMonitor::modeSource, s, out.getArrayOfWritePointers(), 2, 64, rate);
            samples += 64;
            for (int i = 0; i < 64; ++i)
                EXPECT_GE (out.getSample (0, i), std::exchange (previous, out.getSample (0, i))) << "a rising fade";
        } while (m.getFadePosition() < 1.0f && samples < 100000);

        EXPECT_GE (samples, rate * 0.01) << rate;
        EXPECT_LT (samples, rate * 0.01 + 64.0) << rate;
        EXPECT_EQ (m.getCurrentMode(), UpmixerMonitor::modeSource);
        EXPECT_NEAR (previous, 1.0f, 2.0e-3f);  // the last sample of the fade

        // A new request during a fade waits for it to end.
        m.process (UpmixerMonitor::modeUpmix, s, out.getArrayOfWritePointers(), 2, 64, rate);
        m.process (UpmixerMonitor::modeDownmix, s, out.getArrayOfWritePointers(), 2, 64, rate);
        EXPECT_EQ (m.getCurrentMode(), UpmixerMonitor::modeUpmix);
    }
}

TEST (ProcessorBlock, AnyBlockSizeRateAndBadInput)
{
    for (double rate : { 22050.0, 44100.0, 192000.0 })
    {
        ProcessorHarness h (2, 10, rate, 1024);
        juce::MidiBuffer midi;
        for (int size : { 0, 1, 7, 1024, 3000, 8192 })
        {
            juce::AudioBuffer<float> b (10, size);
            b.clear();
            for (int i = 0; i < size; ++i)
            {
                b.setSample (0, i, i % 3 == 0 ? std::numeric_limits<float>::quiet_NaN() : 0.5f);
                b.setSample (1, i, i % 5 == 0 ? std::numeric_limits<float>::infinity() : -0.5f);
            }
            h.processor->processBlock (b, midi);
            EXPECT_TRUE (TestSignals::allFinite (b)) << rate << " Hz, block " << size;
        }
        // After the bad input, clean input gives clean, non-silent output.
        const auto out = h.run (TestSignals::noise (2, 8192, 3));
        EXPECT_TRUE (TestSignals::allFinite (out));
        EXPECT_GT (TestSignals::rms (out, 0, 4096), 1.0e-3);
    }
}

TEST (ProcessorBlock, NoAllocationAfterTheFirstBlockOfASize)
{
    if (AllocationCounter::countsCCalls)
    {
        // The counter sees C's allocations (JUCE's buffers use them), not only operator new.
        void* (*volatile cMalloc) (std::size_t) = std::malloc;  // called as written, never elided
        AllocationCounter::ScopedAllocationCheck check;
        void* memory = cMalloc (64);
        const auto counted = check.allocations();
        std::free (memory);
        EXPECT_EQ (counted, 1u);
        {
            const juce::CriticalSection section;
            const juce::ScopedLock held (section);
            const juce::ScopedTryLock tried (section);  // a try-lock is allowed, so not counted
        }
        EXPECT_EQ (check.blockingLocks(), 1u);
    }

    for (int outputs : { 6, 8, 10, 12, 4, 9, 16 })
    {
        ProcessorHarness h (2, outputs, 48000.0, 512);
        h.set (MonitorDownmix, 1.0f);
        h.processor->runHousekeeping();
        juce::MidiBuffer midi;
        // A host with more than 12 channels keeps its extra ones untouched.
        juce::AudioBuffer<float> block (outputs == 12 ? 16 : outputs, 480);
        block.clear();
        for (int ch = 12; ch < block.getNumChannels(); ++ch)
            juce::FloatVectorOperations::fill (block.getWritePointer (ch), 0.125f * (float) ch, 480);
        auto noise = TestSignals::noise (2, 480, 11);
        // Views of the block at sizes up to the prepared one: the observers' analysers too see
        // partial windows.
        std::vector<juce::AudioBuffer<float>> views;
        for (int size : { 480, 7, 1, 300 })
            views.emplace_back (block.getArrayOfWritePointers(), block.getNumChannels(), size);
        for (auto& view : views)
            h.processor->processBlock (view, midi);  // the first block of each size

        AllocationCounter::ScopedAllocationCheck check;
        for (int i = 0; i < 200; ++i)
        {
            // Headphone monitoring fades in half-way, then renders (Ambisonic: decodes first).
            h.processor->getHeadphones().setEnabled (i >= 100);
            for (int ch = 0; ch < 2; ++ch)
                block.copyFrom (ch, 0, noise, ch, 0, 480);
            h.processor->processBlock (views[(size_t) i % views.size()], midi);
        }
        EXPECT_EQ (check.allocations(), 0u) << outputs << " outputs";
        EXPECT_EQ (check.blockingLocks(), 0u) << outputs << " outputs";
        for (int ch = outputs; ch < block.getNumChannels(); ++ch)
            EXPECT_EQ (block.getSample (ch, 300), 0.125f * (float) ch);
    }
}

TEST (ProcessorBlock, AmbisonicBusEncodesASevenOneUpmix)
{
    // The same input in both formats: FuMa's W is AmbiX's at -3 dB, and the rest of the
    // channels are the same harmonics reordered and reweighted, so every channel is heard.
    const auto input = TestSignals::noise (2, 48000, 5);
    for (int outputs : { 4, 9, 16 })
    {
        std::array<double, 2> w {};
        for (int format : { 0, 1 })
        {
            ProcessorHarness h (2, outputs);
            h.set (AmbisonicFormat, KaParameterTable::valueOfChoice (format));
            h.processor->runHousekeeping();
            EXPECT_EQ (h.processor->getOutputBusName(), "Ambisonic");
            EXPECT_EQ (h.processor->getEngineOutputCount(), 8);
            EXPECT_EQ (h.processor->getAmbisonicOrder(), outputs == 4 ? 1 : outputs == 9 ? 2 : 3);

            const auto out = h.run (input);
            ASSERT_TRUE (TestSignals::allFinite (out));
            for (int ch = 0; ch < outputs; ++ch)
                EXPECT_GT (TestSignals::rms (out, ch, 24000), 1.0e-3) << outputs << " outputs, format " << format << ", channel " << ch;
            w[(size_t) format] = TestSignals::rms (out, 0, 24000);

            const auto& observers = h.processor->getObservers();
            EXPECT_GT (observers.getLevelMeter (UpmixerObservers::rowAmbisonic, outputs - 1)->getLevelDb(), -60.0f);
            if (outputs < UpmixerObservers::numAmbisonicMeters)
            {
                EXPECT_LT (observers.getLevelMeter (UpmixerObservers::rowAmbisonic, outputs)->getLevelDb(), -150.0f);
            }
        }
        EXPECT_NEAR (w[1] / w[0], std::sqrt (0.5), 1.0e-3) << outputs << " outputs";
    }
}

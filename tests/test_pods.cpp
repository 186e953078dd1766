// Pods: real processors in one process meeting in this build's libKaPod.
// - a linked change (editor, host automation, undo) reaches every other member exactly once and
//   only for the pod's linked groups; undo stays where the change was made;
// - a sender's output arrives at the receiver at the 4096-sample latency to the sample, in either
//   processing order and with different block sizes, with neither allocating nor locking;
// - a sender destroyed while the receiver runs on another thread; members at another rate are
//   refused or exchange nothing; a session reopens into its pod, apart from other pods.
#include "processor/UpmixerParameters.h"
#include "support/AllocationCounter.h"
#include "support/ProcessorHarness.h"

#include <gtest/gtest.h>

#include <thread>

using namespace UpmixerParam;

namespace
{
    constexpr int exchangeLatency = 4096;

    /** Counts the host notifications of one parameter: what a host would see. */
    struct HostView : juce::AudioProcessorParameter::Listener
    {
        HostView (UpmixerProcessor& p, int n) : parameter (*p.getParameters()[n]) { parameter.addListener (this); }
        ~HostView() override { parameter.removeListener (this); }
        void parameterValueChanged (int, float) override { ++changes; }
        void parameterGestureChanged (int, bool) override {}
        juce::AudioProcessorParameter& parameter;
        int changes = 0;
    };

    void housekeepAll (std::initializer_list<ProcessorHarness*> members)
    {
        for (int round = 0; round < 3; ++round)
            for (auto* m : members)
                m->processor->runHousekeeping();
    }

    /** Both join `pod`; the sender sends to the receiver. */
    void sendTo (ProcessorHarness& sender, ProcessorHarness& receiver, const char* pod)
    {
        ASSERT_TRUE (receiver.processor->joinPod (pod));
        ASSERT_TRUE (sender.processor->joinPod (pod));
        const int number = receiver.processor->getPodMemberNumber();
        receiver.processor->setSendSelector (number);
        sender.processor->setSendSelector (number);
    }

    juce::AudioBuffer<float> impulseAt (int length, int at)
    {
        juce::AudioBuffer<float> b (2, length);
        b.clear();
        b.setSample (0, at, 1.0f);
        return b;
    }
}

TEST (Pods, LinkedChangesArriveOnceAndOnlyForLinkedGroups)
{
    ProcessorHarness a (2, 6), b (2, 6), c (2, 8);
    ASSERT_TRUE (UpmixerProcessor::isPodLibraryAvailable()) << UpmixerProcessor::getPodLibraryStatus();
    for (auto* m : { &a, &b, &c })
        ASSERT_TRUE (m->processor->joinPod ("Reel 1"));
    a.processor->setPodLinkGroups (1u << KaJucePodUser::linkSpatial);
    housekeepAll ({ &a, &b, &c });
    EXPECT_EQ (c.processor->getPodLinkGroups(), 1u << KaJucePodUser::linkSpatial);

    HostView onA (*a.processor, Divergence), onB (*b.processor, Divergence), onC (*c.processor, Divergence);
    a.processor->setParameterUndoable (Divergence, 0.3f);
    a.processor->setParameterUndoable (LfeFreq, 0.9f);  // LFE is not linked
    a.processor->setParameterUndoable (Trim0, 0.2f);     // trims never are
    housekeepAll ({ &a, &b, &c });
    for (auto* m : { &b, &c })
    {
        EXPECT_EQ (m->processor->getParameterValue (Divergence), 0.3f);
        EXPECT_NE (m->processor->getParameterValue (LfeFreq), 0.9f);
        EXPECT_NE (m->processor->getParameterValue (Trim0), 0.2f);
        EXPECT_FALSE (m->processor->canUndo());
    }
    EXPECT_EQ (onA.changes, 1);
    EXPECT_EQ (onB.changes, 1);
    EXPECT_EQ (onC.changes, 1);

    // Host automation on one member, then undo on the first: both travel, once each.
    b.processor->getParameters()[Divergence]->setValue (0.7f);
    housekeepAll ({ &a, &b, &c });
    EXPECT_EQ (a.processor->getParameterValue (Divergence), 0.7f);
    EXPECT_EQ (c.processor->getParameterValue (Divergence), 0.7f);
    a.processor->undo();  // the LFE and trim steps, then Divergence back to its value before 0.3
    a.processor->undo();
    a.processor->undo();
    housekeepAll ({ &a, &b, &c });
    const float before = a.processor->getParameterValue (Divergence);
    EXPECT_NE (before, 0.7f);
    EXPECT_EQ (b.processor->getParameterValue (Divergence), before);
    EXPECT_EQ (c.processor->getParameterValue (Divergence), before);
    EXPECT_EQ (onC.changes, 3);
    EXPECT_EQ (onA.changes, 3);

    // A member joining from the editor takes the pod's linked values.
    ProcessorHarness d (2, 6);
    ASSERT_TRUE (d.processor->joinPod ("Reel 1"));
    d.processor->runHousekeeping();
    EXPECT_EQ (d.processor->getParameterValue (Divergence), before);
    EXPECT_EQ (d.processor->getPodMembers().size(), 4u);
}

TEST (Pods, SumArrivesAtTheExchangeLatencyInAnyOrderAndBlockSize)
{
    struct Row
    {
        int senderBlock, receiverBlock;
        bool receiverFirst;
    };
    for (const auto& row : { Row { 512, 512, false }, Row { 512, 512, true }, Row { 256, 1024, true }, Row { 2048, 64, true },
                             Row { 128, 2048, false } })
    {
        ProcessorHarness sender (2, 6, 48000.0, row.senderBlock), receiver (2, 8, 48000.0, row.receiverBlock);
        sender.set (MonitorSource, 1.0f);  // the input, delayed: exact to the sample
        receiver.set (MonitorSource, 1.0f);
        sendTo (sender, receiver, "Align");
        housekeepAll ({ &sender, &receiver });
        EXPECT_EQ (receiver.processor->getLatencySamples(), exchangeLatency);

        // One host cycle is the longer block; the shorter member runs several within it.
        constexpr int length = 12288, at = 700;
        const int cycle = std::max (row.senderBlock, row.receiverBlock);
        const auto input = impulseAt (length, at);
        const auto silence = impulseAt (length, -1);
        juce::AudioBuffer<float> heard (8, length), sent (6, length);
        auto runCycle = [&] (ProcessorHarness& m, int pos, const juce::AudioBuffer<float>& in, juce::AudioBuffer<float>& out)
        {
            juce::MidiBuffer midi;
            for (int p = pos; p < pos + cycle; p += m.blockSize)
            {
                juce::AudioBuffer<float> block (out.getArrayOfWritePointers(), out.getNumChannels(), p, m.blockSize);
                block.clear();
                for (int ch = 0; ch < 2; ++ch)
                    block.copyFrom (ch, 0, in, ch, p, m.blockSize);
                m.processor->processBlock (block, midi);
            }
        };
        std::size_t warm = 0, allocations = 0, locks = 0;  // the first block of a size may allocate
        {
            AllocationCounter::ScopedAllocationCheck check;
            for (int pos = 0; pos < length; pos += cycle)
            {
                warm = pos == cycle ? check.allocations() : warm;
                if (row.receiverFirst)
                    runCycle (receiver, pos, silence, heard);
                runCycle (sender, pos, input, sent);
                if (! row.receiverFirst)
                    runCycle (receiver, pos, silence, heard);
            }
            allocations = check.allocations();
            locks = check.blockingLocks();
        }
        const auto label = ::testing::Message() << row.senderBlock << "/" << row.receiverBlock << (row.receiverFirst ? " receiver first" : "");
        EXPECT_EQ (allocations, warm) << label;
        EXPECT_EQ (locks, 0u) << label;
        EXPECT_EQ (sent.getSample (0, at + exchangeLatency), 1.0f) << label;
        EXPECT_EQ (heard.getSample (0, at + exchangeLatency), 1.0f) << label;
        EXPECT_EQ (heard.getSample (0, at + exchangeLatency - 1), 0.0f) << label;
        EXPECT_NEAR (TestSignals::rms (heard, 0), 1.0 / std::sqrt ((double) length), 1.0e-6) << label;  // nothing else
    }
}

TEST (Pods, TheReceiversOutputMetersShowTheSum)
{
    ProcessorHarness sender (2, 6), receiver (2, 6);
    sendTo (sender, receiver, "Meter");
    const auto meter = receiver.processor->getObservers().getLevelMeter (UpmixerObservers::rowUpmix, 0);
    for (int i = 0; i < 30; ++i)
    {
        sender.run (TestSignals::noise (2, 512, i));
        receiver.run (impulseAt (512, -1));  // its own upmix is silent
    }
    EXPECT_GT (meter->getLevelDb(), -40.0f);
}

TEST (Pods, MembersGoingAwayAndOtherRatesNeverStopTheReceiver)
{
    ProcessorHarness receiver (2, 6, 48000.0, 256);
    auto sender = std::make_unique<ProcessorHarness> (2, 6, 48000.0, 256);
    sendTo (*sender, receiver, "Mix");

    // The receiver plays on its own thread while the sender plays, then goes away mid-stream.
    std::atomic<bool> running { true };
    std::thread audio ([&] {
        const auto noise = TestSignals::noise (2, 256, 3);
        while (running.load())
            EXPECT_TRUE (TestSignals::allFinite (receiver.run (noise)));
    });
    for (int i = 0; i < 200; ++i)
        sender->run (TestSignals::noise (2, 256, i));
    sender.reset();
    std::this_thread::sleep_for (std::chrono::milliseconds (20));
    running.store (false);
    audio.join();
    EXPECT_EQ (receiver.processor->getPodMembers().size(), 1u);

    // Another rate: refused when joining; after joining, warned and exchanging nothing.
    ProcessorHarness other (2, 6, 44100.0, 256);
    EXPECT_FALSE (other.processor->joinPod ("Mix"));
    EXPECT_EQ (other.processor->getNumWarningsPosted(), 1);

    ProcessorHarness late (2, 6, 48000.0, 256);
    ASSERT_TRUE (late.processor->joinPod ("Mix"));
    late.processor->setSendSelector (receiver.processor->getPodMemberNumber());
    late.processor->prepareToPlay (44100.0, 256);
    for (int tick = 0; tick < 40; ++tick)  // a lasting difference is warned about once
        late.processor->runHousekeeping();
    EXPECT_EQ (late.processor->getNumWarningsPosted(), 1);
    receiver.set (MonitorSource, 1.0f);
    late.set (MonitorSource, 1.0f);
    receiver.run (impulseAt (8192, -1));  // what the thread played has left the delay lines
    for (int i = 0; i < 40; ++i)
    {
        late.run (TestSignals::noise (2, 256, i));
        EXPECT_EQ (TestSignals::rms (receiver.run (impulseAt (256, -1)), 0), 0.0);
    }
}

TEST (Pods, ASessionReopensIntoItsPodApartFromOthers)
{
    juce::MemoryBlock receiverState, senderState;
    {
        ProcessorHarness receiver (2, 6), sender (2, 6);
        sendTo (sender, receiver, "Stems");
        receiver.processor->setPodLinkGroups (1u << KaJucePodUser::linkDialogue);
        receiver.processor->getStateInformation (receiverState);
        sender.processor->getStateInformation (senderState);
    }

    // Another session's pod of another name is there first and holds member number 0.
    ProcessorHarness stranger (2, 6);
    ASSERT_TRUE (stranger.processor->joinPod ("Other"));

    ProcessorHarness sender (2, 6), receiver (2, 6);
    sender.processor->setStateInformation (senderState.getData(), (int) senderState.getSize());
    receiver.processor->setStateInformation (receiverState.getData(), (int) receiverState.getSize());
    EXPECT_EQ (receiver.processor->getPodName(), "Stems");
    EXPECT_EQ (receiver.processor->getPodMemberNumber(), 0);
    EXPECT_EQ (sender.processor->getPodMemberNumber(), 1);
    EXPECT_EQ (receiver.processor->getSendSelector(), 0);
    EXPECT_EQ (sender.processor->getSendSelector(), 0);
    EXPECT_EQ (receiver.processor->getPodLinkGroups(), 1u << KaJucePodUser::linkDialogue);
    EXPECT_EQ (stranger.processor->getPodMembers().size(), 1u);
    receiver.processor->runHousekeeping();
    EXPECT_EQ (receiver.processor->getLatencySamples(), exchangeLatency);

    receiver.processor->leavePod();
    EXPECT_EQ (receiver.processor->getSendSelector(), -1);
    receiver.processor->runHousekeeping();
    EXPECT_EQ (receiver.processor->getLatencySamples(), 1536);
}

TEST (Pods, SettingTheSendSelectorKeepsEachInputSpeakerInPlace)
{
    // A 5.1 input in JUCE's order: with Listen Source each input reaches its own speaker, before
    // and after the layout is rebuilt for the send selector.
    ProcessorHarness h (6, 6);
    juce::AudioProcessor::BusesLayout layout;
    layout.inputBuses.add (juce::AudioChannelSet::create5point1());
    layout.outputBuses.add (juce::AudioChannelSet::create5point1());
    ASSERT_TRUE (h.processor->setBusesLayout (layout));
    h.processor->prepareToPlay (48000.0, 512);
    h.set (MonitorSource, 1.0f);
    for (int selector : { -1, 0 })
    {
        h.processor->setSendSelector (selector);
        juce::AudioBuffer<float> in (6, 8192);
        for (int ch = 0; ch < 6; ++ch)
            juce::FloatVectorOperations::fill (in.getWritePointer (ch), 0.1f * (float) (ch + 1), 8192);
        const auto out = h.run (in);
        for (int ch = 0; ch < 6; ++ch)
            EXPECT_NEAR (out.getSample (ch, 8191), 0.1f * (float) (ch + 1), 1.0e-5f) << "selector " << selector << ", channel " << ch;
    }
}

// The built VST3 and LV2 in one host process meet in one pod (both load this build's libKaPod
// by one path): sessions naming the pod make the VST3 the receiver and the LV2 its sender; the
// LV2's output arrives in the VST3's at the 4096-sample latency, to the sample, with the
// receiver run first in every cycle, and neither binary allocates or takes a lock of its own
// on the pod path.
#include "HostPluginLoader.h"
#include "support/AllocationCounter.h"

#include <gtest/gtest.h>

using HostPluginLoader::Format;

namespace
{
    /** The plug-in's own session document with the pod's attributes and Listen Source on (the
        input, delayed: exact to the sample), as a saved session would bring them. */
    juce::MemoryBlock intoPod (const juce::MemoryBlock& own, int member, int sendSelector)
    {
        const auto xml = juce::AudioProcessor::getXmlFromBinary (own.getData(), (int) own.getSize());
        if (xml == nullptr)
            return {};
        xml->setAttribute ("PODNAME", "Host pod");
        xml->setAttribute ("PODMEMBER", member);
        xml->setAttribute ("SENDSELECTOR", sendSelector);
        if (auto* slot = xml->getChildByName ("PRESET" + juce::String (xml->getIntAttribute ("CURRENTPRESET"))))
            slot->setAttribute ("MonitorSource", 1.0);
        juce::MemoryBlock block;
        juce::AudioProcessor::copyXmlToBinary (*xml, block);
        return block;
    }

    /** Restores the instance from its own state edited by intoPod(): the document travels
        base64-encoded inside the host's block, in the VST3's component state or as the LV2's
        state string. */
    void restoreIntoPod (juce::AudioPluginInstance& p, Format format, int member, int sendSelector)
    {
        auto hostState = HostPluginLoader::stateOf (p);
        juce::MemoryBlock own, edited;
        if (format == Format::vst3)
        {
            auto head = juce::AudioProcessor::getXmlFromBinary (hostState.getData(), (int) hostState.getSize());
            auto* component = head != nullptr ? head->getChildByName ("IComponent") : nullptr;
            ASSERT_NE (component, nullptr);
            own.fromBase64Encoding (component->getAllSubText());
            edited = intoPod (own, member, sendSelector);
            component->deleteAllTextElements();
            component->addTextElement (edited.toBase64Encoding());
            hostState.reset();
            juce::AudioProcessor::copyXmlToBinary (*head, hostState);
        }
        else
        {
            auto text = hostState.toString();
            const int open = text.indexOf (text.indexOf (":StateString>"), "\"") + 1;
            const int close = text.indexOf (open, "\"");
            ASSERT_GT (open, 0);
            own.fromBase64Encoding (text.substring (open, close));
            edited = intoPod (own, member, sendSelector);
            text = text.replaceSection (open, close - open, edited.toBase64Encoding());
            hostState.replaceAll (text.toRawUTF8(), text.getNumBytesAsUTF8() + 1);
        }
        p.setStateInformation (hostState.getData(), (int) hostState.getSize());
    }
}

TEST (HostPods, Vst3AndLv2MeetInOnePodAndTheSumIsAligned)
{
    constexpr int block = 512, length = 16 * block, at = 300;
    auto receiver = HostPluginLoader::load (Format::vst3, 48000.0, block);
    auto sender = HostPluginLoader::load (Format::lv2, 48000.0, block);
    ASSERT_NE (receiver, nullptr);
    ASSERT_NE (sender, nullptr);
    restoreIntoPod (*receiver, Format::vst3, 0, 0);
    restoreIntoPod (*sender, Format::lv2, 1, 0);
    receiver->prepareToPlay (48000.0, block);
    sender->prepareToPlay (48000.0, block);

    juce::AudioBuffer<float> heard (6, length), input (6, length);
    input.clear();
    input.setSample (0, at, 1.0f);
    juce::MidiBuffer midi;
    std::size_t allocations = 0, locks = 0;
    for (int pos = 0; pos < length; pos += block)
    {
        // The first cycle may allocate (the first block of a size); the rest are counted.
        AllocationCounter::ScopedAllocationCheck check (AllocationCounter::Callers::outsideThisProgram);
        juce::AudioBuffer<float> out (heard.getArrayOfWritePointers(), 6, pos, block);
        out.clear();
        receiver->processBlock (out, midi);
        juce::AudioBuffer<float> in (6, block);
        for (int ch = 0; ch < 6; ++ch)
            in.copyFrom (ch, 0, input, ch, pos, block);
        sender->processBlock (in, midi);
        if (pos > 0)
        {
            allocations += check.allocations();
            locks += check.blockingLocks();
        }
    }
    EXPECT_NEAR (heard.getSample (0, at + 4096), 1.0f, 1.0e-6f);
    EXPECT_EQ (heard.getSample (0, at + 4095), 0.0f);
    EXPECT_EQ (allocations, 0u);
    // The wrappers' own locks, as test_host_validator.cpp allows them: one per VST3 block, two
    // per LV2 block; the pod takes none.
    EXPECT_LE (locks, (std::size_t) (3 * (length / block - 1)));
}

// Session state through the built VST3 and LV2, loaded by JUCE's hosting classes.
// Cases:
//  - every host parameter set by the host to an awkward value survives get-state on one
//    instance and set-state on another bit for bit, and the second instance's own state reads
//    back the same values in a third;
//  - a block that is not the plug-in's state leaves the instance's values unchanged.
// Values travel between host and plug-in with the audio (LV2 patch messages) and through the
// plug-in's housekeeping timer, so each step processes a few blocks and lets the message loop
// run before the host's view of the parameters is read.
#include "HostPluginLoader.h"

#include <gtest/gtest.h>

#include <bit>

using HostPluginLoader::Format, HostPluginLoader::parameterBits, HostPluginLoader::stateOf;

namespace
{
    constexpr int numHostParameters = 139;
    constexpr int paramMapVersion = 2;

    struct HostState : ::testing::TestWithParam<Format> {};

    /** Values that stress a decimal round trip; the map version stays current so that loading
        maps nothing. */
    float awkward (int index)
    {
        static const float values[] = { 0.1f, 1.0e-7f, 0.99999994f, 0.33333334f, 1.0f, 0.123456789f, 0.7f, 2.0e-38f, 0.0f, 0.5f, 0.999f };
        return index == paramMapVersion ? 0.003f : values[(size_t) index % std::size (values)];
    }

    /** Lets values settle between host and plug-in: blocks, then the message loop. */
    void settle (juce::AudioPluginInstance& p)
    {
        const juce::AudioBuffer<float> silence (std::max (p.getTotalNumInputChannels(), 2), 512);
        HostPluginLoader::process (p, silence, 2);
        juce::MessageManager::getInstance()->runDispatchLoopUntil (150);
        HostPluginLoader::process (p, silence, 1);
    }

    void expectSameParameters (juce::AudioPluginInstance& p, const std::vector<std::uint32_t>& expected)
    {
        const auto bits = parameterBits (p, numHostParameters);
        for (int i = 0; i < numHostParameters; ++i)
            EXPECT_EQ (bits[(size_t) i], expected[(size_t) i]) << p.getParameters()[i]->getName (100) << ": "
                                                              << std::bit_cast<float> (bits[(size_t) i]) << " instead of "
                                                              << std::bit_cast<float> (expected[(size_t) i]);
    }

    std::unique_ptr<juce::AudioPluginInstance> loadPrepared (HostPluginLoader::Format format)
    {
        auto p = HostPluginLoader::load (format);
        if (p != nullptr)
        {
            p->prepareToPlay (48000.0, 512);
            settle (*p);
        }
        return p;
    }
}

TEST_P (HostState, EveryHostParameterSurvivesARoundTrip)
{
    auto first = loadPrepared (GetParam());
    ASSERT_NE (first, nullptr) << HostPluginLoader::nameOf (GetParam());
    for (int i = 0; i < numHostParameters; ++i)
        HostPluginLoader::setParameter (*first, i, awkward (i));
    settle (*first);
    const auto expected = parameterBits (*first, numHostParameters);
    const auto block = stateOf (*first);
    ASSERT_GT (block.getSize(), 1000u);

    auto second = loadPrepared (GetParam());
    ASSERT_NE (second, nullptr);
    second->setStateInformation (block.getData(), (int) block.getSize());
    settle (*second);
    expectSameParameters (*second, expected);

    auto third = loadPrepared (GetParam());
    ASSERT_NE (third, nullptr);
    const auto again = stateOf (*second);
    third->setStateInformation (again.getData(), (int) again.getSize());
    settle (*third);
    expectSameParameters (*third, expected);
}

TEST_P (HostState, ForeignBlocksChangeNothing)
{
    auto plugin = loadPrepared (GetParam());
    ASSERT_NE (plugin, nullptr);
    for (int i = 0; i < numHostParameters; ++i)
        HostPluginLoader::setParameter (*plugin, i, awkward (i + 3));
    settle (*plugin);
    const auto before = parameterBits (*plugin, numHostParameters);

    juce::MemoryBlock noise (4096);
    juce::Random (5).fillBitsRandomly (noise.getData(), noise.getSize());
    juce::MemoryBlock foreign;
    juce::AudioProcessor::copyXmlToBinary (juce::XmlElement ("SOMEOTHERPLUGIN"), foreign);
    for (const auto& block : { noise, foreign })
    {
        plugin->setStateInformation (block.getData(), (int) block.getSize());
        settle (*plugin);
        expectSameParameters (*plugin, before);
    }
}

INSTANTIATE_TEST_SUITE_P (Formats, HostState, ::testing::Values (Format::vst3, Format::lv2),
                          [] (const auto& info) { return std::string (HostPluginLoader::nameOf (info.param)); });

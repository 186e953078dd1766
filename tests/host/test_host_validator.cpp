// What a strict plug-in validator does to the built VST3 and LV2, through JUCE's hosting classes:
// - bus layouts: each one the plug-in claims is accepted and processes; each one it refuses is
//   refused cleanly and leaves the instance working; the VST3 offers Ambisonic orders 1 to 3;
// - every output layout it accepts, at 44.1, 48 and 96 kHz, with blocks of 1 to 8192 samples
//   (and blocks shorter than prepared): finite output with sound in it, and once running no
//   allocation or blocking lock on the audio thread;
// - parameters fuzzed from two threads while the audio thread processes, counted the same way;
// - programs: every one named, and each one's state restores bit for bit on a new instance;
// - state: save, reset, restore gives the same parameters bit for bit and the same audio;
// - bypass and Audio Thru switched mid-stream without a click beyond the crossfade.
#include "HostPluginLoader.h"
#include "support/AllocationCounter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using HostPluginLoader::Format, HostPluginLoader::parameterBits, HostPluginLoader::stateOf;
using Set = juce::AudioChannelSet;

namespace
{
    struct HostValidator : ::testing::TestWithParam<Format> {};

    juce::AudioBuffer<float> noise (int numChannels, int numSamples, int seed)
    {
        juce::AudioBuffer<float> b (numChannels, numSamples);
        juce::Random random (seed);
        for (int ch = 0; ch < numChannels; ++ch)
            for (int i = 0; i < numSamples; ++i)
                b.setSample (ch, i, 0.3f * (random.nextFloat() * 2.0f - 1.0f));
        return b;
    }

    /** What hosts ask for: the common speaker sets, Ambisonic orders, bare channel counts. */
    const std::vector<Set>& candidateSets()
    {
        static const std::vector<Set> sets { Set::mono(), Set::stereo(), Set::createLCR(), Set::quadraphonic(), Set::create5point0(),
                                             Set::create5point1(), Set::create6point1(), Set::create7point0(), Set::create7point1(),
                                             Set::create7point0point2(), Set::create7point1point2(), Set::create7point1point4(),
                                             Set::ambisonic (1), Set::ambisonic (3), Set::discreteChannels (10), Set::discreteChannels (16) };
        return sets;
    }

    juce::AudioProcessor::BusesLayout layoutOf (const Set& in, const Set& out)
    {
        juce::AudioProcessor::BusesLayout layout;
        layout.inputBuses.add (in);
        layout.outputBuses.add (out);
        return layout;
    }

    std::atomic<int> blocksRun { 0 };

    /** Blocking locks an audio thread may have taken in `blocks` blocks: JUCE's wrappers' own.
        Both take the processor's callback lock once a block (nothing but a host's suspension of
        processing ever holds it elsewhere, and the plug-in never does, so it never waits); the
        LV2 wrapper also writes the host's enabled port into the bypass parameter every block,
        which locks that parameter's listener list. */
    std::size_t allowedLocks (Format format, int blocks) { return (std::size_t) (format == Format::lv2 ? 2 * blocks : blocks); }

    /** Runs `total` samples of noise through the plug-in in blocks cycling through `sizes`,
        each filled to the widest bus; the whole output, channel by channel. */
    juce::AudioBuffer<float> run (juce::AudioPluginInstance& p, int total, std::initializer_list<int> sizes, int seed = 1)
    {
        const int channels = std::max (p.getTotalNumInputChannels(), p.getTotalNumOutputChannels());
        const auto in = noise (channels, total, seed);
        juce::AudioBuffer<float> out (channels, total), block (channels, *std::max_element (sizes.begin(), sizes.end()));
        juce::MidiBuffer midi;
        auto size = sizes.begin();
        for (int pos = 0; pos < total; pos += block.getNumSamples())
        {
            block.setSize (channels, std::min (*size, total - pos), false, false, true);
            for (int ch = 0; ch < channels; ++ch)
                if (ch < p.getTotalNumInputChannels())
                    block.copyFrom (ch, 0, in, ch, pos, block.getNumSamples());
                else
                    block.clear (ch, 0, block.getNumSamples());
            p.processBlock (block, midi);
            ++blocksRun;
            for (int ch = 0; ch < channels; ++ch)
                out.copyFrom (ch, pos, block, ch, 0, block.getNumSamples());
            if (++size == sizes.end())
                size = sizes.begin();
        }
        return out;
    }

    bool allFinite (const juce::AudioBuffer<float>& b)
    {
        for (int ch = 0; ch < b.getNumChannels(); ++ch)
            for (int i = 0; i < b.getNumSamples(); ++i)
                if (! std::isfinite (b.getSample (ch, i)))
                    return false;
        return true;
    }

    /** Values travel between host and plug-in with the audio (LV2), the plug-in's timer and
        the VST3 controller's updates: blocks and message-loop turns until `done` holds, for at
        most two seconds (a loaded machine can take long). */
    template <typename Done>
    bool settleUntil (std::initializer_list<juce::AudioPluginInstance*> plugins, Done done)
    {
        for (int i = 0; i < 100; ++i)
        {
            for (auto* p : plugins)
                run (*p, 512, { 512 });
            juce::MessageManager::getInstance()->runDispatchLoopUntil (20);
            if (done())
                return true;
        }
        return false;
    }

    /** Lets a host's changes (which travel with the audio) reach the plug-in. */
    void deliver (juce::AudioPluginInstance& p)
    {
        run (p, 1024, { 512 });
        juce::MessageManager::getInstance()->runDispatchLoopUntil (20);
    }

    /** Loads a state; true when the plug-in then gives back exactly that state. */
    bool restores (juce::AudioPluginInstance& p, const juce::MemoryBlock& state)
    {
        p.setStateInformation (state.getData(), (int) state.getSize());
        return stateOf (p) == state;
    }
}

TEST_P (HostValidator, ClaimedLayoutsProcessRefusedOnesAreRefusedCleanly)
{
    auto plugin = HostPluginLoader::load (GetParam());
    ASSERT_NE (plugin, nullptr);
    EXPECT_TRUE (plugin->checkBusesLayoutSupported (plugin->getBusesLayout()));
    // A VST3 host picks Ambisonic output by the bus's speaker arrangement (the LV2's ports are fixed).
    for (int order = 1; order <= 3 && GetParam() == Format::vst3; ++order)
    {
        EXPECT_TRUE (plugin->checkBusesLayoutSupported (layoutOf (Set::stereo(), Set::ambisonic (order)))) << "order " << order;
    }
    for (const auto& in : candidateSets())
        for (const auto& out : candidateSets())
        {
            const auto wanted = layoutOf (in, out);
            const auto before = plugin->getBusesLayout();
            const bool claimed = plugin->checkBusesLayoutSupported (wanted);
            EXPECT_EQ (plugin->setBusesLayout (wanted), claimed) << in.getDescription() << " to " << out.getDescription();
            EXPECT_TRUE (plugin->getBusesLayout() == (claimed ? wanted : before));
            plugin->prepareToPlay (48000.0, 256);
            const auto output = run (*plugin, 2048, { 256 });
            EXPECT_TRUE (allFinite (output)) << in.getDescription() << " to " << out.getDescription();
            plugin->releaseResources();
        }
}

TEST_P (HostValidator, EveryLayoutRateAndBlockSizeProcessesWithoutAllocatingOrLocking)
{
    // The layout it starts in (the LV2's ports are fixed) and every other one it claims.
    std::vector<juce::AudioProcessor::BusesLayout> layouts;
    {
        auto probe = HostPluginLoader::load (GetParam());
        ASSERT_NE (probe, nullptr);
        layouts.push_back (probe->getBusesLayout());
        for (const auto& out : candidateSets())
            if (const auto layout = layoutOf (Set::stereo(), out); ! (layout == layouts[0]) && probe->checkBusesLayoutSupported (layout))
                layouts.push_back (layout);
    }
    for (const auto& layout : layouts)
        for (const double rate : { 44100.0, 48000.0, 96000.0 })
            for (const int block : { 1, 64, 480, 2048, 8192 })
            {
                auto plugin = HostPluginLoader::load (GetParam(), rate, block);
                ASSERT_NE (plugin, nullptr);
                ASSERT_TRUE (plugin->setBusesLayout (layout));
                SCOPED_TRACE (layout.getMainOutputChannelSet().getDescription() + " at " + juce::String (rate) + " Hz, blocks of " + juce::String (block));
                plugin->prepareToPlay (rate, block);
                const int total = block == 1 ? 4096 : std::max (4 * block, 8192);
                // Once each block size has been seen, nothing is allocated or waited for.
                run (*plugin, total, { block, std::max (1, block / 3) }, 1);
                blocksRun = 0;
                AllocationCounter::ScopedAllocationCheck check (AllocationCounter::Callers::outsideThisProgram);
                const auto output = run (*plugin, total, { block, std::max (1, block / 3) }, 2);
                EXPECT_EQ (check.allocations(), 0u);
                EXPECT_LE (check.blockingLocks(), allowedLocks (GetParam(), blocksRun));
                EXPECT_TRUE (allFinite (output));
                EXPECT_GT (output.getRMSLevel (0, total / 2, total / 2), 1.0e-3);
                plugin->releaseResources();
            }
}

TEST_P (HostValidator, ParametersFuzzedFromTwoThreadsWhileAudioRuns)
{
    auto plugin = HostPluginLoader::load (GetParam());
    ASSERT_NE (plugin, nullptr);
    plugin->prepareToPlay (48000.0, 256);

    std::atomic<bool> started { false }, done { false };
    std::atomic<int> changes { 0 };
    auto fuzz = [&] (int seed)
    {
        juce::Random random (seed);
        const auto& params = plugin->getParameters();
        while (! done)
        {
            auto* p = params[random.nextInt (params.size())];
            p->beginChangeGesture();
            p->setValueNotifyingHost (random.nextFloat());
            p->endChangeGesture();
            changes += started ? 1 : 0;
            std::this_thread::yield();
        }
    };
    std::size_t allocations = 0, locks = 0;
    int blocks = 0;
    bool finite = true;
    std::thread first (fuzz, 1), second (fuzz, 2);
    std::thread audio ([&]
    {
        // A new audio thread's first blocks, with the fuzzers' changes arriving, set up what the
        // thread needs once: the plug-in's thread-local storage, which the loader allocates.
        run (*plugin, 8192, { 256, 100 });
        blocksRun = 0;
        started = true;
        AllocationCounter::ScopedAllocationCheck check (AllocationCounter::Callers::outsideThisProgram);
        for (int i = 0; i < 40; ++i)
            finite = allFinite (run (*plugin, 4096, { 256, 100 }, i)) && finite;
        allocations = check.allocations();
        locks = check.blockingLocks();
        blocks = blocksRun;
        done = true;
    });
    while (! done)
        juce::MessageManager::getInstance()->runDispatchLoopUntil (20);
    audio.join();
    first.join();
    second.join();
    EXPECT_EQ (allocations, 0u);
    EXPECT_TRUE (finite);
    // JUCE's parameter objects lock their listener lists when a host's change reaches them on
    // the audio thread (the VST3's and LV2's changes arrive with the audio): that is theirs, a
    // few per change; beyond it the plug-in takes none.
    EXPECT_LE (locks, allowedLocks (GetParam(), blocks) + 4u * (std::size_t) changes.load()) << changes.load() << " changes";
    plugin->releaseResources();
}

TEST_P (HostValidator, EveryProgramIsNamedAndItsStateRestores)
{
    auto plugin = HostPluginLoader::load (GetParam());
    auto other = HostPluginLoader::load (GetParam());
    ASSERT_NE (plugin, nullptr);
    ASSERT_NE (other, nullptr);
    plugin->prepareToPlay (48000.0, 512);
    other->prepareToPlay (48000.0, 512);
    ASSERT_GT (plugin->getNumPrograms(), 1);
    for (int program = 0; program < plugin->getNumPrograms(); ++program)
    {
        SCOPED_TRACE (program);
        EXPECT_TRUE (plugin->getProgramName (program).isNotEmpty());
        plugin->setCurrentProgram (program);
        deliver (*plugin);
        EXPECT_TRUE (restores (*other, stateOf (*plugin)));
    }
}

TEST_P (HostValidator, SaveResetRestoreGivesTheSameParametersAndAudio)
{
    auto plugin = HostPluginLoader::load (GetParam());
    ASSERT_NE (plugin, nullptr);
    plugin->prepareToPlay (48000.0, 512);
    // Settings that shape the sound, away from their defaults; the rest as they start. The
    // host's values reach the plug-in with the audio, so the state is read once it has changed
    // and then holds still.
    const auto initial = stateOf (*plugin);
    const char* const shaping[] = { "Divergence", "Diffusion", "Fade", "Dialog Isolate", "Space", "Trim L", "LFE", "Back Boost" };
    auto setShaping = [&] (int seed)
    {
        juce::Random random (seed);
        for (const char* name : shaping)
            if (const int i = HostPluginLoader::indexOf (*plugin, name); i >= 0)
                HostPluginLoader::setParameter (*plugin, i, 0.2f + 0.6f * random.nextFloat());
    };
    setShaping (9);
    juce::MemoryBlock saved;
    ASSERT_TRUE (settleUntil ({ plugin.get() }, [&] { return stateOf (*plugin) != initial; }));
    ASSERT_TRUE (settleUntil ({ plugin.get() }, [&] { return std::exchange (saved, stateOf (*plugin)) == saved; }));
    std::vector<std::uint32_t> bits;
    ASSERT_TRUE (settleUntil ({ plugin.get() }, [&] { return std::exchange (bits, parameterBits (*plugin)) == bits; }));

    setShaping (10);  // the reset
    EXPECT_TRUE (settleUntil ({ plugin.get() }, [&] { return stateOf (*plugin) != saved; }));
    EXPECT_TRUE (restores (*plugin, saved));
    // The host's view of every parameter follows, bit for bit.
    EXPECT_TRUE (settleUntil ({ plugin.get() }, [&] { return parameterBits (*plugin) == bits; }));

    // The same audio from the restored instance as from a new one given the same state.
    auto fresh = HostPluginLoader::load (GetParam());
    ASSERT_NE (fresh, nullptr);
    fresh->prepareToPlay (48000.0, 512);
    EXPECT_TRUE (restores (*fresh, saved));
    plugin->releaseResources();
    plugin->prepareToPlay (48000.0, 512);
    fresh->releaseResources();
    fresh->prepareToPlay (48000.0, 512);
    const auto a = run (*plugin, 24000, { 512 }, 4), b = run (*fresh, 24000, { 512 }, 4);
    // Alike to within the denormal guard noise (1e-20), which instances share by design.
    for (int ch = 0; ch < a.getNumChannels(); ++ch)
        for (int i = 0; i < a.getNumSamples(); ++i)
            ASSERT_NEAR (a.getSample (ch, i), b.getSample (ch, i), 1.0e-12f) << "channel " << ch << ", sample " << i;
    EXPECT_GT (a.getRMSLevel (0, 12000, 12000), 1.0e-4);
}

TEST_P (HostValidator, BypassAndAudioThruSwitchWithoutAClick)
{
    auto plugin = HostPluginLoader::load (GetParam());
    ASSERT_NE (plugin, nullptr);
    plugin->prepareToPlay (48000.0, 480);
    const int channels = std::max (2, plugin->getTotalNumOutputChannels());
    juce::AudioBuffer<float> block (channels, 480);
    juce::MidiBuffer midi;
    // A 100 Hz sine steps at most 0.0065 a sample; a click steps by a sizeable part of 0.5.
    long sample = 0;
    auto largestStep = [&] (int blocks)
    {
        float step = 0.0f;
        std::vector<float> last ((size_t) channels, 0.0f);
        for (int b = 0; b < blocks; ++b)
        {
            for (int i = 0; i < 480; ++i, ++sample)
            {
                const float x = 0.5f * (float) std::sin (2.0 * juce::MathConstants<double>::pi * 100.0 * (double) sample / 48000.0);
                block.setSample (0, i, x);
                block.setSample (1, i, 0.6f * x);
            }
            for (int ch = 2; ch < channels; ++ch)
                block.clear (ch, 0, 480);
            plugin->processBlock (block, midi);
            for (int ch = 0; ch < channels; ++ch)
                for (int i = 0; i < 480; ++i)
                {
                    if (b > 0 || i > 0)
                        step = std::max (step, std::abs (block.getSample (ch, i) - (i > 0 ? block.getSample (ch, i - 1) : last[(size_t) ch])));
                    if (i == 479)
                        last[(size_t) ch] = block.getSample (ch, i);
                }
        }
        return step;
    };
    largestStep (20);
    const float steady = largestStep (10);
    for (const char* name : { "Bypass", "Audio Thru" })
        for (const float value : { 1.0f, 0.0f })
        {
            SCOPED_TRACE (juce::String (name) + " to " + juce::String (value));
            HostPluginLoader::setParameter (*plugin, HostPluginLoader::indexOf (*plugin, name), value);
            EXPECT_LT (largestStep (8), 2.0f * steady + 0.01f);
            largestStep (10);
        }
}

INSTANTIATE_TEST_SUITE_P (Formats, HostValidator, ::testing::Values (Format::vst3, Format::lv2),
                          [] (const auto& info) { return std::string (HostPluginLoader::nameOf (info.param)); });

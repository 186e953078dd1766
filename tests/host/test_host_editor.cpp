// The built plug-ins' editors and windows, as a host meets them:
// - each format's editor in a real window (Xvfb, Mesa): frames render and the bitmap-font title
//   appears where it was drawn, read back from the window's pixels;
// - as a strict validator opens it: on an instance never prepared (no sample rate yet), on one
//   whose processing was released, again and again while audio runs, and with the instance
//   destroyed right after its editor, with no message-loop turn between;
// - with no display at all, the VST3 and LV2 are created, prepared, automated (every
//   parameter, the map version through every value), switched through programs, saved,
//   restored and destroyed without a crash (a window opened without a display would end it).
#include "HostPluginLoader.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "XWindowGrab.h"

using HostPluginLoader::Format;

namespace
{
    bool haveDisplay() { return juce::SystemStats::getEnvironmentVariable ("DISPLAY", {}).isNotEmpty(); }

    /** Pixels in an area close to the title's colour (the editor's accent). */
    int accentPixels (const juce::Image& image, juce::Rectangle<int> area)
    {
        return XWindowGrab::countPixels (image, area, [] (juce::Colour c) { return c.getBlue() > 150 && c.getGreen() > 120 && c.getRed() < 130; });
    }

    void pump (int ms) { juce::MessageManager::getInstance()->runDispatchLoopUntil (ms); }

    std::unique_ptr<juce::AudioProcessorEditor> openEditor (juce::AudioPluginInstance& plugin)
    {
        std::unique_ptr<juce::AudioProcessorEditor> editor (plugin.createEditorIfNeeded());
        if (editor != nullptr)
        {
            editor->setTopLeftPosition (0, 0);
            editor->addToDesktop (0);
            editor->setVisible (true);
        }
        return editor;
    }

    struct HostEditor : ::testing::TestWithParam<Format>
    {
        void SetUp() override
        {
            if (! haveDisplay())
                GTEST_SKIP() << "needs an X display (the test command runs under Xvfb)";
        }
    };

    /** Runs silence through the plug-in on a thread of its own, as a host's audio thread, in
        blocks of the prepared size (JUCE's VST3 wrapper overruns its buffers on larger ones). */
    struct AudioThread
    {
        AudioThread (juce::AudioPluginInstance& p, int blockSize)
            : thread ([this, &p, blockSize]
              {
                  juce::AudioBuffer<float> in (2, blockSize);
                  in.clear();
                  while (running)
                      HostPluginLoader::process (p, in, 1);
              })
        {
        }
        ~AudioThread() { stop(); }
        void stop()
        {
            running = false;
            if (thread.joinable())
                thread.join();
        }
        std::atomic<bool> running { true };
        std::thread thread;
    };
}

TEST_P (HostEditor, RendersItsBitmapTextInARealWindow)
{
    auto plugin = HostPluginLoader::load (GetParam());
    ASSERT_NE (plugin, nullptr);
    auto editor = openEditor (*plugin);
    ASSERT_NE (editor, nullptr);
    ASSERT_GT (editor->getWidth(), 600);

    // The title "ORRIN UPMIX" sits at the header's left (x 10..160, y 9..39) in the accent
    // colour; just above it and at the empty right of the status line there is none. Software
    // GL on a loaded machine may take a while for the first frames: up to 20 s.
    juce::Image pixels;
    for (int wait = 0; wait < 80 && accentPixels (pixels, { 10, 9, 150, 30 }) <= 60; ++wait)
    {
        pump (250);
        pixels = XWindowGrab::grab (*editor);
        ASSERT_TRUE (pixels.isValid());
    }
    EXPECT_GT (accentPixels (pixels, { 10, 9, 150, 30 }), 60);
    EXPECT_EQ (accentPixels (pixels, { 10, 0, 150, 6 }), 0);
    EXPECT_EQ (accentPixels (pixels, { 700, editor->getHeight() - 20, 300, 14 }), 0);
    XWindowGrab::writePng (pixels, juce::File (ORRIN_TEST_SHOT_DIR).getChildFile (juce::String ("host-editor-") + HostPluginLoader::nameOf (GetParam()) + ".png"));
}

TEST_P (HostEditor, OpensUnpreparedReleasedWhileAudioRunsAndBeforeDestruction)
{
    // Never prepared: the host has not given a sample rate yet.
    auto plugin = HostPluginLoader::load (GetParam(), 0.0, 0);
    ASSERT_NE (plugin, nullptr);
    for (int i = 0; i < 2; ++i)
    {
        ASSERT_NE (openEditor (*plugin), nullptr);
        pump (200);
    }

    plugin->prepareToPlay (48000.0, 512);
    {
        AudioThread audio (*plugin, 512);
        for (int i = 0; i < 6; ++i)
        {
            ASSERT_NE (openEditor (*plugin), nullptr);
            pump (150 + 50 * (i % 3));
        }
    }
    plugin->releaseResources();
    ASSERT_NE (openEditor (*plugin), nullptr);
    pump (200);

    // Destroyed right after its editor, while the editor's first frames may still be under way.
    plugin->prepareToPlay (44100.0, 256);
    auto editor = openEditor (*plugin);
    pump (300);
    {
        AudioThread audio (*plugin, 256);
        pump (100);
        audio.stop();
        editor.reset();
        plugin.reset();
    }
    pump (100);
}

INSTANTIATE_TEST_SUITE_P (Formats, HostEditor, ::testing::Values (Format::vst3, Format::lv2),
                          [] (const auto& info) { return std::string (HostPluginLoader::nameOf (info.param)); });

class HostNoDisplay : public ::testing::TestWithParam<Format> {};

TEST_P (HostNoDisplay, AutomationProgramsAndStateOpenNoWindow)
{
    // Each test runs in a process of its own (CTest), so no display was opened before this.
    unsetenv ("DISPLAY");
    auto plugin = HostPluginLoader::load (GetParam());
    ASSERT_NE (plugin, nullptr);
    plugin->prepareToPlay (48000.0, 256);
    juce::AudioBuffer<float> in (2, 256);
    in.clear();

    const int mapVersion = HostPluginLoader::indexOf (*plugin, "Mapped Param Version");
    ASSERT_GE (mapVersion, 0);
    juce::Random random (17);
    const auto& params = plugin->getParameters();
    for (int round = 0; round < 3; ++round)
    {
        for (auto* p : params)
            p->setValueNotifyingHost (random.nextFloat());
        for (int v = 0; v <= 1000; v += 37)
            params[mapVersion]->setValueNotifyingHost ((float) v / 1000.0f);
        for (int program = 0; program < plugin->getNumPrograms(); program += 5)
            plugin->setCurrentProgram (program);
        HostPluginLoader::process (*plugin, in, 4);
        juce::MemoryBlock state;
        plugin->getStateInformation (state);
        plugin->setStateInformation (state.getData(), (int) state.getSize());
        pump (50);
    }
    EXPECT_TRUE (juce::SystemStats::getEnvironmentVariable ("DISPLAY", {}).isEmpty());
    plugin->releaseResources();
}

INSTANTIATE_TEST_SUITE_P (Formats, HostNoDisplay, ::testing::Values (Format::vst3, Format::lv2),
                          [] (const auto& info) { return juce::String (HostPluginLoader::nameOf (info.param)).toStdString(); });

// The built plug-ins' editors and windows, as a host meets them:
// - the VST3's editor in a real window (Xvfb, Mesa): frames render and the bitmap-font title
//   appears where it was drawn, read back from the window's pixels;
// - its editor opened and closed again and again while audio runs;
// - with no display at all, the VST3 and LV2 are created, prepared, automated (every
//   parameter, the map version through every value), switched through programs, saved,
//   restored and destroyed without a crash (a window opened without a display would end it).
#include "HostPluginLoader.h"

#include <gtest/gtest.h>

#include "XWindowGrab.h"

using HostPluginLoader::Format;

namespace
{
    bool haveDisplay() { return juce::SystemStats::getEnvironmentVariable ("DISPLAY", {}).isNotEmpty(); }

    /** Pixels in an area close to the title's colour (the editor's accent). */
    int accentPixels (const juce::Image& image, juce::Rectangle<int> area)
    {
        int n = 0;
        for (int y = area.getY(); y < area.getBottom(); ++y)
            for (int x = area.getX(); x < area.getRight(); ++x)
            {
                const auto c = image.getPixelAt (x, y);
                n += c.getBlue() > 150 && c.getGreen() > 120 && c.getRed() < 130 ? 1 : 0;
            }
        return n;
    }

    void pump (int ms) { juce::MessageManager::getInstance()->runDispatchLoopUntil (ms); }
}

TEST (HostEditor, Vst3EditorRendersItsBitmapTextInARealWindow)
{
    if (! haveDisplay())
        GTEST_SKIP() << "needs an X display (the test command runs under Xvfb)";
    auto plugin = HostPluginLoader::load (Format::vst3);
    ASSERT_NE (plugin, nullptr);
    std::unique_ptr<juce::AudioProcessorEditor> editor (plugin->createEditorIfNeeded());
    ASSERT_NE (editor, nullptr);
    ASSERT_GT (editor->getWidth(), 600);
    editor->setTopLeftPosition (0, 0);
    editor->addToDesktop (0);
    editor->setVisible (true);
    pump (2500);

    const auto pixels = XWindowGrab::grab (*editor);
    ASSERT_TRUE (pixels.isValid());
    // The title "ORRIN UPMIX" sits at the header's left (x 10..160, y 9..39) in the accent
    // colour; just above it and at the empty right of the status line there is none.
    EXPECT_GT (accentPixels (pixels, { 10, 9, 150, 30 }), 60);
    EXPECT_EQ (accentPixels (pixels, { 10, 0, 150, 6 }), 0);
    EXPECT_EQ (accentPixels (pixels, { 700, editor->getHeight() - 20, 300, 14 }), 0);
    XWindowGrab::writePng (pixels, juce::File (ORRIN_TEST_SHOT_DIR).getChildFile ("host-editor.png"));
    editor.reset();
}

TEST (HostEditor, Vst3EditorOpensAndClosesAgainAndAgainWhileAudioRuns)
{
    if (! haveDisplay())
        GTEST_SKIP() << "needs an X display (the test command runs under Xvfb)";
    auto plugin = HostPluginLoader::load (Format::vst3);
    ASSERT_NE (plugin, nullptr);
    plugin->prepareToPlay (48000.0, 512);
    std::atomic<bool> running { true };
    std::thread audio ([&]
    {
        juce::AudioBuffer<float> in (2, 512);
        in.clear();
        while (running)
            HostPluginLoader::process (*plugin, in, 1);
    });
    for (int i = 0; i < 6; ++i)
    {
        std::unique_ptr<juce::AudioProcessorEditor> editor (plugin->createEditorIfNeeded());
        ASSERT_NE (editor, nullptr);
        editor->addToDesktop (0);
        editor->setVisible (true);
        pump (250);
    }
    running = false;
    audio.join();
    plugin->releaseResources();
}

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

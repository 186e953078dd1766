// The editor's toolkit and binding on real components with synthetic mouse events:
// - drag: 250 px upward covers the range, the fine modifier a tenth of that, the larger axis
//   wins (horizontal on a tie), wrap past either end, a reset drag resets and then stays;
// - film-strip frames (unspread 1001 frames, spread 10 frames);
// - text filters (decimal, integer, maximum length);
// - glyph tables: the shipped fonts load, garbage is refused; the zero-size projection;
// - the frame in a real window: a render that cannot take the lock draws nothing and does not
//   wait; closing the window deletes every texture with the context, and a new context uploads
//   them again (the title's bitmap text is back in the pixels); the editor opened and closed
//   again and again while audio runs (the sanitizer build runs this under ThreadSanitizer:
//   scripts/sanitize-editor);
// - binding through UpmixerEditor: one host gesture and one undo step per drag, 9999 never
//   reaches the processor, announcements ("Name: value", name only, nothing);
// - processor notices (a newer session) shown inside the editor, never in a window.
#include "editor/KaJuceDragControl.h"
#include "editor/KaJuceOglFont.h"
#include "editor/KaJuceTextEdit.h"
#include "editor/KaOglComponent.h"
#include "editor/UpmixerEditor.h"
#include "processor/UpmixerParameters.h"
#include "processor/UpmixerProcessor.h"

#include <BinaryData.h>
#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>

#include "EditorTestSupport.h"
#include "XWindowGrab.h"

using namespace UpmixerParam;

namespace
{
    /** Drags from (0, 0) by (dx, dy), a pixel a step along the larger axis. */
    void drag (juce::Component& c, float dx, float dy, juce::ModifierKeys mods = {})
    {
        EditorTestSupport::drag (c, {}, { dx, dy }, (int) juce::jmax (std::abs (dx), std::abs (dy)), mods);
    }
}

TEST (EditorToolkit, DragSensitivityFineFactorAxesWrapAndReset)
{
    KaJuceDragControl c ("drag");
    c.setFilmStrip (juce::Image (juce::Image::ARGB, 4, 4 * 101, true), 101, true);

    drag (c, 0.0f, -250.0f);
    EXPECT_NEAR (c.getValue(), 1.0f, 1e-4f);
    c.setValue (0.0f, false);
    drag (c, 0.0f, -250.0f, juce::ModifierKeys::shiftModifier);
    EXPECT_NEAR (c.getValue(), 0.1f, 1e-4f);

    c.setValue (0.5f, false);
    drag (c, 20.0f, 10.0f);  // mostly right: +20 px
    EXPECT_NEAR (c.getValue(), 0.58f, 1e-4f);
    drag (c, -10.0f, -10.0f);  // a tie: horizontal, -10 px
    EXPECT_NEAR (c.getValue(), 0.54f, 1e-4f);

    // A clamp at the end is not undone by moving back.
    c.setValue (0.9f, false);
    drag (c, 100.0f, 0.0f);
    drag (c, -25.0f, 0.0f);
    EXPECT_NEAR (c.getValue(), 0.9f, 1e-4f);

    c.setWrap (true);
    c.setValue (0.99f, false);
    drag (c, 5.0f, 0.0f);
    EXPECT_LT (c.getValue(), 0.05f);
    c.setValue (0.0f, true);
    c.setValue (-0.01f, true);
    EXPECT_EQ (c.getValue(), 1.0f);

    // Reset modifier: back to the default, then the drag does nothing.
    c.setWrap (false);
    c.setDefaultValue (0.25f);
    c.setValue (0.7f, false);
    drag (c, 0.0f, -100.0f, juce::ModifierKeys::ctrlModifier);
    EXPECT_EQ (c.getValue(), 0.25f);

    // Under Pro Tools reset is Alt and fine adjustment Ctrl.
    KaJuceControl::setProToolsModifiers (true);
    c.setValue (0.0f, false);
    drag (c, 0.0f, -250.0f, juce::ModifierKeys::ctrlModifier);
    KaJuceControl::setProToolsModifiers (false);
    EXPECT_NEAR (c.getValue(), 0.1f, 1e-4f);
}

TEST (EditorToolkit, FilmStripFramesAndTextFilters)
{
    KaJuceDragControl c ("strip");
    c.setFilmStrip (juce::Image (juce::Image::ARGB, 2, 2 * 1001, true), 1001, false);
    EXPECT_EQ (c.frameForValue (0.5f), 500);
    EXPECT_EQ (c.frameForValue (1.0f), 1000);
    c.setFilmStrip (juce::Image (juce::Image::ARGB, 2, 20, true), 10, true);
    EXPECT_EQ (c.frameForValue (1.0f), 9);
    c.setFilmStrip (juce::Image (juce::Image::ARGB, 2, 20, true), 10, false);
    c.setValue (1.0f, true);
    EXPECT_NEAR (c.getValue(), 0.009f, 1e-6f);  // unspread: one thousandth per frame

    using F = KaJuceTextEdit::Filter;
    EXPECT_EQ (KaJuceTextEdit::filtered ("-12a.5", F::decimal, 0), "-12.5");
    EXPECT_EQ (KaJuceTextEdit::filtered ("-12a.5", F::integer, 0), "-125");
    EXPECT_EQ (KaJuceTextEdit::filtered ("Film Mix", F::none, 4), "Film");
}

TEST (EditorFrame, FontsProjectionAndTextures)
{
    for (int size : KaOglComponent::fontSizes)
    {
        int bytes = 0;
        const char* data = BinaryData::getNamedResource (("FONT_FontText" + juce::String (size) + "_glyphs").toRawUTF8(), bytes);
        ASSERT_NE (data, nullptr) << size;
        const auto table = KaJuceOglFont::parseTable (juce::String::fromUTF8 (data, bytes));
        ASSERT_TRUE (table.has_value()) << size;
        EXPECT_EQ (table->size, size);
        // Latin-1 is there: preset names with accents draw.
        EXPECT_TRUE (std::any_of (table->glyphs.begin(), table->glyphs.end(), [] (const auto& g) { return g.code == 0xe9; }));
    }
    EXPECT_FALSE (KaJuceOglFont::parseTable ("size 10 height 12 ascent 10 image 8 8\n65 0 0 20 20 0 0 7").has_value());  // outside
    EXPECT_FALSE (KaJuceOglFont::parseTable ("not a table").has_value());

    // A zero-size component projects as the identity, not by a division by zero (the sized
    // projection shows in the window test's pixels).
    const auto identity = KaOglComponent::projectionFor (0, 300);
    EXPECT_EQ (identity[0], 1.0f);
    EXPECT_EQ (identity[12], 0.0f);

    KaOglComponentTexture empty (nullptr, juce::Image());
    EXPECT_FALSE (empty.bind());  // nothing is generated for an empty image
    EXPECT_EQ (empty.getTextureName(), 0u);
}

TEST (EditorFrame, LockedRenderSkipsAndTexturesFollowTheContext)
{
    if (juce::SystemStats::getEnvironmentVariable ("DISPLAY", {}).isEmpty())
        GTEST_SKIP() << "needs an X display (the test command runs under Xvfb)";
    UpmixerProcessor processor;
    processor.prepareToPlay (48000.0, 512);
    UpmixerEditor editor (processor);
    auto& frame = editor.getOglComponent();
    auto pump = [] (int ms) { juce::MessageManager::getInstance()->runDispatchLoopUntil (ms); };
    auto titlePixels = [&editor]
    {
        return XWindowGrab::countPixels (XWindowGrab::grab (editor), { 10, 9, 150, 30 },
                                         [] (juce::Colour c) { return c.getBlue() > 150 && c.getGreen() > 120 && c.getRed() < 130; });
    };
    // Software GL on a loaded machine may take a while for the first frames: up to 20 s.
    auto titleShows = [&]
    {
        for (int wait = 0; wait < 80; ++wait)
        {
            pump (250);
            if (titlePixels() > 60)
                return true;
        }
        return false;
    };
    editor.addToDesktop (0);
    editor.setVisible (true);
    ASSERT_TRUE (titleShows());
    const int textures = frame.getNumTextures();
    EXPECT_GT (textures, 3);  // fonts, film strips

    int frames = 0;
    {
        const juce::ScopedLock hold (frame.getRenderLock());
        frames = frame.getNumFramesRendered();
        frame.requestRedraw();
        pump (300);
        EXPECT_EQ (frame.getNumFramesRendered(), frames);
    }
    frame.requestRedraw();
    for (int wait = 0; wait < 80 && frame.getNumFramesRendered() == frames; ++wait)
        pump (250);
    EXPECT_GT (frame.getNumFramesRendered(), frames);

    for (int context = 0; context < 2; ++context)
    {
        editor.removeFromDesktop();
        pump (200);
        EXPECT_EQ (frame.getNumTextures(), 0);
        editor.addToDesktop (0);
        EXPECT_TRUE (titleShows());
        EXPECT_EQ (frame.getNumTextures(), textures);
    }
}

TEST (EditorFrame, OpensAndClosesWhileAudioRuns)
{
    if (juce::SystemStats::getEnvironmentVariable ("DISPLAY", {}).isEmpty())
        GTEST_SKIP() << "needs an X display (the test command runs under Xvfb)";
    UpmixerProcessor processor;
    ASSERT_TRUE (EditorTestSupport::setLayout (processor, juce::AudioChannelSet::stereo(), juce::AudioChannelSet::create7point1point4()));
    processor.prepareToPlay (48000.0, 256);
    std::atomic<bool> running { true };
    std::thread audio ([&]
    {
        juce::AudioBuffer<float> buffer (12, 256);
        juce::MidiBuffer midi;
        juce::Random random (3);
        while (running)
        {
            for (int ch = 0; ch < 2; ++ch)
                for (int i = 0; i < 256; ++i)
                    buffer.setSample (ch, i, 0.3f * (random.nextFloat() - 0.5f));
            processor.processBlock (buffer, midi);
            std::this_thread::sleep_for (std::chrono::milliseconds (2));
        }
    });
    for (int i = 0; i < 4; ++i)
    {
        UpmixerEditor editor (processor);
        editor.addToDesktop (0);
        editor.setVisible (true);
        for (int page = 0; page < editor.getNumPages(); ++page)
        {
            editor.showPage (page);
            juce::MessageManager::getInstance()->runDispatchLoopUntil (150);
        }
        for (int wait = 0; wait < 80 && editor.getOglComponent().getNumFramesRendered() == 0; ++wait)
            juce::MessageManager::getInstance()->runDispatchLoopUntil (250);  // a loaded machine
        EXPECT_GT (editor.getOglComponent().getNumFramesRendered(), 0);
    }
    running = false;
    audio.join();
}

TEST (EditorBinding, EveryHostParameterHasAControlInSomeLayout)
{
    // The widest output shows every output strip; five inputs show the input mute groups.
    std::set<int> reached;
    int numHostParameters = 0;
    for (const auto& [inputs, outputs] : { std::pair { juce::AudioChannelSet::stereo(), juce::AudioChannelSet::create7point1point4() },
                                           std::pair { juce::AudioChannelSet::discreteChannels (5), juce::AudioChannelSet::create5point1() } })
    {
        UpmixerProcessor processor;
        ASSERT_TRUE (EditorTestSupport::setLayout (processor, inputs, outputs));
        UpmixerEditor editor (processor);
        numHostParameters = processor.getParameterTable().getNumHostParameters();
        for (int number = 0; number < numHostParameters; ++number)
            if (editor.findControl (number) != nullptr)
                reached.insert (number);
    }
    for (int number = 0; number < numHostParameters; ++number)
        EXPECT_TRUE (number == ParamMapVersion || reached.count (number) == 1) << number;  // the map version is the session's bookkeeping
}

TEST (EditorBinding, GesturesUndoAnnouncementsAndNotices)
{
    UpmixerProcessor processor;
    EditorTestSupport::GestureCounter gestures;
    processor.addListener (&gestures);
    {
        KaJuceDragControl loose ("loose");  // outlives the editor, which forgets its controls when it goes
        UpmixerEditor editor (processor);
        auto* divergence = dynamic_cast<KaJuceDragControl*> (editor.findControl (Divergence));
        ASSERT_NE (divergence, nullptr);
        const float before = processor.getParameterValue (Divergence);
        processor.clearUndoHistory();

        drag (*divergence, 0.0f, -25.0f);
        EXPECT_NEAR (processor.getParameterValue (Divergence), before + 0.1f, 1e-4f);
        EXPECT_EQ (gestures.begun, std::vector<int> { Divergence });
        EXPECT_EQ (gestures.ended, std::vector<int> { Divergence });
        processor.undo();  // the whole drag is one step
        EXPECT_EQ (processor.getParameterValue (Divergence), before);
        EXPECT_FALSE (processor.canUndo());

        EXPECT_TRUE (editor.announcementFor (Divergence).startsWith ("Divergence: "));
        EXPECT_EQ (editor.announcementFor (Bypass), "Bypass");
        EXPECT_EQ (editor.announcementFor (KaJuceControl::noParameter), "");

        // A control bound to 9999 never reaches the processor.
        editor.registerControl (loose);
        const auto values = processor.getHostValues();
        drag (loose, 0.0f, -100.0f);
        EXPECT_EQ (processor.getHostValues(), values);

        // A session from a newer version: a notice inside the editor, no window anywhere.
        processor.setParameter (ParamMapVersion, 0.999f);
        processor.checkParamMapVersionCompatibility();
        editor.updateGui();
        EXPECT_EQ (juce::TopLevelWindow::getNumTopLevelWindows(), 0);
        ASSERT_TRUE (editor.getNoticeBox().isShowingNotice());
        EXPECT_TRUE (editor.getNoticeBox().getShownText().contains ("newer version"));
    }
    processor.removeListener (&gestures);
}

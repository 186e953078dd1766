// The preset bar, browser and dialog on a real UpmixerEditor, driven by synthetic clicks and
// keys (presets go to the test run's private folder):
// - Save as: the typed name is filtered, the preset appears in the browser's User folder and is
//   marked as the one loaded;
// - the modified mark appears after a change, clears after a load (values restored, controls
//   refreshed at once) and after Save over the user preset;
// - Delete asks inside the editor (no window), then the preset leaves the folder and the disk;
//   factory presets cannot be deleted;
// - Undo and Redo are disabled when there is nothing to undo or redo; A/B shows the side heard;
// - the main menu (drawn by the frame, no window) opens the settings; "Lock colours" moves the
//   colour controls to the per-user copies with the colours on screen, and back; a click
//   outside the card closes it.
#include "editor/UpmixerEditor.h"
#include "processor/KaPresetLibrary.h"
#include "processor/UpmixerParameters.h"
#include "processor/UpmixerProcessor.h"

#include <gtest/gtest.h>

#include "EditorTestSupport.h"

using namespace UpmixerParam;

namespace
{
    using EditorTestSupport::click;

    void type (juce::Component& c, const juce::String& text)
    {
        for (auto p = text.getCharPointer(); ! p.isEmpty();)
        {
            const auto ch = p.getAndAdvance();
            c.keyPressed (juce::KeyPress ((int) ch, {}, ch));
        }
    }
}

TEST (EditorPresets, SaveAsBrowseModifiedMarkLoadSaveAndDelete)
{
    UpmixerProcessor processor;
    UpmixerEditor editor (processor);
    auto& bar = editor.getPresetBar();
    auto& dialog = bar.getDialog();
    auto& browser = bar.getBrowser();
    auto& divergence = *editor.findControl (Divergence);
    auto tick = [&] { editor.timerCallback(); };

    // Save as: the proposal goes at the first key; what a file name cannot keep never shows.
    divergence.setValue (0.8f, true);
    click (bar.getSaveAsButton());
    ASSERT_TRUE (dialog.isAsking());
    type (dialog.getNameField(), "Warm#Room");
    EXPECT_EQ (dialog.getNameField().getText(), "WarmRoom");
    click (dialog.getConfirmButton());
    EXPECT_FALSE (dialog.isAsking());
    tick();
    EXPECT_EQ (bar.getShownName(), "WarmRoom");
    EXPECT_TRUE (KaPresetLibrary::standard().presetFile ("User", "WarmRoom").existsAsFile());

    // The browser opens on its folder with it marked.
    click (bar.getNameButton());
    ASSERT_TRUE (browser.isShowing());
    EXPECT_EQ (browser.getFolderName (browser.getFolderIndex()), "User");
    const int row = browser.getRowNames().indexOf ("WarmRoom");
    ASSERT_GE (row, 0);
    EXPECT_EQ (browser.getCurrentRow(), row);

    // A change marks it; a click on its row brings the saved value back to every control.
    divergence.setValue (0.2f, true);
    tick();
    EXPECT_EQ (bar.getShownName(), "WarmRoom *");
    EXPECT_TRUE (browser.getResetButton().isEnabled());
    click (browser, browser.getRowBounds (row).getCentre());
    tick();
    EXPECT_FLOAT_EQ (processor.getParameterValue (Divergence), 0.8f);
    EXPECT_FLOAT_EQ (divergence.getValue(), 0.8f);
    EXPECT_EQ (bar.getShownName(), "WarmRoom");
    EXPECT_EQ (editor.getStatusText(), "Loaded WarmRoom");  // not the last value the load changed

    // Save goes over the user preset without asking; the mark clears.
    divergence.setValue (0.3f, true);
    tick();
    EXPECT_EQ (bar.getShownName(), "WarmRoom *");
    click (bar.getSaveButton());
    EXPECT_FALSE (dialog.isAsking());
    tick();
    EXPECT_EQ (bar.getShownName(), "WarmRoom");

    // A factory preset loads from its tab and cannot be deleted; ours loads back as saved.
    click (browser.getTab (1));
    ASSERT_EQ (browser.getFolderName (browser.getFolderIndex()), "Installed");
    ASSERT_GT (browser.getRowNames().size(), 0);
    click (browser, browser.getRowBounds (0).getCentre());
    tick();
    EXPECT_FALSE (browser.getDeleteButton().isEnabled());
    click (browser.getTab (0));
    click (browser, browser.getRowBounds (browser.getRowNames().indexOf ("WarmRoom")).getCentre());
    tick();
    EXPECT_FLOAT_EQ (processor.getParameterValue (Divergence), 0.3f);
    processor.undo();  // a load from elsewhere is told too
    tick();
    EXPECT_TRUE (editor.getStatusText().startsWith ("Preset: ")) << editor.getStatusText();
    processor.redo();
    tick();

    // Delete asks inside the editor first.
    ASSERT_TRUE (browser.getDeleteButton().isEnabled());
    click (browser.getDeleteButton());
    ASSERT_TRUE (dialog.isAsking());
    EXPECT_EQ (juce::TopLevelWindow::getNumTopLevelWindows(), 0);
    click (dialog.getConfirmButton());
    tick();
    EXPECT_FALSE (browser.getRowNames().contains ("WarmRoom"));
    EXPECT_FALSE (KaPresetLibrary::standard().presetFile ("User", "WarmRoom").exists());
    EXPECT_EQ (bar.getShownName(), "No preset");
}

TEST (EditorHeader, UndoRedoEnabledOnlyWithHistoryAndABShowsTheSideHeard)
{
    UpmixerProcessor processor;
    UpmixerEditor editor (processor);
    auto tick = [&] { editor.timerCallback(); };
    processor.clearUndoHistory();
    tick();
    EXPECT_FALSE (editor.getUndoButton().isEnabled());
    EXPECT_FALSE (editor.getRedoButton().isEnabled());

    editor.findControl (Diffusion)->setValue (0.9f, true);
    tick();
    EXPECT_TRUE (editor.getUndoButton().isEnabled());
    click (editor.getUndoButton());
    tick();
    EXPECT_FALSE (editor.getUndoButton().isEnabled());
    EXPECT_TRUE (editor.getRedoButton().isEnabled());

    click (editor.getABButton());
    tick();
    EXPECT_TRUE (processor.isComparingB());
    EXPECT_TRUE (editor.getABButton().isComparingB());
}

TEST (EditorSettings, MenuOpensSettingsWhereLockColoursKeepsTheSchemeInTheUserCopies)
{
    UpmixerProcessor processor;
    UpmixerEditor editor (processor);
    auto tick = [&] { editor.timerCallback(); };
    auto& menu = editor.getMainMenu();
    auto& settings = editor.getSettings();

    click (editor.getMenuButton());
    ASSERT_TRUE (menu.isShowing());
    EXPECT_EQ (juce::TopLevelWindow::getNumTopLevelWindows(), 0);
    const int row = menu.indexOf ("Settings...");
    ASSERT_EQ (row, 0);
    click (menu, juce::Point<int> (menu.getWidth() / 2, KaJuceMenuPopUp::padding + KaJuceMenuPopUp::rowHeight / 2));
    EXPECT_FALSE (menu.isShowing());
    ASSERT_TRUE (settings.isShowing());

    processor.setParameterNotifyingHost (ColC, 0.6f);
    tick();
    auto* lock = settings.findControl (LockColors);
    ASSERT_NE (lock, nullptr);
    click (*lock);
    tick();
    ASSERT_TRUE (processor.getParameterTable().isOn (LockColors));
    auto* centre = settings.findControl (LockColC);
    ASSERT_NE (centre, nullptr);
    EXPECT_FLOAT_EQ (centre->getValue(), 0.6f);
    centre->setValue (0.1f, true);
    EXPECT_FLOAT_EQ (processor.getParameterValue (LockColC), 0.1f);
    EXPECT_FLOAT_EQ (processor.getParameterValue (ColC), 0.6f);  // the session's own stays
    EXPECT_EQ (shownColourParameter (processor.getParameterTable(), ColC), LockColC);

    click (*lock);
    tick();
    ASSERT_EQ (settings.findControl (LockColC), nullptr);
    ASSERT_NE (settings.findControl (ColC), nullptr);
    EXPECT_FLOAT_EQ (settings.findControl (ColC)->getValue(), 0.6f);

    click (settings, juce::Point<int> (4, 4));
    EXPECT_FALSE (settings.isShowing());
}

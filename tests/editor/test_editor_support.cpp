// The main menu's support entries on a real UpmixerEditor:
// - "Export support file…" is offered; the export writes the zip and says so in the status
//   line; a place it cannot write is a notice inside the editor (no window);
// - the daily update check's entry switches the per-user setting.
#include "editor/UpmixerEditor.h"
#include "editor/UpmixerSupportMenu.h"
#include "processor/UpmixerProcessor.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

TEST (EditorSupport, MenuExportsTheSupportFileAndReportsFailureInside)
{
    UpmixerProcessor processor;
    UpmixerEditor editor (processor);
    auto& menu = editor.getMainMenu();
    editor.showMainMenu (&editor.getMenuButton());
    EXPECT_GE (menu.indexOf (UpmixerSupportMenu::exportItemText()), 0);
    const KaUpdateChecker updates;
    const bool automatic = updates.isAutomatic();
    menu.choose (menu.indexOf ("Check for updates daily"));
    EXPECT_NE (updates.isAutomatic(), automatic);
    editor.showMainMenu (&editor.getMenuButton());
    menu.choose (menu.indexOf ("Check for updates daily"));
    EXPECT_EQ (updates.isAutomatic(), automatic);

    const auto dir = makeTempFolder ("orrin-editor-support");
    const auto zip = dir.getChildFile ("s.zip");
    editor.getSupportMenu().exportTo (zip);
    EXPECT_GT (juce::ZipFile (zip).getNumEntries(), 2);
    EXPECT_TRUE (editor.getStatusText().startsWith ("Support file written")) << editor.getStatusText();

    editor.getSupportMenu().exportTo (dir.getChildFile ("missing/s.zip"));
    EXPECT_TRUE (editor.getNoticeBox().isShowingNotice());
    EXPECT_TRUE (editor.getNoticeBox().getShownText().contains ("no such folder")) << editor.getNoticeBox().getShownText();
    EXPECT_EQ (juce::TopLevelWindow::getNumTopLevelWindows(), 0);
    dir.deleteRecursively();
}

// The main menu's pod entries on a real UpmixerEditor: a name typed into the dialog joins (and
// creates) the pod; the other member is offered by its track name to send to; the link groups
// and Leave act on the processor.
#include "editor/UpmixerEditor.h"
#include "processor/UpmixerProcessor.h"

#include <gtest/gtest.h>

TEST (EditorPods, MenuCreatesJoinsSendsLinksAndLeaves)
{
    UpmixerProcessor processor, other;
    other.updateTrackProperties ({ "Dialogue", {} });
    UpmixerEditor editor (processor);
    auto& menu = editor.getMainMenu();
    auto choose = [&] (const juce::String& text)
    {
        if (! menu.isShowing())
            editor.showMainMenu (&editor.getMenuButton());
        const int row = menu.indexOf (text);
        ASSERT_GE (row, 0) << text;
        menu.choose (row);
    };

    choose ("Create or join pod...");
    auto& dialog = editor.getPresetBar().getDialog();
    ASSERT_TRUE (dialog.isAsking());
    for (auto c : juce::String ("Reel 3"))
        dialog.getNameField().keyPressed (juce::KeyPress ((int) c, {}, c));
    EXPECT_EQ (dialog.getConfirmButton().getLabel(), "Join");
    dialog.confirm();
    ASSERT_TRUE (processor.isInPod());
    EXPECT_EQ (processor.getPodName(), "Reel 3");

    ASSERT_TRUE (other.joinPod ("Reel 3"));
    other.setSendSelector (other.getPodMemberNumber());
    choose ("Send to 2 Dialogue (receives)");
    EXPECT_EQ (processor.getSendSelector(), other.getPodMemberNumber());
    choose ("Link LFE");
    other.runHousekeeping();
    EXPECT_EQ (other.getPodLinkGroups(), 1u << KaJucePodUser::linkLfe);
    choose ("Leave pod \"Reel 3\"");
    EXPECT_FALSE (processor.isInPod());
    EXPECT_EQ (processor.getSendSelector(), -1);
    editor.showMainMenu (&editor.getMenuButton());
    EXPECT_GE (menu.indexOf ("Join pod \"Reel 3\""), 0);
}

// Undo, redo and A/B:
//  - a gesture's changes of one parameter are one step; other parameters' changes are not
//    merged; drags through the Undo and Redo controls (which return to rest); linked partners;
//  - an action whose processor has gone, or of an unknown kind, fails and changes nothing;
//  - A/B swaps two complete settings (the first press copies), A to B copies what is heard,
//    each undoable;
//  - PresetNext / PresetPrev walk the folder in the browser's order and wrap; undoing a move
//    brings back the preset left and its unsaved changes; ResetToPreset undoes too;
//  - a move to a preset file that has vanished changes nothing.
#include "processor/KaJuceABUndoableAction.h"
#include "processor/KaJucePresetNavUndoableAction.h"
#include "processor/KaJuceUndoableAction.h"
#include "processor/UpmixerParameters.h"
#include "support/StateTestSupport.h"

#include <gtest/gtest.h>

using namespace UpmixerParam;
using namespace StateTestSupport;

namespace
{
    void press (KaJuceProcessorBase& p, int control)
    {
        p.setParameterNotifyingHost (control, 1.0f, true);
        EXPECT_EQ (p.getParameterValue (control), 0.0f) << "the control returns to rest";
    }

    /** Presses each control in turn and expects what read() gives after it. */
    template <typename Value, typename Read>
    void pressInTurn (KaJuceProcessorBase& p, Read read, std::initializer_list<std::pair<int, Value>> steps)
    {
        for (const auto& [control, expected] : steps)
        {
            press (p, control);
            EXPECT_TRUE (read() == expected) << "after control " << control;
        }
    }

    std::vector<float> presetValues (const KaParameterTable& table, float divergence)
    {
        std::vector<float> values;
        for (int n = 0; n < table.getNumHostParameters(); ++n)
            values.push_back (table.getDefault (n));
        values[Divergence] = divergence;
        return values;
    }
}

TEST (Undo, SameParameterTwiceIsOneStepOthersAreTwo)
{
    UpmixerProcessor p;
    ASSERT_EQ (p.getParameterValue (Divergence), 0.5f);
    p.beginUndoGesture();
    p.setParameterUndoable (Divergence, 0.2f);
    p.setParameterUndoable (Divergence, 0.7f);
    p.endUndoGesture();
    EXPECT_EQ (p.getNumActionsInCurrentTransaction(), 1);
    ASSERT_TRUE (p.undo());
    EXPECT_EQ (p.getParameterValue (Divergence), 0.5f);
    EXPECT_FALSE (p.canUndo());
    ASSERT_TRUE (p.redo());
    EXPECT_EQ (p.getParameterValue (Divergence), 0.7f);

    p.setParameterUndoable (FadeFS, 0.9f);
    p.setParameterUndoable (Diffusion, 0.9f);
    p.undo();
    EXPECT_EQ (p.getParameterValue (Diffusion), p.getParameterTable().getDefault (Diffusion));
    EXPECT_EQ (p.getParameterValue (FadeFS), 0.9f);
    p.undo();
    EXPECT_EQ (p.getParameterValue (FadeFS), p.getParameterTable().getDefault (FadeFS));
    EXPECT_EQ (p.getParameterValue (Divergence), 0.7f);

    // Within one gesture, neither a change to the value the last one already set nor a change
    // of another parameter is merged into it.
    KaJuceUndoableAction last (&p, Divergence, 0.5f, 0.2f, 1), same (&p, Divergence, 0.2f, 0.2f, 1), other (&p, FadeFS, 0.2f, 0.7f, 1);
    EXPECT_EQ (last.createCoalescedAction (&same), nullptr);
    EXPECT_EQ (last.createCoalescedAction (&other), nullptr);
}

TEST (Undo, SimulatedDragsThroughTheUndoAndRedoControls)
{
    UpmixerProcessor p;
    const float start = p.getParameterValue (UpmixPsdWidth);
    auto drag = [&] (float from, float to)
    {
        p.beginUndoGesture();
        for (int i = 0; i <= 40; ++i)
            p.setParameterUndoable (UpmixPsdWidth, from + (to - from) * (float) i / 40.0f);
        p.endUndoGesture();
    };
    drag (start, 0.3f);
    drag (0.3f, 0.95f);
    EXPECT_EQ (p.getParameterValue (UpmixPsdWidth), 0.95f);

    pressInTurn<float> (p, [&] { return p.getParameterValue (UpmixPsdWidth); }, { { Undo, 0.3f }, { Undo, start }, { Undo, start }, { Redo, 0.3f }, { Redo, 0.95f } });

    // A user's change of a linked control moves its partners; undo brings them back too.
    p.setParameterUndoable (ArcLink, 1.0f);
    const float fade = p.getParameterValue (FadeFS);
    p.setParameterUndoable (Divergence, 0.8f);
    EXPECT_NE (p.getParameterValue (FadeFS), fade);
    press (p, Undo);
    EXPECT_FLOAT_EQ (p.getParameterValue (FadeFS), fade);
}

TEST (Undo, ActionsOfAVanishedProcessorFail)
{
    auto p = std::make_unique<UpmixerProcessor>();
    KaJuceUndoableAction change (p.get(), Divergence, 0.5f, 0.9f, 1);
    KaJuceABUndoableAction swap (p.get(), KaJuceABUndoableAction::exchangeSettings, p->getHostValues(), p->getHostValues(), "A/B");
    KaJucePresetNavUndoableAction move (p.get(), { 1, {}, {} }, { 0, {}, {} }, KaJucePresetNavUndoableAction::moveNext, p->getHostValues());
    KaJuceABUndoableAction oddKind (p.get(), 7, {}, {}, "?");
    KaJucePresetNavUndoableAction oddMove (p.get(), { 1, {}, {} }, { 0, {}, {} }, 3, {});
    EXPECT_FALSE (oddKind.perform());
    EXPECT_FALSE (oddMove.perform());
    EXPECT_FALSE (oddMove.undo());
    EXPECT_EQ (p->getCurrentProgram(), 0);

    p.reset();
    for (juce::UndoableAction* action : std::initializer_list<juce::UndoableAction*> { &change, &swap, &move })
        EXPECT_FALSE (action->perform() || action->undo());
}

TEST (Undo, ABSwapsTwoCompleteSettingsAndAtoBCopies)
{
    UpmixerProcessor p;
    const auto a = awkwardValues (p.getParameterTable(), 21);
    setAll (p, a);
    const auto settingA = p.getHostValues();

    press (p, AB);  // B starts as a copy of A
    EXPECT_TRUE (p.isComparingB());
    EXPECT_EQ (p.getHostValues(), settingA);

    setAll (p, awkwardValues (p.getParameterTable(), 22));
    const auto settingB = p.getHostValues();
    ASSERT_NE (settingB, settingA);

    auto heard = [&] { return p.getHostValues(); };
    pressInTurn<std::vector<float>> (p, heard, { { AB, settingA }, { AB, settingB }, { Undo, settingA } });
    EXPECT_FALSE (p.isComparingB());
    press (p, Redo);
    EXPECT_EQ (p.getHostValues(), settingB);

    // Heard: B. A to B copies what is heard into the other setting; nothing audible changes.
    press (p, AtoB);
    EXPECT_EQ (p.getHostValues(), settingB);
    EXPECT_EQ (p.getComparisonValues(), settingB);
    pressInTurn<std::vector<float>> (p, heard, { { AB, settingB }, { Undo, settingB }, { Undo, settingB } });
    EXPECT_EQ (p.getComparisonValues(), settingA);
    press (p, AB);
    EXPECT_EQ (p.getHostValues(), settingA);
}

TEST (Undo, PresetMovesAndResetUndoWithTheUnsavedChangesAndVanishedFilesChangeNothing)
{
    ScopedPresetFolder folder ("Walk");
    UpmixerProcessor p;
    const auto& table = p.getParameterTable();
    const auto first = writePreset (folder.dir, "Walk 1", table, presetValues (table, 0.1f));
    writePreset (folder.dir, "Walk 2", table, presetValues (table, 0.2f));
    const auto last = writePreset (folder.dir, "Walk 10", table, presetValues (table, 0.3f));

    ASSERT_TRUE (p.loadPreset ("Walk", "Walk 1"));
    EXPECT_EQ (p.getParameterValue (Divergence), 0.1f);
    p.setParameterUndoable (Diffusion, 0.77f);  // not saved into the preset

    press (p, PresetNext);
    EXPECT_EQ (p.getProgramName (0), "Walk 2");
    EXPECT_EQ (p.getParameterValue (Diffusion), table.getDefault (Diffusion));
    auto file = [&] { return p.getCurrentPreset().file; };
    pressInTurn<juce::String> (p, file, { { PresetNext, "Walk 10" }, { PresetNext, "Walk 1" }, { PresetPrev, "Walk 10" } });
    EXPECT_EQ (p.getParameterValue (Divergence), 0.3f);
    EXPECT_TRUE (p.takeEditorRefresh());

    for (int moves = 0; moves < 4; ++moves)
        press (p, Undo);
    EXPECT_EQ (p.getCurrentPreset().file, "Walk 1");
    EXPECT_EQ (p.getParameterValue (Divergence), 0.1f);
    EXPECT_EQ (p.getParameterValue (Diffusion), 0.77f);
    press (p, Redo);
    EXPECT_EQ (p.getCurrentPreset().file, "Walk 2");

    p.setParameterUndoable (Divergence, 0.95f);
    press (p, ResetToPreset);
    EXPECT_EQ (p.getParameterValue (Divergence), 0.2f);
    press (p, Undo);
    EXPECT_EQ (p.getParameterValue (Divergence), 0.95f);

    first.deleteFile();
    last.deleteFile();
    const auto before = p.getHostValues();
    EXPECT_FALSE (p.loadPreset ("Walk", "Walk 10"));
    EXPECT_EQ (p.getHostValues(), before);
    // The only preset left: the next is itself, loaded again.
    press (p, PresetNext);
    EXPECT_EQ (p.getCurrentPreset().file, "Walk 2");
    EXPECT_EQ (p.getParameterValue (Divergence), 0.2f);
}

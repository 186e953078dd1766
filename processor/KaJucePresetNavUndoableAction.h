#pragma once

#include <juce_data_structures/juce_data_structures.h>

#include <vector>

class KaJuceProcessorBase;

/** An undoable move from one preset to another: next, previous, or straight to one chosen in
    the browser (or back to the current preset's saved values).

    A place is a preset file (folder and file on disk), the stored default (no folder, file
    "Default") or, without a file, a program slot. Undo returns to the place the move started
    from and then restores every host parameter to the values heard before the move, so that
    changes the user had not saved into the preset are not lost. The processor is held weakly:
    once it has gone, perform and undo fail. Message thread. */
class KaJucePresetNavUndoableAction : public juce::UndoableAction
{
public:
    enum MoveKind { moveNext = 0, movePrevious = 1, moveDirect = 2 };

    struct Place
    {
        int program = 0;
        juce::String folder, file;
    };

    KaJucePresetNavUndoableAction (KaJuceProcessorBase* processor, Place to, Place from, int moveKind, std::vector<float> valuesBefore);

    bool perform() override;
    bool undo() override;
    int getSizeInUnits() override { return (int) (sizeof (*this) + m_valuesBefore.size() * sizeof (float)); }

    static juce::String describe (int moveKind);

private:
    bool isValidKind() const noexcept { return m_nMoveKind >= moveNext && m_nMoveKind <= moveDirect; }

    juce::WeakReference<KaJuceProcessorBase> m_processor;
    Place m_to, m_from;
    int m_nMoveKind;
    std::vector<float> m_valuesBefore;
};

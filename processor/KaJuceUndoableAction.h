#pragma once

#include <juce_data_structures/juce_data_structures.h>

class KaJuceProcessorBase;

/** One undoable change of one parameter, from an old to a new normalised value.

    Consecutive changes of the same parameter within a transaction melt into one action, from
    the value before the first to the value after the last, so a whole mouse drag is one undo
    step. The processor is held weakly: once it has gone, perform and undo fail and change
    nothing. Message thread. */
class KaJuceUndoableAction : public juce::UndoableAction
{
public:
    /** flag is handed unchanged to the parameter setter (non-zero: the user's own change). */
    KaJuceUndoableAction (KaJuceProcessorBase* processor, juce::uint32 parameter, float oldValue, float newValue, juce::uint8 flag);

    bool perform() override;
    bool undo() override;
    juce::UndoableAction* createCoalescedAction (juce::UndoableAction* nextAction) override;
    int getSizeInUnits() override { return (int) sizeof (*this); }

    juce::uint32 getParameter() const noexcept { return m_nParameter; }
    float getOldValue() const noexcept { return m_fOldValue; }
    float getNewValue() const noexcept { return m_fNewValue; }

private:
    bool apply (float value);

    juce::WeakReference<KaJuceProcessorBase> m_processor;
    juce::uint32 m_nParameter;
    float m_fOldValue, m_fNewValue;
    juce::uint8 m_nFlag;
};

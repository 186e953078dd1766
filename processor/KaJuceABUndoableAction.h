#pragma once

#include <juce_data_structures/juce_data_structures.h>

#include <vector>

class KaJuceProcessorBase;

/** An undoable A/B step between two complete settings (one value per host parameter each).

    Kind 0 exchanges: perform makes `second` (the setting kept for comparison) audible and keeps
    `first` (the one heard until then) in its place; undo does the reverse. Either way the A/B
    label flips. Kind 1 copies: perform replaces the processor's comparison setting by `first`,
    undo puts `second` back; nothing audible changes. The text names the step in the undo
    history. The processor is held weakly: once it has gone, perform and undo fail. Message
    thread. */
class KaJuceABUndoableAction : public juce::UndoableAction
{
public:
    enum Kind { exchangeSettings = 0, replaceComparison = 1 };

    KaJuceABUndoableAction (KaJuceProcessorBase* processor, int kind, std::vector<float> first, std::vector<float> second, juce::String text);

    bool perform() override;
    bool undo() override;
    int getSizeInUnits() override { return (int) ((m_first.size() + m_second.size()) * sizeof (float)); }

    const juce::String& getText() const noexcept { return m_strText; }

private:
    juce::WeakReference<KaJuceProcessorBase> m_processor;
    int m_nKind;
    std::vector<float> m_first, m_second;
    juce::String m_strText;
};

#include "processor/KaJucePresetNavUndoableAction.h"
#include "processor/KaJuceProcessorBase.h"

KaJucePresetNavUndoableAction::KaJucePresetNavUndoableAction (KaJuceProcessorBase* processor, Place to, Place from, int moveKind,
                                                              std::vector<float> valuesBefore)
    : m_processor (processor), m_to (std::move (to)), m_from (std::move (from)), m_nMoveKind (moveKind), m_valuesBefore (std::move (valuesBefore))
{
}

juce::String KaJucePresetNavUndoableAction::describe (int moveKind)
{
    switch (moveKind)
    {
        case moveNext: return "Next Preset";
        case movePrevious: return "Previous Preset";
        default: return "Load Preset";
    }
}

bool KaJucePresetNavUndoableAction::perform()
{
    auto* processor = m_processor.get();
    if (processor == nullptr || ! isValidKind())
        return false;
    return processor->goToPlace (m_to, nullptr);
}

bool KaJucePresetNavUndoableAction::undo()
{
    auto* processor = m_processor.get();
    if (processor == nullptr || ! isValidKind())
        return false;
    return processor->goToPlace (m_from, &m_valuesBefore);
}

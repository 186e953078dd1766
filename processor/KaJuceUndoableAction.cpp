#include "processor/KaJuceUndoableAction.h"
#include "processor/KaJuceProcessorBase.h"

KaJuceUndoableAction::KaJuceUndoableAction (KaJuceProcessorBase* processor, juce::uint32 parameter, float oldValue, float newValue,
                                            juce::uint8 flag)
    : m_processor (processor), m_nParameter (parameter), m_fOldValue (oldValue), m_fNewValue (newValue), m_nFlag (flag)
{
}

bool KaJuceUndoableAction::apply (float value)
{
    auto* processor = m_processor.get();
    if (processor == nullptr || ! processor->getParameterTable().contains ((int) m_nParameter))
        return false;
    processor->setParameterNotifyingHost ((int) m_nParameter, value, m_nFlag != 0);
    return true;
}

bool KaJuceUndoableAction::perform() { return apply (m_fNewValue); }

bool KaJuceUndoableAction::undo() { return apply (m_fOldValue); }

juce::UndoableAction* KaJuceUndoableAction::createCoalescedAction (juce::UndoableAction* nextAction)
{
    const auto* next = dynamic_cast<const KaJuceUndoableAction*> (nextAction);
    if (next == nullptr || next->m_nParameter != m_nParameter || next->m_fNewValue == m_fNewValue)
        return nullptr;
    return new KaJuceUndoableAction (m_processor.get(), m_nParameter, m_fOldValue, next->m_fNewValue, m_nFlag);
}

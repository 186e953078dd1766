#include "processor/KaJuceABUndoableAction.h"
#include "processor/KaJuceProcessorBase.h"

KaJuceABUndoableAction::KaJuceABUndoableAction (KaJuceProcessorBase* processor, int kind, std::vector<float> first,
                                                std::vector<float> second, juce::String text)
    : m_processor (processor), m_nKind (kind), m_first (std::move (first)), m_second (std::move (second)), m_strText (std::move (text))
{
}

bool KaJuceABUndoableAction::perform()
{
    auto* processor = m_processor.get();
    if (processor == nullptr || (m_nKind != exchangeSettings && m_nKind != replaceComparison))
        return false;

    if (m_nKind == exchangeSettings)
        processor->exchangeComparison (m_second, m_first);
    else
        processor->replaceComparison (m_first);
    return true;
}

bool KaJuceABUndoableAction::undo()
{
    auto* processor = m_processor.get();
    if (processor == nullptr || (m_nKind != exchangeSettings && m_nKind != replaceComparison))
        return false;

    if (m_nKind == exchangeSettings)
        processor->exchangeComparison (m_first, m_second);
    else
        processor->replaceComparison (m_second);
    return true;
}

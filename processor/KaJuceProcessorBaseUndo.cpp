// KaJuceProcessorBase: the undo history, A/B, and the transient controls that drive them.
#include "processor/KaJuceABUndoableAction.h"
#include "processor/KaJuceProcessorBase.h"
#include "processor/KaJuceUndoableAction.h"

#include <cmath>

void KaJuceProcessorBase::setParameterUndoable (int number, float value)
{
    if (! table.contains (number) || std::isnan (value))
        return;

    // Per-user settings and editor buttons are not part of a setting, so not of its history.
    if (number >= KaParameterTable::firstPersistent)
    {
        setParameterNotifyingHost (number, value, true);
        return;
    }

    const float oldValue = table.get (number);
    const float newValue = juce::jlimit (0.0f, 1.0f, value);
    if (newValue == oldValue)
        return;

    if (! m_bInUndoGesture)
        beginNewTransaction();
    setCurrentTransactionName (getParameterDisplayName (number));
    perform (new KaJuceUndoableAction (this, (juce::uint32) number, oldValue, newValue, 1));
}

void KaJuceProcessorBase::beginUndoGesture()
{
    m_bInUndoGesture = true;
    beginNewTransaction();
}

void KaJuceProcessorBase::endUndoGesture() { m_bInUndoGesture = false; }

void KaJuceProcessorBase::compareAB()
{
    auto heard = getHostValues();
    auto kept = m_comparisonValues.empty() ? heard : m_comparisonValues;
    const juce::String text = m_bComparingB ? "Compare A" : "Compare B";
    beginNewTransaction (text);
    perform (new KaJuceABUndoableAction (this, KaJuceABUndoableAction::exchangeSettings, std::move (heard), std::move (kept), text));
}

void KaJuceProcessorBase::copyAToB()
{
    auto heard = getHostValues();
    auto kept = m_comparisonValues.empty() ? heard : m_comparisonValues;
    const juce::String text = m_bComparingB ? "Copy B to A" : "Copy A to B";
    beginNewTransaction (text);
    perform (new KaJuceABUndoableAction (this, KaJuceABUndoableAction::replaceComparison, std::move (heard), std::move (kept), text));
}

void KaJuceProcessorBase::exchangeComparison (const std::vector<float>& audible, const std::vector<float>& kept)
{
    applyHostValues (audible);
    m_comparisonValues = kept;
    m_bComparingB = ! m_bComparingB;
    afterManyValuesChanged();
}

void KaJuceProcessorBase::replaceComparison (const std::vector<float>& kept)
{
    m_comparisonValues = kept;
    m_bEditorRefreshNeeded = true;
}

void KaJuceProcessorBase::runCommandControl (int number)
{
    const auto found = std::find (m_commandNumbers.begin(), m_commandNumbers.end(), number);
    if (found == m_commandNumbers.end())
        return;

    // The controls are push buttons: back at rest before the command runs.
    table.set (number, 0.0f);
    switch ((Command) (found - m_commandNumbers.begin()))
    {
        case commandUndo: undo(); break;
        case commandRedo: redo(); break;
        case commandAB: compareAB(); break;
        case commandAtoB: copyAToB(); break;
        case commandNext: stepPreset (1); break;
        case commandPrevious: stepPreset (-1); break;
        case commandReset: resetToPreset(); break;
        case numCommands: break;
    }
}

// KaJuceProcessorBase: program slots, session state and parameter-map versions.
#include "processor/KaJuceProcessorBase.h"
#include "processor/KaLog.h"
#include "processor/KaParamMapVersion.h"
#include "processor/KaSessionState.h"

namespace
{
    std::atomic<bool> newerVersionWarningPosted { false };
}

void KaJuceProcessorBase::setCurrentProgram (int index)
{
    const int slot = KaPresetSlots::clampSlot (index);
    // Hosts re-select the current program now and then (after restoring a state, say); that
    // must not replace the live values by the slot's older copy.
    if (slot == m_presetSlots.getCurrent())
        return;

    storeLiveValuesInCurrentSlot();
    m_presetSlots.setCurrent (slot);
    std::vector<float> values;
    for (int n = 0; n < m_presetSlots.getNumValues(); ++n)
        values.push_back (m_presetSlots.getValue (slot, n));

    // The tracked preset described the slot that was left.
    setTrackedPreset ({}, {});
    applyHostValues (values);
    checkParamMapVersionCompatibility();
    afterManyValuesChanged();
}

std::vector<float> KaJuceProcessorBase::getHostValues() const
{
    std::vector<float> values;
    for (int n = 0; n < juce::jmin (table.getNumHostParameters(), KaPresetSlots::maxRecords); ++n)
        values.push_back (table.get (n));
    return values;
}

void KaJuceProcessorBase::applyHostValues (const std::vector<float>& values)
{
    const int count = juce::jmin ((int) values.size(), table.getNumHostParameters());
    for (int n = 0; n < count; ++n)
    {
        auto* record = table.record (n);
        const float value = juce::jlimit (0.0f, 1.0f, values[(size_t) n]);
        // The reference is the value last loaded: what differs from it is what the load changed.
        if (value != record->referenceValue)
            lastChangedParameter.store (n);
        record->referenceValue = value;
        setParameterNotifyingHost (n, value, false);
    }

    // Reactions to a value (a mix type deriving the routing, say) may have overwritten values
    // loaded before it; the set being loaded is complete, so its own values win.
    for (int pass = 0; pass < 2; ++pass)
        for (int n = 0; n < count; ++n)
            if (const float value = juce::jlimit (0.0f, 1.0f, values[(size_t) n]); table.get (n) != value)
                setParameterNotifyingHost (n, value, false);
}

void KaJuceProcessorBase::storeLiveValuesInCurrentSlot()
{
    const int slot = m_presetSlots.getCurrent();
    for (int n = 0; n < m_presetSlots.getNumValues(); ++n)
        m_presetSlots.setValue (slot, n, table.get (n));
}

void KaJuceProcessorBase::getStateInformation (juce::MemoryBlock& destData)
{
    KaSessionState::save (*this, destData);
}

void KaJuceProcessorBase::setStateInformation (const void* data, int sizeInBytes)
{
    const juce::ScopedLock lock (m_housekeepingLock);
    if (KaSessionState::load (*this, data, sizeInBytes))
        afterManyValuesChanged();
}

int KaJuceProcessorBase::checkParamMapVersionCompatibility()
{
    const int number = KaParamMapVersion::parameterNumber (table);
    if (number < 0)
        return 0;

    const int loading = KaParamMapVersion::versionOf (table.get (number));
    const int code = KaParamMapVersion::codeVersion (table);
    if (loading == code)
        return loading;

    KaLog::write ("KaJuceEditorBase::checkParamMapVersionCompatibility: nLoadingInVersion=" + juce::String (loading)
                  + ", nCodeVersion=" + juce::String (code));
    if (loading < code)
    {
        for (int version = loading; version < code; ++version)
            performParamMappingToNextVersion (version);
        setParameterNotifyingHost (number, KaParamMapVersion::valueOf (code), false);
    }
    else
    {
        postNewerVersionWarning();
    }
    return loading;
}

bool KaJuceProcessorBase::hasNewerVersionWarningBeenPosted() noexcept { return newerVersionWarningPosted.load(); }

void KaJuceProcessorBase::postNewerVersionWarning()
{
    // Once per process: a session with many instances must not pile up boxes.
    if (newerVersionWarningPosted.exchange (true))
        return;

    const auto product = getName();
    const auto text = "This session was saved with a newer version of " + product + " than the one you have installed. "
                      + "You may lose session data if saving out with this plugin. " + "Please update to the latest version.";
    postWarning ("WARNING", text);
}

void KaJuceProcessorBase::askAboutEarlierVersion (const juce::String& earlierStateText)
{
    // Hosts may restore the same state more than once while opening a session; one question
    // is enough.
    if (m_bEarlierVersionQuestionAsked)
        return;
    m_bEarlierVersionQuestionAsked = true;

    const auto product = getName();
    const auto text = "This session or preset was saved with an earlier version of " + product + ".\n"
                      + "Parameters for this version (" + ORRIN_VERSION_TEXT + ") of " + product + " will be set as default.\n"
                      + "Press OK to overwrite on save (this cannot be undone), press CANCEL to keep state unchanged.";
    postQuestion (product + " Warning Info", text, [this, earlierStateText] (bool ok)
    {
        m_bOverwriteOnSave = ok;
        m_strKeptEarlierState = ok ? juce::String() : earlierStateText;
    });
}

// KaJuceProcessorBase: preset files, the default preset and moves between presets.
#include "processor/KaDefaultPreset.h"
#include "processor/KaJuceProcessorBase.h"
#include "processor/KaParamMapVersion.h"
#include "processor/KaPresetFile.h"
#include "processor/KaPresetLibrary.h"
#include "processor/KaSettingsStore.h"

#include <cmath>

void KaJuceProcessorBase::restorePresetsAtStartup()
{
    auto& store = KaSettingsStore::getInstance();
    const auto library = KaPresetLibrary::standard();
    library.createStandardFolders();
    library.installFactoryPresets (createFactoryPresets(), table, store);

    if (const auto values = KaDefaultPreset::load (store, table))
    {
        applyHostValues (*values);
        checkParamMapVersionCompatibility();
        // A fresh program starts from the user's default too.
        m_presetSlots.reset (getHostValues());
        // Named after the preset it was saved from, but what it holds is the default.
        const auto [folder, file] = KaDefaultPreset::presetOf (store);
        KaPreset preset;
        preset.folder = file.isNotEmpty() ? folder : juce::String();
        preset.file = file.isNotEmpty() ? file : juce::String (KaPreset::defaultFileName);
        preset.values = getHostValues();
        trackPreset (std::move (preset));
    }
}

std::optional<KaPreset> KaJuceProcessorBase::readPreset (const juce::String& folder, const juce::String& file) const
{
    if (file.isEmpty())
        return std::nullopt;
    if (folder.isEmpty() && file == KaPreset::defaultFileName)
    {
        // The stored default, or the parameters' own defaults when none is stored.
        KaPreset preset;
        preset.values = KaDefaultPreset::load (KaSettingsStore::getInstance(), table).value_or (getHostDefaults());
        return preset;
    }
    return KaPresetFile::load (KaPresetLibrary::standard().presetFile (folder, file), table);
}

void KaJuceProcessorBase::setTrackedPreset (const juce::String& folder, const juce::String& file)
{
    // The saved values come along, so that the editor can tell whether what is heard still
    // matches them.
    auto preset = readPreset (folder, file).value_or (KaPreset {});
    preset.folder = folder;
    preset.file = file;
    trackPreset (std::move (preset));
}

void KaJuceProcessorBase::trackPreset (KaPreset preset)
{
    if (preset.file.isEmpty())
        preset.folder.clear();
    m_currentPreset = std::move (preset);
    if (m_currentPreset.isSet())
        m_presetSlots.setName (m_presetSlots.getCurrent(), m_currentPreset.getName());
    updateHostDisplay (ChangeDetails().withProgramChanged (true));
}

void KaJuceProcessorBase::applyPreset (const KaPreset& preset)
{
    auto values = preset.values;
    // A file that names no map version of its values was written for its "FileVersion".
    const int versionNumber = KaParamMapVersion::parameterNumber (table);
    if (versionNumber >= 0 && versionNumber < (int) values.size() && ! preset.suppliedValue (versionNumber) && preset.fileVersion > 0)
        values[(size_t) versionNumber] = KaParamMapVersion::valueOf (preset.fileVersion);

    applyHostValues (values);
    checkParamMapVersionCompatibility();
}

std::vector<float> KaJuceProcessorBase::getHostDefaults() const
{
    std::vector<float> values;
    for (int n = 0; n < table.getNumHostParameters(); ++n)
        values.push_back (table.getDefault (n));
    return values;
}

KaJucePresetNavUndoableAction::Place KaJuceProcessorBase::currentPlace() const
{
    return { m_presetSlots.getCurrent(), m_currentPreset.folder, m_currentPreset.file };
}

bool KaJuceProcessorBase::goToPlace (const KaJucePresetNavUndoableAction::Place& place, const std::vector<float>* valuesAfter)
{
    if (place.file.isNotEmpty())
    {
        const auto preset = readPreset (place.folder, place.file);

        // Going forward to a preset that is gone changes nothing; going back still restores the
        // values heard before, whatever became of the file.
        if (! preset.has_value() && valuesAfter == nullptr)
            return false;
        if (preset.has_value())
            applyPreset (*preset);

        auto tracked = preset.value_or (KaPreset {});
        tracked.folder = place.folder;
        tracked.file = place.file;
        trackPreset (std::move (tracked));
    }
    else
    {
        setCurrentProgram (place.program);
        setTrackedPreset ({}, {});
        for (int n = 0; n < table.getNumHostParameters(); ++n)
            table.record (n)->changed.store (true);
    }

    if (valuesAfter != nullptr)
        applyHostValues (*valuesAfter);
    afterManyValuesChanged();
    return true;
}

bool KaJuceProcessorBase::recordPresetMove (const KaJucePresetNavUndoableAction::Place& to, int moveKind)
{
    beginNewTransaction (KaJucePresetNavUndoableAction::describe (moveKind));
    return perform (new KaJucePresetNavUndoableAction (this, to, currentPlace(), moveKind, getHostValues()));
}

bool KaJuceProcessorBase::loadPreset (const juce::String& folder, const juce::String& file)
{
    return recordPresetMove ({ m_presetSlots.getCurrent(), folder, file }, KaJucePresetNavUndoableAction::moveDirect);
}

bool KaJuceProcessorBase::loadPresetFile (const juce::File& file)
{
    if (! file.hasFileExtension (KaPresetFile::extension))
        return false;
    return loadPreset (KaPresetLibrary::standard().folderNameOf (file), file.getFileNameWithoutExtension());
}

bool KaJuceProcessorBase::savePreset (const juce::String& folderName, const juce::String& presetName)
{
    const auto folder = KaPresetName::encode (folderName), file = KaPresetName::encode (presetName);
    const auto target = KaPresetLibrary::standard().presetFile (folder, file);
    if (target == juce::File())
        return false;

    auto preset = KaPresetFile::fromTable (table, folder, file);
    // Data another version stored with the preset travels on when it is saved again.
    preset.specificData = m_currentPreset.specificData;
    if (! KaPresetFile::save (preset, table, target))
        return false;

    trackPreset (std::move (preset));
    m_bEditorRefreshNeeded = true;
    return true;
}

bool KaJuceProcessorBase::stepPreset (int direction)
{
    const auto library = KaPresetLibrary::standard();
    const auto next = library.neighbour (m_currentPreset.folder, m_currentPreset.file, direction);
    if (! next.has_value())
        return false;
    return recordPresetMove ({ m_presetSlots.getCurrent(), library.folderNameOf (next->file), next->diskName() },
                             direction > 0 ? KaJucePresetNavUndoableAction::moveNext : KaJucePresetNavUndoableAction::movePrevious);
}

bool KaJuceProcessorBase::resetToPreset()
{
    return tracksPresetFile() && recordPresetMove (currentPlace(), KaJucePresetNavUndoableAction::moveDirect);
}

bool KaJuceProcessorBase::deletePreset (const juce::String& folder, const juce::String& file)
{
    if (folder != KaPresetLibrary::userFolder)
        return false;
    const auto target = KaPresetLibrary::standard().presetFile (folder, file);
    if (! target.existsAsFile() || ! target.deleteFile())
        return false;
    if (m_currentPreset.folder == folder && m_currentPreset.file == file)
        setTrackedPreset ({}, {});
    return true;
}

bool KaJuceProcessorBase::isPresetModified() const noexcept
{
    const auto& saved = m_currentPreset.values;
    if (! m_currentPreset.isSet() || saved.empty())
        return false;
    // Loading writes the map version the values were carried to, which is not the user's change.
    const int versionNumber = KaParamMapVersion::parameterNumber (table);
    const int count = juce::jmin ((int) saved.size(), table.getNumHostParameters());
    for (int n = 0; n < count; ++n)
        if (n != versionNumber && std::abs (table.get (n) - saved[(size_t) n]) > 1.0e-6f)
            return true;
    return false;
}

bool KaJuceProcessorBase::isUserPresetTracked() const noexcept
{
    return m_currentPreset.isSet() && m_currentPreset.folder == KaPresetLibrary::userFolder;
}

void KaJuceProcessorBase::saveDefaultPreset()
{
    KaDefaultPreset::save (KaSettingsStore::getInstance(), table, m_currentPreset.folder, m_currentPreset.file);
}

bool KaJuceProcessorBase::hasDefaultPreset() { return KaDefaultPreset::has (KaSettingsStore::getInstance(), table); }

void KaJuceProcessorBase::clearDefaultPreset() { KaDefaultPreset::clear (KaSettingsStore::getInstance(), table); }

void KaJuceProcessorBase::afterManyValuesChanged()
{
    m_bEditorRefreshNeeded = true;
    updateHostDisplay (ChangeDetails().withProgramChanged (true));
}

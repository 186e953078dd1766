#include "processor/KaDefaultPreset.h"
#include "processor/KaSettingsStore.h"

#include <cmath>

namespace KaDefaultPreset
{
    namespace
    {
        juce::String keyFor (const KaParameterTable& table, int number) { return keyPrefix + table.info (number)->name; }

        std::optional<float> storedValue (KaSettingsStore& store, const KaParameterTable& table, int number)
        {
            const auto value = store.getFloat (keyFor (table, number));
            if (! value.has_value() || std::isnan (*value) || *value == missingMarker)
                return std::nullopt;
            return value;
        }
    }

    void save (KaSettingsStore& store, const KaParameterTable& table, const juce::String& folder, const juce::String& file)
    {
        std::vector<KaSettingsStore::Change> changes;
        for (int n = 0; n < table.getNumHostParameters(); ++n)
            changes.push_back (KaSettingsStore::floatChange (keyFor (table, n), table.get (n)));

        if (file.isNotEmpty())
        {
            changes.push_back (KaSettingsStore::stringChange (folderKey, folder));
            changes.push_back (KaSettingsStore::stringChange (fileKey, file));
        }
        else
        {
            changes.push_back ({ folderKey, std::nullopt });
            changes.push_back ({ fileKey, std::nullopt });
        }
        store.apply (changes);
    }

    bool has (KaSettingsStore& store, const KaParameterTable& table)
    {
        for (int n = 0; n < table.getNumHostParameters(); ++n)
            if (storedValue (store, table, n).has_value())
                return true;
        return false;
    }

    void clear (KaSettingsStore& store, const KaParameterTable& table)
    {
        std::vector<KaSettingsStore::Change> changes;
        for (int n = 0; n < table.getNumHostParameters(); ++n)
            changes.push_back ({ keyFor (table, n), std::nullopt });
        store.apply (changes);
    }

    std::optional<std::vector<float>> load (KaSettingsStore& store, const KaParameterTable& table)
    {
        std::vector<float> values;
        bool any = false;
        for (int n = 0; n < table.getNumHostParameters(); ++n)
        {
            const auto stored = storedValue (store, table, n);
            any = any || stored.has_value();
            values.push_back (stored.has_value() ? juce::jlimit (0.0f, 1.0f, *stored) : table.getDefault (n));
        }
        if (! any)
            return std::nullopt;
        return values;
    }

    std::pair<juce::String, juce::String> presetOf (KaSettingsStore& store)
    {
        return { store.getString (folderKey).value_or (juce::String()), store.getString (fileKey).value_or (juce::String()) };
    }
}

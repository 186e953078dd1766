#include "support/StateTestSupport.h"
#include "processor/KaDefaultPreset.h"
#include "processor/KaLog.h"
#include "processor/KaPaths.h"
#include "processor/KaPresetFile.h"
#include "processor/KaSettingsStore.h"
#include "processor/UpmixerParameters.h"

#include <cmath>
#include <limits>

namespace StateTestSupport
{
    std::vector<float> awkwardValues (const KaParameterTable& table, int seed)
    {
        static const float awkward[] = { 0.1f, 1.0e-7f, std::numeric_limits<float>::denorm_min(), std::nextafter (1.0f, 0.0f),
                                         0.33333334f, 1.0f, -0.0f, 0.123456789f, 0.7f, 2.0e-38f, 0.999f, 0.5f };
        juce::Random random (seed);
        std::vector<float> values;
        for (int n = 0; n < table.getNumHostParameters(); ++n)
        {
            if (n == UpmixerParam::ParamMapVersion)
                values.push_back (table.getDefault (n));
            else if (n % 3 == 0)
                values.push_back (awkward[(size_t) (n / 3 + seed) % std::size (awkward)]);
            else
                values.push_back (random.nextFloat());
        }
        return values;
    }

    KaParameterTable makeTable()
    {
        KaParameterTable table;
        table.registerParameters (UpmixerParam::createParameterInfos());
        return table;
    }

    void setAll (KaJuceProcessorBase& processor, const std::vector<float>& values)
    {
        for (int n = 0; n < (int) values.size(); ++n)
            processor.setParameterNotifyingHost (n, values[(size_t) n], false);
    }

    juce::MemoryBlock frame (const juce::String& text)
    {
        juce::MemoryOutputStream out;
        out.writeInt (0x21324356);
        out.writeInt ((int) text.getNumBytesAsUTF8() + 1);
        out.write (text.toRawUTF8(), text.getNumBytesAsUTF8() + 1);
        return out.getMemoryBlock();
    }

    juce::MemoryBlock stateOf (juce::AudioProcessor& processor)
    {
        juce::MemoryBlock block;
        processor.getStateInformation (block);
        return block;
    }

    juce::String documentOf (const juce::MemoryBlock& block)
    {
        const auto xml = juce::AudioProcessor::getXmlFromBinary (block.getData(), (int) block.getSize());
        return xml != nullptr ? xml->toString() : juce::String();
    }

    bool logContains (const juce::String& line)
    {
        return KaLog::mainLogFile().loadFileAsString().contains (line);
    }

    DefaultPresetGuard::~DefaultPresetGuard()
    {
        KaDefaultPreset::clear (KaSettingsStore::getInstance(), makeTable());
    }

    ScopedPresetFolder::ScopedPresetFolder (const juce::String& diskName)
        : name (diskName), dir (KaPaths::presetRoot().getChildFile (diskName))
    {
        dir.deleteRecursively();
        dir.createDirectory();
    }

    ScopedPresetFolder::~ScopedPresetFolder() { dir.deleteRecursively(); }

    juce::File ScopedPresetFolder::file (const juce::String& presetDiskName) const
    {
        return dir.getChildFile (presetDiskName + KaPresetFile::extension);
    }

    juce::File writePreset (const juce::File& dir, const juce::String& diskName, const KaParameterTable& table, const std::vector<float>& values)
    {
        auto preset = KaPresetFile::fromTable (table, dir.getFileName(), diskName);
        preset.values = values;
        const auto file = dir.getChildFile (diskName + KaPresetFile::extension);
        KaPresetFile::save (preset, table, file);
        return file;
    }
}

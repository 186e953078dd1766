#include "processor/KaPresetFile.h"
#include "processor/KaFloatText.h"
#include "processor/KaParamMapVersion.h"
#include "processor/KaPaths.h"
#include "processor/KaXmlGuard.h"

namespace KaPresetFile
{
    namespace
    {
        int numRecords (const KaParameterTable& table) noexcept { return juce::jmin (table.getNumHostParameters(), KaPreset::maxRecords); }

        juce::XmlElement::TextFormat fileFormat()
        {
            // "\n" on every platform, so that a preset's bytes do not depend on where it was saved.
            juce::XmlElement::TextFormat format;
            format.customEncoding = "UTF-8";
            format.lineWrapLength = 60;
            format.newLineChars = "\n";
            return format;
        }
    }

    KaPreset fromTable (const KaParameterTable& table, const juce::String& folder, const juce::String& file)
    {
        KaPreset preset;
        preset.folder = folder;
        preset.file = file;
        preset.fileVersion = KaParamMapVersion::codeVersion (table);
        for (int n = 0; n < numRecords (table); ++n)
        {
            preset.values.push_back (table.get (n));
            preset.defaults.push_back (table.getDefault (n));
            preset.supplied.push_back (true);
        }
        return preset;
    }

    juce::String toText (const KaPreset& preset, const KaParameterTable& table)
    {
        juce::XmlElement root (rootTag);
        root.setAttribute ("RegistryPath", KaPaths::settingsName);
        root.setAttribute ("Version", ORRIN_VERSION_TEXT);
        root.setAttribute ("FileVersion", KaParamMapVersion::codeVersion (table));

        auto* parameters = root.createNewChildElement ("Parameters");
        for (int n = 0; n < numRecords (table); ++n)
        {
            const float value = n < (int) preset.values.size() ? preset.values[(size_t) n] : table.getDefault (n);
            parameters->setAttribute (table.info (n)->key, KaFloatText::fromFloat (value));
        }

        if (preset.specificData.isNotEmpty())
            if (auto specific = KaXmlGuard::parse (preset.specificData))
                root.createNewChildElement ("SpecificData")->addChildElement (specific.release());

        return root.toString (fileFormat());
    }

    bool save (const KaPreset& preset, const KaParameterTable& table, const juce::File& target)
    {
        if (! target.getParentDirectory().createDirectory())
            return false;

        // Written beside the target and renamed over it: the old preset stays whole until the
        // new one is complete on disk.
        juce::TemporaryFile temp (target);
        {
            juce::FileOutputStream out (temp.getFile());
            if (! out.openedOk() || ! out.writeText (toText (preset, table), false, false, nullptr))
                return false;
            out.flush();
            if (out.getStatus().failed())
                return false;
        }
        return temp.overwriteTargetFileWithTemporary();
    }

    std::optional<KaPreset> parse (const void* data, size_t numBytes, const KaParameterTable& table)
    {
        const auto root = KaXmlGuard::parseUtf8 (data, numBytes);
        if (root == nullptr || ! root->hasTagName (rootTag))
            return std::nullopt;

        KaPreset preset;
        const auto* parameters = root->getChildByName ("Parameters");
        for (int n = 0; n < numRecords (table); ++n)
        {
            const float fallback = table.getDefault (n);
            std::optional<float> read;
            if (const auto& key = table.info (n)->key; parameters != nullptr && parameters->hasAttribute (key))
                read = KaFloatText::toFloat (parameters->getStringAttribute (key));

            preset.values.push_back (read.has_value() ? juce::jlimit (0.0f, 1.0f, *read) : fallback);
            preset.defaults.push_back (fallback);
            preset.supplied.push_back (read.has_value());
        }

        preset.fileVersion = juce::jlimit (0, KaParamMapVersion::maxVersion, root->getIntAttribute ("FileVersion", 0));

        if (const auto* specific = root->getChildByName ("SpecificData"))
            if (const auto* fragment = specific->getFirstChildElement(); fragment != nullptr && ! fragment->isTextElement())
                preset.specificData = fragment->toString (fileFormat().withoutHeader());
        return preset;
    }

    std::optional<KaPreset> load (const juce::File& file, const KaParameterTable& table)
    {
        if (! file.existsAsFile() || file.getSize() > maxFileBytes)
            return std::nullopt;

        juce::MemoryBlock bytes;
        if (! file.loadFileAsData (bytes))
            return std::nullopt;
        auto preset = parse (bytes.getData(), bytes.getSize(), table);
        if (preset.has_value())
        {
            preset->folder = file.getParentDirectory().getFileName();
            preset->file = file.getFileNameWithoutExtension();
        }
        return preset;
    }
}

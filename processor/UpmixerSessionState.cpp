#include "processor/UpmixerSessionState.h"
#include "processor/UpmixerProcessor.h"

namespace UpmixerSessionState
{
    namespace
    {
        /** A finite decimal number, or nothing. */
        std::optional<float> readNumber (const juce::String& text)
        {
            const auto trimmed = text.trim();
            if (trimmed.isEmpty() || ! trimmed.containsOnly ("0123456789.-+eE"))
                return std::nullopt;
            const double value = trimmed.getDoubleValue();
            if (! std::isfinite (value))
                return std::nullopt;
            return (float) value;
        }
    }

    std::unique_ptr<juce::XmlElement> createDocument (const UpmixerProcessor& processor)
    {
        const auto& table = processor.getParameterTable();
        auto root = std::make_unique<juce::XmlElement> (rootTag);
        root->setAttribute ("CURRENTPRESET", 0);
        root->setAttribute ("SENDSELECTOR", processor.getSendSelector());

        auto* slot = root->createNewChildElement ("PRESET0");
        slot->setAttribute ("PRESETNAME", "Default");
        for (int n = 0; n < table.getNumHostParameters(); ++n)
            slot->setAttribute (table.info (n)->key, (double) table.get (n));
        return root;
    }

    void save (const UpmixerProcessor& processor, juce::MemoryBlock& dest)
    {
        juce::AudioProcessor::copyXmlToBinary (*createDocument (processor), dest);
    }

    bool applyDocument (UpmixerProcessor& processor, const juce::XmlElement& document)
    {
        if (! document.hasTagName (rootTag))
            return false;

        const int current = juce::jlimit (0, 45, document.getIntAttribute ("CURRENTPRESET", 0));
        if (const auto* slot = document.getChildByName ("PRESET" + juce::String (current)))
        {
            const auto& table = processor.getParameterTable();
            for (int n = 0; n < table.getNumHostParameters(); ++n)
            {
                const auto* info = table.info (n);
                float value = info->defaultValue;
                if (slot->hasAttribute (info->key))
                {
                    const auto read = readNumber (slot->getStringAttribute (info->key));
                    value = read.has_value() ? *read : table.get (n);
                }
                processor.setParameterNotifyingHost (n, juce::jlimit (0.0f, 1.0f, value), false);
            }
        }

        processor.setSendSelector (document.getIntAttribute ("SENDSELECTOR", -1) < 0 ? -1 : document.getIntAttribute ("SENDSELECTOR"));
        return true;
    }

    bool load (UpmixerProcessor& processor, const void* data, int sizeInBytes)
    {
        if (data == nullptr || sizeInBytes <= 0)
            return false;
        const auto xml = juce::AudioProcessor::getXmlFromBinary (data, sizeInBytes);
        return xml != nullptr && applyDocument (processor, *xml);
    }
}

#include "processor/KaSessionState.h"
#include "processor/KaFloatText.h"
#include "processor/KaJuceProcessorBase.h"
#include "processor/KaParamMapVersion.h"
#include "processor/KaXmlGuard.h"

namespace KaSessionState
{
    namespace
    {
        /** JUCE's copyXmlToBinary() block: this magic number, the text's length, the text. */
        constexpr juce::uint32 xmlBlockMagic = 0x21324356;

        juce::String slotTag (int slot) { return "PRESET" + juce::String (slot); }

        juce::String singleLine (const juce::XmlElement& e)
        {
            return e.toString (juce::XmlElement::TextFormat().singleLine().withoutHeader());
        }
    }

    std::unique_ptr<juce::XmlElement> createDocument (const KaJuceProcessorBase& processor)
    {
        const auto& table = processor.getParameterTable();
        const auto& slots = processor.getPresetSlots();
        auto root = std::make_unique<juce::XmlElement> (rootTag);

        root->setAttribute ("CURRENTPRESET", slots.getCurrent());
        processor.writeInstanceLinkState (*root);
        if (processor.getKeptEarlierState().isNotEmpty())
            root->setAttribute ("LOADEDFROMPREV", processor.getKeptEarlierState());

        if (const auto& preset = processor.getCurrentPreset(); preset.isSet())
        {
            auto* presetData = root->createNewChildElement ("PRESETDATA");
            presetData->setAttribute ("FOLDERNAME", preset.folder);
            presetData->setAttribute ("FILENAME", preset.file);
        }

        for (int s = 0; s < KaPresetSlots::numSlots; ++s)
        {
            auto* slot = root->createNewChildElement (slotTag (s));
            slot->setAttribute ("PRESETNAME", slots.getName (s));
            // The current slot's values are the live ones.
            for (int n = 0; n < slots.getNumValues(); ++n)
                slot->setAttribute (table.info (n)->key, KaFloatText::fromFloat (s == slots.getCurrent() ? table.get (n) : slots.getValue (s, n)));
        }
        return root;
    }

    void save (const KaJuceProcessorBase& processor, juce::MemoryBlock& dest)
    {
        juce::AudioProcessor::copyXmlToBinary (*createDocument (processor), dest);
    }

    std::unique_ptr<juce::XmlElement> unpack (const void* data, int sizeInBytes)
    {
        if (data == nullptr || sizeInBytes <= 8 || juce::ByteOrder::littleEndianInt (data) != xmlBlockMagic)
            return nullptr;
        const auto length = (int) juce::ByteOrder::littleEndianInt (juce::addBytesToPointer (data, 4));
        if (length <= 0)
            return nullptr;
        return KaXmlGuard::parseUtf8 (juce::addBytesToPointer (data, 8), (size_t) juce::jmin (sizeInBytes - 8, length));
    }

    bool applyDocument (KaJuceProcessorBase& processor, const juce::XmlElement& document)
    {
        if (! document.hasTagName (rootTag))
            return false;

        const auto& table = processor.getParameterTable();
        auto& slots = processor.getPresetSlots();

        // The slot that is left keeps the live values; the current slot is chosen before the
        // slots are read, so that the values made live are the chosen slot's.
        processor.storeLiveValuesInCurrentSlot();
        slots.setCurrent (document.getIntAttribute ("CURRENTPRESET", 0));

        juce::String folder, file;
        if (const auto* presetData = document.getChildByName ("PRESETDATA"))
        {
            const auto readFolder = presetData->getStringAttribute ("FOLDERNAME");
            const auto readFile = presetData->getStringAttribute ("FILENAME");
            if ((readFolder.isNotEmpty() && readFile.isNotEmpty()) || readFile == KaPreset::defaultFileName)
            {
                folder = readFolder;
                file = readFile;
            }
        }
        // The saving instance tracked no preset when the document has none to name.
        processor.setTrackedPreset (folder, file);

        for (int s = 0; s < KaPresetSlots::numSlots; ++s)
        {
            const auto* slot = document.getChildByName (slotTag (s));
            if (slot == nullptr)
                continue;
            if (slot->hasAttribute ("PRESETNAME"))
                slots.setName (s, slot->getStringAttribute ("PRESETNAME"));
            for (int n = 0; n < slots.getNumValues(); ++n)
            {
                const auto& key = table.info (n)->key;
                const auto read = slot->hasAttribute (key) ? KaFloatText::toFloat (slot->getStringAttribute (key)) : std::nullopt;
                slots.setValue (s, n, read.has_value() ? juce::jlimit (0.0f, 1.0f, *read) : table.getDefault (n));
            }
        }

        std::vector<float> live;
        for (int n = 0; n < slots.getNumValues(); ++n)
            live.push_back (slots.getValue (slots.getCurrent(), n));
        processor.applyHostValues (live);

        processor.readInstanceLinkState (document);
        processor.keepEarlierState (document.getStringAttribute ("LOADEDFROMPREV"));

        if (processor.checkParamMapVersionCompatibility() < KaParamMapVersion::codeVersion (table))
            processor.askAboutEarlierVersion (singleLine (document));
        return true;
    }

    bool load (KaJuceProcessorBase& processor, const void* data, int sizeInBytes)
    {
        const auto document = unpack (data, sizeInBytes);
        return document != nullptr && applyDocument (processor, *document);
    }
}

#include "processor/KaSettingsStore.h"
#include "processor/KaPaths.h"

KaSettingsStore& KaSettingsStore::getInstance()
{
    static KaSettingsStore store (KaPaths::settingsFolder().getChildFile ("settings.xml"));
    return store;
}

KaSettingsStore::KaSettingsStore (juce::File f) : file (std::move (f)) {}

KaSettingsStore::ValueMap KaSettingsStore::readFromDisk() const
{
    ValueMap values;
    if (! file.existsAsFile())
        return values;

    const auto xml = juce::parseXML (file);
    if (xml == nullptr || ! xml->hasTagName ("KaSettings"))
        return values;

    for (auto* child : xml->getChildWithTagNameIterator ("Value"))
    {
        juce::MemoryOutputStream decoded;
        if (juce::Base64::convertFromBase64 (decoded, child->getStringAttribute ("data")))
            values[child->getStringAttribute ("name")] = decoded.getMemoryBlock();
    }
    return values;
}

bool KaSettingsStore::writeToDisk (const ValueMap& values) const
{
    juce::XmlElement root ("KaSettings");
    for (const auto& [name, data] : values)
    {
        auto* child = root.createNewChildElement ("Value");
        child->setAttribute ("name", name);
        child->setAttribute ("data", juce::Base64::toBase64 (data.getData(), data.getSize()));
    }

    if (! file.getParentDirectory().createDirectory())
        return false;

    // Write beside the target and rename over it: a reader never sees a half-written file.
    juce::TemporaryFile temp (file);
    if (! root.writeTo (temp.getFile()))
        return false;
    return temp.overwriteTargetFileWithTemporary();
}

void KaSettingsStore::reloadIfChanged()
{
    const auto modified = file.getLastModificationTime();
    if (! loaded || modified != cacheTime)
    {
        cache = readFromDisk();
        cacheTime = modified;
        loaded = true;
    }
}

void KaSettingsStore::apply (const std::vector<Change>& changes)
{
    const juce::ScopedLock sl (lock);
    // Serialise read-merge-write across processes so that no instance drops another's keys.
    juce::InterProcessLock processLock ("KestroAudio_" + juce::String (KaPaths::settingsName) + "_settings");
    const bool haveProcessLock = processLock.enter (2000);

    auto values = readFromDisk();
    for (const auto& [key, newValue] : changes)
    {
        if (newValue.has_value())
            values[key] = *newValue;
        else
            values.erase (key);
    }

    writeToDisk (values);
    cache = std::move (values);
    cacheTime = file.getLastModificationTime();
    loaded = true;

    if (haveProcessLock)
        processLock.exit();
}

std::optional<juce::MemoryBlock> KaSettingsStore::getBinary (const juce::String& key)
{
    const juce::ScopedLock sl (lock);
    reloadIfChanged();
    const auto it = cache.find (key);
    if (it == cache.end())
        return std::nullopt;
    return it->second;
}

void KaSettingsStore::setBinary (const juce::String& key, const juce::MemoryBlock& value) { apply ({ { key, value } }); }

void KaSettingsStore::remove (const juce::String& key) { apply ({ { key, std::nullopt } }); }

bool KaSettingsStore::contains (const juce::String& key) { return getBinary (key).has_value(); }

std::optional<float> KaSettingsStore::getFloat (const juce::String& key)
{
    const auto data = getBinary (key);
    if (! data.has_value() || data->getSize() != sizeof (float))
        return std::nullopt;
    float value = 0.0f;
    std::memcpy (&value, data->getData(), sizeof (float));
    return value;
}

void KaSettingsStore::setFloat (const juce::String& key, float value) { apply ({ floatChange (key, value) }); }

KaSettingsStore::Change KaSettingsStore::floatChange (const juce::String& key, float value)
{
    return { key, juce::MemoryBlock (&value, sizeof (value)) };
}

std::optional<juce::String> KaSettingsStore::getString (const juce::String& key)
{
    const auto data = getBinary (key);
    if (! data.has_value())
        return std::nullopt;
    return juce::String::fromUTF8 (static_cast<const char*> (data->getData()), (int) data->getSize());
}

void KaSettingsStore::setString (const juce::String& key, const juce::String& value) { apply ({ stringChange (key, value) }); }

KaSettingsStore::Change KaSettingsStore::stringChange (const juce::String& key, const juce::String& value)
{
    const auto utf8 = value.toUTF8();
    return { key, juce::MemoryBlock (utf8.getAddress(), utf8.sizeInBytes() - 1) };
}

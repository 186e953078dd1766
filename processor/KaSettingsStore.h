#pragma once

#include <juce_core/juce_core.h>

#include <map>
#include <optional>
#include <vector>

/** The per-user settings store: named binary values under "Kestro Audio\OrrinUpmix_1".

    On Linux and macOS the values live in one XML file (settings.xml in the product's settings
    folder), each value base64-encoded. Every write re-reads the file under an inter-process lock,
    merges the change and replaces the file atomically (write a temporary file, then rename), so
    concurrent instances in one or several processes never corrupt it or lose each other's keys.
    A value that is not exactly 4 bytes long is not a float: getFloat() treats it as missing.

    Message thread (or any non-audio thread); every call may allocate and touch the disk.
*/
class KaSettingsStore
{
public:
    /** The store of this product, shared by every instance in the process. */
    static KaSettingsStore& getInstance();

    /** A store backed by the given file (tests, tools). */
    explicit KaSettingsStore (juce::File file);

    std::optional<juce::MemoryBlock> getBinary (const juce::String& key);
    void setBinary (const juce::String& key, const juce::MemoryBlock& value);
    void remove (const juce::String& key);
    bool contains (const juce::String& key);

    /** A 4-byte float value; anything of another length counts as missing. */
    std::optional<float> getFloat (const juce::String& key);
    void setFloat (const juce::String& key, float value);

    std::optional<juce::String> getString (const juce::String& key);
    void setString (const juce::String& key, const juce::String& value);

    /** Several changes in one read-merge-write (a value sets its key, none removes it), so that
        writing a whole set of keys costs one file write instead of one per key. */
    using Change = std::pair<juce::String, std::optional<juce::MemoryBlock>>;
    void apply (const std::vector<Change>& changes);
    static Change floatChange (const juce::String& key, float value);
    static Change stringChange (const juce::String& key, const juce::String& value);

    juce::File getFile() const { return file; }

private:
    using ValueMap = std::map<juce::String, juce::MemoryBlock>;

    ValueMap readFromDisk() const;
    bool writeToDisk (const ValueMap& values) const;
    void reloadIfChanged();

    juce::File file;
    juce::CriticalSection lock;
    ValueMap cache;
    juce::Time cacheTime;
    bool loaded = false;
};

#include "processor/KaPresetLibrary.h"
#include "processor/KaPaths.h"
#include "processor/KaPresetFile.h"
#include "processor/KaSettingsStore.h"

#include <algorithm>

namespace
{
    constexpr const char* standardFolders[] = { KaPresetLibrary::userFolder, KaPresetLibrary::installedFolder, KaPresetLibrary::defaultFolder };

    int standardRank (const juce::String& diskName)
    {
        for (int i = 0; i < (int) std::size (standardFolders); ++i)
            if (diskName == standardFolders[i])
                return i;
        return (int) std::size (standardFolders);
    }

    bool byShownName (const KaPresetLibrary::Entry& a, const KaPresetLibrary::Entry& b)
    {
        const int order = a.name.compareNatural (b.name, false);
        return order != 0 ? order < 0 : a.file.getFileName() < b.file.getFileName();
    }
}

KaPresetLibrary::KaPresetLibrary (juce::File root) : m_root (std::move (root)) {}

KaPresetLibrary KaPresetLibrary::standard() { return KaPresetLibrary (KaPaths::presetRoot()); }

bool KaPresetLibrary::createStandardFolders() const
{
    bool ok = true;
    for (const auto* name : standardFolders)
        ok = m_root.getChildFile (name).createDirectory().wasOk() && ok;
    return ok;
}

std::vector<KaPresetLibrary::Entry> KaPresetLibrary::listFolders() const
{
    std::vector<Entry> folders;
    for (const auto& dir : m_root.findChildFiles (juce::File::findDirectories, false))
        if (! dir.isHidden() && ! dir.getFileName().startsWithChar ('.'))
            folders.push_back ({ KaPresetName::decode (dir.getFileName()), dir });

    std::sort (folders.begin(), folders.end(), [] (const Entry& a, const Entry& b)
    {
        const int ra = standardRank (a.file.getFileName()), rb = standardRank (b.file.getFileName());
        return ra != rb ? ra < rb : byShownName (a, b);
    });
    return folders;
}

juce::File KaPresetLibrary::folderFile (const juce::String& folderDiskName) const
{
    // A preset opened from outside the root is tracked by its folder's full path; any other
    // name is one step below the root and cannot lead out of it.
    if (juce::File::isAbsolutePath (folderDiskName))
        return juce::File (folderDiskName);
    if (folderDiskName.isEmpty() || folderDiskName.containsAnyOf ("/\\") || folderDiskName == "." || folderDiskName == "..")
        return {};
    return m_root.getChildFile (folderDiskName);
}

juce::String KaPresetLibrary::folderNameOf (const juce::File& presetFile) const
{
    const auto folder = presetFile.getParentDirectory();
    return folder.getParentDirectory() == m_root ? folder.getFileName() : folder.getFullPathName();
}

juce::File KaPresetLibrary::presetFile (const juce::String& folderDiskName, const juce::String& fileDiskName) const
{
    const auto folder = folderFile (folderDiskName);
    if (folder == juce::File() || fileDiskName.isEmpty() || fileDiskName.containsAnyOf ("/\\"))
        return {};
    return folder.getChildFile (fileDiskName + KaPresetFile::extension);
}

std::vector<KaPresetLibrary::Entry> KaPresetLibrary::listPresets (const juce::String& folderDiskName) const
{
    std::vector<Entry> presets;
    const auto folder = folderFile (folderDiskName);
    if (folder == juce::File())
        return presets;

    for (const auto& file : folder.findChildFiles (juce::File::findFiles, false, juce::String ("*") + KaPresetFile::extension))
        if (! file.isHidden() && ! file.getFileName().startsWithChar ('.'))
            presets.push_back ({ KaPresetName::decode (file.getFileNameWithoutExtension()), file });

    std::sort (presets.begin(), presets.end(), byShownName);
    return presets;
}

std::optional<KaPresetLibrary::Entry> KaPresetLibrary::neighbour (const juce::String& folderDiskName, const juce::String& fileDiskName,
                                                                  int direction) const
{
    auto presets = listPresets (folderDiskName);
    if (presets.empty())
        for (const auto& folder : listFolders())
            if (presets = listPresets (folder.file.getFileName()); ! presets.empty())
                break;
    if (presets.empty() || direction == 0)
        return std::nullopt;

    const int count = (int) presets.size();
    const auto current = std::find_if (presets.begin(), presets.end(), [&] (const Entry& e) { return e.diskName() == fileDiskName; });
    if (current == presets.end())
        return presets[direction > 0 ? 0 : (size_t) (count - 1)];

    const int index = (int) (current - presets.begin());
    const int step = direction > 0 ? 1 : -1;
    return presets[(size_t) ((index + step + count) % count)];
}

juce::File KaPresetLibrary::find (const juce::String& nameOrPath) const
{
    const auto text = nameOrPath.trim();
    if (text.isEmpty())
        return {};

    const auto asPath = juce::File::getCurrentWorkingDirectory().getChildFile (text);
    if (asPath.existsAsFile())
        return asPath;

    const auto wanted = text.endsWithIgnoreCase (KaPresetFile::extension) ? text.dropLastCharacters (4) : text;
    for (const auto& folder : listFolders())
        for (const auto& preset : listPresets (folder.file.getFileName()))
            if (preset.diskName() == wanted || preset.name.equalsIgnoreCase (wanted))
                return preset.file;
    return {};
}

int KaPresetLibrary::installMissing (const std::vector<KaPreset>& presets, const KaParameterTable& table) const
{
    int written = 0;
    for (const auto& preset : presets)
    {
        const auto target = presetFile (preset.folder, preset.file);
        if (target != juce::File() && ! target.exists() && KaPresetFile::save (preset, table, target))
            ++written;
    }
    return written;
}

int KaPresetLibrary::installFactoryPresets (const std::vector<KaPreset>& presets, const KaParameterTable& table, KaSettingsStore& store) const
{
    if (store.getString (installedVersionKey) == juce::String (ORRIN_VERSION_TEXT))
        return 0;
    const int written = installMissing (presets, table);
    // Only a complete set counts as installed; a disk that refused a file gets another go at
    // the next start.
    const bool complete = std::all_of (presets.begin(), presets.end(), [this] (const KaPreset& p) { return presetFile (p.folder, p.file).existsAsFile(); });
    if (complete)
        store.setString (installedVersionKey, ORRIN_VERSION_TEXT);
    return written;
}

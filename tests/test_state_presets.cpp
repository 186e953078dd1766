// Preset files (".nap"), the preset folders and the default preset:
//  - name encoding ("Mix 5.1 (Film)" <-> "Mix 5.1 &28Film&29", "/\()|:", lost characters, "%2F");
//  - a saved preset holds every parameter with the file header and loads back bit for bit,
//    tracked and named; saving renames a complete temporary file over the old;
//  - without "Parameters" every value stays at its default, and "FileVersion" decides mapping;
//  - files that are not presets (not XML, another root, empty, too large; hostile XML is the
//    session's case, through the same guard) change nothing, undo history included;
//  - values clamp, non-numbers and missing keys take defaults, unknown keys are ignored;
//    "SpecificData" is kept and written again;
//  - folders created on first run and listed in the browser's order, presets in natural
//    order, hidden ones skipped, neighbours wrapping;
//  - the default preset: its keys, the -1e8 and wrong-size rules, clearing, its application;
//  - a session keeps its preset and whether it was changed from it; only the user's own presets
//    can be deleted.
#include "processor/KaDefaultPreset.h"
#include "processor/KaPaths.h"
#include "processor/KaPresetFile.h"
#include "processor/KaPresetLibrary.h"
#include "processor/KaSettingsStore.h"
#include "processor/UpmixerParameters.h"
#include "support/StateTestSupport.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace UpmixerParam;
using namespace StateTestSupport;

namespace
{
    ino_t inodeOf (const juce::File& f)
    {
        struct stat info {};
        return ::stat (f.getFullPathName().toRawUTF8(), &info) == 0 ? info.st_ino : 0;
    }
}

TEST (PresetNames, EncodingExamples)
{
    EXPECT_EQ (KaPresetName::encode ("Mix 5.1 (Film)"), "Mix 5.1 &28Film&29");
    EXPECT_EQ (KaPresetName::decode ("Mix 5.1 &28Film&29"), "Mix 5.1 (Film)");
    EXPECT_EQ (KaPresetName::encode ("a/b\\c(d)e|f:g"), "a&2Fb&5Cc&28d&29e&7Cf&3Ag");
    EXPECT_EQ (KaPresetName::decode ("a&2Fb&5Cc&28d&29e&7Cf&3Ag"), "a/b\\c(d)e|f:g");
    EXPECT_EQ (KaPresetName::encode (juce::String::fromUTF8 ("Caf\xc3\xa9 #1 +50%!")), "Caf 1 +50%!");
    EXPECT_EQ (KaPresetName::decode (KaPresetName::encode (juce::String::fromUTF8 ("Caf\xc3\xa9 #1"))), "Caf 1");
    EXPECT_EQ (KaPresetName::decode ("Drums%2FBass"), "Drums/Bass");
    EXPECT_EQ (KaPresetName::decode ("100%28"), "100(");
}

TEST (PresetFiles, SavedPresetLoadsBackBitForBit)
{
    ScopedPresetFolder folder ("RoundTrip");
    UpmixerProcessor source;
    const auto values = awkwardValues (source.getParameterTable(), 11);
    setAll (source, values);
    ASSERT_TRUE (source.savePreset ("RoundTrip", "My Mix (Film)"));
    const auto file = folder.file ("My Mix &28Film&29");
    ASSERT_TRUE (file.existsAsFile());
    EXPECT_EQ (source.getProgramName (0), "My Mix (Film)");

    const auto text = file.loadFileAsString();
    EXPECT_TRUE (text.startsWith ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"));
    const auto xml = juce::parseXML (text);
    ASSERT_NE (xml, nullptr);
    EXPECT_TRUE (xml->hasTagName ("KestroAudioPreset"));
    EXPECT_EQ (xml->getStringAttribute ("RegistryPath"), "OrrinUpmix_1");
    EXPECT_EQ (xml->getStringAttribute ("Version"), ORRIN_VERSION_TEXT);
    EXPECT_EQ (xml->getStringAttribute ("FileVersion"), "3");
    EXPECT_EQ (xml->getChildByName ("Parameters")->getNumAttributes(), 139);
    EXPECT_EQ (xml->getChildByName ("SpecificData"), nullptr);

    UpmixerProcessor target;
    ASSERT_TRUE (target.loadPresetFile (file));
    for (int n = 0; n < 139; ++n)
        EXPECT_EQ (bitsOf (target.getParameterValue (n)), bitsOf (source.getParameterValue (n))) << target.getParameterKey (n);
    EXPECT_EQ (target.getCurrentPreset().folder, "RoundTrip");
    EXPECT_EQ (target.getProgramName (0), "My Mix (Film)");
}

TEST (PresetFiles, ASessionKeepsItsPresetAndWhetherItWasChangedAndSavingRenamesOverTheOld)
{
    ScopedPresetFolder folder ("Session");
    UpmixerProcessor source;
    ASSERT_TRUE (source.savePreset ("Session", "Warm"));
    const auto file = folder.file ("Warm");
    const auto firstInode = inodeOf (file);
    const float saved = source.getParameterValue (Divergence);
    for (const float divergence : { saved, 0.9f })
    {
        source.setParameterNotifyingHost (Divergence, divergence, false);
        EXPECT_EQ (source.isPresetModified(), divergence != saved);
        juce::MemoryBlock state;
        source.getStateInformation (state);
        UpmixerProcessor restored;
        restored.setStateInformation (state.getData(), (int) state.getSize());
        EXPECT_EQ (restored.getCurrentPreset().getName(), "Warm");
        EXPECT_EQ (restored.isPresetModified(), divergence != saved);
    }
    EXPECT_FALSE (source.deletePreset ("Session", "Warm"));
    EXPECT_TRUE (file.existsAsFile());

    // Saving again writes a complete new file and renames it over the old: no temporary left.
    ASSERT_TRUE (source.savePreset ("Session", "Warm"));
    EXPECT_NE (inodeOf (file), firstInode);
    EXPECT_EQ (folder.dir.getNumberOfChildFiles (juce::File::findFilesAndDirectories | juce::File::ignoreHiddenFiles, "*"), 1);
    EXPECT_EQ (folder.dir.getNumberOfChildFiles (juce::File::findFiles, ".*"), 0);
    EXPECT_TRUE (KaPresetFile::load (file, source.getParameterTable())->values[Divergence] == 0.9f);
}

TEST (PresetFiles, PresetWithoutParametersKeepsDefaultsAndReportsItsVersion)
{
    const auto dir = makeTempFolder ("orrin-preset");
    const auto file = dir.getChildFile ("Bare.nap");
    file.replaceWithText ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<KestroAudioPreset FileVersion=\"2\"/>\n");
    const auto table = makeTable();

    const auto preset = KaPresetFile::load (file, table);
    ASSERT_TRUE (preset.has_value());
    EXPECT_EQ (preset->fileVersion, 2);
    for (int n = 0; n < table.getNumHostParameters(); ++n)
    {
        EXPECT_EQ (preset->values[(size_t) n], table.getDefault (n));
        EXPECT_FALSE (preset->suppliedValue (n));
    }

    // Its values were made for map version 2: loading maps them forward.
    UpmixerProcessor p;
    ASSERT_TRUE (p.loadPresetFile (file));
    EXPECT_EQ (p.getParameterValue (ExcludeC), 1.0f);
    EXPECT_EQ (p.getParameterValue (ExtendedVerticalParamRange), 0.0f);
    EXPECT_EQ (p.getParameterValue (ParamMapVersion), 0.003f);

    file.replaceWithText ("<KestroAudioPreset/>");
    EXPECT_EQ (KaPresetFile::load (file, table)->fileVersion, 0);
    dir.deleteRecursively();
}

TEST (PresetFiles, FilesThatAreNotPresetsLoadNothing)
{
    ScopedPresetFolder folder ("Broken");
    UpmixerProcessor p;
    setAll (p, awkwardValues (p.getParameterTable(), 5));
    const auto before = p.getHostValues();
    const int historyBefore = p.getNumActionsInCurrentTransaction();

    juce::MemoryBlock huge ((size_t) KaPresetFile::maxFileBytes + 10, true);

    const std::pair<const char*, juce::MemoryBlock> files[] = {
        { "NotXml", juce::MemoryBlock ("just words", 10) },
        { "OtherRoot", juce::MemoryBlock ("<Preset><Parameters Divergence=\"0.9\"/></Preset>", 47) },
        { "Empty", juce::MemoryBlock() },
        { "Huge", huge },
    };
    for (const auto& [name, bytes] : files)
    {
        const auto file = folder.file (name);
        file.replaceWithData (bytes.getData(), bytes.getSize());
        EXPECT_FALSE (p.loadPresetFile (file)) << name;
        EXPECT_FALSE (p.loadPreset ("Broken", name)) << name;
    }
    EXPECT_FALSE (p.loadPresetFile (folder.file ("Missing")));
    EXPECT_FALSE (p.loadPresetFile (folder.dir.getChildFile ("Wrong.txt")));

    EXPECT_EQ (p.getHostValues(), before);
    EXPECT_FALSE (p.tracksPresetFile());
    EXPECT_FALSE (p.canUndo());
    EXPECT_EQ (p.getNumActionsInCurrentTransaction(), historyBefore);
}

TEST (PresetFiles, ValuesClampUnknownKeysAreIgnoredSpecificDataIsKept)
{
    ScopedPresetFolder folder ("Odd");
    const auto file = folder.file ("Odd");
    file.replaceWithText ("<KestroAudioPreset FileVersion=\"3\">"
                          "<Parameters Divergence=\"7\" FadeFS=\"-1\" Diffusion=\"half\" LfeFreq=\"inf\" NotAKey=\"0.5\"/>"
                          "<SpecificData><Layout name=\"room\"><Seat x=\"1\"/></Layout></SpecificData>"
                          "</KestroAudioPreset>");
    UpmixerProcessor p;
    ASSERT_TRUE (p.loadPresetFile (file));
    const auto& t = p.getParameterTable();
    EXPECT_EQ (t.get (Divergence), 1.0f);
    EXPECT_EQ (t.get (FadeFS), 0.0f);
    EXPECT_EQ (t.get (Diffusion), t.getDefault (Diffusion));
    EXPECT_EQ (t.get (LfeFreq), t.getDefault (LfeFreq));

    const auto& specific = p.getCurrentPreset().specificData;
    EXPECT_TRUE (specific.contains ("<Layout name=\"room\">")) << specific;
    EXPECT_TRUE (specific.contains ("<Seat x=\"1\"/>")) << specific;

    ASSERT_TRUE (p.savePreset ("Odd", "Again"));
    const auto again = juce::parseXML (folder.file ("Again"));
    ASSERT_NE (again, nullptr);
    const auto* layout = again->getChildByName ("SpecificData")->getChildByName ("Layout");
    ASSERT_NE (layout, nullptr);
    EXPECT_EQ (layout->getStringAttribute ("name"), "room");
}

TEST (PresetFolders, CreatedOnFirstRunAndListedInBrowserOrder)
{
    const auto root = makeTempFolder ("orrin-library");
    KaPresetLibrary library (root.getChildFile ("Presets"));
    ASSERT_TRUE (library.createStandardFolders());
    for (const auto* name : { "User", "Installed", "Default" })
        EXPECT_TRUE (library.getRoot().getChildFile (name).isDirectory()) << name;

    for (const auto* name : { "Zed", "alpha", ".hidden", "Mix &28Old&29" })
        library.getRoot().getChildFile (name).createDirectory();
    juce::StringArray folders;
    for (const auto& f : library.listFolders())
        folders.add (f.name);
    EXPECT_EQ (folders, juce::StringArray ({ "User", "Installed", "Default", "alpha", "Mix (Old)", "Zed" }));

    const auto table = makeTable();
    const auto user = library.getRoot().getChildFile ("User");
    for (const auto* name : { "Preset 10", "preset 2", "Preset 1", ".Secret", "B &28dark&29" })
        writePreset (user, name, table, std::vector<float> ((size_t) table.getNumHostParameters(), 0.5f));
    user.getChildFile ("notes.txt").replaceWithText ("not a preset");
    juce::StringArray presets;
    for (const auto& p : library.listPresets ("User"))
        presets.add (p.name);
    EXPECT_EQ (presets, juce::StringArray ({ "B (dark)", "Preset 1", "preset 2", "Preset 10" }));

    auto step = [&] (const juce::String& from, int direction) { return library.neighbour ("User", from, direction)->diskName(); };
    EXPECT_EQ (step ("Preset 1", 1), "preset 2");
    EXPECT_EQ (step ("Preset 10", 1), "B &28dark&29");
    EXPECT_EQ (step ("B &28dark&29", -1), "Preset 10");
    EXPECT_EQ (step ("Not there", 1), "B &28dark&29");
    EXPECT_EQ (step ("Not there", -1), "Preset 10");
    // Without a folder, the first folder that holds presets is walked.
    EXPECT_EQ (library.neighbour ({}, "Default", 1)->diskName(), "B &28dark&29");
    EXPECT_FALSE (library.neighbour ("Zed", "x", 1).has_value() && library.listPresets ("Zed").size() > 0);

    EXPECT_EQ (library.find ("preset 10").getFileName(), "Preset 10.nap");
    EXPECT_EQ (library.find ("B (dark)").getFileName(), "B &28dark&29.nap");
    EXPECT_FALSE (library.find ("Nothing like it").exists());
    EXPECT_FALSE (library.folderFile ("../escape").exists());
    root.deleteRecursively();
}

TEST (DefaultPreset, KeysAndMissingValueRules)
{
    const auto dir = makeTempFolder ("orrin-store");
    KaSettingsStore store (dir.getChildFile ("settings.xml"));
    auto table = makeTable();
    EXPECT_FALSE (KaDefaultPreset::has (store, table));
    EXPECT_FALSE (KaDefaultPreset::load (store, table).has_value());

    table.set (Divergence, 0.125f);
    KaDefaultPreset::save (store, table, "User", "Warm");
    EXPECT_TRUE (KaDefaultPreset::has (store, table));
    EXPECT_EQ (store.getFloat ("KJDEFAULT Divergence"), 0.125f);
    EXPECT_EQ (store.getFloat ("KJDEFAULT Ambisonic "), table.get (AmbisonicFormat));
    EXPECT_EQ (store.getString ("KJDEFAULT_PRESET_FOLDER"), juce::String ("User"));
    EXPECT_EQ (store.getString ("KJDEFAULT_PRESET_FILE"), juce::String ("Warm"));

    // Only stored numbers of exactly four bytes count, and -1e8 marks a missing one.
    KaDefaultPreset::clear (store, table);
    EXPECT_FALSE (KaDefaultPreset::has (store, table));
    store.setFloat ("KJDEFAULT Divergence", -1.0e8f);
    store.setBinary ("KJDEFAULT Diffusion", juce::MemoryBlock ("abc", 3));
    EXPECT_FALSE (KaDefaultPreset::has (store, table));
    store.setFloat ("KJDEFAULT Diffusion", 7.0f);
    EXPECT_TRUE (KaDefaultPreset::has (store, table));
    const auto values = KaDefaultPreset::load (store, table);
    EXPECT_EQ ((*values)[Diffusion], 1.0f);
    EXPECT_EQ ((*values)[Divergence], table.getDefault (Divergence));
    dir.deleteRecursively();
}

TEST (DefaultPreset, AppliedWhenAProcessorStarts)
{
    DefaultPresetGuard guard;
    ScopedPresetFolder folder ("Defaults");
    {
        UpmixerProcessor p;
        EXPECT_FALSE (p.hasDefaultPreset());
        p.setParameterNotifyingHost (Divergence, 0.625f, false);
        ASSERT_TRUE (p.savePreset ("Defaults", "House Style"));
        p.saveDefaultPreset();
        EXPECT_TRUE (p.hasDefaultPreset());
    }

    UpmixerProcessor fresh;
    EXPECT_EQ (fresh.getParameterValue (Divergence), 0.625f);
    EXPECT_EQ (fresh.getCurrentPreset().folder, "Defaults");
    EXPECT_EQ (fresh.getProgramName (0), "House Style");
    EXPECT_FALSE (fresh.isPresetModified());  // what it holds is the default, not the file
    fresh.setCurrentProgram (9);
    EXPECT_EQ (fresh.getParameterValue (Divergence), 0.625f);

    fresh.clearDefaultPreset();
    UpmixerProcessor plain;
    EXPECT_EQ (plain.getParameterValue (Divergence), plain.getParameterTable().getDefault (Divergence));
    EXPECT_FALSE (plain.tracksPresetFile());
}

// Factory presets:
//  - the committed files are byte for byte what make-factory-presets writes; every design
//    applies cleanly (at least eight, uniquely named, each off the defaults);
//  - every committed preset supplies each value and loads bit for bit, named after its file;
//  - installed into "Installed" once per program version, never over a user's file (a
//    deleted one stays deleted); a processor's first run installs them;
//  - the command line: --preset renders what the same values by --set render, --set after
//    --preset wins (an unknown or broken preset is refused with the command line's other errors).
#include "processor/KaFloatText.h"
#include "processor/KaPaths.h"
#include "processor/KaPresetFile.h"
#include "processor/KaPresetLibrary.h"
#include "processor/KaSettingsStore.h"
#include "processor/UpmixerFactoryPresets.h"
#include "processor/UpmixerParameters.h"
#include "support/CliRunner.h"
#include "support/ProcessorHarness.h"
#include "support/StateTestSupport.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>


using namespace StateTestSupport;

namespace
{
    const juce::File committed = juce::File (ORRIN_SOURCE_DIR).getChildFile ("resources/presets");

    juce::Array<juce::File> presetFilesIn (const juce::File& dir)
    {
        auto files = dir.findChildFiles (juce::File::findFiles, false, "*.nap");
        files.sort();
        return files;
    }

    /** Runs make-factory-presets; its exit code, or -1 when it could not be started. */
    int runTool (const juce::File& outputFolder)
    {
        juce::ChildProcess tool;
        if (! tool.start (juce::StringArray { ORRIN_FACTORY_PRESET_TOOL, outputFolder.getFullPathName() }))
            return -1;
        tool.readAllProcessOutput();
        tool.waitForProcessToFinish (60000);
        return (int) tool.getExitCode();
    }
}

TEST (FactoryPresets, CommittedFilesEqualWhatTheToolWrites)
{
    const auto out = makeTempFolder ("orrin-factory");
    ASSERT_EQ (runTool (out), 0);

    const auto generated = presetFilesIn (out), inRepository = presetFilesIn (committed);
    ASSERT_EQ (generated.size(), inRepository.size()) << "run make-factory-presets resources/presets";
    for (int i = 0; i < generated.size(); ++i)
    {
        EXPECT_EQ (generated[i].getFileName(), inRepository[i].getFileName());
        EXPECT_TRUE (generated[i].hasIdenticalContentTo (inRepository[i])) << inRepository[i].getFileName() << " is out of date";
    }
    out.deleteRecursively();
}

TEST (FactoryPresets, DesignsApplyCleanlyAndEveryCommittedPresetLoadsAndWasInstalled)
{
    const auto table = makeTable();
    juce::StringArray problems;
    EXPECT_GE (UpmixerFactoryPresets::create (table, &problems).size(), 8u);
    EXPECT_TRUE (problems.isEmpty()) << problems.joinIntoString ("\n");

    // Each supplies every value, is off the defaults, and loads bit for bit, named after its
    // file; a processor's first run has installed it.
    ScopedPresetFolder folder ("FactoryCheck");
    const auto installed = KaPaths::presetRoot().getChildFile ("Installed");
    for (const auto& file : presetFilesIn (committed))
    {
        const auto preset = KaPresetFile::load (file, table);
        ASSERT_TRUE (preset.has_value()) << file.getFileName();
        const auto copy = folder.dir.getChildFile (file.getFileName());
        file.copyFileTo (copy);
        UpmixerProcessor p;
        ASSERT_TRUE (p.loadPresetFile (copy)) << file.getFileName();
        int changed = 0;
        for (int n = 0; n < table.getNumHostParameters(); ++n)
        {
            EXPECT_TRUE (preset->suppliedValue (n)) << file.getFileName() << " " << table.info (n)->key;
            EXPECT_EQ (bitsOf (p.getParameterValue (n)), bitsOf (preset->values[(size_t) n])) << file.getFileName() << " " << table.info (n)->key;
            changed += preset->values[(size_t) n] != table.getDefault (n) ? 1 : 0;
        }
        EXPECT_GE (changed, 3) << file.getFileName();
        EXPECT_EQ (p.getProgramName (0), KaPresetName::decode (file.getFileNameWithoutExtension()));
        EXPECT_TRUE (installed.getChildFile (file.getFileName()).hasIdenticalContentTo (file)) << file.getFileName();
    }
}

TEST (FactoryPresets, InstalledOnceWithoutOverwritingTheUsersFiles)
{
    const auto dir = makeTempFolder ("orrin-install");
    KaSettingsStore store (dir.getChildFile ("settings.xml"));
    KaPresetLibrary library (dir.getChildFile ("Presets"));
    const auto table = makeTable();
    const auto presets = UpmixerFactoryPresets::create (table);

    library.createStandardFolders();
    const auto users = library.presetFile ("Installed", "Film Dialogue 5.1");
    users.replaceWithText ("my own tweaks");

    EXPECT_EQ (library.installFactoryPresets (presets, table, store), (int) presets.size() - 1);
    EXPECT_EQ (users.loadFileAsString(), "my own tweaks");
    EXPECT_EQ (library.listPresets ("Installed").size(), presets.size());

    const auto deleted = library.presetFile ("Installed", "Live Concert 7.1");
    deleted.deleteFile();
    EXPECT_EQ (library.installFactoryPresets (presets, table, store), 0);
    EXPECT_FALSE (deleted.exists());

    // An update brings the set again, still sparing the user's file.
    store.setString (KaPresetLibrary::installedVersionKey, "0.9.0.0");
    EXPECT_EQ (library.installFactoryPresets (presets, table, store), 1);
    EXPECT_TRUE (deleted.existsAsFile());
    EXPECT_EQ (users.loadFileAsString(), "my own tweaks");
    dir.deleteRecursively();
}

TEST (FactoryPresets, CommandLinePresetComesBeforeSettings)
{
    const auto dir = makeTempFolder ("orrin-cli-preset");
    const auto input = dir.getChildFile ("in.wav");
    ASSERT_TRUE (CliRunner::writeWav (input, TestSignals::noise (2, 24000, 3)));

    // The same values given one by one, in their normalised form.
    const auto table = makeTable();
    const auto preset = KaPresetFile::load (committed.getChildFile ("Music Wide 7.1.nap"), table);
    ASSERT_TRUE (preset.has_value());
    juce::StringArray spelledOut { input.getFullPathName(), dir.getChildFile ("set.wav").getFullPathName(), "--layout", "7.1", "--quiet" };
    for (int n = 0; n < table.getNumHostParameters(); ++n)
    {
        const auto* info = table.info (n);
        const float value = preset->values[(size_t) n];
        if (value != table.getDefault (n))
            spelledOut.addArray ({ "--set", info->key + "=" + (info->kind == KaParamKind::choice ? juce::String (KaParameterTable::choiceOf (value))
                                                                                                  : KaFloatText::fromFloat (value)) });
    }

    const auto viaSet = CliRunner::run (spelledOut);
    ASSERT_EQ (viaSet.exitCode, 0) << viaSet.output;
    const auto viaPreset = CliRunner::run ({ input.getFullPathName(), dir.getChildFile ("preset.wav").getFullPathName(),
                                                  "--layout", "7.1", "--preset", "music wide 7.1", "--quiet" });
    ASSERT_EQ (viaPreset.exitCode, 0) << viaPreset.output;
    EXPECT_TRUE (dir.getChildFile ("preset.wav").hasIdenticalContentTo (dir.getChildFile ("set.wav")));

    const auto overridden = CliRunner::run ({ input.getFullPathName(), dir.getChildFile ("over.wav").getFullPathName(), "--layout", "7.1",
                                                   "--preset", committed.getChildFile ("Music Wide 7.1.nap").getFullPathName(),
                                                   "--set", "Diffusion=0", "--quiet" });
    ASSERT_EQ (overridden.exitCode, 0) << overridden.output;
    EXPECT_FALSE (dir.getChildFile ("over.wav").hasIdenticalContentTo (dir.getChildFile ("set.wav")));

    dir.deleteRecursively();
}

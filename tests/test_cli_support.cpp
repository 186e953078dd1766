// The command line's support features, run as a user would:
//  - --profile prints a row per engine stage that ran, with a realtime factor;
//  - --support-bundle writes a zip with system.txt (layout, timing figures), state.xml, the log
//    and the settings, naming no home folder; a place it cannot write is one error line and
//    leaves nothing behind; an old file at the target is replaced whole.
#include "support/CliRunner.h"
#include "support/ProcessorHarness.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

namespace
{
    struct CliSupportTest : ::testing::Test
    {
        juce::File dir = makeTempFolder ("orrin-cli-support");
        void TearDown() override { dir.deleteRecursively(); }

        static juce::String entryText (juce::ZipFile& zip, const juce::String& name)
        {
            const int index = zip.getIndexOfFileName (name);
            std::unique_ptr<juce::InputStream> stream (index >= 0 ? zip.createStreamForEntry (index) : nullptr);
            return stream != nullptr ? stream->readEntireStreamAsString() : juce::String();
        }
    };
}

TEST_F (CliSupportTest, ProfilePrintsEachStageWithItsRealtimeFactor)
{
    const auto input = dir.getChildFile ("in.wav"), output = dir.getChildFile ("out.wav");
    ASSERT_TRUE (CliRunner::writeWav (input, TestSignals::noise (2, 96000, 3, 0.1f)));
    const auto run = CliRunner::run ({ input.getFullPathName(), output.getFullPathName(), "--layout", "7.1.4", "--profile", "--quiet" });
    ASSERT_EQ (run.exitCode, 0) << run.output;
    // 7.1.4 runs every stage, the overheads too.
    for (auto* stage : { "Upmixer_DialogExtraction", "Upmixer_UpmixPsd", "Upmixer_spreadCentre", "Upmixer_generateLfe",
                         "Upmixer_generateOverheadChannels", "Rest of the processor", "Total" })
    {
        const auto line = juce::StringArray::fromLines (run.output.fromFirstOccurrenceOf (stage, true, false))[0];
        auto fields = juce::StringArray::fromTokens (line.fromFirstOccurrenceOf (stage, false, false), " ", "");
        fields.removeEmptyStrings();
        ASSERT_EQ (fields.size(), 3) << line;
        EXPECT_GT (fields[0].getDoubleValue(), 0.0) << line;
        EXPECT_TRUE (fields[2].endsWith ("x")) << line;
    }
    EXPECT_TRUE (run.output.contains ("Realtime factor")) << run.output;
    EXPECT_TRUE (run.output.contains ("2.00 s of audio")) << run.output;
}

TEST_F (CliSupportTest, SupportBundleHoldsStateLogsAndSystemAndFailsInOneLine)
{
    const auto zipFile = dir.getChildFile ("support.zip");
    zipFile.replaceWithText ("an old file in the way");
    const auto run = CliRunner::run ({ "--support-bundle", zipFile.getFullPathName(), "--layout", "7.1.4", "--set", "LfeFreq=120Hz" });
    ASSERT_EQ (run.exitCode, 0) << run.output;

    juce::ZipFile zip (zipFile);
    ASSERT_EQ (zip.getNumEntries(), 4) << "system.txt, state.xml, the log and the settings";
    const auto system = entryText (zip, "system.txt");
    EXPECT_TRUE (system.contains ("7.1.4 Surround (12 channels)")) << system;
    EXPECT_TRUE (system.contains ("Sample rate:    48000 Hz")) << system;
    EXPECT_TRUE (system.containsWholeWord ("Upmixer_DialogExtraction")) << system;
    EXPECT_FALSE (system.contains ("user = ")) << system;
    const auto home = juce::File::getSpecialLocation (juce::File::userHomeDirectory).getFullPathName() + "/";
    EXPECT_FALSE (system.contains (home)) << system;

    const auto state = juce::parseXML (entryText (zip, "state.xml"));
    ASSERT_NE (state, nullptr);
    EXPECT_TRUE (state->hasTagName ("MYPLUGINSETTINGS"));
    EXPECT_TRUE (entryText (zip, "logs/KaLog.log").contains ("Orrin Upmix v"));
    EXPECT_GE (zip.getIndexOfFileName ("settings/settings.xml"), 0);

    const std::pair<juce::File, const char*> bad[] = {
        { dir.getChildFile ("no/such/folder/s.zip"), "no such folder" },
        { dir, "it is a folder" },
    };
    for (const auto& [target, words] : bad)
    {
        const auto failed = CliRunner::run ({ "--support-bundle", target.getFullPathName() });
        EXPECT_EQ (failed.exitCode, 1);
        EXPECT_EQ (juce::StringArray::fromLines (failed.output.trim()).size(), 1) << failed.output;
        EXPECT_TRUE (failed.output.startsWith ("orrin-upmix: error: cannot write") && failed.output.contains (words)) << failed.output;
    }
    EXPECT_EQ (dir.getNumberOfChildFiles (juce::File::findFilesAndDirectories), 1) << "no temporary files left";
}

// The per-user settings store:
// - values survive in the file, and a value of another length than 4 bytes is no float;
// - two stores on one file (two processes' views) never drop each other's keys: every write
//   re-reads and merges; many threads writing through one store leave a complete file;
// - a corrupt file reads as empty and is replaced cleanly by the next write.
#include "processor/KaSettingsStore.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <thread>

namespace
{
    struct SettingsStoreTest : ::testing::Test
    {
        juce::File dir = makeTempFolder ("orrin-settings");
        juce::File file = dir.getChildFile ("settings.xml");

        void TearDown() override { dir.deleteRecursively(); }
    };
}

TEST_F (SettingsStoreTest, FourByteFloatsOtherValuesAndACorruptFile)
{
    {
        KaSettingsStore store (file);
        store.setFloat ("Gain", 0.25f);
        store.setBinary ("Odd", juce::MemoryBlock ("12345", 5));
        store.setString ("Path", "/tmp/a b/c.wav");
    }
    KaSettingsStore reread (file);
    EXPECT_EQ (reread.getFloat ("Gain").value_or (-1.0f), 0.25f);
    EXPECT_FALSE (reread.getFloat ("Odd").has_value());
    EXPECT_TRUE (reread.contains ("Odd"));
    EXPECT_EQ (reread.getString ("Path").value_or (""), "/tmp/a b/c.wav");
    reread.remove ("Gain");
    EXPECT_FALSE (KaSettingsStore (file).contains ("Gain"));

    // A corrupt file reads as empty and is replaced cleanly by the next write.
    file.replaceWithText ("<KaSettings><Value name=\"X\" data=\"%%%\"/><broken");
    KaSettingsStore corrupt (file);
    EXPECT_FALSE (corrupt.getFloat ("X").has_value());
    corrupt.setFloat ("Y", 4.0f);
    EXPECT_EQ (KaSettingsStore (file).getFloat ("Y").value_or (0.0f), 4.0f);
    EXPECT_NE (juce::parseXML (file), nullptr);
}

TEST_F (SettingsStoreTest, ViewsAndThreadsKeepEachOthersKeys)
{
    KaSettingsStore first (file), second (file);
    first.setFloat ("A", 1.0f);
    EXPECT_EQ (second.getFloat ("A").value_or (0.0f), 1.0f);
    second.setFloat ("B", 2.0f);  // must not drop A
    first.setFloat ("C", 3.0f);   // must not drop B

    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back ([&first, t] {
            for (int i = 0; i < 25; ++i)
                first.setFloat ("T" + juce::String (t) + "_" + juce::String (i), (float) i);
        });
    for (auto& th : threads)
        th.join();

    KaSettingsStore reread (file);
    const std::pair<const char*, float> written[] = { { "A", 1.0f }, { "B", 2.0f }, { "C", 3.0f } };
    for (const auto& [key, value] : written)
        EXPECT_EQ (reread.getFloat (key).value_or (0.0f), value) << key;
    for (int t = 0; t < 4; ++t)
        for (int i = 0; i < 25; ++i)
            EXPECT_EQ (reread.getFloat ("T" + juce::String (t) + "_" + juce::String (i)).value_or (-1.0f), (float) i);
    EXPECT_NE (juce::parseXML (file), nullptr);
}

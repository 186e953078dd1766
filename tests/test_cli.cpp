// The orrin-upmix command line, run as a user would:
// - renders a generated stereo WAV to 7.1.2 and 5.1: channel count, WAV channel mask, length
//   equal to the input, a click at the same sample position (latency removed), the report;
// - a hard-left source sits in L from the first 50 ms (the render starts warmed up), and a file
//   shorter than a block renders too;
// - refuses each kind of bad input with one clear line and a non-zero exit, leaving no file;
// - Ctrl-C in the middle of a render leaves no file behind either.
#include "support/CliRunner.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace
{
    using CliRunner::Run;
    const auto runCli = CliRunner::run;

    struct CliTest : ::testing::Test
    {
        juce::File dir = makeTempFolder ("orrin-cli");
        juce::File input = dir.getChildFile ("in.wav");

        void SetUp() override
        {
            // Two seconds of quiet stereo noise with a centred click at sample 30000.
            juce::AudioBuffer<float> b (2, 96000);
            juce::Random random (5);
            for (int ch = 0; ch < 2; ++ch)
                for (int i = 0; i < b.getNumSamples(); ++i)
                    b.setSample (ch, i, 0.01f * (random.nextFloat() - 0.5f));
            b.setSample (0, 30000, 0.9f);
            b.setSample (1, 30000, 0.9f);
            ASSERT_TRUE (CliRunner::writeWav (input, b));
        }

        void TearDown() override { dir.deleteRecursively(); }

        void expectFailure (const juce::StringArray& args, const juce::File& output, const char* words)
        {
            const auto run = runCli (args);
            EXPECT_NE (run.exitCode, 0) << args.joinIntoString (" ");
            const auto lines = juce::StringArray::fromLines (run.output.trim());
            EXPECT_EQ (lines.size(), 1) << run.output;
            EXPECT_TRUE (run.output.startsWith ("orrin-upmix: error: ")) << run.output;
            EXPECT_TRUE (run.output.containsIgnoreCase (words)) << run.output;
            EXPECT_FALSE (output.exists());
            // Nothing else was left behind either (no temporary files).
            for (const auto& f : dir.findChildFiles (juce::File::findFiles, true))
                EXPECT_TRUE (f.getFileName() == "in.wav" || f.getFileName() == "notes.wav") << f.getFullPathName();
        }
    };
}

TEST_F (CliTest, RendersAlignedMultichannelWav)
{
    const auto out = dir.getChildFile ("out 712.wav");
    const auto run = runCli ({ input.getFullPathName(), out.getFullPathName() });
    ASSERT_EQ (run.exitCode, 0) << run.output;
    EXPECT_TRUE (run.output.contains ("Wrote")) << run.output;
    EXPECT_TRUE (run.output.contains ("Peak dBFS")) << run.output;

    auto reader = CliRunner::openWav (out);
    ASSERT_NE (reader, nullptr);
    EXPECT_EQ (reader->numChannels, 10u);
    EXPECT_EQ (reader->lengthInSamples, 96000);
    EXPECT_EQ (reader->metadataValues["ChannelMask"], juce::String (0x563F));

    juce::AudioBuffer<float> b (10, 96000);
    reader->read (&b, 0, 96000, 0, true, true);
    int loudest = 0;
    float best = 0.0f;
    for (int i = 0; i < b.getNumSamples(); ++i)
    {
        float sum = 0.0f;
        for (int ch = 0; ch < 10; ++ch)
            sum += std::abs (b.getSample (ch, i));
        if (sum > best)
            best = sum, loudest = i;
    }
    EXPECT_NEAR (loudest, 30000, 2);
}

TEST_F (CliTest, FiveOneLayoutAndBitDepth)
{
    const auto out = dir.getChildFile ("out51.wav");
    const auto run = runCli ({ input.getFullPathName(), out.getFullPathName(), "--layout", "5.1", "--bits", "24",
                               "--set", "LfeFreq=120Hz", "--set", "Divergence=0.25", "--quiet" });
    ASSERT_EQ (run.exitCode, 0) << run.output;
    EXPECT_TRUE (run.output.trim().isEmpty()) << run.output;
    auto reader = CliRunner::openWav (out);
    ASSERT_NE (reader, nullptr);
    EXPECT_EQ (reader->numChannels, 6u);
    EXPECT_EQ (reader->bitsPerSample, 24u);
    EXPECT_EQ (reader->metadataValues["ChannelMask"], juce::String (0x60F));
}

TEST_F (CliTest, AHardLeftSourceIsPlacedFromTheFirstMoment)
{
    // Noise on the left only: from a cold start the engine would put the opening in Ls.
    const auto left = dir.getChildFile ("left.wav");
    juce::AudioBuffer<float> b (2, 72000);
    b.clear();
    juce::Random random (9);
    for (int i = 0; i < b.getNumSamples(); ++i)
        b.setSample (0, i, 0.2f * (random.nextFloat() - 0.5f));
    ASSERT_TRUE (CliRunner::writeWav (left, b));

    const auto out = dir.getChildFile ("left51.wav");
    ASSERT_EQ (runCli ({ left.getFullPathName(), out.getFullPathName(), "--layout", "5.1", "--quiet" }).exitCode, 0);
    auto reader = CliRunner::openWav (out);
    ASSERT_NE (reader, nullptr);
    juce::AudioBuffer<float> o (6, 72000);
    reader->read (&o, 0, 72000, 0, true, true);
    auto db = [&] (int ch, int start, int length) { return juce::Decibels::gainToDecibels (o.getRMSLevel (ch, start, length), -200.0f); };
    // 5.1 file order: L R C LFE Ls Rs. The first 50 ms against the last half second.
    EXPECT_NEAR (db (0, 0, 2400), db (0, 48000, 24000), 1.0f);
    EXPECT_NEAR (db (4, 0, 2400), db (4, 48000, 24000), 3.0f);
    EXPECT_GT (db (0, 0, 2400) - db (4, 0, 2400), 12.0f);

    // A file too short to mirror a whole block still renders, at its own length.
    b.setSize (2, 300, true);
    ASSERT_TRUE (CliRunner::writeWav (left, b));
    ASSERT_EQ (runCli ({ left.getFullPathName(), out.getFullPathName(), "--layout", "5.1", "--quiet" }).exitCode, 0);
    EXPECT_EQ (CliRunner::openWav (out)->lengthInSamples, 300);
}

TEST_F (CliTest, InterruptedRenderLeavesNoFileBehind)
{
    // Four minutes of mono noise: long enough to be stopped halfway.
    const auto longInput = dir.getChildFile ("long.wav");
    {
        juce::AudioBuffer<float> b (1, 48000 * 240);
        juce::Random random (4);
        for (int i = 0; i < b.getNumSamples(); ++i)
            b.setSample (0, i, 0.2f * (random.nextFloat() - 0.5f));
        ASSERT_TRUE (CliRunner::writeWav (longInput, b));
    }
    const auto out = dir.getChildFile ("stopped.wav");
    auto others = [&] {
        juce::StringArray names;
        for (const auto& f : dir.findChildFiles (juce::File::findFiles, false))
            if (f != longInput && f != input)
                names.add (f.getFileName());
        return names;
    };

    const pid_t pid = fork();
    ASSERT_GE (pid, 0);
    if (pid == 0)
    {
        const int devNull = ::open ("/dev/null", O_WRONLY);
        ::dup2 (devNull, STDERR_FILENO);
        ::dup2 (devNull, STDOUT_FILENO);
        const auto in = longInput.getFullPathName().toStdString(), target = out.getFullPathName().toStdString();
        ::execl (ORRIN_CLI_PATH, ORRIN_CLI_PATH, in.c_str(), target.c_str(), "--layout", "7.1.4", (char*) nullptr);
        ::_exit (127);
    }

    // Once the render is writing (its temporary file exists), Ctrl-C.
    for (int i = 0; i < 10000 && others().isEmpty(); ++i)
        juce::Thread::sleep (1);
    const bool wasWriting = ! others().isEmpty();
    ::kill (pid, SIGINT);
    int status = 0;
    ::waitpid (pid, &status, 0);

    EXPECT_TRUE (wasWriting);
    EXPECT_TRUE (WIFSIGNALED (status) && WTERMSIG (status) == SIGINT) << status;
    EXPECT_TRUE (others().isEmpty()) << others().joinIntoString (", ");
}

TEST_F (CliTest, RefusesBadInputWithOneLine)
{
    const auto out = dir.getChildFile ("never.wav");
    const auto text = dir.getChildFile ("notes.wav");
    text.replaceWithText ("this is not audio");
    expectFailure ({ text.getFullPathName(), out.getFullPathName() }, out, "not a readable audio file");
    text.deleteFile();

    expectFailure ({ dir.getChildFile ("missing.wav").getFullPathName(), out.getFullPathName() }, out, "no such file");
    expectFailure ({ input.getFullPathName(), out.getFullPathName(), "--frobnicate" }, out, "frobnicate");
    expectFailure ({ input.getFullPathName(), out.getFullPathName(), "--layout", "9.1" }, out, "unknown layout");
    expectFailure ({ input.getFullPathName(), out.getFullPathName(), "--set", "NoSuchKey=1" }, out, "unknown parameter");
    expectFailure ({ input.getFullPathName(), out.getFullPathName(), "--set", "LfeFreq=900Hz" }, out, "out of range");
    expectFailure ({ input.getFullPathName(), out.getFullPathName(), "--set", "Divergence" }, out, "Key=value");
    expectFailure ({ input.getFullPathName(), out.getFullPathName(), "--bits", "12" }, out, "--bits");
    expectFailure ({ input.getFullPathName(), dir.getChildFile ("no/such/dir/x.wav").getFullPathName() }, out, "cannot write");
    expectFailure ({ input.getFullPathName(), input.getFullPathName() }, out, "overwrite the input");
    EXPECT_GT (input.getSize(), 1000);
}

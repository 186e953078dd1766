// The orrin-upmix command line, run as a user would:
//  - 7.1.2, 5.1, third-order AmbiX and first-order FuMa renders: channels, channel mask, bit
//    depth, the input's length, a click at its own sample (latency removed), the report (and
//    no picture without --report); a hard-left source placed from the first 50 ms; a file
//    shorter than a block renders too; headphone renders (binaural, and 5.1 --headphones) are
//    stereo, the click's peak late by no more than the head-related responses' own (1.1 ms for
//    the centre: their onset is kept); an integer file that clips says so, even when quiet;
//  - each kind of bad input (an unknown or broken preset too) is one line of error, a non-zero
//    exit and no file (no --report picture either); so is Ctrl-C.
#include "support/CliRunner.h"
#include "support/ProcessorHarness.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace
{
    const auto runCli = CliRunner::run;

    struct CliTest : ::testing::Test
    {
        juce::File dir = makeTempFolder ("orrin-cli");
        juce::File input = dir.getChildFile ("in.wav");

        void SetUp() override
        {
            // Two seconds of quiet stereo noise with a centred click at sample 30000.
            auto b = TestSignals::noise (2, 96000, 5, 0.005f);
            b.setSample (0, 30000, 0.9f);
            b.setSample (1, 30000, 0.9f);
            ASSERT_TRUE (CliRunner::writeWav (input, b));
        }

        void TearDown() override { dir.deleteRecursively(); }

        /** The rendered file, read whole. */
        static juce::AudioBuffer<float> read (const juce::File& file)
        {
            auto reader = CliRunner::openWav (file);
            juce::AudioBuffer<float> b (reader != nullptr ? (int) reader->numChannels : 0, reader != nullptr ? (int) reader->lengthInSamples : 0);
            if (reader != nullptr)
                reader->read (&b, 0, b.getNumSamples(), 0, true, true);
            return b;
        }

        void expectFailure (const juce::StringArray& args, const juce::File& output, const char* words)
        {
            const auto run = runCli (args);
            EXPECT_NE (run.exitCode, 0) << args.joinIntoString (" ");
            EXPECT_EQ (juce::StringArray::fromLines (run.output.trim()).size(), 1) << run.output;
            EXPECT_TRUE (run.output.startsWith ("orrin-upmix: error: ")) << run.output;
            EXPECT_TRUE (run.output.containsIgnoreCase (words)) << run.output;
            EXPECT_FALSE (output.exists());
            // Nothing else was left behind either (no temporary files).
            for (const auto& f : dir.findChildFiles (juce::File::findFiles, true))
                EXPECT_TRUE (f.getFileName() == "in.wav" || f.getFileNameWithoutExtension() == "notes") << f.getFullPathName();
        }
    };
}

TEST_F (CliTest, RendersAlignedMultichannelWavs)
{
    struct Row
    {
        juce::StringArray options;
        unsigned int channels, bits, mask;
        int onset = 0;  // samples the click may come late: the head-related responses' peak
        bool clips = false;  // W sums the centred click's loudspeakers above full scale
    };
    const Row rows[] = {
        { {}, 10, 32, 0x563F },  // 7.1.2 in 32-bit float by default, with the report
        { { "--layout", "5.1", "--bits", "24", "--set", "LfeFreq=120Hz", "--set", "Divergence=0.25", "--quiet" }, 6, 24, 0x60F },
        // Ambisonic: the order's channel count, and no speaker mask.
        { { "--layout", "ambix3", "--quiet" }, 16, 32, 0 },
        { { "--layout", "fuma1", "--bits", "24", "--quiet" }, 4, 24, 0, 0, true },
        { { "--layout", "ambix1", "--bits", "16", "--quiet" }, 4, 16, 0, 0, true },
        { { "--layout", "binaural", "--quiet" }, 2, 32, 0, 72 },
        { { "--layout", "5.1", "--headphones", "--bits", "16", "--quiet" }, 2, 16, 0, 72 },
    };
    for (const auto& row : rows)
    {
        const auto out = dir.getChildFile ("out " + row.options.joinIntoString (" ") + ".wav");
        auto args = juce::StringArray { input.getFullPathName(), out.getFullPathName() };
        args.addArray (row.options);
        const auto run = runCli (args);
        ASSERT_EQ (run.exitCode, 0) << run.output;
        const bool quiet = row.options.contains ("--quiet");
        EXPECT_EQ (run.output.contains ("Wrote") && run.output.contains ("Peak dBFS"), ! quiet) << run.output;
        EXPECT_EQ (run.output.contains ("orrin-upmix: warning: 2 channels go over full scale ("), row.clips) << run.output;
        EXPECT_EQ (run.output.trim().isEmpty(), quiet && ! row.clips) << run.output;
        EXPECT_FALSE (dir.getChildFile (out.getFileName() + ".png").exists()) << "a picture only with --report";

        auto reader = CliRunner::openWav (out);
        ASSERT_NE (reader, nullptr);
        EXPECT_EQ (reader->numChannels, row.channels);
        EXPECT_EQ (reader->bitsPerSample, row.bits);
        EXPECT_EQ (reader->metadataValues["ChannelMask"], row.mask != 0 ? juce::String (row.mask) : juce::String());

        const auto b = read (out);
        EXPECT_EQ (b.getNumSamples(), 96000);
        int loudest = 0;
        float best = 0.0f;
        for (int i = 0; i < b.getNumSamples(); ++i)
        {
            float sum = 0.0f;
            for (int ch = 0; ch < b.getNumChannels(); ++ch)
                sum += std::abs (b.getSample (ch, i));
            if (sum > best)
                best = sum, loudest = i;
        }
        EXPECT_GE (loudest, 30000 - 2) << "latency removed";
        EXPECT_LE (loudest, 30000 + 2 + row.onset) << "latency removed";
    }
}

TEST_F (CliTest, AHardLeftSourceIsPlacedFromTheFirstMoment)
{
    // Noise on the left only: from a cold start the engine would put the opening in Ls.
    const auto left = dir.getChildFile ("left.wav"), out = dir.getChildFile ("left51.wav");
    auto b = TestSignals::noise (2, 72000, 9, 0.1f);
    b.clear (1, 0, b.getNumSamples());
    ASSERT_TRUE (CliRunner::writeWav (left, b));
    ASSERT_EQ (runCli ({ left.getFullPathName(), out.getFullPathName(), "--layout", "5.1", "--quiet" }).exitCode, 0);
    const auto o = read (out);
    ASSERT_EQ (o.getNumChannels(), 6);
    auto db = [&] (int ch, int start, int length) { return juce::Decibels::gainToDecibels (o.getRMSLevel (ch, start, length), -200.0f); };
    // 5.1 file order: L R C LFE Ls Rs. The first 50 ms against the last half second.
    EXPECT_NEAR (db (0, 0, 2400), db (0, 48000, 24000), 1.0f);
    EXPECT_NEAR (db (4, 0, 2400), db (4, 48000, 24000), 3.0f);
    EXPECT_GT (db (0, 0, 2400) - db (4, 0, 2400), 12.0f);

    // A file too short to mirror a whole block still renders, at its own length.
    b.setSize (2, 300, true);
    ASSERT_TRUE (CliRunner::writeWav (left, b));
    ASSERT_EQ (runCli ({ left.getFullPathName(), out.getFullPathName(), "--layout", "5.1", "--quiet" }).exitCode, 0);
    EXPECT_EQ (read (out).getNumSamples(), 300);
}

TEST_F (CliTest, InterruptedRenderLeavesNoFileBehind)
{
    // Four minutes of mono noise: long enough to be stopped halfway.
    const auto longInput = dir.getChildFile ("long.wav"), out = dir.getChildFile ("stopped.wav");
    ASSERT_TRUE (CliRunner::writeWav (longInput, TestSignals::noise (1, 48000 * 240, 4, 0.1f)));
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
    const auto out = dir.getChildFile ("never.wav"), text = dir.getChildFile ("notes.wav");
    text.replaceWithText ("this is not audio");
    expectFailure ({ text.getFullPathName(), out.getFullPathName() }, out, "not a readable audio file");
    text.deleteFile();

    const auto in = input.getFullPathName(), target = out.getFullPathName();
    const auto brokenPreset = dir.getChildFile ("notes.nap");
    brokenPreset.replaceWithText ("<KestroAudioPreset><Parameters");
    const std::pair<juce::StringArray, const char*> rows[] = {
        { { dir.getChildFile ("missing.wav").getFullPathName(), target }, "no such file" },
        { { in, target, "--frobnicate" }, "frobnicate" },
        { { in, target, "--layout", "9.1", "--report" }, "unknown layout" },  // and no picture
        { { in, target, "--set", "NoSuchKey=1" }, "unknown parameter" },
        { { in, target, "--set", "LfeFreq=900Hz" }, "out of range" },
        { { in, target, "--set", "Divergence" }, "Key=value" },
        { { in, target, "--bits", "12" }, "--bits" },
        { { in, dir.getChildFile ("no/such/dir/x.wav").getFullPathName() }, "cannot write" },
        { { in, in }, "overwrite the input" },
        { { in, target, "--preset", "No Such Preset" }, "unknown preset 'No Such Preset'" },
        { { in, target, "--preset", brokenPreset.getFullPathName() }, "cannot load preset" },
    };
    for (const auto& [args, words] : rows)
        expectFailure (args, out, words);
    EXPECT_GT (input.getSize(), 1000);
}

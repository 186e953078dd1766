// orrin-upmix --report, run as a user would:
// - writes a PNG beside the output (its name + ".png") that decodes, with sensible dimensions,
//   and names it in the printed report;
// - the picture shows a hard-left source in the colour of L and a centred one in the colour
//   of C (so the observers, the position reader and the drawing are wired end to end);
// - its upmix peak bars show the written file's peaks (they once included the warm-up before
//   the file: Ls read -8.9 dBFS on the demo clip where the file peaks at -15.7);
// - (no picture without --report, and none when the render fails: the command line's cases).
#include "support/CliRunner.h"
#include "support/ProcessorHarness.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <juce_graphics/juce_graphics.h>

namespace
{
    const auto runCli = CliRunner::run;

    struct CliReportTest : ::testing::Test
    {
        juce::File dir = makeTempFolder ("orrin-cli-report");
        juce::File input = dir.getChildFile ("in.wav");
        static constexpr int halfLength = 96000;

        void SetUp() override
        {
            // Two seconds of noise hard left, then two seconds of the same noise in both sides.
            auto b = TestSignals::noise (2, 2 * halfLength, 3);
            b.copyFrom (1, 0, b, 0, 0, 2 * halfLength);
            b.clear (1, 0, halfLength);
            ASSERT_TRUE (CliRunner::writeWav (input, b));
        }

        void TearDown() override { dir.deleteRecursively(); }

        /** The average colour of the field's middle rows over a span of time (fractions of the
            field's width). The field starts 96 pixels from the left and the top and is 1000 by
            560 pixels. */
        static juce::Colour fieldColour (const juce::Image& image, float from, float to)
        {
            float r = 0.0f, g = 0.0f, b = 0.0f;
            int n = 0;
            for (int x = 96 + (int) (from * 1000.0f); x < 96 + (int) (to * 1000.0f); ++x)
                for (int y = 96 + 140; y < 96 + 420; y += 4)
                {
                    const auto c = image.getPixelAt (x, y);
                    r += c.getFloatRed();
                    g += c.getFloatGreen();
                    b += c.getFloatBlue();
                    ++n;
                }
            return juce::Colour::fromFloatRGBA (r / (float) n, g / (float) n, b / (float) n, 1.0f);
        }
    };
}

TEST_F (CliReportTest, WritesALegiblePictureBesideTheOutput)
{
    const auto out = dir.getChildFile ("upmix 51.wav");
    const auto run = runCli ({ input.getFullPathName(), out.getFullPathName(), "--layout", "5.1", "--report" });
    ASSERT_EQ (run.exitCode, 0) << run.output;

    const auto picture = dir.getChildFile ("upmix 51.wav.png");
    ASSERT_TRUE (picture.existsAsFile());
    EXPECT_TRUE (run.output.contains (picture.getFullPathName())) << run.output;
    EXPECT_TRUE (out.existsAsFile());

    const auto image = juce::ImageFileFormat::loadFrom (picture);
    ASSERT_TRUE (image.isValid());
    EXPECT_EQ (image.getWidth(), 1400);
    EXPECT_GE (image.getHeight(), 700);
    EXPECT_LE (image.getHeight(), 1000);

    // Hard left is the colour of L: red far above green and blue.
    const auto left = fieldColour (image, 0.15f, 0.45f);
    EXPECT_GT (left.getFloatRed(), 0.5f) << left.toDisplayString (false);
    EXPECT_GT (left.getFloatRed(), 2.0f * left.getFloatGreen()) << left.toDisplayString (false);
    EXPECT_GT (left.getFloatRed(), 2.0f * left.getFloatBlue()) << left.toDisplayString (false);

    // The same signal in both sides is the colour of C: yellow, red and green alike, no blue.
    const auto centre = fieldColour (image, 0.6f, 0.9f);
    EXPECT_GT (centre.getFloatRed(), 0.5f) << centre.toDisplayString (false);
    EXPECT_NEAR (centre.getFloatGreen(), centre.getFloatRed(), 0.2f) << centre.toDisplayString (false);
    EXPECT_LT (centre.getFloatBlue(), 0.5f * centre.getFloatGreen()) << centre.toDisplayString (false);
}

TEST_F (CliReportTest, PeakBarsShowTheWrittenFilesPeaks)
{
    const auto out = dir.getChildFile ("demo.wav");
    const auto run = runCli ({ juce::File (ORRIN_SOURCE_DIR).getChildFile ("resources/demo.ogg").getFullPathName(), out.getFullPathName(),
                               "--layout", "5.1", "--report" });
    ASSERT_EQ (run.exitCode, 0) << run.output;
    const auto image = juce::ImageFileFormat::loadFrom (dir.getChildFile ("demo.wav.png"));
    ASSERT_TRUE (image.isValid());

    // The bars (120 px for 60 dB) in the right-hand panel: each a run of 9 rows whose first
    // pixel is the bar's green (or red near full scale); in order Input L R, Upmix, Downmix.
    auto isFill = [] (juce::Colour c) { return c == juce::Colour (0xff58b368) || c == juce::Colour (0xffe0523f); };
    int barX = image.getWidth();
    for (int y = 0; y < image.getHeight(); ++y)
        for (int x = image.getWidth() - 400; x < barX; ++x)
            if (isFill (image.getPixelAt (x, y)))
                barX = x;
    std::vector<int> fills;
    for (int y = 0; y < image.getHeight(); ++y)
        if (isFill (image.getPixelAt (barX, y)) && ! isFill (image.getPixelAt (barX, y - 1)))
        {
            int length = 0;
            while (isFill (image.getPixelAt (barX + length, y + 4)))
                ++length;
            fills.push_back (length);
        }
    ASSERT_EQ (fills.size(), 10u);

    // The printed table is the file's: "  Ls   -15.7   -31.8", upmix channels in order.
    int upmix = 2;
    for (const auto& line : juce::StringArray::fromLines (run.output))
    {
        auto cells = juce::StringArray::fromTokens (line, true);
        cells.removeEmptyStrings();
        if (cells.size() == 3 && juce::StringArray { "L", "R", "C", "LFE", "Ls", "Rs" }.contains (cells[0]))
        {
            EXPECT_NEAR (fills[(size_t) upmix++], 120.0 * (1.0 + cells[1].getDoubleValue() / 60.0), 1.5) << line;
        }
    }
    EXPECT_EQ (upmix, 8);
}

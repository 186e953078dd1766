#include "app/UpmixCommandLine.h"
#include "app/UpmixRenderer.h"
#include "app/UpmixReportPicture.h"
#include "app/UpmixReportRecorder.h"
#include "processor/KaPaths.h"
#include "processor/KaSupportBundle.h"
#include "processor/KaUpdateCheck.h"
#include "processor/UpmixerProcessor.h"

#include <CLI/CLI.hpp>
#include <juce_events/juce_events.h>

#include <cstdio>
#include <unistd.h>

namespace UpmixCommandLine
{
    namespace
    {
        void printProgress (double fraction)
        {
            static int lastPercent = -1;
            const int percent = (int) (fraction * 100.0);
            if (percent == lastPercent)
                return;
            lastPercent = percent;
            constexpr int width = 40;
            const int filled = (int) (fraction * width);
            std::fprintf (stderr, "\r  [%s%s] %3d%%", std::string ((size_t) filled, '#').c_str(),
                          std::string ((size_t) (width - filled), '-').c_str(), percent);
            std::fflush (stderr);
        }

        void printReport (const UpmixRenderer::Options& options, const UpmixRenderer::Result& r)
        {
            std::printf ("Wrote %s\n", options.output.getFullPathName().toRawUTF8());
            std::printf ("  %s upmix, %d channels, %.0f Hz, %s, %.2f s (from %d input channel%s)\n",
                         r.layout.toRawUTF8(), (int) r.channels.size(), r.sampleRate,
                         options.bits == 32 ? "32-bit float" : (juce::String (options.bits) + "-bit PCM").toRawUTF8(),
                         (double) r.numSamples / r.sampleRate, r.numInputChannels, r.numInputChannels == 1 ? "" : "s");
            std::printf ("\n  %-8s %10s %10s\n", "Channel", "Peak dBFS", "RMS dBFS");
            for (const auto& c : r.channels)
            {
                auto fmt = [] (double db) { return db <= -200.0 ? juce::String ("-inf") : juce::String (db, 1); };
                std::printf ("  %-8s %10s %10s\n", c.name.toRawUTF8(), fmt (c.peakDb).toRawUTF8(), fmt (c.rmsDb).toRawUTF8());
            }
        }

        /** Integer samples cannot hold what goes over full scale, and an upmix can (W sums every
            loudspeaker; coherent lows add up): the file has it clipped, so say so even when quiet. */
        void warnOfClipping (const UpmixRenderer::Options& options, const UpmixRenderer::Result& r)
        {
            if (options.bits == 32)
                return;
            const auto over = [] (const UpmixRenderer::ChannelStats& c) { return c.peakDb > 0.0; };
            const auto loudest = std::max_element (r.channels.begin(), r.channels.end(), [] (const auto& a, const auto& b) { return a.peakDb < b.peakDb; });
            if (loudest == r.channels.end() || ! over (*loudest))
                return;
            const auto count = std::count_if (r.channels.begin(), r.channels.end(), over);
            std::fprintf (stderr, "orrin-upmix: warning: %d channel%s over full scale (%s at +%.1f dBFS), clipped in the %d-bit file; --bits 32 keeps them\n",
                          (int) count, count == 1 ? " goes" : "s go", loudest->name.toRawUTF8(), loudest->peakDb, options.bits);
        }

        /** The report picture beside the output: its name with ".png" added. */
        juce::String writeReportPicture (const UpmixRenderer::Options& options, const UpmixRenderer::Result& r,
                                         const UpmixReportRecorder& recorder, const juce::File& picture)
        {
            UpmixReportPicture::Description description;
            description.title = "Orrin Upmix report: " + options.input.getFileName() + " to " + options.output.getFileName();
            description.layout = r.layout;
            description.sampleRate = r.sampleRate;
            description.durationSeconds = (double) r.numSamples / r.sampleRate;
            return UpmixReportPicture::writePng (UpmixReportPicture::draw (recorder, description), picture);
        }

        /** Time per engine stage over the render, what the rest of the processor took, and how
            many times faster than real time each ran. */
        void printProfile (const UpmixRenderer::Options& options, const UpmixRenderer::Result& r)
        {
            const double audioMs = 1000.0 * (double) r.numSamples / r.sampleRate;
            auto row = [audioMs, &r] (const juce::String& name, double ms)
            {
                const auto factor = ms > 0.0 ? juce::String (audioMs / ms, 1) + "x" : juce::String ("-");
                std::printf ("  %-36s %10.1f %8.1f %12s\n", name.toRawUTF8(), ms, r.processMs > 0.0 ? 100.0 * ms / r.processMs : 0.0,
                             factor.toRawUTF8());
            };
            std::printf ("\n  %-36s %10s %8s %12s\n", "Stage", "Time ms", "Share %", "Realtime");
            double stagesMs = 0.0;
            for (const auto& stage : r.stages)
            {
                row (stage.name, stage.totalMs);
                stagesMs += stage.totalMs;
            }
            row ("Rest of the processor", juce::jmax (0.0, r.processMs - stagesMs));
            row ("Total", r.processMs);
            std::printf ("\n  Realtime factor %.1fx: %.2f s of processing for %.2f s of audio (%.0f Hz, %d-sample blocks)\n",
                         r.processMs > 0.0 ? audioMs / r.processMs : 0.0, r.processMs / 1000.0, audioMs / 1000.0, r.sampleRate, options.blockSize);
        }

        /** The support file of a processor set up as a render with these options would be,
            after a second of quiet noise through it so that its timing figures are filled in. */
        juce::String writeSupportBundle (UpmixRenderer::Options options, const juce::File& zip)
        {
            constexpr double sampleRate = 48000.0;
            options.profile = true;
            UpmixerProcessor processor;
            if (const auto error = UpmixRenderer::prepareProcessor (processor, options, 2, sampleRate, options.blockSize); error.isNotEmpty())
                return error;
            juce::AudioBuffer<float> buffer (juce::jmax (2, processor.getTotalNumOutputChannels()), options.blockSize);
            juce::MidiBuffer midi;
            juce::Random random (1);
            for (int done = 0; done < (int) sampleRate; done += options.blockSize)
            {
                for (int ch = 0; ch < buffer.getNumChannels(); ++ch)
                    for (int i = 0; i < buffer.getNumSamples(); ++i)
                        buffer.setSample (ch, i, ch < 2 ? 0.01f * (random.nextFloat() - 0.5f) : 0.0f);
                processor.processBlock (buffer, midi);
            }
            return KaSupportBundle::write (processor, zip);
        }

        int fail (const std::string& message, int code)
        {
            std::fprintf (stderr, "orrin-upmix: error: %s\n", message.c_str());
            return code;
        }
    }

    int run (int argc, char** argv)
    {
        CLI::App app { "Orrin Upmix: renders a stereo (or 1 to 10 channel) audio file to a 5.1, 7.1, 7.1.2, 7.1.4 or Ambisonic (orders 1 to 3) WAV file.", "orrin-upmix" };
        std::string input, output, layout = "7.1.2", preset, supportBundle;
        std::vector<std::string> settings;
        int bits = 32;
        bool quiet = false, report = false, profile = false, version = false, check = false, manual = false, headphones = false;
        app.add_option ("INPUT", input, "Input audio file (WAV, AIFF, FLAC or OGG)");
        app.add_option ("OUTPUT", output, "Output WAV file");
        app.add_option ("--layout", layout, "Output layout: 5.1, 7.1, 7.1.2 (default), 7.1.4, or Ambisonic ambix1, ambix2, ambix3 (ACN/SN3D), fuma1, fuma2, fuma3 (FuMa), or binaural (7.1.4 on headphones)");
        app.add_flag ("--headphones", headphones, "Write a stereo headphone (binaural) file of the layout's upmix instead of its channels");
        app.add_option ("--preset", preset, "Preset to start from: a .nap file, or a preset's name in the preset folders (before any --set)");
        app.add_option ("--set", settings, "Parameter setting Key=value: value normalised 0..1, or in the parameter's unit (120Hz, -3dB, 50%, On, a choice)");
        app.add_option ("--bits", bits, "Output sample format: 16, 24 or 32 (float, default)");
        app.add_flag ("--quiet", quiet, "No progress bar and no report");
        app.add_flag ("--report", report, "Also write a picture beside the output (its name + .png): where in the surround field each frequency band sat over time, and each channel's peak");
        app.add_flag ("--profile", profile, "After the render, print the time each stage of the engine took, with the realtime factor");
        auto* versionFlag = app.add_flag ("--version", version, "Print the version and exit");
        app.add_flag ("--check", check, "With --version: also ask the update feed (the per-user setting UpdateFeedUrl) whether a newer version exists")
            ->needs (versionFlag);
        app.add_flag ("--manual", manual, "Print where the manual (HTML) is installed and exit");
        app.add_option ("--support-bundle", supportBundle, "Write a support file (a .zip with the logs, settings, the state of a processor set up by --layout, --preset and --set, and a description of this system) instead of rendering");

        try
        {
            app.parse (argc, argv);
        }
        catch (const CLI::CallForHelp&)
        {
            std::printf ("%s", app.help().c_str());
            return 0;
        }
        catch (const CLI::ParseError& e)
        {
            return fail (e.what(), 2);
        }

        juce::ScopedJuceInitialiser_GUI juceInit;

        if (manual)
        {
            const auto file = KaPaths::manualFile();
            if (file == juce::File())
                return fail ("the manual is not installed (scripts/install puts it in share/orrin-upmix/resources/manual)", 1);
            std::printf ("%s\n", file.getFullPathName().toRawUTF8());
            return 0;
        }

        if (version)
        {
            std::printf ("orrin-upmix %s (%s by Kestro Audio)\n", ORRIN_VERSION_TEXT, KaPaths::productName);
            if (! check)
                return 0;
            const auto result = KaUpdateCheck::fetch (KaUpdateCheck::feedUrl(), ORRIN_VERSION_TEXT);
            if (result.status == KaUpdateCheck::Result::Status::failed)
                return fail (result.describe (ORRIN_VERSION_TEXT).toStdString(), 1);
            std::printf ("%s\n", result.describe (ORRIN_VERSION_TEXT).toRawUTF8());
            return 0;
        }

        UpmixRenderer::Options options;
        const auto cwd = juce::File::getCurrentWorkingDirectory();
        options.layout = layout;
        options.headphones = headphones;
        options.bits = bits;
        options.preset = juce::String (preset);
        options.profile = profile;
        for (const auto& s : settings)
            options.settings.push_back (juce::String (s));

        if (! supportBundle.empty())
        {
            const auto zip = cwd.getChildFile (juce::String (supportBundle));
            if (const auto error = writeSupportBundle (options, zip); error.isNotEmpty())
                return fail (error.toStdString(), 1);
            if (! quiet)
                std::printf ("Wrote %s\n", zip.getFullPathName().toRawUTF8());
            return 0;
        }

        if (input.empty() || output.empty())
            return fail ("INPUT and OUTPUT are required (see --help)", 2);
        options.input = cwd.getChildFile (juce::String (input));
        options.output = cwd.getChildFile (juce::String (output));

        const bool showProgress = ! quiet && isatty (fileno (stderr));
        if (showProgress)
            options.progress = printProgress;

        UpmixReportRecorder recorder;
        if (report)
            options.afterBlock = [&recorder] (const UpmixerProcessor& processor, double seconds) { recorder.afterBlock (processor, seconds); };

        const auto result = UpmixRenderer::render (options);
        if (showProgress)
            std::fprintf (stderr, "\n");
        if (! result.ok())
            return fail (result.error.toStdString(), 1);

        warnOfClipping (options, result);
        const juce::File picture (options.output.getFullPathName() + ".png");
        recorder.takeFilePeaks (result.channels);
        if (report)
            if (const auto error = writeReportPicture (options, result, recorder, picture); error.isNotEmpty())
                return fail (error.toStdString(), 1);

        if (! quiet)
        {
            printReport (options, result);
            if (report)
                std::printf ("\nWrote %s\n", picture.getFullPathName().toRawUTF8());
        }
        if (profile)
            printProfile (options, result);
        return 0;
    }
}

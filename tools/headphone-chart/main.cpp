// headphone-chart: measures the head-related responses headphone monitoring uses, as they come
// out at a session rate (interpolated, resampled): per direction the interaural time difference
// (the lag of the cross-correlation's peak between the ears' responses low-passed at 1.5 kHz,
// where the time difference is the cue, within 1 ms; positive when the left ear hears first) and the interaural level difference (broadband energy, left over right), for
// the horizon and the height layer (45 degrees up). Writes a Markdown table of the loudspeaker
// directions and a chart against azimuth.
#include "dsp/CRecursiveFilter.h"
#include "engine/UpmixerHrirSet.h"
#include "InterauralDifferences.h"

#include <CLI/CLI.hpp>
#include <juce_graphics/juce_graphics.h>

#include <cmath>
#include <cstdio>
#include <vector>

namespace
{
    struct Measure
    {
        double itdMs, ildDb;
    };

    Measure measure (const UpmixerHrirSet& set, float azimuth, float elevation, double rate)
    {
        const auto pair = set.responseFor (azimuth, elevation, rate);
        auto lowPassed = [rate] (std::vector<float> ir)
        {
            CRecursiveFilterBiquadLowPass<float> filter;
            filter.setParameters (1500.0f, 0.70710677f, (float) rate, 1.0f);
            filter.processInPlace (ir.data(), (int) ir.size());
            return ir;
        };
        const auto lowLeft = lowPassed (pair.left), lowRight = lowPassed (pair.right);
        return { InterauralDifferences::lag (lowLeft, lowRight, rate) / rate * 1000.0,
                 InterauralDifferences::energyDb (pair.left) - InterauralDifferences::energyDb (pair.right) };
    }

    const juce::Colour background { 0xff15171b }, text { 0xffe6e6e6 }, dim { 0xff9aa0a8 }, grid { 0x40ffffff };
    const juce::Colour horizon { 0xffffc531 }, height { 0xff5fb0ff };

    void drawPanel (juce::Graphics& g, juce::Rectangle<float> area, const juce::String& title, const juce::String& unit, double range, double step,
                    const std::vector<float>& azimuths, const std::vector<double>& low, const std::vector<double>& high)
    {
        g.setColour (text);
        g.setFont (juce::Font (17.0f, juce::Font::bold));
        g.drawText (title, area.removeFromTop (30.0f), juce::Justification::centredLeft);
        auto plot = area.withTrimmedLeft (64.0f).withTrimmedBottom (36.0f).withTrimmedTop (6.0f);
        auto px = [&] (double x) { return plot.getX() + (float) ((x + 180.0) / 360.0) * plot.getWidth(); };
        auto py = [&] (double y) { return plot.getCentreY() - (float) (y / range) * plot.getHeight() * 0.5f; };
        g.setFont (juce::Font (13.0f));
        for (double y = -range; y <= range + 1e-9; y += step)
        {
            g.setColour (grid);
            g.drawHorizontalLine ((int) py (y), plot.getX(), plot.getRight());
            g.setColour (dim);
            g.drawText (juce::String (y, step < 1.0 ? 2 : 0) + " " + unit, juce::Rectangle<float> (plot.getX() - 64.0f, py (y) - 8.0f, 58.0f, 16.0f),
                        juce::Justification::centredRight);
        }
        for (int x = -180; x <= 180; x += 30)
        {
            g.setColour (grid);
            g.drawVerticalLine ((int) px (x), plot.getY(), plot.getBottom());
            g.setColour (dim);
            g.drawText (juce::String (x), juce::Rectangle<float> (px (x) - 20.0f, plot.getBottom() + 4.0f, 40.0f, 16.0f), juce::Justification::centred);
        }
        g.drawText ("loudspeaker azimuth (degrees, negative to the left)", juce::Rectangle<float> (plot.getX(), plot.getBottom() + 18.0f, plot.getWidth(), 16.0f),
                    juce::Justification::centred);
        for (const auto& [values, colour] : { std::pair { &low, horizon }, std::pair { &high, height } })
        {
            juce::Path line;
            for (size_t i = 0; i < azimuths.size(); ++i)
            {
                const juce::Point<float> p (px (azimuths[i]), py ((*values)[i]));
                i == 0 ? line.startNewSubPath (p) : line.lineTo (p);
            }
            g.setColour (colour);
            g.strokePath (line, juce::PathStrokeType (2.5f));
        }
    }
}

int main (int argc, char** argv)
{
    CLI::App app { "Measures the interaural time and level differences of headphone monitoring's responses.", "headphone-chart" };
    std::string sofa = UpmixerHrirSet::defaultPath, chart;
    double rate = 48000.0;
    app.add_option ("--sofa", sofa, "SOFA file");
    app.add_option ("--rate", rate, "Sample rate the responses are taken at");
    app.add_option ("--chart", chart, "PNG chart to write");
    CLI11_PARSE (app, argc, argv);

    std::string error;
    const auto set = UpmixerHrirSet::load (sofa, error);
    if (set == nullptr)
    {
        std::fprintf (stderr, "headphone-chart: %s\n", error.c_str());
        return 1;
    }

    std::printf ("| loudspeaker | azimuth | elevation | ITD (ms, left ear first > 0) | ILD (dB, left over right) |\n|---|---|---|---|---|\n");
    const struct { const char* name; float azimuth, elevation; } speakers[] = {
        { "C", 0, 0 }, { "L", -30, 0 }, { "R", 30, 0 }, { "Ls (5.1)", -110, 0 }, { "Ls (7.1)", -100, 0 }, { "Lsr", -145, 0 },
        { "Tfl", -45, 45 }, { "Lts", -90, 45 }, { "Trl", -135, 45 },
    };
    for (const auto& s : speakers)
    {
        const auto m = measure (*set, s.azimuth, s.elevation, rate);
        std::printf ("| %s | %.0f | %.0f | %+.2f | %+.1f |\n", s.name, s.azimuth, s.elevation, m.itdMs, m.ildDb);
    }

    if (chart.empty())
        return 0;
    std::vector<float> azimuths;
    std::vector<double> itd[2], ild[2];
    for (int a = -180; a <= 180; a += 5)
    {
        azimuths.push_back ((float) a);
        for (int layer = 0; layer < 2; ++layer)
        {
            const auto m = measure (*set, (float) a, layer == 0 ? 0.0f : 45.0f, rate);
            itd[layer].push_back (m.itdMs);
            ild[layer].push_back (m.ildDb);
        }
    }
    juce::ScopedJuceInitialiser_GUI gui;
    constexpr int width = 1400, heightPx = 560;
    juce::Image image (juce::Image::RGB, width, heightPx, true);
    {
        juce::Graphics g (image);
        g.fillAll (background);
        auto area = juce::Rectangle<float> (0.0f, 0.0f, (float) width, (float) heightPx).reduced (28.0f);
        auto legend = area.removeFromBottom (30.0f);
        auto left = area.removeFromLeft (area.getWidth() / 2.0f).withTrimmedRight (24.0f);
        drawPanel (g, left, "Interaural time difference (left ear first above 0)", "ms", 1.0, 0.25, azimuths, itd[0], itd[1]);
        drawPanel (g, area.withTrimmedLeft (24.0f), "Interaural level difference (left over right)", "dB", 30.0, 10.0, azimuths, ild[0], ild[1]);
        g.setFont (juce::Font (14.0f));
        float x = legend.getX() + 64.0f;
        for (const auto& [name, colour] : { std::pair { "horizon", horizon }, std::pair { "height layer, 45 degrees up", height } })
        {
            g.setColour (colour);
            g.fillRect (x, legend.getCentreY() - 2.0f, 22.0f, 4.0f);
            g.setColour (text);
            g.drawText (name, juce::Rectangle<float> (x + 28.0f, legend.getY(), 260.0f, legend.getHeight()), juce::Justification::centredLeft);
            x += 300.0f;
        }
    }
    juce::File file (juce::File::getCurrentWorkingDirectory().getChildFile (chart));
    file.deleteFile();
    juce::FileOutputStream out (file);
    juce::PNGImageFormat png;
    if (! out.openedOk() || ! png.writeImageToStream (image, out))
    {
        std::fprintf (stderr, "headphone-chart: cannot write %s\n", chart.c_str());
        return 1;
    }
    return 0;
}

#include "EvalChart.h"

#include <juce_graphics/juce_graphics.h>

#include <algorithm>
#include <cmath>

namespace
{
    const juce::Colour background { 0xff15171b }, text { 0xffe6e6e6 }, dim { 0xff9aa0a8 }, grid { 0x40ffffff };
    // Path colours: the network bright, the ideals as references, isolation off dull.
    const juce::Colour palette[] = { juce::Colour (0xffffc531), juce::Colour (0xff5fb0ff), juce::Colour (0xff8a8f98),
                                     juce::Colour (0xff7be08a), juce::Colour (0xffc58cff), juce::Colour (0xff5a5f68) };

    juce::Font font (float size, bool bold = false) { return juce::Font (size, bold ? juce::Font::bold : juce::Font::plain); }

    /** One panel: a value per level and series, on a y range rounded out to whole steps. */
    void drawPanel (juce::Graphics& g, juce::Rectangle<float> area, const juce::String& title, const std::vector<double>& levels,
                    const std::vector<EvalChart::Series>& series, bool kept)
    {
        g.setColour (text);
        g.setFont (font (17.0f, true));
        g.drawText (title, area.removeFromTop (30.0f), juce::Justification::centredLeft);
        area.removeFromTop (6.0f);
        auto plot = area.withTrimmedLeft (52.0f).withTrimmedBottom (36.0f);

        double lo = 0.0, hi = 0.0;
        for (const auto& s : series)
            for (double v : kept ? s.kept : s.deltaSbr)
                if (std::isfinite (v) && v > -60.0)
                    lo = std::min (lo, v), hi = std::max (hi, v);
        const double step = kept ? 2.0 : 4.0;
        lo = std::floor (lo / step) * step;
        hi = std::ceil (hi / step) * step + (hi == 0.0 ? step : 0.0);
        const double xLo = levels.front(), xHi = std::max (levels.back(), xLo + 1.0);
        auto px = [&] (double x) { return plot.getX() + (float) ((x - xLo) / (xHi - xLo)) * plot.getWidth(); };
        auto py = [&] (double y) { return plot.getBottom() - (float) ((std::clamp (y, lo, hi) - lo) / (hi - lo)) * plot.getHeight(); };

        g.setFont (font (13.0f));
        for (double y = lo; y <= hi + 1e-9; y += step)
        {
            g.setColour (grid);
            g.drawHorizontalLine ((int) py (y), plot.getX(), plot.getRight());
            g.setColour (dim);
            g.drawText ((y > 0 ? "+" : "") + juce::String ((int) y) + " dB", juce::Rectangle<float> (plot.getX() - 52.0f, py (y) - 8.0f, 46.0f, 16.0f),
                        juce::Justification::centredRight);
        }
        for (double x : levels)
        {
            g.setColour (grid);
            g.drawVerticalLine ((int) px (x), plot.getY(), plot.getBottom());
            g.setColour (dim);
            g.drawText ((x > 0 ? "+" : "") + juce::String ((int) x), juce::Rectangle<float> (px (x) - 20.0f, plot.getBottom() + 4.0f, 40.0f, 16.0f),
                        juce::Justification::centred);
        }
        g.drawText ("input speech-to-background ratio (dB)", juce::Rectangle<float> (plot.getX(), plot.getBottom() + 18.0f, plot.getWidth(), 16.0f),
                    juce::Justification::centred);

        for (size_t i = 0; i < series.size(); ++i)
        {
            const auto& values = kept ? series[i].kept : series[i].deltaSbr;
            juce::Path line;
            for (size_t l = 0; l < values.size() && l < levels.size(); ++l)
            {
                const juce::Point<float> p (px (levels[l]), py (values[l]));
                if (l == 0)
                    line.startNewSubPath (p);
                else
                    line.lineTo (p);
                g.setColour (palette[i % std::size (palette)]);
                g.fillEllipse (p.x - 3.5f, p.y - 3.5f, 7.0f, 7.0f);
            }
            g.strokePath (line, juce::PathStrokeType (i == 0 ? 3.5f : 2.0f));
        }
    }
}

bool EvalChart::write (const juce::File& file, const std::vector<double>& levels, const std::vector<Series>& series)
{
    if (levels.empty() || series.empty())
        return false;
    constexpr int width = 1400, height = 560;
    juce::Image image (juce::Image::RGB, width, height, true);
    {
        juce::Graphics g (image);
        g.fillAll (background);
        const juce::Rectangle<float> all (0.0f, 0.0f, (float) width, (float) height);
        auto area = all.reduced (28.0f);
        auto legend = area.removeFromBottom (34.0f);
        auto left = area.removeFromLeft (area.getWidth() / 2.0f).withTrimmedRight (24.0f);
        drawPanel (g, left, "Gain in speech-to-background ratio in the centre", levels, series, false);
        drawPanel (g, area.withTrimmedLeft (24.0f), "Speech the centre keeps", levels, series, true);

        g.setFont (font (14.0f));
        float x = legend.getX() + 52.0f;
        for (size_t i = 0; i < series.size(); ++i)
        {
            g.setColour (palette[i % std::size (palette)]);
            g.fillRect (x, legend.getCentreY() - 2.0f, 22.0f, 4.0f);
            g.setColour (text);
            const float w = (float) font (14.0f).getStringWidth (series[i].name) + 16.0f;
            g.drawText (series[i].name, juce::Rectangle<float> (x + 28.0f, legend.getY(), w, legend.getHeight()), juce::Justification::centredLeft);
            x += 28.0f + w + 18.0f;
        }
    }

    file.deleteFile();
    juce::FileOutputStream out (file);
    juce::PNGImageFormat png;
    return out.openedOk() && png.writeImageToStream (image, out);
}

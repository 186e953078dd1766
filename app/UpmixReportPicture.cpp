#include "app/UpmixReportPicture.h"
#include "app/UpmixReportRecorder.h"
#include "app/UpmixReportSidePanel.h"
#include "app/UpmixReportStyle.h"

#include <algorithm>
#include <cmath>

namespace
{
    using namespace UpmixReportStyle;

    // Tall enough for ten inputs and twelve outputs in the peak list; cut to what was drawn.
    constexpr int pictureWidth = 1400, maxPictureHeight = 1000;
    const juce::Rectangle<int> fieldArea { 96, 96, 1000, 560 };
    constexpr int sideX = 1150, sideWidth = 230;

    /** The field resampled to columns of time: per column and band, the slots' vectors summed
        and the energy per bin and slot (so that wide bands and long columns are not brighter),
        and per band the reference its brightness is measured from. */
    struct Field
    {
        int numColumns = 0, numBands = 0;
        std::vector<EnergyVector> cells;
        std::vector<double> density;
        std::vector<double> reference;
    };

    // A column gathers at least this much time: single frames of 5 ms flicker too much to read.
    constexpr double minColumnSeconds = 0.2;
    // Each band is measured from its own loudest moment, so that the quieter highs show their
    // directions too, but never from lower than this below the loudest band: empty bands stay
    // dark instead of showing their noise.
    constexpr double bandReferenceFloorDb = 40.0;

    Field resample (const UpmixReportRecorder& recorder, double duration, int numColumns)
    {
        Field f;
        const auto* bands = recorder.getBands();
        const auto& slots = recorder.getSlots();
        if (bands == nullptr || duration <= 0.0)
            return f;
        f.numColumns = numColumns;
        f.numBands = bands->size();
        f.cells.resize ((size_t) (numColumns * f.numBands));
        f.density.resize (f.cells.size());
        f.reference.resize ((size_t) f.numBands);

        const double slotSeconds = recorder.getSlotSeconds();
        for (int x = 0; x < numColumns; ++x)
        {
            const auto first = (size_t) (duration * x / numColumns / slotSeconds);
            const auto end = std::max (first + 1, (size_t) std::ceil (duration * (x + 1) / numColumns / slotSeconds));
            for (int b = 0; b < f.numBands; ++b)
            {
                auto& cell = f.cells[(size_t) (x * f.numBands + b)];
                for (size_t s = first; s < end && s < slots.size(); ++s)
                    if ((size_t) b < slots[s].size())
                        cell.add (slots[s][(size_t) b]);
                const auto& band = bands->getBands()[(size_t) b];
                const double d = cell.energy / (double) (band.endBin - band.firstBin) / (double) (end - first);
                f.density[(size_t) (x * f.numBands + b)] = d;
                f.reference[(size_t) b] = std::max (f.reference[(size_t) b], d);
            }
        }

        const double loudest = *std::max_element (f.reference.begin(), f.reference.end());
        for (auto& r : f.reference)
            r = std::max (r, loudest * std::pow (10.0, -bandReferenceFloorDb / 10.0));
        return f;
    }

    float level01 (double density, double reference)
    {
        if (density <= 0.0 || reference <= 0.0)
            return 0.0f;
        return 1.0f + (float) (10.0 * std::log10 (density / reference)) / levelRangeDb;
    }

    double niceStep (double span, int maxTicks)
    {
        for (double step : { 0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 15.0, 30.0, 60.0, 120.0, 300.0, 600.0 })
            if (span / step <= maxTicks)
                return step;
        return 1200.0;
    }

    void drawField (juce::Graphics& g, const UpmixReportRecorder& recorder, double duration)
    {
        const auto area = fieldArea;
        g.setColour (juce::Colours::black);
        g.fillRect (area);
        const int numColumns = juce::jlimit (1, area.getWidth(), (int) std::round (duration / minColumnSeconds));
        const auto field = resample (recorder, duration, numColumns);
        if (field.numBands == 0)
            return;

        const float rowHeight = (float) area.getHeight() / (float) field.numBands;
        const float columnWidth = (float) area.getWidth() / (float) field.numColumns;
        for (int x = 0; x < field.numColumns; ++x)
            for (int b = 0; b < field.numBands; ++b)
            {
                const auto i = (size_t) (x * field.numBands + b);
                const auto& cell = field.cells[i];
                g.setColour (colourOf (cell.azimuthDegrees(), cell.spread(), level01 (field.density[i], field.reference[(size_t) b])));
                const float left = (float) area.getX() + columnWidth * (float) x;
                const float bottom = (float) area.getBottom() - rowHeight * (float) b;
                // Cells overlap by a pixel so that no seam of background shows between them.
                g.fillRect (juce::Rectangle<float> (left, bottom - rowHeight, columnWidth + 1.0f, rowHeight + 1.0f)
                                .getIntersection (area.toFloat()));
            }
    }

    void drawTimeAxis (juce::Graphics& g, double duration)
    {
        const auto area = fieldArea;
        const double step = niceStep (duration, 12);
        g.setFont (font (14.0f));
        for (double t = 0.0; t <= duration + 1.0e-9; t += step)
        {
            const float x = (float) area.getX() + (float) (t / duration) * (float) area.getWidth();
            g.setColour (gridColour);
            g.drawVerticalLine ((int) x, (float) area.getY(), (float) area.getBottom());
            g.setColour (textColour);
            g.drawLine (x, (float) area.getBottom(), x, (float) area.getBottom() + 6.0f);
            const auto label = step < 1.0 ? juce::String (t, 1) : juce::String ((int) std::round (t));
            g.drawText (label, juce::Rectangle<float> (x - 40.0f, (float) area.getBottom() + 8.0f, 80.0f, 18.0f), juce::Justification::centredTop);
        }
        g.setFont (font (15.0f, true));
        g.drawText ("Time (s)", area.getX(), area.getBottom() + 30, area.getWidth(), 20, juce::Justification::centred);
    }

    void drawFrequencyAxis (juce::Graphics& g, const SpatialBands& bands)
    {
        const auto area = fieldArea;
        const float rowHeight = (float) area.getHeight() / (float) bands.size();
        g.setFont (font (14.0f));
        for (float hz : { 100.0f, 200.0f, 500.0f, 1000.0f, 2000.0f, 5000.0f, 10000.0f, 20000.0f })
            for (int b = 0; b < bands.size(); ++b)
            {
                const auto& band = bands.getBands()[(size_t) b];
                if (hz < band.lowHz || hz >= band.highHz)
                    continue;
                const float within = std::log (hz / band.lowHz) / std::log (band.highHz / band.lowHz);
                const float y = (float) area.getBottom() - rowHeight * ((float) b + within);
                g.setColour (gridColour);
                g.drawHorizontalLine ((int) y, (float) area.getX(), (float) area.getRight());
                g.setColour (textColour);
                g.drawLine ((float) area.getX() - 6.0f, y, (float) area.getX(), y);
                const auto label = hz >= 1000.0f ? juce::String ((int) (hz / 1000.0f)) + "k" : juce::String ((int) hz);
                g.drawText (label, juce::Rectangle<float> ((float) area.getX() - 58.0f, y - 9.0f, 48.0f, 18.0f), juce::Justification::centredRight);
            }

        g.setFont (font (15.0f, true));
        juce::Graphics::ScopedSaveState state (g);
        g.addTransform (juce::AffineTransform::rotation (-juce::MathConstants<float>::halfPi).translated (24.0f, (float) area.getCentreY()));
        g.drawText ("Frequency (Hz)", -120, -10, 240, 20, juce::Justification::centred);
    }

    void drawTitle (juce::Graphics& g, const UpmixReportPicture::Description& d)
    {
        g.setColour (textColour);
        g.setFont (font (22.0f, true));
        g.drawText (d.title, 24, 16, pictureWidth - 48, 28, juce::Justification::centredLeft);
        g.setColour (dimColour);
        g.setFont (font (15.0f));
        const auto line = d.layout + " upmix, " + juce::String (d.sampleRate / 1000.0, 1) + " kHz, " + juce::String (d.durationSeconds, 1)
                          + " s.  Where each frequency band's energy sat in the surround field: colour is the direction, pale is spread "
                            "around the listener, dark is quiet.";
        g.drawText (line, 24, 48, pictureWidth - 48, 22, juce::Justification::centredLeft);
    }
}

juce::Image UpmixReportPicture::draw (const UpmixReportRecorder& recorder, const Description& description)
{
    juce::Image tall (juce::Image::RGB, pictureWidth, maxPictureHeight, true, juce::SoftwareImageType());
    int bottom = 0;
    {
        juce::Graphics g (tall);
        g.fillAll (backgroundColour);
        drawTitle (g, description);
        drawField (g, recorder, description.durationSeconds);
        if (description.durationSeconds > 0.0)
            drawTimeAxis (g, description.durationSeconds);
        if (const auto* bands = recorder.getBands(); bands != nullptr && bands->size() > 0)
            drawFrequencyAxis (g, *bands);
        const int legendEnd = UpmixReportSidePanel::drawLegend (g, recorder, { sideX, fieldArea.getY(), sideWidth, 0 });
        bottom = std::max (fieldArea.getBottom() + 64, UpmixReportSidePanel::drawPeaks (g, recorder, { sideX, legendEnd + 6, sideWidth, 0 }) + 16);
    }

    juce::Image image (juce::Image::RGB, pictureWidth, std::min (bottom, maxPictureHeight), false, juce::SoftwareImageType());
    juce::Graphics (image).drawImageAt (tall, 0, 0);
    return image;
}

juce::String UpmixReportPicture::writePng (const juce::Image& image, const juce::File& file)
{
    juce::TemporaryFile temp (file);
    {
        juce::FileOutputStream stream (temp.getFile());
        juce::PNGImageFormat png;
        if (! stream.openedOk() || ! png.writeImageToStream (image, stream))
            return "cannot write '" + file.getFullPathName() + "'";
    }
    if (! temp.overwriteTargetFileWithTemporary())
        return "cannot write '" + file.getFullPathName() + "'";
    return {};
}

#include "app/UpmixReportSidePanel.h"
#include "analysis/UpmixerSpeakerAngles.h"
#include "app/UpmixReportRecorder.h"
#include "app/UpmixReportStyle.h"
#include "processor/KaChannelRouting.h"

using namespace UpmixReportStyle;

int UpmixReportSidePanel::drawLegend (juce::Graphics& g, const UpmixReportRecorder& recorder, juce::Rectangle<int> area)
{
    const int sideX = area.getX(), sideWidth = area.getWidth(), top = area.getY();
    g.setColour (textColour);
    g.setFont (font (16.0f, true));
    g.drawText ("Direction", sideX, top, sideWidth, 20, juce::Justification::centredLeft);

    const float radius = 72.0f;
    const juce::Point<float> centre ((float) sideX + (float) sideWidth / 2.0f, (float) top + 40.0f + radius + 14.0f);
    for (int a = -180; a < 180; a += 2)
    {
        juce::Path segment;
        segment.addPieSegment (centre.x - radius, centre.y - radius, radius * 2.0f, radius * 2.0f,
                               juce::degreesToRadians ((float) a), juce::degreesToRadians ((float) a + 2.5f), 0.55f);
        g.setColour (colourOf (a + 1.0, 0.0, 1.0f));
        g.fillPath (segment);
    }
    g.setColour (dimColour);
    g.fillEllipse (juce::Rectangle<float> (10.0f, 10.0f).withCentre (centre));  // the listener

    g.setFont (font (14.0f, true));
    for (int kind = 0; kind < KaChannelRouting::numKinds; ++kind)
    {
        const float azimuth = UpmixerSpeakerAngles::azimuthOf (kind, recorder.getRouting(), recorder.getNumOutputs());
        if (std::isnan (azimuth))
            continue;
        const float a = juce::degreesToRadians (azimuth);
        const juce::Point<float> direction (std::sin (a), -std::cos (a));
        // Heights sit inside the ring, on the floor position below them.
        const bool height = kind >= KaChannelRouting::kindLts;
        const auto dot = centre + direction * (height ? radius * 0.72f : radius);
        g.setColour (juce::Colours::white);
        g.fillEllipse (juce::Rectangle<float> (7.0f, 7.0f).withCentre (dot));
        g.setColour (backgroundColour);
        g.drawEllipse (juce::Rectangle<float> (7.0f, 7.0f).withCentre (dot), 1.0f);
        const auto labelCentre = centre + direction * (height ? radius * 0.38f : radius + 18.0f);
        g.setColour (textColour);
        g.drawText (KaChannelRouting::kindName (kind, recorder.getRouting()), juce::Rectangle<float> (40.0f, 16.0f).withCentre (labelCentre),
                    juce::Justification::centred);
    }

    // Ramps: spread (the saturation) and level (the brightness), at the front's hue.
    int y = (int) (centre.y + radius + 34.0f);
    auto ramp = [&] (const juce::String& name, const juce::String& low, const juce::String& high, auto colourAt) {
        g.setColour (textColour);
        g.setFont (font (14.0f, true));
        g.drawText (name, sideX, y, sideWidth, 18, juce::Justification::centredLeft);
        y += 20;
        const int rampWidth = sideWidth;
        for (int i = 0; i < rampWidth; ++i)
        {
            g.setColour (colourAt ((float) i / (float) (rampWidth - 1)));
            g.fillRect (sideX + i, y, 1, 12);
        }
        y += 14;
        g.setColour (dimColour);
        g.setFont (font (12.0f));
        g.drawText (low, sideX, y, sideWidth, 14, juce::Justification::centredLeft);
        g.drawText (high, sideX, y, sideWidth, 14, juce::Justification::centredRight);
        y += 22;
    };
    ramp ("Spread", "one speaker", "all around", [] (float p) { return colourOf (0.0, p, 1.0f); });
    ramp ("Level", "-60 dB", "the band's loudest", [] (float p) { return colourOf (0.0, 0.0, p); });
    return y;
}

int UpmixReportSidePanel::drawPeaks (juce::Graphics& g, const UpmixReportRecorder& recorder, juce::Rectangle<int> area)
{
    const int sideX = area.getX(), sideWidth = area.getWidth(), top = area.getY();
    g.setColour (textColour);
    g.setFont (font (16.0f, true));
    g.drawText ("Peak level (dBFS)", sideX, top, sideWidth, 20, juce::Justification::centredLeft);
    int y = top + 24;
    const int barX = sideX + 44, barWidth = 120;

    auto group = [&] (const juce::String& heading, const std::vector<UpmixReportRecorder::Peak>& peaks) {
        g.setColour (dimColour);
        g.setFont (font (13.0f, true));
        g.drawText (heading, sideX, y, sideWidth, 16, juce::Justification::centredLeft);
        y += 17;
        for (const auto& peak : peaks)
        {
            const bool silent = peak.db < -200.0f;
            const float fill = silent ? 0.0f : juce::jlimit (0.0f, 1.0f, 1.0f + peak.db / levelRangeDb);
            g.setColour (textColour);
            g.setFont (font (13.0f));
            g.drawText (peak.name, sideX + 8, y, 36, 15, juce::Justification::centredLeft);
            g.setColour (juce::Colour (0xff2a2e35));
            g.fillRect (barX, y + 3, barWidth, 9);
            g.setColour (peak.db > -1.0f ? juce::Colour (0xffe0523f) : juce::Colour (0xff58b368));
            g.fillRect (barX, y + 3, (int) std::round (fill * (float) barWidth), 9);
            g.setColour (textColour);
            g.drawText (silent ? juce::String ("-inf") : juce::String (peak.db, 1), barX + barWidth, y, sideX + sideWidth - barX - barWidth, 15,
                        juce::Justification::centredRight);
            y += 16;
        }
        y += 4;
    };
    group ("Input", recorder.getInputPeaks());
    group ("Upmix", recorder.getUpmixPeaks());
    group ("Downmix", recorder.getDownmixPeaks());
    return y;
}


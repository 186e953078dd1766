#pragma once

#include <juce_graphics/juce_graphics.h>

class UpmixReportRecorder;

/** The report picture's side panel: the legend of the field's colours and the peak levels. */
namespace UpmixReportSidePanel
{
    /** The wheel of directions with the layout's loudspeakers, and ramps for spread and level,
        from the top of the area down; returns the bottom of what was drawn. */
    int drawLegend (juce::Graphics& g, const UpmixReportRecorder& recorder, juce::Rectangle<int> area);

    /** Each input, output and downmix channel's peak over the render, as a bar and in dBFS,
        from the top of the area down; returns the bottom of the list. */
    int drawPeaks (juce::Graphics& g, const UpmixReportRecorder& recorder, juce::Rectangle<int> area);
}

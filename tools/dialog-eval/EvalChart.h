#pragma once

#include <juce_core/juce_core.h>

#include <vector>

/** The evaluator's results as a picture: the centre's gain in speech-to-background ratio, and how
    much of the speech it keeps, against the input's ratio, one line per path. A PNG, so that the
    measurement page can show at a glance where the network stands between "isolation off" and
    the ideal masks. */
namespace EvalChart
{
    struct Series
    {
        juce::String name;
        std::vector<double> deltaSbr, kept;  // one value per input level, dB
    };

    /** Writes the chart; false when the file cannot be written. */
    bool write (const juce::File& file, const std::vector<double>& levels, const std::vector<Series>& series);
}

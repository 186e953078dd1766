#pragma once

#include <juce_graphics/juce_graphics.h>

class UpmixReportRecorder;

/** The command line's report as a picture: where in the surround field the energy of each
    frequency band sat over time, and each channel's peak level.

    The field is a time-frequency map: time runs along x, the recorder's frequency bands up y,
    and each cell's colour says where the band's energy came from (the hue of its direction on
    a colour wheel whose legend shows the layout's loudspeakers), how spread it was (pale when
    it came from all around) and how loud (dark when quiet, 60 dB below the band's loudest
    moment is black). Drawn by JUCE's software renderer: no display needed. */
namespace UpmixReportPicture
{
    struct Description
    {
        juce::String title;      // the first line, e.g. the input file's name
        juce::String layout;     // "7.1.2"
        double sampleRate = 0.0;
        double durationSeconds = 0.0;
    };

    /** Allocates: the picture of a finished recording. */
    juce::Image draw (const UpmixReportRecorder& recorder, const Description& description);

    /** Writes the picture as a PNG file, replacing the file only once it is complete; returns
        an error text, empty on success. */
    juce::String writePng (const juce::Image& image, const juce::File& file);
}

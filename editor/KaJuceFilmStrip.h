#pragma once

#include <juce_graphics/juce_graphics.h>

/** Film strips drawn by code when the editor is built (message thread): frames stacked top to
    bottom in one image, uploaded once as a texture and only chosen from afterwards. */
namespace KaJuceFilmStrip
{
    /** A knob: a dark disc, a track arc over 270 degrees and the value arc with its pointer. */
    juce::Image makeKnob (int size, int frames, juce::Colour accent);
}

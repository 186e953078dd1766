#pragma once

#include <juce_graphics/juce_graphics.h>

/** The editor's dark theme: one place for the colours every control and panel draws with. */
namespace KaJuceTheme
{
    inline const juce::Colour background { 0xff15181d };
    inline const juce::Colour panel { 0xff1d2127 };
    inline const juce::Colour panelEdge { 0xff2b3038 };
    inline const juce::Colour control { 0xff2a2f37 };
    inline const juce::Colour controlHover { 0xff343a44 };
    inline const juce::Colour controlEdge { 0xff3f4651 };
    inline const juce::Colour text { 0xffd8dde4 };
    inline const juce::Colour textDim { 0xff8a93a0 };
    inline const juce::Colour accent { 0xff4cc3d9 };
    inline const juce::Colour warning { 0xffe8a33c };
    inline const juce::Colour danger { 0xffe05a4f };
    inline const juce::Colour good { 0xff62c370 };

    /** Label sizes used throughout (pixel sizes of the bitmap fonts). */
    inline constexpr int smallText = 11, bodyText = 12, titleText = 14, headingText = 18;
}

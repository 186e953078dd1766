#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <initializer_list>

/** Rows of components in the editor's headers and bars: each item takes its width from one edge
    of the row and leaves a gap after it. */
namespace KaJuceLayout
{
    struct Item
    {
        juce::Component* component;
        int width, gapAfter;
    };

    inline void fromRight (juce::Rectangle<int>& row, std::initializer_list<Item> items)
    {
        for (const auto& item : items)
        {
            item.component->setBounds (row.removeFromRight (item.width));
            row.removeFromRight (item.gapAfter);
        }
    }

    inline void fromLeft (juce::Rectangle<int>& row, std::initializer_list<Item> items)
    {
        for (const auto& item : items)
        {
            item.component->setBounds (row.removeFromLeft (item.width));
            row.removeFromLeft (item.gapAfter);
        }
    }
}

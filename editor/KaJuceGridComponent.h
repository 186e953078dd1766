#pragma once

#include "editor/KaGuiText.h"
#include "editor/KaJuceOglFont.h"
#include "editor/KaOglChildComponent.h"

/** Lays its children out in a grid: a fixed number of columns, rows of a fixed height, gaps
    between them and a margin inside (optionally under a title line). A child may span several
    columns. Children are placed in the order they were added. */
class KaJuceGridComponent : public virtual juce::Component
{
public:
    KaJuceGridComponent (int columns, int rowHeight, int gap = 6, int margin = 8);

    void addToGrid (juce::Component& child, int columnSpan = 1);
    void setTitleHeight (int pixels) noexcept { m_nTitleHeight = pixels; }
    /** The height the grid needs for its children. */
    int getRequiredHeight() const noexcept;
    void resized() override;

protected:
    int m_nColumns, m_nRowHeight, m_nGap, m_nMargin, m_nTitleHeight = 0;

private:
    struct Cell { juce::Component* child; int span; };
    std::vector<Cell> m_cells;
};

/** A grid drawn in OpenGL as a panel with a title. */
class KaJuceOglGridComponent : public KaOglChildComponent, public KaJuceGridComponent, public KaJuceOglFontUser
{
public:
    KaJuceOglGridComponent (const juce::String& title, int columns, int rowHeight, int gap = 6, int margin = 8);
    void setTitle (const juce::String& title) { m_title.set (title); }
    void render (double time) override;
    void resized() override;

private:
    KaGuiText m_title;
};

#include "editor/KaJuceGridComponent.h"
#include "editor/KaJuceTheme.h"
#include "editor/KaOglDraw.h"

KaJuceGridComponent::KaJuceGridComponent (int columns, int rowHeight, int gap, int margin)
    : m_nColumns (juce::jmax (1, columns)), m_nRowHeight (rowHeight), m_nGap (gap), m_nMargin (margin)
{
}

void KaJuceGridComponent::addToGrid (juce::Component& child, int columnSpan)
{
    addAndMakeVisible (child);
    m_cells.push_back ({ &child, juce::jlimit (1, m_nColumns, columnSpan) });
}

int KaJuceGridComponent::getRequiredHeight() const noexcept
{
    int rows = 0, column = m_nColumns;
    for (const auto& cell : m_cells)
    {
        if (column + cell.span > m_nColumns)
            ++rows, column = 0;
        column += cell.span;
    }
    return m_nTitleHeight + 2 * m_nMargin + rows * m_nRowHeight + juce::jmax (0, rows - 1) * m_nGap;
}

void KaJuceGridComponent::resized()
{
    const int inner = getWidth() - 2 * m_nMargin;
    const float columnWidth = (float) (inner - (m_nColumns - 1) * m_nGap) / (float) m_nColumns;
    int row = -1, column = m_nColumns;
    for (const auto& cell : m_cells)
    {
        if (column + cell.span > m_nColumns)
            ++row, column = 0;
        const int x = m_nMargin + juce::roundToInt ((float) column * (columnWidth + (float) m_nGap));
        const int w = juce::roundToInt ((float) cell.span * columnWidth + (float) ((cell.span - 1) * m_nGap));
        cell.child->setBounds (x, m_nTitleHeight + m_nMargin + row * (m_nRowHeight + m_nGap), w, m_nRowHeight);
        column += cell.span;
    }
}

KaJuceOglGridComponent::KaJuceOglGridComponent (const juce::String& title, int columns, int rowHeight, int gap, int margin)
    : KaJuceGridComponent (columns, rowHeight, gap, margin)
{
    m_title.set (title);
    setTitleHeight (title.isNotEmpty() ? 22 : 0);
}

void KaJuceOglGridComponent::resized()
{
    KaOglChildComponent::resized();
    KaJuceGridComponent::resized();
}

void KaJuceOglGridComponent::render (double)
{
    const auto area = getLocalBounds().toFloat();
    KaOglDraw::fillRoundedRect (area, 5.0f, KaJuceTheme::panel);
    KaOglDraw::drawRoundedRect (area, 5.0f, KaJuceTheme::panelEdge);
    if (m_nTitleHeight > 0)
        if (auto* font = getOglFont (KaJuceTheme::titleText))
            font->drawText (m_title.forRender(), { m_nMargin, 4, getWidth() - 2 * m_nMargin, m_nTitleHeight }, juce::Justification::centredLeft, KaJuceTheme::textDim);
}

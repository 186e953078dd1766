#include "editor/KaJuceSelectorControl.h"
#include "editor/KaOglDraw.h"

#include <cmath>

KaJuceSelectorPopUp::KaJuceSelectorPopUp (KaJuceSelectorControl& owner)
    : KaJuceControlWithHelpers (owner.getName() + ".m_Popup"), m_owner (owner)
{
    setWantsKeyboardFocus (true);
    setVisible (false);
}

int KaJuceSelectorPopUp::rowAt (juce::Point<int> p) const noexcept
{
    const int row = (p.y - 4) / rowHeight;
    return p.y >= 4 && row < m_owner.getNumItems() ? row : -1;
}

void KaJuceSelectorPopUp::mouseMove (const juce::MouseEvent& e)
{
    m_nHighlight.store (rowAt (e.getPosition()));
    requestRedraw();
}

void KaJuceSelectorPopUp::mouseUp (const juce::MouseEvent& e)
{
    const int row = rowAt (e.getPosition());
    if (row >= 0)
    {
        m_owner.selectIndex (row, true);
        m_owner.showPopUp (false);
    }
}

bool KaJuceSelectorPopUp::keyPressed (const juce::KeyPress& key)
{
    const int n = m_owner.getNumItems();
    int row = m_nHighlight.load() >= 0 ? m_nHighlight.load() : m_owner.getSelectedIndex();
    if (key == juce::KeyPress::upKey)
        row = juce::jmax (0, row - 1);
    else if (key == juce::KeyPress::downKey)
        row = juce::jmin (n - 1, row + 1);
    else if (key == juce::KeyPress::returnKey)
    {
        m_owner.selectIndex (row, true);
        m_owner.showPopUp (false);
        return true;
    }
    else if (key == juce::KeyPress::escapeKey)
    {
        m_owner.showPopUp (false);
        return true;
    }
    else
        return false;
    m_nHighlight.store (row);
    requestRedraw();
    return true;
}

void KaJuceSelectorPopUp::render (double)
{
    const auto area = getLocalBounds().toFloat();
    KaOglDraw::fillRoundedRect (area, 4.0f, KaJuceTheme::panel.brighter (0.08f));
    KaOglDraw::drawRoundedRect (area, 4.0f, KaJuceTheme::controlEdge);
    auto* font = getOglFont (KaJuceTheme::bodyText);
    if (font == nullptr)
        return;
    const int selected = m_owner.getSelectedIndex(), highlight = m_nHighlight.load();
    for (int i = 0; i < m_owner.getNumItems(); ++i)
    {
        const juce::Rectangle<int> row (4, 4 + i * rowHeight, getWidth() - 8, rowHeight);
        if (i == highlight)
            KaOglDraw::fillRoundedRect (row.toFloat(), 3.0f, KaJuceTheme::controlHover);
        if (i == selected)
            KaOglDraw::fillRect (row.toFloat().withWidth (3.0f).reduced (0.0f, 4.0f), m_owner.getAccentColour());
        font->drawText (m_owner.getItem (i), row.withTrimmedLeft (10), juce::Justification::centredLeft,
                        i == selected ? m_owner.getAccentColour().brighter (0.3f) : KaJuceTheme::text);
    }
}

KaJuceSelectorControl::KaJuceSelectorControl (const juce::String& name, int parameterIndex)
    : KaJuceControlWithHelpers (name, parameterIndex), m_popUp (*this), m_background (name + ".m_btnPopupBackground")
{
    m_background.setLabel ({});
    m_background.setVisible (false);
    m_background.onClick = [this] { showPopUp (false); };
}

KaJuceSelectorControl::~KaJuceSelectorControl() = default;

void KaJuceSelectorControl::setItems (const juce::StringArray& items, std::vector<float> values)
{
    m_items = items;
    if (values.size() != (size_t) items.size())
    {
        values.clear();
        for (int i = 0; i < items.size(); ++i)
            values.push_back ((float) i / 1000.0f);
    }
    m_values = std::move (values);
}

int KaJuceSelectorControl::getSelectedIndex() const noexcept
{
    int best = -1;
    float bestDistance = 2.0f;
    for (size_t i = 0; i < m_values.size(); ++i)
        if (const float d = std::abs (m_values[i] - getValue()); d < bestDistance)
            best = (int) i, bestDistance = d;
    return best;
}

void KaJuceSelectorControl::selectIndex (int index, bool shouldNotify)
{
    if (index < 0 || index >= (int) m_values.size())
        return;
    beginGesture();
    setValue (m_values[(size_t) index], shouldNotify);
    endGesture();
}

void KaJuceSelectorControl::adoptPopUp (juce::Component& parent)
{
    parent.addChildComponent (m_background);
    parent.addChildComponent (m_popUp);
}

void KaJuceSelectorControl::showPopUp (bool show)
{
    auto* parent = m_popUp.getParentComponent();
    if (parent == nullptr)
        return;
    if (show)
    {
        // Below the selector, or above it when the list would leave the editor.
        const int height = m_items.size() * KaJuceSelectorPopUp::rowHeight + 8;
        const int width = juce::jmax (getWidth(), 140);
        auto area = parent->getLocalArea (this, getLocalBounds());
        juce::Rectangle<int> list (area.getX(), area.getBottom() + 2, width, height);
        if (list.getBottom() > parent->getHeight())
            list.setY (juce::jmax (0, area.getY() - height - 2));
        m_popUp.setBounds (list.constrainedWithin (parent->getLocalBounds()));
        m_background.setBounds (parent->getLocalBounds());
        m_background.toFront (false);
        m_popUp.toFront (true);
    }
    m_background.setVisible (show);
    m_popUp.setVisible (show);
}

void KaJuceSelectorControl::mouseDown (const juce::MouseEvent& e)
{
    if (! isEnabled() || resetCheck (e))
        return;
    showPopUp (! isPopUpShowing());
}

void KaJuceSelectorControl::render (double)
{
    const auto area = getLocalBounds().toFloat();
    KaOglDraw::fillRoundedRect (area, 3.0f, isHovered() || m_popUp.isVisibleForRender() ? KaJuceTheme::controlHover : getBackgroundColour());
    KaOglDraw::drawRoundedRect (area, 3.0f, KaJuceTheme::controlEdge);
    const int index = getSelectedIndex();
    const auto colour = isEnabledForRender() ? getTextColour() : KaJuceTheme::textDim;
    if (auto* font = getOglFont (getLabelFontSize()))
    {
        const auto label = labelForRender();
        auto text = getLocalBounds().reduced (8, 0).withTrimmedRight (12);
        if (label.isNotEmpty())
        {
            font->drawText (label, text, juce::Justification::centredLeft, KaJuceTheme::textDim);
            text.removeFromLeft (font->getTextWidth (label) + 8);
        }
        font->drawText (index >= 0 ? m_items[index] : juce::String(), text, juce::Justification::centredLeft, colour);
    }
    // The down arrow.
    const float cx = area.getRight() - 10.0f, cy = area.getCentreY();
    KaOglDraw::drawLine (cx - 4.0f, cy - 2.0f, cx, cy + 2.0f, colour, 1.5f);
    KaOglDraw::drawLine (cx, cy + 2.0f, cx + 4.0f, cy - 2.0f, colour, 1.5f);
}

#include "editor/KaJuceMenuPopUp.h"
#include "editor/KaOglDraw.h"

KaJuceMenuPopUp::KaJuceMenuPopUp (const juce::String& name)
    : KaJuceControlWithHelpers (name), m_background (name + ".m_btnPopupBackground")
{
    setWantsKeyboardFocus (true);
    setVisible (false);
    m_background.setLabel ({});
    m_background.setVisible (false);
    m_background.onClick = [this] { hide(); };
}

void KaJuceMenuPopUp::clear() { m_items.clear(); }

void KaJuceMenuPopUp::addItem (const juce::String& text, bool enabled, bool ticked, std::function<void()> action)
{
    m_items.push_back ({ text, enabled, ticked, false, std::move (action) });
}

void KaJuceMenuPopUp::addSeparator()
{
    if (! m_items.empty() && ! m_items.back().separator)
        m_items.push_back ({ {}, false, false, true, {} });
}

int KaJuceMenuPopUp::indexOf (const juce::String& text) const
{
    for (size_t i = 0; i < m_items.size(); ++i)
        if (m_items[i].enabled && m_items[i].text == text)
            return (int) i;
    return -1;
}

void KaJuceMenuPopUp::adoptPopUp (juce::Component& parent)
{
    parent.addChildComponent (m_background);
    parent.addChildComponent (*this);
}

int KaJuceMenuPopUp::rowTop (int index) const noexcept
{
    int y = padding;
    for (int i = 0; i < index && i < (int) m_items.size(); ++i)
        y += m_items[(size_t) i].separator ? separatorHeight : rowHeight;
    return y;
}

void KaJuceMenuPopUp::showBelow (juce::Rectangle<int> area)
{
    auto* parent = getParentComponent();
    if (parent == nullptr)
        return;
    if (! m_items.empty() && m_items.back().separator)
        m_items.pop_back();

    std::vector<Row> rows;
    int width = minWidth;
    auto* font = getOglFont (getLabelFontSize());
    for (size_t i = 0; i < m_items.size(); ++i)
    {
        const auto& item = m_items[i];
        rows.push_back ({ item.text, item.enabled, item.ticked, item.separator, rowTop ((int) i), item.separator ? separatorHeight : rowHeight });
        if (font != nullptr)
            width = juce::jmax (width, font->getTextWidth (item.text) + 48);
    }
    m_rows.set (std::move (rows));
    m_nHighlight.store (-1);

    // Right-aligned with the button when it sits at the right, as the main menu's does.
    const int height = rowTop ((int) m_items.size()) + padding;
    juce::Rectangle<int> menu (area.getRight() - width, area.getBottom() + 2, width, height);
    if (menu.getX() < 0)
        menu.setX (area.getX());
    if (menu.getBottom() > parent->getHeight())
        menu.setY (juce::jmax (0, area.getY() - height - 2));
    setBounds (menu.constrainedWithin (parent->getLocalBounds()));
    m_background.setBounds (parent->getLocalBounds());
    m_background.setVisible (true);
    m_background.toFront (false);
    setVisible (true);
    toFront (true);
}

void KaJuceMenuPopUp::hide()
{
    m_background.setVisible (false);
    setVisible (false);
}

void KaJuceMenuPopUp::choose (int index)
{
    if (index < 0 || index >= (int) m_items.size() || ! m_items[(size_t) index].enabled)
        return;
    // The action may open another pop-up or rebuild this menu: close first, then run a copy.
    auto action = m_items[(size_t) index].action;
    hide();
    if (action)
        action();
}

int KaJuceMenuPopUp::itemAt (juce::Point<int> p) const noexcept
{
    if (p.x < 0 || p.x >= getWidth())
        return -1;
    int y = padding;
    for (size_t i = 0; i < m_items.size(); ++i)
    {
        const int h = m_items[i].separator ? separatorHeight : rowHeight;
        if (p.y >= y && p.y < y + h)
            return m_items[i].enabled ? (int) i : -1;
        y += h;
    }
    return -1;
}

int KaJuceMenuPopUp::nextEnabled (int from, int step) const noexcept
{
    const int n = (int) m_items.size();
    for (int i = from + step; i >= 0 && i < n; i += step)
        if (m_items[(size_t) i].enabled)
            return i;
    return from;
}

void KaJuceMenuPopUp::mouseMove (const juce::MouseEvent& e)
{
    m_nHighlight.store (itemAt (e.getPosition()));
    requestRedraw();
}

void KaJuceMenuPopUp::mouseExit (const juce::MouseEvent& e)
{
    KaJuceControlWithHelpers::mouseExit (e);
    m_nHighlight.store (-1);
}

void KaJuceMenuPopUp::mouseUp (const juce::MouseEvent& e) { choose (itemAt (e.getPosition())); }

bool KaJuceMenuPopUp::keyPressed (const juce::KeyPress& key)
{
    const int row = m_nHighlight.load();
    if (key == juce::KeyPress::upKey)
        m_nHighlight.store (nextEnabled (row < 0 ? (int) m_items.size() : row, -1));
    else if (key == juce::KeyPress::downKey)
        m_nHighlight.store (nextEnabled (row, 1));
    else if (key == juce::KeyPress::returnKey)
        choose (row);
    else if (key == juce::KeyPress::escapeKey)
        hide();
    else
        return false;
    requestRedraw();
    return true;
}

void KaJuceMenuPopUp::render (double)
{
    const auto area = getLocalBounds().toFloat();
    KaOglDraw::fillRoundedRect (area.translated (0.0f, 3.0f), 5.0f, juce::Colours::black.withAlpha (0.35f));
    KaOglDraw::fillRoundedRect (area, 5.0f, KaJuceTheme::panel.brighter (0.08f));
    KaOglDraw::drawRoundedRect (area, 5.0f, KaJuceTheme::controlEdge);
    auto* font = getOglFont (getLabelFontSize());
    if (font == nullptr)
        return;
    const auto& rows = m_rows.forRender();
    const int highlight = m_nHighlight.load();
    for (size_t i = 0; i < rows.size(); ++i)
    {
        const auto& row = rows[i];
        const juce::Rectangle<int> box (padding, row.top, getWidth() - 2 * padding, row.height);
        if (row.separator)
        {
            KaOglDraw::fillRect ({ (float) box.getX() + 6.0f, (float) box.getCentreY(), (float) box.getWidth() - 12.0f, 1.0f }, KaJuceTheme::controlEdge);
            continue;
        }
        if ((int) i == highlight && row.enabled)
            KaOglDraw::fillRoundedRect (box.toFloat(), 3.0f, KaJuceTheme::controlHover);
        const auto colour = row.enabled ? KaJuceTheme::text : KaJuceTheme::textDim.withMultipliedAlpha (0.7f);
        if (row.ticked)
            font->drawText (juce::String::charToString ((juce::juce_wchar) 0x2713), box.withWidth (24), juce::Justification::centred, getAccentColour());
        font->drawText (row.text, box.withTrimmedLeft (26), juce::Justification::centredLeft, colour);
    }
}

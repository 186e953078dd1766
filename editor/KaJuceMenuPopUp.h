#pragma once

#include "editor/KaJuceButton.h"

#include <vector>

/** A menu drawn by the frame: rows of commands (ticked or not, enabled or not) and separators,
    opened under a button. Click or Return runs a command and closes the menu; Up and Down move;
    Escape or a click anywhere else closes it. The menu and the transparent background that
    catches the outside click are children of the frame, added with adoptPopUp(). */
class KaJuceMenuPopUp : public KaJuceControlWithHelpers
{
public:
    explicit KaJuceMenuPopUp (const juce::String& name);

    static constexpr int rowHeight = 24, separatorHeight = 9, padding = 4, minWidth = 200;

    /** Message thread: the entries, rebuilt each time the menu opens. */
    void clear();
    void addItem (const juce::String& text, bool enabled, bool ticked, std::function<void()> action);
    void addSeparator();
    int getNumItems() const noexcept { return (int) m_items.size(); }
    /** The index of the first enabled entry with that text, or -1. */
    int indexOf (const juce::String& text) const;

    void adoptPopUp (juce::Component& parent);
    /** Opens below (or above, where there is no room) an area of the parent. */
    void showBelow (juce::Rectangle<int> area);
    void hide();
    bool isShowing() const { return isVisible(); }
    /** Runs an entry as a click does: closes the menu, then runs its action. */
    void choose (int index);

    /** The entry under a position, or -1 (separators and disabled entries count as none). */
    int itemAt (juce::Point<int> position) const noexcept;

    void render (double time) override;
    bool keyPressed (const juce::KeyPress& key) override;

protected:
    void mouseMove (const juce::MouseEvent& e) override;
    void mouseExit (const juce::MouseEvent& e) override;
    void mouseUp (const juce::MouseEvent& e) override;

private:
    struct Item
    {
        juce::String text;
        bool enabled = true, ticked = false, separator = false;
        std::function<void()> action;
    };
    /** What the render thread draws of an entry. */
    struct Row
    {
        juce::String text;
        bool enabled, ticked, separator;
        int top, height;
    };

    int rowTop (int index) const noexcept;
    int nextEnabled (int from, int step) const noexcept;

    std::vector<Item> m_items;
    KaGuiShared<std::vector<Row>> m_rows;
    std::atomic<int> m_nHighlight { -1 };
    KaJuceTransparentButton m_background;
};

#pragma once

#include "editor/KaJuceButton.h"

class KaJuceSelectorControl;

/** The list a selector shows: one row per item, the chosen one marked. Click or Return picks,
    Up and Down move, Escape closes. */
class KaJuceSelectorPopUp : public KaJuceControlWithHelpers
{
public:
    explicit KaJuceSelectorPopUp (KaJuceSelectorControl& owner);

    static constexpr int rowHeight = 20;
    int rowAt (juce::Point<int> position) const noexcept;
    int getHighlightedRow() const noexcept { return m_nHighlight.load(); }

    void render (double time) override;
    bool keyPressed (const juce::KeyPress& key) override;

protected:
    void mouseMove (const juce::MouseEvent& e) override;
    void mouseUp (const juce::MouseEvent& e) override;

private:
    KaJuceSelectorControl& m_owner;
    std::atomic<int> m_nHighlight { -1 };
};

/** A one-of-N selector. Its value is the item's value (for choice parameters the choice
    number / 1000). Clicking opens the list over the editor together with a transparent
    background that closes it when clicked ("<name>.m_Popup", "<name>.m_btnPopupBackground");
    both are children of the OpenGL frame, added by the editor through adoptPopUp(). */
class KaJuceSelectorControl : public KaJuceControlWithHelpers
{
public:
    KaJuceSelectorControl (const juce::String& name, int parameterIndex = noParameter);
    ~KaJuceSelectorControl() override;

    /** Message thread, before the first frame: the items and the value each stands for
        (empty values: item i is i / 1000). */
    void setItems (const juce::StringArray& items, std::vector<float> values = {});
    int getNumItems() const noexcept { return m_items.size(); }
    const juce::String& getItem (int index) const noexcept { return m_items.getReference (index); }
    /** The item whose value is nearest to the control's value. */
    int getSelectedIndex() const noexcept;
    void selectIndex (int index, bool notify);

    /** Adds the pop-up and its background to a parent (the frame), on top of everything. */
    void adoptPopUp (juce::Component& parent);
    void showPopUp (bool show);
    bool isPopUpShowing() const { return m_popUp.isVisible(); }
    KaJuceSelectorPopUp& getPopUp() noexcept { return m_popUp; }
    KaJuceTransparentButton& getPopUpBackground() noexcept { return m_background; }

    void render (double time) override;

protected:
    void mouseDown (const juce::MouseEvent& e) override;

private:
    juce::StringArray m_items;
    std::vector<float> m_values;
    KaJuceSelectorPopUp m_popUp;
    KaJuceTransparentButton m_background;
};

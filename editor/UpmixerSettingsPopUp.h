#pragma once

#include "editor/KaJuceButton.h"
#include "editor/KaJuceColourPicker.h"
#include "editor/KaJuceGridComponent.h"
#include "editor/KaJuceSelectorControl.h"
#include "editor/KaOwnedComponents.h"

#include <memory>
#include <vector>

class KaJuceEditorBase;

/** The per-user settings, drawn by the frame as a card over the dimmed editor (opened from the
    main menu): the colours and meter splits, with "Lock colours" to keep them in every session
    and preset; the trim links of the channel pairs; the default routings and frame rate of new
    instances; the output strips' buttons; the extra output options and the support log. Every
    control is bound to its setting through the editor; Escape, Done or a click outside closes. */
class UpmixerSettingsPopUp : public KaJuceControlWithHelpers
{
public:
    explicit UpmixerSettingsPopUp (KaJuceEditorBase& editor);

    static constexpr int cardWidth = 960;

    void show (bool show);
    bool isShowing() const { return isVisible(); }
    /** Each GUI tick while open: the colour controls follow "Lock colours". */
    void update();

    /** The control bound to a setting or session parameter shown here, or null. */
    KaJuceControl* findControl (int number) const;
    KaJuceButton& getDoneButton() noexcept { return m_btnDone; }
    juce::Rectangle<int> getCard() const noexcept { return m_card; }

    void render (double time) override;
    void resized() override;
    bool keyPressed (const juce::KeyPress& key) override;

protected:
    void mouseDown (const juce::MouseEvent& e) override;

private:
    KaJuceOglGridComponent& addPanel (int column, const juce::String& title, int columns, int rowHeight);
    KaJuceControl& addColour (KaJuceOglGridComponent& panel, int number, const juce::String& label);
    KaJuceControl& addToggle (KaJuceOglGridComponent& panel, int number, const juce::String& label, int span = 1);
    KaJuceSelectorControl& addSelector (KaJuceOglGridComponent& panel, int number, const juce::String& label, const std::vector<int>& choices,
                                        const juce::StringArray& texts);
    void addNote (KaJuceOglGridComponent& panel, const juce::String& text, int span);
    void closePickers (const KaJuceColourPicker* except);
    /** Points the colour controls at the session's values or the user's copies. */
    void followLock (bool locked);
    void lockChanged (bool locked);

    KaJuceEditorBase& m_editor;
    KaOwnedComponents m_owned;
    struct Place { int column; KaJuceOglGridComponent* panel; };
    std::vector<Place> m_panels;
    /** The colour controls and the session parameter each stands for. */
    std::vector<std::pair<KaJuceControl*, int>> m_colourControls;
    std::vector<KaJuceColourPicker*> m_pickers;
    std::vector<KaJuceSelectorControl*> m_selectors;
    KaJuceButton* m_pLock = nullptr;
    bool m_bLocked = false;
    KaJuceButton m_btnDone { "m_btnSettingsDone", noParameter, KaJuceButton::Mode::push };
    juce::Rectangle<int> m_card;
};

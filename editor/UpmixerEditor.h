#pragma once

#include "editor/KaJuceABButton.h"
#include "editor/KaJuceButton.h"
#include "editor/KaJuceControlGroup.h"
#include "editor/KaJuceDragControl.h"
#include "editor/KaJuceEditorBase.h"
#include "editor/KaJuceGridComponent.h"
#include "editor/KaJucePresetBar.h"
#include "editor/KaJuceSelectorControl.h"
#include "editor/KaOwnedComponents.h"
#include "editor/UpmixerDialogueActivity.h"
#include "editor/UpmixerListenPanel.h"
#include "editor/UpmixerSurroundField.h"
#include "editor/UpmixerCentreLfePage.h"
#include "editor/UpmixerIOPage.h"
#include "editor/UpmixerPodMenu.h"
#include "editor/UpmixerSettingsPopUp.h"
#include "editor/UpmixerSupportMenu.h"

class UpmixerProcessor;

/** Orrin Upmix's editor: a header with the preset bar, undo and redo, A/B, bypass and the main
    menu; pages of panels (Main, Centre & LFE, I/O) that reach the host parameters with the
    control toolkit; the settings pop-up; and the status line that announces each change. */
class UpmixerEditor : public KaJuceEditorBase
{
public:
    explicit UpmixerEditor (UpmixerProcessor& processor);
    ~UpmixerEditor() override;

    static constexpr int defaultWidth = 1120, defaultHeight = 690;

    void resized() override;
    void showParameterChange (const juce::String& text, int number) override;
    bool keyPressed (const juce::KeyPress& key) override;

    /** The control bound to a parameter (the first), or null. */
    KaJuceControl* findControl (int number) const;
    /** Shows one page: 0 Main, 1 Centre & LFE, 2 I/O. */
    void showPage (int page);
    int getNumPages() const noexcept { return (int) m_pages.size(); }
    juce::String getPageName (int page) const { return m_tabs[(size_t) juce::jlimit (0, getNumPages() - 1, page)]->getName(); }
    juce::String getStatusText() const { return m_readoutStatus.getLabel(); }
    UpmixerSurroundField& getSurroundField() noexcept { return *m_field; }
    UpmixerDialogueActivity& getDialogueActivity() noexcept { return *m_dialogueActivity; }
    UpmixerListenPanel& getListenPanel() noexcept { return *m_listen; }
    UpmixerCentreLfePage& getCentreLfePage() noexcept { return *m_centrePage; }
    UpmixerIOPage& getIOPage() noexcept { return *m_ioPage; }
    KaJucePresetBar& getPresetBar() noexcept { return m_presetBar; }
    KaJuceButton& getUndoButton() noexcept { return m_btnUndo; }
    KaJuceButton& getRedoButton() noexcept { return m_btnRedo; }
    KaJuceABButton& getABButton() noexcept { return m_btnAB; }
    KaJuceButton& getMenuButton() noexcept { return m_btnMenu; }
    UpmixerSettingsPopUp& getSettings() noexcept { return m_settings; }
    void showSettings (bool show) { m_settings.show (show); }
    UpmixerSupportMenu& getSupportMenu() noexcept { return m_supportMenu; }
    UpmixerPodMenu& getPodMenu() noexcept { return m_podMenu; }
    void addMainMenuItems (KaJuceMenuPopUp& menu) override;

protected:
    void updateDisplays() override;
    void updateOtherState() override;

private:
    /** A panel of controls for the given parameters on a page. */
    KaJuceOglGridComponent& addPanel (int page, int column, int span, const juce::String& title, int columns, int rowHeight,
                                      const std::vector<int>& numbers, bool knobs = false);
    KaJuceOglGridComponent& makePanel (const juce::String& title, int columns, int rowHeight, const std::vector<int>& numbers, bool knobs = false);
    KaJuceControl& makeControl (int number, bool knob);
    /** The Main page: shape values, links, surrounds and overheads; the surround field;
        dialogue and Listen. */
    void buildMainPage();
    void layOutMainPage (juce::Rectangle<int> area);

    UpmixerProcessor& m_upmixer;
    KaOwnedComponents m_owned;
    std::vector<std::unique_ptr<KaJuceControlGroup>> m_groups;
    std::vector<juce::Component*> m_pages;
    struct PanelPlace { int page, column, span; KaJuceOglGridComponent* panel; };
    std::vector<PanelPlace> m_panels;  // stacked top to bottom within their columns
    std::vector<KaJuceButton*> m_tabs;
    std::vector<KaJuceOglGridComponent*> m_mainLeft, m_mainRight;  // the Main page's side columns, top to bottom
    KaJuceOglGridComponent* m_panelOverheads = nullptr;
    UpmixerSurroundField* m_field = nullptr;
    UpmixerDialogueActivity* m_dialogueActivity = nullptr;
    UpmixerListenPanel* m_listen = nullptr;
    UpmixerCentreLfePage* m_centrePage = nullptr;
    UpmixerIOPage* m_ioPage = nullptr;
    juce::Image m_knobStrip;

    KaJuceMarginReadout m_readoutTitle { "m_readoutTitle" };
    KaJuceMarginReadout m_readoutStatus { "m_readoutStatus" };
    KaJucePresetBar m_presetBar { *this };
    KaJuceButton m_btnUndo, m_btnRedo;
    KaJuceABButton m_btnAB;
    KaJuceButton m_btnAtoB, m_btnBypass, m_btnMenu;
    UpmixerSettingsPopUp m_settings { *this };
    UpmixerSupportMenu m_supportMenu { *this };
    UpmixerPodMenu m_podMenu { *this, m_upmixer };
};

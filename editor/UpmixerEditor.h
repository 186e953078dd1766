#pragma once

#include "editor/KaJuceButton.h"
#include "editor/KaJuceColourPicker.h"
#include "editor/KaJuceControlGroup.h"
#include "editor/KaJuceDragControl.h"
#include "editor/KaJuceEditorBase.h"
#include "editor/KaJuceGridComponent.h"
#include "editor/KaJuceSelectorControl.h"
#include "editor/UpmixerDialogueActivity.h"
#include "editor/UpmixerListenPanel.h"
#include "editor/UpmixerSurroundField.h"
#include "editor/UpmixerCentreLfePage.h"
#include "editor/UpmixerIOPage.h"

class UpmixerProcessor;

/** Orrin Upmix's editor: a header with presets, undo and redo, A/B and bypass; pages of panels
    (Main, Centre & LFE, I/O, Colours) that reach the host parameters with the control toolkit;
    and the status line that announces each change. */
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
    /** Shows one page: 0 Main, 1 Centre & LFE, 2 I/O, 3 Colours. */
    void showPage (int page);
    int getNumPages() const noexcept { return (int) m_pages.size(); }
    juce::String getPageName (int page) const { return m_tabs[(size_t) juce::jlimit (0, getNumPages() - 1, page)]->getName(); }
    juce::String getStatusText() const { return m_readoutStatus.getLabel(); }
    UpmixerSurroundField& getSurroundField() noexcept { return *m_field; }
    UpmixerDialogueActivity& getDialogueActivity() noexcept { return *m_dialogueActivity; }
    UpmixerListenPanel& getListenPanel() noexcept { return *m_listen; }
    UpmixerCentreLfePage& getCentreLfePage() noexcept { return *m_centrePage; }
    UpmixerIOPage& getIOPage() noexcept { return *m_ioPage; }

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
    template <typename T, typename... Args> T& own (Args&&... args);

    UpmixerProcessor& m_upmixer;
    std::vector<std::unique_ptr<juce::Component>> m_owned;
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
    KaJuceMarginReadout m_readoutPreset { "m_readoutPreset" };
    KaJuceMarginReadout m_readoutStatus { "m_readoutStatus" };
    KaJuceButton m_btnPresetPrev, m_btnPresetNext, m_btnUndo, m_btnRedo, m_btnAB, m_btnAtoB, m_btnBypass, m_btnMenu;
};

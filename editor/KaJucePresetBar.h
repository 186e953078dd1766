#pragma once

#include "editor/KaJucePresetBrowser.h"
#include "editor/KaJucePresetDialog.h"

class KaJuceEditorBase;

/** The header's preset bar: previous and next, the tracked preset's name (its folder beside it,
    a mark while the values heard differ from the saved ones) that opens the browser, Save (over
    the user's own preset; elsewhere it asks for a name) and Save as. It owns the browser and
    the dialog for names and confirmations, which the frame draws over everything. Message
    thread; everything reaches the processor through its preset calls. */
class KaJucePresetBar : public KaOglChildComponent
{
public:
    explicit KaJucePresetBar (KaJuceEditorBase& editor);

    /** Adds the browser and the dialog to the frame, over what was added before. */
    void adoptPopUps (juce::Component& frame);
    /** Each GUI tick: the name and its marks, the browser's rows and actions. */
    void update();

    /** Save: over the tracked user preset, else as Save as. */
    void save();
    void saveAs();
    void showBrowser (bool show);
    bool isBrowserShowing() const { return m_browser.isShowing(); }

    /** The name as shown, with " *" while modified (tests and accessibility read it). */
    juce::String getShownName() const;

    KaJuceButton& getPreviousButton() noexcept { return m_btnPresetPrev; }
    KaJuceButton& getNextButton() noexcept { return m_btnPresetNext; }
    KaJuceButton& getNameButton() noexcept { return m_btnPresetName; }
    KaJuceButton& getSaveButton() noexcept { return m_btnSave; }
    KaJuceButton& getSaveAsButton() noexcept { return m_btnSaveAs; }
    KaJucePresetBrowser& getBrowser() noexcept { return m_browser; }
    KaJucePresetDialog& getDialog() noexcept { return m_dialog; }

    /** What happened, for the editor's status line: the bar's own actions, and a preset that
        came from elsewhere (previous, next, undo). */
    std::function<void (const juce::String&)> onMessage;

    void render (double) override {}
    void resized() override;

private:
    /** The name field: folder, name, the modified mark and the browser's arrow. */
    class NameButton : public KaJuceButton
    {
    public:
        NameButton();
        void setPreset (const juce::String& folder, const juce::String& name, bool modified);

    protected:
        void drawFace (juce::Rectangle<float> area) override;

    private:
        KaGuiText m_folder;
        std::atomic<bool> m_bModified { false }, m_bOpen { false };
        friend class KaJucePresetBar;
    };

    void requestDelete (const juce::String& folder, const juce::String& file, const juce::String& name);
    void saveAsUserPreset (const juce::String& name);
    void message (const juce::String& text);

    KaJuceEditorBase& m_editor;
    KaJuceProcessorBase& m_processor;
    juce::String m_announcedFolder, m_announcedFile;  // the preset the status line last spoke of
    KaJuceButton m_btnPresetPrev, m_btnPresetNext;
    NameButton m_btnPresetName;
    KaJuceButton m_btnSave { "m_btnPresetSave", KaJuceControl::noParameter, KaJuceButton::Mode::push };
    KaJuceButton m_btnSaveAs { "m_btnPresetSaveAs", KaJuceControl::noParameter, KaJuceButton::Mode::push };
    KaJucePresetBrowser m_browser;
    KaJucePresetDialog m_dialog;
};

#pragma once

#include "editor/KaJuceButton.h"
#include "processor/KaJuceProcessorBase.h"

#include <memory>

/** The preset browser, drawn by the frame below the preset name: one tab per preset folder
    ("User", "Installed", "Default", then any others), the folder's presets with the tracked one
    marked, and the actions on the tracked preset (reset to its saved values, set as the user's
    default, clear that default, delete). A click on a row loads it and leaves the browser open,
    so presets can be auditioned one after another (a double click loads and closes); the wheel
    or Up and Down scroll; Escape or a click outside closes it. The "Default" folder starts with
    the stored default (the parameters' own defaults when none is stored).

    Reads the preset folders from the disk when it opens and after a change (message thread);
    everything else goes through the processor's preset calls. */
class KaJucePresetBrowser : public KaJuceControlWithHelpers
{
public:
    explicit KaJucePresetBrowser (KaJuceProcessorBase& processor);

    static constexpr int browserWidth = 460, rowHeight = 24, visibleRows = 13, maxFolders = 6;

    /** Adds the browser and the background that closes it to the frame. */
    void adoptPopUp (juce::Component& parent);
    /** Opens below an area of the parent, on the tracked preset's folder. */
    void showBelow (juce::Rectangle<int> area);
    void hide();
    bool isShowing() const { return isVisible(); }

    /** Reads the folders and presets again and marks the tracked preset. */
    void refresh();
    /** Message thread, each GUI tick while open: follows a preset loaded elsewhere (next,
        previous, undo) and the actions' availability. */
    void update();

    void showFolder (int index);
    int getFolderIndex() const noexcept { return m_nFolder; }
    int getNumFolders() const noexcept { return (int) m_folders.size(); }
    juce::String getFolderName (int index) const;
    /** The shown names of the rows of the open folder. */
    juce::StringArray getRowNames() const;
    /** The row of the tracked preset in the open folder, or -1. */
    int getCurrentRow() const noexcept;
    /** Loads the preset of a row, as a click on it does. */
    void loadRow (int row);
    /** The row under a position in the browser, or -1. */
    int rowAt (juce::Point<int> position) const noexcept;
    juce::Rectangle<int> getRowBounds (int row) const noexcept;

    KaJuceButton& getTab (int index) noexcept { return *m_tabs[(size_t) juce::jlimit (0, maxFolders - 1, index)]; }
    KaJuceButton& getResetButton() noexcept { return m_btnReset; }
    KaJuceButton& getSetDefaultButton() noexcept { return m_btnSetDefault; }
    KaJuceButton& getClearDefaultButton() noexcept { return m_btnClearDefault; }
    KaJuceButton& getDeleteButton() noexcept { return m_btnDelete; }

    /** What happened, for the editor's status line ("Loaded: Film Dialogue 5.1"). */
    std::function<void (const juce::String&)> onMessage;
    /** Delete was clicked for a user preset (folder and file as on disk, its shown name): the
        owner asks first and then calls the processor. */
    std::function<void (const juce::String& folder, const juce::String& file, const juce::String& name)> onDeleteRequest;

    void render (double time) override;
    void resized() override;
    bool keyPressed (const juce::KeyPress& key) override;

protected:
    void mouseMove (const juce::MouseEvent& e) override;
    void mouseExit (const juce::MouseEvent& e) override;
    void mouseUp (const juce::MouseEvent& e) override;
    void mouseDoubleClick (const juce::MouseEvent& e) override;
    void mouseWheelMove (const juce::MouseEvent& e, const juce::MouseWheelDetails& wheel) override;

private:
    struct Entry
    {
        juce::String name, folder, file;
        bool storedDefault = false;
    };
    /** What the render thread draws of a row. */
    struct Row
    {
        juce::String name, note;
        bool current = false;
    };

    juce::Rectangle<int> listArea() const noexcept;
    void publishRows();
    void scrollTo (int first);
    void message (const juce::String& text) const;

    KaJuceProcessorBase& m_processor;
    std::vector<juce::String> m_folders;  // disk names
    std::vector<Entry> m_entries;         // of the open folder
    int m_nFolder = 0;
    bool m_bHasStoredDefault = false;
    juce::String m_trackedFolder, m_trackedFile;
    KaGuiShared<std::vector<Row>> m_rows;
    KaGuiText m_emptyText;
    std::atomic<int> m_nFirstRow { 0 }, m_nHighlight { -1 }, m_nNumRows { 0 };
    std::vector<std::unique_ptr<KaJuceButton>> m_tabs;
    KaJuceButton m_btnReset { "m_btnPresetReset", noParameter, KaJuceButton::Mode::push };
    KaJuceButton m_btnSetDefault { "m_btnPresetSetDefault", noParameter, KaJuceButton::Mode::push };
    KaJuceButton m_btnClearDefault { "m_btnPresetClearDefault", noParameter, KaJuceButton::Mode::push };
    KaJuceButton m_btnDelete { "m_btnPresetDelete", noParameter, KaJuceButton::Mode::push };
    KaJuceTransparentButton m_background { "m_presetBrowser.m_btnPopupBackground" };
};

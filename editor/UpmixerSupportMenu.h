#pragma once

#include "editor/KaJuceMenuPopUp.h"
#include "processor/KaUpdateCheck.h"

#include <juce_gui_basics/juce_gui_basics.h>

class KaJuceEditorBase;

/** The main menu's support entries: "Export support file…" (the same zip as
    `orrin-upmix --support-bundle`, through KaSupportBundle), "Manual" (the installed HTML in
    the user's browser), the update check's last outcome
    (a newer version's entry opens its notes) and its daily switch. Opening an editor starts the
    update check when it is due. Message thread. */
class UpmixerSupportMenu
{
public:
    explicit UpmixerSupportMenu (KaJuceEditorBase& editor);

    /** The export entry's text (with a real ellipsis, which the editor's fonts carry). */
    static juce::String exportItemText() { return juce::CharPointer_UTF8 ("Export support file\xe2\x80\xa6"); }

    void addItems (KaJuceMenuPopUp& menu);

    /** Writes the support file and tells the user how it went: the status line on success,
        a notice when it could not be written. */
    void exportTo (const juce::File& zip);

    /** Where the file chooser starts: the user's documents folder. */
    static juce::File defaultExportFile();

private:
    void chooseExportFile();

    KaJuceEditorBase& m_editor;
    std::unique_ptr<juce::FileChooser> m_chooser;
    juce::SharedResourcePointer<KaUpdateChecker> m_updates;
};

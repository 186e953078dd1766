#include "editor/UpmixerSupportMenu.h"
#include "editor/KaJuceEditorBase.h"
#include "processor/KaPaths.h"
#include "processor/KaSupportBundle.h"

UpmixerSupportMenu::UpmixerSupportMenu (KaJuceEditorBase& editor)
    : m_editor (editor)
{
    m_updates->checkIfDue();
}

void UpmixerSupportMenu::addItems (KaJuceMenuPopUp& menu)
{
    menu.addSeparator();
    menu.addItem (exportItemText(), true, false, [this] { chooseExportFile(); });
    const auto manual = KaPaths::manualFile();
    menu.addItem (manual != juce::File() ? "Manual" : "Manual (not installed)", manual != juce::File(), false,
                  [manual] { juce::URL (manual).launchInDefaultBrowser(); });

    menu.addSeparator();
    const auto status = m_updates->getStatusLine();
    const auto notes = m_updates->getNewerNotesUrl();
    menu.addItem (status.isNotEmpty() ? status : juce::String ("Updates: not checked yet"), notes.isNotEmpty(), false,
                  [notes] { juce::URL (notes).launchInDefaultBrowser(); });
    menu.addItem ("Check for updates now", true, false, [this] { m_updates->checkNow(); });
    menu.addItem ("Check for updates daily", true, m_updates->isAutomatic(), [this]
    {
        m_updates->setAutomatic (! m_updates->isAutomatic());
        m_updates->checkIfDue();
    });
}

juce::File UpmixerSupportMenu::defaultExportFile()
{
    return juce::File::getSpecialLocation (juce::File::userDocumentsDirectory)
        .getChildFile (juce::String (KaPaths::productName) + " support " + juce::Time::getCurrentTime().formatted ("%Y-%m-%d") + ".zip");
}

void UpmixerSupportMenu::chooseExportFile()
{
    // Only ever from the user's click: the processor itself never opens a window.
    m_chooser = std::make_unique<juce::FileChooser> ("Export support file", defaultExportFile(), "*.zip");
    const auto flags = juce::FileBrowserComponent::saveMode | juce::FileBrowserComponent::canSelectFiles
                       | juce::FileBrowserComponent::warnAboutOverwriting;
    m_chooser->launchAsync (flags, [this] (const juce::FileChooser& chooser)
    {
        const auto file = chooser.getResult();
        if (file != juce::File())
            exportTo (file.withFileExtension ("zip"));
    });
}

void UpmixerSupportMenu::exportTo (const juce::File& zip)
{
    const auto error = KaSupportBundle::write (m_editor.getProcessorBase(), zip);
    if (error.isEmpty())
        m_editor.showParameterChange ("Support file written: " + KaSupportBundle::withoutHome (zip.getFullPathName()), -1);
    else
        m_editor.getNoticeBox().add ({ KaNotice { "Export support file", "The support file was not written: " + error + ".", {} } });
}

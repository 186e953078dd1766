#include "editor/KaJucePresetBar.h"
#include "editor/KaJuceLayout.h"
#include "editor/KaJuceEditorBase.h"
#include "editor/KaOglDraw.h"
#include "processor/KaPresetLibrary.h"

namespace
{
    int transientNumber (const KaJuceProcessorBase& processor, const char* key)
    {
        const auto* info = processor.getParameterTable().findByKey (key);
        return info != nullptr ? info->number : KaJuceControl::noParameter;
    }

    bool isUserPresetName (const juce::String& name)
    {
        return KaPresetLibrary::standard().presetFile (KaPresetLibrary::userFolder, KaPresetName::encode (name)).existsAsFile();
    }
}

KaJucePresetBar::KaJucePresetBar (KaJuceEditorBase& editor)
    : m_editor (editor), m_processor (editor.getProcessorBase()),
      m_btnPresetPrev ("m_btnPresetPrev", transientNumber (m_processor, "PresetPrev"), KaJuceButton::Mode::push),
      m_btnPresetNext ("m_btnPresetNext", transientNumber (m_processor, "PresetNext"), KaJuceButton::Mode::push),
      m_browser (m_processor)
{
    m_announcedFolder = m_processor.getCurrentPreset().folder;
    m_announcedFile = m_processor.getCurrentPreset().file;
    setName ("m_presetBar");
    setInterceptsMouseClicks (false, true);
    m_btnPresetPrev.setLabel (juce::String::charToString ((juce::juce_wchar) 0x25C0));
    m_btnPresetNext.setLabel (juce::String::charToString ((juce::juce_wchar) 0x25B6));
    m_btnSave.setLabel ("Save");
    m_btnSaveAs.setLabel ("Save as...");
    for (auto* b : std::initializer_list<KaJuceButton*> { &m_btnPresetPrev, &m_btnPresetName, &m_btnPresetNext, &m_btnSave, &m_btnSaveAs })
        addAndMakeVisible (*b);
    m_editor.registerControl (m_btnPresetPrev);
    m_editor.registerControl (m_btnPresetNext);

    m_btnPresetName.onClick = [this] { showBrowser (! isBrowserShowing()); };
    m_btnSave.onClick = [this] { save(); };
    m_btnSaveAs.onClick = [this] { saveAs(); };
    m_browser.onMessage = [this] (const juce::String& text) { message (text); };
    m_browser.onDeleteRequest = [this] (const juce::String& folder, const juce::String& file, const juce::String& name)
    {
        requestDelete (folder, file, name);
    };
}

void KaJucePresetBar::adoptPopUps (juce::Component& frame)
{
    m_browser.adoptPopUp (frame);
    frame.addChildComponent (m_dialog);
}

void KaJucePresetBar::resized()
{
    KaOglChildComponent::resized();
    auto area = getLocalBounds();
    KaJuceLayout::fromRight (area, { { &m_btnSaveAs, 82, 6 }, { &m_btnSave, 56, 10 }, { &m_btnPresetNext, 30, 4 } });
    KaJuceLayout::fromLeft (area, { { &m_btnPresetPrev, 30, 4 } });
    m_btnPresetName.setBounds (area);
    if (auto* frame = m_dialog.getParentComponent())
        m_dialog.setBounds (frame->getLocalBounds());
}

void KaJucePresetBar::update()
{
    const auto& preset = m_processor.getCurrentPreset();
    if (preset.folder != m_announcedFolder || preset.file != m_announcedFile)
        message (preset.isSet() ? "Preset: " + preset.getName() : juce::String ("No preset"));
    const auto folder = preset.isStoredDefault() ? juce::String (KaPresetLibrary::defaultFolder) : KaPresetName::decode (preset.folder);
    m_btnPresetName.setPreset (preset.isSet() ? folder : juce::String(), preset.isSet() ? preset.getName() : juce::String ("No preset"),
                               m_processor.isPresetModified());
    m_btnPresetName.m_bOpen.store (m_browser.isShowing());
    if (m_browser.isShowing())
        m_browser.update();
}

juce::String KaJucePresetBar::getShownName() const
{
    return m_btnPresetName.getLabel() + (m_btnPresetName.m_bModified.load() ? " *" : "");
}

void KaJucePresetBar::showBrowser (bool show)
{
    if (! show)
    {
        m_browser.hide();
        return;
    }
    if (auto* frame = m_browser.getParentComponent())
    {
        m_browser.showBelow (frame->getLocalArea (this, m_btnPresetName.getBounds()).withX (frame->getLocalArea (this, m_btnPresetPrev.getBounds()).getX()));
        m_browser.grabKeyboardFocus();
    }
}

void KaJucePresetBar::save()
{
    if (! m_processor.isUserPresetTracked())
    {
        saveAs();
        return;
    }
    const auto name = m_processor.getCurrentPreset().getName();
    if (m_processor.savePreset (KaPresetLibrary::userFolder, name))
        message ("Saved " + name);
    else
        message ("Cannot save " + name + ": the preset folder refuses the file");
}

void KaJucePresetBar::saveAs()
{
    const auto& preset = m_processor.getCurrentPreset();
    const auto proposal = preset.isSet() && ! preset.isStoredDefault() ? preset.getName() : juce::String ("My preset");
    m_dialog.askName ("Save preset as", proposal, isUserPresetName, [this] (const juce::String& name) { saveAsUserPreset (name); });
}

void KaJucePresetBar::saveAsUserPreset (const juce::String& name)
{
    if (m_processor.savePreset (KaPresetLibrary::userFolder, name))
        message ("Saved " + name + " in User");
    else
        message ("Cannot save " + name + ": the preset folder refuses the file");
    if (m_browser.isShowing())
        m_browser.refresh();
}

void KaJucePresetBar::requestDelete (const juce::String& folder, const juce::String& file, const juce::String& name)
{
    m_dialog.askConfirmation ("Delete preset", "Delete \"" + name + "\" from the User folder? This cannot be undone.", "Delete", [this, folder, file, name]
    {
        if (m_processor.deletePreset (folder, file))
            message ("Deleted " + name);
        else
            message ("Cannot delete " + name);
        if (m_browser.isShowing())
            m_browser.refresh();
    });
}

void KaJucePresetBar::message (const juce::String& text)
{
    // Whatever the action did to the tracked preset has now been told.
    m_announcedFolder = m_processor.getCurrentPreset().folder;
    m_announcedFile = m_processor.getCurrentPreset().file;
    if (onMessage)
        onMessage (text);
}

// The name field ------------------------------------------------------------------------------------

KaJucePresetBar::NameButton::NameButton() : KaJuceButton ("m_btnPresetName", noParameter, Mode::push)
{
    setLabelFontSize (KaJuceTheme::titleText);
}

void KaJucePresetBar::NameButton::setPreset (const juce::String& folder, const juce::String& name, bool modified)
{
    if (name != getLabel())
        setLabel (name);
    if (folder != m_folder.get())
        m_folder.set (folder);
    if (m_bModified.exchange (modified) != modified)
        requestRedraw();
}

void KaJucePresetBar::NameButton::drawFace (juce::Rectangle<float> area)
{
    const bool open = m_bOpen.load();
    KaOglDraw::fillRoundedRect (area.reduced (0.5f), 3.0f, isHovered() || open ? KaJuceTheme::controlHover : KaJuceTheme::background);
    KaOglDraw::drawRoundedRect (area, 3.0f, open ? getAccentColour() : KaJuceTheme::controlEdge);

    auto text = getLocalBounds().reduced (10, 0);
    // The browser's arrow.
    const float cx = (float) text.getRight() - 4.0f, cy = area.getCentreY();
    KaOglDraw::drawLine (cx - 4.0f, cy - 2.0f, cx, cy + 2.0f, KaJuceTheme::textDim, 1.5f);
    KaOglDraw::drawLine (cx, cy + 2.0f, cx + 4.0f, cy - 2.0f, KaJuceTheme::textDim, 1.5f);
    text.removeFromRight (16);

    auto* small = getOglFont (KaJuceTheme::smallText);
    auto* font = getOglFont (getLabelFontSize());
    if (small == nullptr || font == nullptr)
        return;
    const auto& folder = m_folder.forRender();
    const auto& name = labelForRender();
    const bool modified = m_bModified.load();
    // The folder only where the whole name still fits beside it.
    const int folderWidth = small->getTextWidth (folder) + 8;
    if (folder.isNotEmpty() && folderWidth + font->getTextWidth (name) + (modified ? 14 : 0) <= text.getWidth())
        small->drawText (folder, text.removeFromLeft (folderWidth), juce::Justification::centredLeft, KaJuceTheme::textDim);
    const int nameWidth = juce::jmin (font->getTextWidth (name), text.getWidth() - (modified ? 14 : 0));
    font->drawText (name, text.removeFromLeft (nameWidth), juce::Justification::centredLeft, getTextColour());
    // The modified mark: the values heard are not the saved ones.
    if (modified)
        KaOglDraw::fillCircle ((float) text.getX() + 8.0f, cy, 3.5f, KaJuceTheme::warning);
}

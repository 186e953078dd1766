#include "editor/KaJucePresetBrowser.h"
#include "editor/KaOglDraw.h"
#include "processor/KaPresetLibrary.h"

namespace
{
    constexpr int padding = 8, tabHeight = 26, tabWidth = 92, footerHeight = 28, scrollWidth = 4;
    constexpr int listTop = padding + tabHeight + 8;
    constexpr int listHeight = KaJucePresetBrowser::visibleRows * KaJucePresetBrowser::rowHeight;
    constexpr int footerTop = listTop + listHeight + 8;
    constexpr int browserHeight = footerTop + footerHeight + padding;
}

KaJucePresetBrowser::KaJucePresetBrowser (KaJuceProcessorBase& processor)
    : KaJuceControlWithHelpers ("m_presetBrowser"), m_processor (processor)
{
    setWantsKeyboardFocus (true);
    setVisible (false);
    for (int i = 0; i < maxFolders; ++i)
    {
        auto& tab = *m_tabs.emplace_back (std::make_unique<KaJuceButton> ("m_btnPresetFolder" + juce::String (i)));
        tab.onClick = [this, i] { showFolder (i); };
        addChildComponent (tab);
    }
    const std::pair<KaJuceButton*, const char*> actions[] = {
        { &m_btnReset, "Reset" }, { &m_btnSetDefault, "Set as default" }, { &m_btnClearDefault, "Clear default" }, { &m_btnDelete, "Delete..." }
    };
    for (const auto& [button, label] : actions)
    {
        button->setLabel (label);
        addAndMakeVisible (*button);
    }
    m_btnDelete.setAccentColour (KaJuceTheme::danger);

    m_btnReset.onClick = [this]
    {
        const auto name = m_processor.getCurrentPreset().getName();
        if (m_processor.resetToPreset())
            message ("Reset to " + name);
    };
    m_btnSetDefault.onClick = [this]
    {
        m_processor.saveDefaultPreset();
        m_bHasStoredDefault = m_processor.hasDefaultPreset();
        message ("These settings are now the default for new instances");
    };
    m_btnClearDefault.onClick = [this]
    {
        m_processor.clearDefaultPreset();
        m_bHasStoredDefault = m_processor.hasDefaultPreset();
        message ("Default cleared: new instances start from the built-in settings");
    };
    m_btnDelete.onClick = [this]
    {
        const auto& preset = m_processor.getCurrentPreset();
        if (m_processor.isUserPresetTracked() && onDeleteRequest)
            onDeleteRequest (preset.folder, preset.file, preset.getName());
    };

    m_background.setLabel ({});
    m_background.setVisible (false);
    m_background.onClick = [this] { hide(); };
    setSize (browserWidth, browserHeight);
}

void KaJucePresetBrowser::adoptPopUp (juce::Component& parent)
{
    parent.addChildComponent (m_background);
    parent.addChildComponent (*this);
}

void KaJucePresetBrowser::showBelow (juce::Rectangle<int> area)
{
    auto* parent = getParentComponent();
    if (parent == nullptr)
        return;
    refresh();
    // Open on the tracked preset's folder; the stored default lives under "Default".
    const auto& tracked = m_processor.getCurrentPreset();
    const auto folder = tracked.isStoredDefault() ? juce::String (KaPresetLibrary::defaultFolder) : tracked.folder;
    const auto found = std::find (m_folders.begin(), m_folders.end(), folder);
    if (found != m_folders.end())
        showFolder ((int) (found - m_folders.begin()));
    // With no preset tracked, an empty folder is no place to start.
    for (int i = 0; i < (int) m_folders.size() && m_entries.empty(); ++i)
        showFolder (i);

    setBounds (juce::Rectangle<int> (area.getX(), area.getBottom() + 2, browserWidth, browserHeight).constrainedWithin (parent->getLocalBounds()));
    m_background.setBounds (parent->getLocalBounds());
    m_background.setVisible (true);
    m_background.toFront (false);
    setVisible (true);
    toFront (true);
}

void KaJucePresetBrowser::hide()
{
    m_background.setVisible (false);
    setVisible (false);
}

void KaJucePresetBrowser::refresh()
{
    m_folders.clear();
    for (const auto& folder : KaPresetLibrary::standard().listFolders())
        if ((int) m_folders.size() < maxFolders)
            m_folders.push_back (folder.file.getFileName());
    for (int i = 0; i < maxFolders; ++i)
    {
        m_tabs[(size_t) i]->setVisible (i < (int) m_folders.size());
        m_tabs[(size_t) i]->setLabel (getFolderName (i));
    }
    m_bHasStoredDefault = m_processor.hasDefaultPreset();
    showFolder (m_nFolder);
}

juce::String KaJucePresetBrowser::getFolderName (int index) const
{
    return index >= 0 && index < (int) m_folders.size() ? KaPresetName::decode (m_folders[(size_t) index]) : juce::String();
}

void KaJucePresetBrowser::showFolder (int index)
{
    m_nFolder = juce::jlimit (0, juce::jmax (0, (int) m_folders.size() - 1), index);
    for (int i = 0; i < maxFolders; ++i)
        m_tabs[(size_t) i]->setValue (i == m_nFolder ? 1.0f : 0.0f, false);

    m_entries.clear();
    const auto folder = m_nFolder < (int) m_folders.size() ? m_folders[(size_t) m_nFolder] : juce::String();
    if (folder == KaPresetLibrary::defaultFolder)
        m_entries.push_back ({ KaPreset::defaultFileName, {}, KaPreset::defaultFileName, true });
    for (const auto& preset : KaPresetLibrary::standard().listPresets (folder))
        m_entries.push_back ({ preset.name, folder, preset.diskName(), false });

    m_emptyText.set (folder == KaPresetLibrary::userFolder ? "No presets of your own yet: Save as... puts them here." : "This folder holds no presets.");
    m_nHighlight.store (-1);
    publishRows();
    const int current = getCurrentRow();
    scrollTo (current >= 0 ? current - visibleRows / 2 : 0);
}

void KaJucePresetBrowser::publishRows()
{
    const auto& tracked = m_processor.getCurrentPreset();
    m_trackedFolder = tracked.folder;
    m_trackedFile = tracked.file;
    std::vector<Row> rows;
    for (const auto& entry : m_entries)
    {
        Row row;
        row.name = entry.name;
        row.current = entry.folder == m_trackedFolder && entry.file == m_trackedFile;
        if (entry.storedDefault)
            row.note = m_bHasStoredDefault ? "your default" : "built-in";
        rows.push_back (std::move (row));
    }
    m_nNumRows.store ((int) rows.size());
    m_rows.set (std::move (rows));
    requestRedraw();
}

void KaJucePresetBrowser::update()
{
    const auto& tracked = m_processor.getCurrentPreset();
    if (tracked.folder != m_trackedFolder || tracked.file != m_trackedFile)
    {
        publishRows();
        if (const int current = getCurrentRow(); current >= 0 && (current < m_nFirstRow.load() || current >= m_nFirstRow.load() + visibleRows))
            scrollTo (current - visibleRows / 2);
    }
    auto enable = [] (KaJuceButton& b, bool on)
    {
        if (! b.isInGesture() && b.isEnabled() != on)
            b.setEnabled (on);
    };
    enable (m_btnReset, m_processor.tracksPresetFile() && m_processor.isPresetModified());
    enable (m_btnClearDefault, m_bHasStoredDefault);
    enable (m_btnDelete, m_processor.isUserPresetTracked());
}

juce::StringArray KaJucePresetBrowser::getRowNames() const
{
    juce::StringArray names;
    for (const auto& entry : m_entries)
        names.add (entry.name);
    return names;
}

int KaJucePresetBrowser::getCurrentRow() const noexcept
{
    for (size_t i = 0; i < m_entries.size(); ++i)
        if (m_entries[i].folder == m_trackedFolder && m_entries[i].file == m_trackedFile)
            return (int) i;
    return -1;
}

void KaJucePresetBrowser::loadRow (int row)
{
    if (row < 0 || row >= (int) m_entries.size())
        return;
    const auto entry = m_entries[(size_t) row];
    if (m_processor.loadPreset (entry.folder, entry.file))
        message ("Loaded " + entry.name);
    else
        message ("Cannot load " + entry.name + ": the file is gone or is not a preset");
    publishRows();
}

void KaJucePresetBrowser::message (const juce::String& text) const
{
    if (onMessage)
        onMessage (text);
}

juce::Rectangle<int> KaJucePresetBrowser::listArea() const noexcept
{
    return { padding, listTop, getWidth() - 2 * padding, listHeight };
}

juce::Rectangle<int> KaJucePresetBrowser::getRowBounds (int row) const noexcept
{
    const auto list = listArea();
    return { list.getX(), list.getY() + (row - m_nFirstRow.load()) * rowHeight, list.getWidth() - scrollWidth - 4, rowHeight };
}

int KaJucePresetBrowser::rowAt (juce::Point<int> p) const noexcept
{
    const auto list = listArea();
    if (! list.contains (p))
        return -1;
    const int row = m_nFirstRow.load() + (p.y - list.getY()) / rowHeight;
    return row < (int) m_entries.size() ? row : -1;
}

void KaJucePresetBrowser::scrollTo (int first)
{
    m_nFirstRow.store (juce::jlimit (0, juce::jmax (0, (int) m_entries.size() - visibleRows), first));
    requestRedraw();
}

void KaJucePresetBrowser::resized()
{
    KaJuceControlWithHelpers::resized();
    for (int i = 0; i < maxFolders; ++i)
        m_tabs[(size_t) i]->setBounds (padding + i * (tabWidth + 4), padding, tabWidth, tabHeight);
    auto footer = juce::Rectangle<int> (padding, footerTop, getWidth() - 2 * padding, footerHeight);
    const int w = (footer.getWidth() - 3 * 6) / 4;
    for (auto* b : { &m_btnReset, &m_btnSetDefault, &m_btnClearDefault, &m_btnDelete })
    {
        b->setBounds (footer.removeFromLeft (w));
        footer.removeFromLeft (6);
    }
}

void KaJucePresetBrowser::mouseMove (const juce::MouseEvent& e)
{
    m_nHighlight.store (rowAt (e.getPosition()));
    requestRedraw();
}

void KaJucePresetBrowser::mouseExit (const juce::MouseEvent& e)
{
    KaJuceControlWithHelpers::mouseExit (e);
    m_nHighlight.store (-1);
}

void KaJucePresetBrowser::mouseUp (const juce::MouseEvent& e)
{
    // The second click of a double click closes instead of loading again.
    if (! e.mouseWasDraggedSinceMouseDown() && e.getNumberOfClicks() == 1)
        loadRow (rowAt (e.getPosition()));
}

void KaJucePresetBrowser::mouseDoubleClick (const juce::MouseEvent& e)
{
    // The first click of the two has loaded the preset.
    if (rowAt (e.getPosition()) >= 0)
        hide();
}

void KaJucePresetBrowser::mouseWheelMove (const juce::MouseEvent&, const juce::MouseWheelDetails& wheel)
{
    if (wheel.deltaY != 0.0f)
        scrollTo (m_nFirstRow.load() + (wheel.deltaY < 0.0f ? 3 : -3));
}

bool KaJucePresetBrowser::keyPressed (const juce::KeyPress& key)
{
    const int count = (int) m_entries.size();
    int row = m_nHighlight.load() >= 0 ? m_nHighlight.load() : getCurrentRow();
    if (key == juce::KeyPress::escapeKey)
    {
        hide();
        return true;
    }
    if (key == juce::KeyPress::returnKey)
    {
        loadRow (row);
        return true;
    }
    if (key == juce::KeyPress::leftKey || key == juce::KeyPress::rightKey)
    {
        showFolder (m_nFolder + (key == juce::KeyPress::leftKey ? -1 : 1));
        return true;
    }
    if (key == juce::KeyPress::upKey)
        row = juce::jmax (0, row - 1);
    else if (key == juce::KeyPress::downKey)
        row = juce::jmin (count - 1, row + 1);
    else
        return false;
    m_nHighlight.store (row);
    if (row < m_nFirstRow.load())
        scrollTo (row);
    else if (row >= m_nFirstRow.load() + visibleRows)
        scrollTo (row - visibleRows + 1);
    requestRedraw();
    return true;
}

void KaJucePresetBrowser::render (double)
{
    const auto area = getLocalBounds().toFloat();
    KaOglDraw::fillRoundedRect (area.translated (0.0f, 4.0f), 7.0f, juce::Colours::black.withAlpha (0.4f));
    KaOglDraw::fillRoundedRect (area, 6.0f, KaJuceTheme::panel.brighter (0.05f));
    KaOglDraw::drawRoundedRect (area, 6.0f, KaJuceTheme::controlEdge);
    const auto list = listArea().toFloat();
    KaOglDraw::fillRoundedRect (list.expanded (2.0f), 4.0f, KaJuceTheme::background);
    KaOglDraw::fillRect ({ list.getX(), (float) footerTop - 5.0f, list.getWidth(), 1.0f }, KaJuceTheme::panelEdge);

    auto* font = getOglFont (KaJuceTheme::bodyText);
    auto* small = getOglFont (KaJuceTheme::smallText);
    if (font == nullptr || small == nullptr)
        return;
    const auto& rows = m_rows.forRender();
    const int first = m_nFirstRow.load(), highlight = m_nHighlight.load(), count = (int) rows.size();
    if (count == 0)
        font->drawText (m_emptyText.forRender(), listArea(), juce::Justification::centred, KaJuceTheme::textDim);

    for (int i = first; i < juce::jmin (count, first + visibleRows); ++i)
    {
        const auto& row = rows[(size_t) i];
        const auto box = getRowBounds (i);
        if (row.current)
            KaOglDraw::fillRoundedRect (box.toFloat().reduced (0.0f, 1.0f), 3.0f, getAccentColour().withAlpha (0.18f));
        else if (i == highlight)
            KaOglDraw::fillRoundedRect (box.toFloat().reduced (0.0f, 1.0f), 3.0f, KaJuceTheme::controlHover);
        if (row.current)
            KaOglDraw::fillRect (box.toFloat().withWidth (3.0f).reduced (0.0f, 5.0f), getAccentColour());
        auto text = box.reduced (12, 0);
        if (row.note.isNotEmpty())
        {
            small->drawText (row.note, text.removeFromRight (small->getTextWidth (row.note)), juce::Justification::centredRight, KaJuceTheme::textDim);
            text.removeFromRight (8);
        }
        font->drawText (row.name, text, juce::Justification::centredLeft, row.current ? getAccentColour().brighter (0.4f) : KaJuceTheme::text);
    }

    // The scroll bar, when the folder holds more than fits.
    if (count > visibleRows)
    {
        const float track = list.getHeight() - 4.0f;
        const float thumb = juce::jmax (20.0f, track * (float) visibleRows / (float) count);
        const float y = list.getY() + 2.0f + (track - thumb) * (float) first / (float) (count - visibleRows);
        KaOglDraw::fillRoundedRect ({ list.getRight() - (float) scrollWidth - 1.0f, y, (float) scrollWidth, thumb }, 2.0f, KaJuceTheme::controlEdge);
    }
}

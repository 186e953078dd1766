#include "editor/UpmixerSettingsPopUp.h"
#include "editor/KaJuceDragControl.h"
#include "editor/KaJuceEditorBase.h"
#include "editor/KaOglDraw.h"
#include "processor/UpmixerParameters.h"

using namespace UpmixerParam;

namespace
{
    constexpr int padding = 18, titleHeight = 46, columns = 3, columnGap = 14, panelGap = 10;

    std::vector<int> choicesFrom (int first, int last)
    {
        std::vector<int> choices;
        for (int c = first; c <= last; ++c)
            choices.push_back (c);
        return choices;
    }
}

UpmixerSettingsPopUp::UpmixerSettingsPopUp (KaJuceEditorBase& editor) : KaJuceControlWithHelpers ("m_settingsPopUp"), m_editor (editor)
{
    setWantsKeyboardFocus (true);
    setVisible (false);
    m_btnDone.setLabel ("Done");
    m_btnDone.onClick = [this] { show (false); };
    addAndMakeVisible (m_btnDone);

    // Colours, with the lock that keeps them.
    auto& colours = addPanel (0, "Colours", 2, 26);
    m_pLock = dynamic_cast<KaJuceButton*> (&addToggle (colours, LockColors, "Lock colours", 2));
    addNote (colours, "Locked colours stay in every session and preset.", 2);
    const char* colourNames[] = { "Centre", "Left / Right", "Surrounds", "Rears", "Overheads", "LFE",
                                  "Diffusion", "Text", "Button on", "Button off", "Meter peak" };
    for (int i = 0; i < (int) std::size (colourNames); ++i)
        addColour (colours, ColC + i, colourNames[i]);
    auto& meterColours = addPanel (0, "Meter colours", 2, 26);
    // Loudest zone first, as the meters stack them; the over lamp last.
    const std::pair<int, const char*> zones[] = { { Col3LM, "Above split 1" }, { Col2LM, "Split 1 to 2" }, { Col1LM, "Split 2 to 3" },
                                                  { Col0LM, "Split 3 to 4" }, { Col4LM, "Over lamp" } };
    for (const auto& [number, name] : zones)
        addColour (meterColours, number, name);

    // Meter splits and the trim links of the channel pairs.
    auto& splits = addPanel (1, "Meter splits", 2, 26);
    const auto* table = &m_editor.getProcessorBase().getParameterTable();
    for (int i = 0; i < 4; ++i)
    {
        auto& drag = m_owned.make<KaJuceDragControl> ("m_dragSplit" + juce::String (i + 1), Split1LM + i);
        drag.setLabel ("Split " + juce::String (i + 1));
        splits.addToGrid (drag);
        m_editor.registerControl (drag);
        m_colourControls.push_back ({ &drag, Split1LM + i });
    }
    addNote (splits, "Levels where the meters change colour.", 2);
    auto& links = addPanel (1, "Trim links", 2, 26);
    const std::pair<int, const char*> linkNames[] = { { LinkSourceLR, "Source L / R" }, { LinkLR, "L / R" }, { LinkLsRs, "Ls / Rs" },
                                                      { LinkLbRb, "Lsr / Rsr" }, { LinkLtsRts, "Lts / Rts" }, { LinkTrlTrr, "Trl / Trr" } };
    for (const auto& [number, name] : linkNames)
        addToggle (links, number, name);
    addNote (links, "A linked pair's trims move together.", 2);

    // What new instances start with, the output strips, and the options.
    auto& defaults = addPanel (2, "Default routing of new instances", 1, 26);
    const auto routings = routingChoices();
    auto routingsWith = [] (std::vector<int> choices) { choices.push_back (100); return choices; };
    juce::StringArray routingTexts = routings;
    routingTexts.set (100, "Automatic");
    addSelector (defaults, RoutingDefault, "5.1", routingsWith (choicesFrom (0, 2)), routingTexts);
    addSelector (defaults, RoutingDefault_7_1, "7.1", routingsWith (choicesFrom (3, 9)), routingTexts);
    addSelector (defaults, RoutingDefault_7_1_2, "7.1.2", routingsWith (choicesFrom (15, 19)), routingTexts);
    if (const auto* rate = table->info (TimecodeFramerateDefault))
        addSelector (defaults, TimecodeFramerateDefault, "Frame rate", choicesFrom (0, rate->choices.size() - 1), rate->choices);
    auto& strips = addPanel (2, "Output strip buttons", 2, 26);
    const juce::StringArray soloMute { "Solo", "Mute" };
    addSelector (strips, PrimarySoloOrMute, "First", { 0, 1 }, soloMute);
    addSelector (strips, SecondarySoloOrMute, "Second", { 0, 1 }, soloMute);
    auto& options = addPanel (2, "Options", 1, 26);
    addToggle (options, ShowExtraOutputOptions, "Extra output options");
    addNote (options, "Takes effect when the host restarts.", 1);
    addToggle (options, ExportSupport, "Support log");
    addNote (options, "From the next start, in Documents / Kestro Audio.", 1);

    m_pLock->onClick = [this] { lockChanged (m_pLock->isOn()); };
    // The lists and pickers open over the panels.
    for (auto* picker : m_pickers)
        picker->toFront (false);
    for (auto* selector : m_selectors)
        selector->adoptPopUp (*this);
    followLock (table->isOn (LockColors));
}

KaJuceOglGridComponent& UpmixerSettingsPopUp::addPanel (int column, const juce::String& title, int columnsInPanel, int rowHeight)
{
    auto& panel = m_owned.make<KaJuceOglGridComponent> (title, columnsInPanel, rowHeight);
    panel.setName ("m_panelSettings" + title.removeCharacters (" "));
    addAndMakeVisible (panel);
    m_panels.push_back ({ column, &panel });
    return panel;
}

KaJuceControl& UpmixerSettingsPopUp::addColour (KaJuceOglGridComponent& panel, int number, const juce::String& label)
{
    const auto* info = m_editor.getProcessorBase().getParameterTable().info (number);
    auto& picker = m_owned.make<KaJuceColourPicker> ("m_picker" + (info != nullptr ? info->key : juce::String (number)), number);
    picker.setLabel (label);
    addChildComponent (picker);
    m_editor.registerControl (picker);
    auto& trigger = m_owned.make<KaJuceColourPickerTriggerButton> ("m_btnColour" + (info != nullptr ? info->key : juce::String (number)), picker);
    trigger.setLabel (label);
    trigger.onClick = [this, &picker] { closePickers (&picker); };
    panel.addToGrid (trigger);
    m_pickers.push_back (&picker);
    m_colourControls.push_back ({ &picker, number });
    return trigger;
}

KaJuceControl& UpmixerSettingsPopUp::addToggle (KaJuceOglGridComponent& panel, int number, const juce::String& label, int span)
{
    const auto* info = m_editor.getProcessorBase().getParameterTable().info (number);
    auto& button = m_owned.make<KaJuceButton> ("m_btn" + (info != nullptr ? info->key : juce::String (number)), number);
    button.setLabel (label);
    panel.addToGrid (button, span);
    m_editor.registerControl (button);
    return button;
}

KaJuceSelectorControl& UpmixerSettingsPopUp::addSelector (KaJuceOglGridComponent& panel, int number, const juce::String& label,
                                                          const std::vector<int>& choices, const juce::StringArray& texts)
{
    const auto* info = m_editor.getProcessorBase().getParameterTable().info (number);
    auto& selector = m_owned.make<KaJuceSelectorControl> ("m_sel" + (info != nullptr ? info->key : juce::String (number)), number);
    juce::StringArray items;
    std::vector<float> values;
    for (int choice : choices)
    {
        items.add (texts[choice]);
        values.push_back (KaParameterTable::valueOfChoice (choice));
    }
    selector.setItems (items, std::move (values));
    selector.setLabel (label);
    panel.addToGrid (selector);
    m_editor.registerControl (selector);
    m_selectors.push_back (&selector);
    return selector;
}

void UpmixerSettingsPopUp::addNote (KaJuceOglGridComponent& panel, const juce::String& text, int span)
{
    auto& note = m_owned.make<KaJuceMarginReadout> ("m_readoutNote", 2);
    note.setLabel (text);
    note.setLabelFontSize (KaJuceTheme::smallText);
    note.setTextColour (KaJuceTheme::textDim);
    note.setDrawsBackground (false);
    panel.addToGrid (note, span);
}

void UpmixerSettingsPopUp::lockChanged (bool locked)
{
    // Locking keeps the scheme on screen: the user's copies start from the session's values.
    auto& processor = m_editor.getProcessorBase();
    if (locked)
        for (const auto& [control, number] : m_colourControls)
            processor.setParameterNotifyingHost (shownColourParameter (processor.getParameterTable(), number), processor.getParameterValue (number));
    followLock (locked);
}

void UpmixerSettingsPopUp::followLock (bool locked)
{
    m_bLocked = locked;
    auto& processor = m_editor.getProcessorBase();
    for (const auto& [control, number] : m_colourControls)
    {
        const int shown = shownColourParameter (processor.getParameterTable(), number);
        if (control->getParameterIndex() != shown)
        {
            control->setParameterIndex (shown);
            control->setValue (processor.getParameterValue (shown), false);
        }
    }
}

void UpmixerSettingsPopUp::update()
{
    const bool locked = m_editor.getProcessorBase().getParameterTable().isOn (LockColors);
    if (locked != m_bLocked)
        followLock (locked);
}

KaJuceControl* UpmixerSettingsPopUp::findControl (int number) const
{
    for (const auto& owned : m_owned)
        if (auto* control = dynamic_cast<KaJuceControl*> (owned.get()); control != nullptr && control->getParameterIndex() == number)
            return control;
    return nullptr;
}

void UpmixerSettingsPopUp::closePickers (const KaJuceColourPicker* except)
{
    for (auto* picker : m_pickers)
        if (picker != except && picker->isVisible())
            picker->setVisible (false);
}

void UpmixerSettingsPopUp::show (bool shouldShow)
{
    if (! shouldShow)
    {
        closePickers (nullptr);
        for (auto* selector : m_selectors)
            selector->showPopUp (false);
        setVisible (false);
        return;
    }
    update();
    if (auto* parent = getParentComponent())
        setBounds (parent->getLocalBounds());
    toFront (false);
    setVisible (true);
    grabKeyboardFocus();
}

bool UpmixerSettingsPopUp::keyPressed (const juce::KeyPress& key)
{
    if (key != juce::KeyPress::escapeKey)
        return false;
    show (false);
    return true;
}

void UpmixerSettingsPopUp::mouseDown (const juce::MouseEvent& e)
{
    closePickers (nullptr);
    if (! m_card.contains (e.getPosition()))
        show (false);
}

void UpmixerSettingsPopUp::resized()
{
    KaJuceControlWithHelpers::resized();
    // The card is as tall as its tallest column.
    std::array<int, columns> height {};
    for (const auto& [column, panel] : m_panels)
        height[(size_t) column] += panel->getRequiredHeight() + panelGap;
    const int bodyHeight = *std::max_element (height.begin(), height.end()) - panelGap;
    m_card = getLocalBounds().withSizeKeepingCentre (juce::jmin (cardWidth, getWidth() - 20), juce::jmin (titleHeight + bodyHeight + padding, getHeight() - 20));
    m_btnDone.setBounds (m_card.getRight() - padding - 84, m_card.getY() + 12, 84, 26);
    const auto body = m_card.reduced (padding, 0).withTrimmedTop (titleHeight);
    const int columnWidth = (body.getWidth() - (columns - 1) * columnGap) / columns;
    std::array<int, columns> top {};
    for (const auto& [column, panel] : m_panels)
    {
        const int h = panel->getRequiredHeight();
        panel->setBounds (body.getX() + column * (columnWidth + columnGap), body.getY() + top[(size_t) column], columnWidth, h);
        top[(size_t) column] += h + panelGap;
    }
}

void UpmixerSettingsPopUp::render (double)
{
    KaOglDraw::drawModalCard (getLocalBounds().toFloat(), m_card.toFloat(), 0.6f, 7.0f, KaJuceTheme::background.brighter (0.04f), KaJuceTheme::controlEdge);
    auto* title = getOglFont (KaJuceTheme::headingText);
    auto* small = getOglFont (KaJuceTheme::bodyText);
    if (title == nullptr || small == nullptr)
        return;
    auto header = m_card.reduced (padding, 0).withHeight (titleHeight).withTrimmedTop (4);
    const int titleWidth = title->getTextWidth ("Settings");
    title->drawText ("Settings", header.removeFromLeft (titleWidth), juce::Justification::centredLeft, KaJuceTheme::text);
    header.removeFromLeft (14);
    small->drawText ("Yours alone: every instance and session uses them.", header, juce::Justification::centredLeft, KaJuceTheme::textDim);
}

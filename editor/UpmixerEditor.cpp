#include "editor/UpmixerEditor.h"
#include "editor/KaJuceLayout.h"
#include "editor/KaJuceFilmStrip.h"
#include "editor/KaOglDraw.h"
#include "processor/KaChannelRouting.h"
#include "processor/UpmixerParameters.h"
#include "processor/UpmixerProcessor.h"

using namespace UpmixerParam;

namespace
{
    constexpr int headerHeight = 48, tabHeight = 30, statusHeight = 26, margin = 10, pageColumns = 3;
    constexpr int mainLeftWidth = 308, mainRightWidth = 308;  // the Main page's side columns; the field takes the rest
    constexpr int knobFrames = 101;

    /** The page background: a plain container, drawn by nothing. */
    /** A page of panels. It draws nothing itself, but as a child of the frame its showing and
        hiding makes the frame rebuild what it draws. */
    class Page : public KaOglChildComponent
    {
    public:
        explicit Page (const juce::String& name) { setName (name); setInterceptsMouseClicks (false, true); }
        void render (double) override {}
    };

    /** The header's background strip. */
    class HeaderBar : public KaOglChildComponent
    {
    public:
        HeaderBar() { setName ("m_header"); setInterceptsMouseClicks (false, false); }
        void render (double) override
        {
            KaOglDraw::fillVerticalGradient (getLocalBounds().toFloat(), KaJuceTheme::panel.brighter (0.06f), KaJuceTheme::panel);
            KaOglDraw::fillRect (getLocalBounds().toFloat().removeFromBottom (1.0f), KaJuceTheme::panelEdge);
        }
    };
}

UpmixerEditor::UpmixerEditor (UpmixerProcessor& processor)
    : KaJuceEditorBase (processor), m_upmixer (processor),
      m_btnUndo ("Undo", Undo, KaJuceButton::Mode::push), m_btnRedo ("Redo", Redo, KaJuceButton::Mode::push),
      m_btnAB ("A/B", AB), m_btnAtoB ("A > B", AtoB, KaJuceButton::Mode::push),
      m_btnBypass ("Bypass", Bypass), m_btnMenu ("Menu", noParameter, KaJuceButton::Mode::push)
{
    setName ("UpmixerEditor");
    m_knobStrip = KaJuceFilmStrip::makeKnob (48, knobFrames, KaJuceTheme::accent);

    addToFrame (m_owned.make<HeaderBar>());
    m_readoutTitle.setLabel ("ORRIN UPMIX");
    m_readoutTitle.setLabelFontSize (KaJuceTheme::headingText);
    m_readoutTitle.setDrawsBackground (false);
    m_readoutTitle.setTextColour (KaJuceTheme::accent);
    m_readoutStatus.setTextColour (KaJuceTheme::textDim);
    m_readoutStatus.setLabel ("Ready");
    for (auto* c : std::initializer_list<KaJuceControl*> { &m_readoutTitle, &m_btnUndo, &m_btnRedo, &m_btnAB, &m_btnAtoB, &m_btnBypass, &m_btnMenu,
                                                           &m_readoutStatus })
    {
        addToFrame (*c);
        registerControl (*c);
    }
    addToFrame (m_presetBar);
    m_presetBar.onMessage = [this] (const juce::String& text)
    {
        // Said instead of the last value the preset changed, which would be announced next.
        getProcessorBase().takeLastChangedParameter();
        m_readoutStatus.setLabel (text);
    };
    m_btnBypass.setAccentColour (KaJuceTheme::warning);
    m_btnMenu.onClick = [this] { showMainMenu (&m_btnMenu); };

    // Pages and their tabs (the editor's view switches).
    const std::pair<const char*, int> pages[] = { { "Main", PanelMain }, { "Centre & LFE", PanelCenter }, { "I/O", PanelIO } };
    auto& tabs = *m_groups.emplace_back (std::make_unique<KaJuceControlGroup> (true));
    for (const auto& [name, number] : pages)
    {
        auto& page = m_owned.make<Page> (juce::String ("m_page") + name);
        m_pages.push_back (&page);
        addToFrame (page);
        auto& tab = m_owned.make<KaJuceButton> (name);
        tab.onClick = [this, index = (int) m_tabs.size()] { showPage (index); };
        m_tabs.push_back (&tab);
        tabs.add (tab);
        addToFrame (tab);
    }

    buildMainPage();

    // Centre & LFE: the LFE, the centre's LF split and the downmix, with the meters they move.
    m_centrePage = &m_owned.make<UpmixerCentreLfePage> (*this, processor, [this] (int number, bool knob) -> KaJuceControl& { return makeControl (number, knob); });
    m_pages[1]->addAndMakeVisible (*m_centrePage);

    // I/O: the channel strips with their meters, routing, the multi-input options, correlation.
    m_ioPage = &m_owned.make<UpmixerIOPage> (*this, processor, [this] (int number) -> KaJuceControl& { return makeControl (number, false); });
    m_pages[2]->addAndMakeVisible (*m_ioPage);

    // The preset browser and its dialog over the pages, the notices over everything.
    m_presetBar.adoptPopUps (getOglComponent());
    addHiddenToFrame (m_settings);
    keepOverlaysOnTop();
    setResizable (false, false);
    setSize (defaultWidth, defaultHeight);
    showPage (0);
    fullRefresh();
}

UpmixerEditor::~UpmixerEditor()
{
    // The render thread goes before anything it draws, the base's bindings before the controls.
    getOglComponent().stopRenderThread();
    forgetControls();
}

KaJuceOglGridComponent& UpmixerEditor::makePanel (const juce::String& title, int columns, int rowHeight, const std::vector<int>& numbers, bool knobs)
{
    auto& panel = m_owned.make<KaJuceOglGridComponent> (title, columns, rowHeight);
    panel.setName ("m_panel" + title.removeCharacters (" &"));
    for (int number : numbers)
        panel.addToGrid (makeControl (number, knobs));
    return panel;
}

KaJuceOglGridComponent& UpmixerEditor::addPanel (int page, int column, int span, const juce::String& title, int columns, int rowHeight,
                                                  const std::vector<int>& numbers, bool knobs)
{
    auto& panel = makePanel (title, columns, rowHeight, numbers, knobs);
    m_pages[(size_t) page]->addAndMakeVisible (panel);
    m_panels.push_back ({ page, column, span, &panel });
    return panel;
}

void UpmixerEditor::buildMainPage()
{
    // Left: the shape's values beside the field (typed entry too), links, surrounds, overheads.
    auto& page = *m_pages[0];
    for (auto* panel : { &makePanel ("Shape", 3, 82, { Divergence, FadeFS, FadeSB, Diffusion, UpmixPsdWidth }, true),
                         &makePanel ("Links", 2, 26, { ArcLink, VerticalLink }),
                         &makePanel ("Surrounds", 2, 26, { ShelfEnable, BackBoost, ShelfFreq, ShelfGain }),
                         &makePanel ("Overheads", 2, 26, { VerticalShelfEnable, ExtendedVerticalParamRange, VerticalOnPhase, VerticalOffPhase,
                                                           VerticalShelfFreq, VerticalShelfGain, VerticalExcludeC, VerticalExcludeLfe }) })
    {
        page.addAndMakeVisible (*panel);
        m_mainLeft.push_back (panel);
    }
    m_panelOverheads = m_mainLeft.back();
    if (auto* range = dynamic_cast<KaJuceButton*> (findControl (ExtendedVerticalParamRange)))
        range->setLabel ("Extended Range");  // the whole name does not fit the half-width button

    // Centre: the surround field; its points are bound after the knobs, which findControl()
    // finds first.
    m_field = &m_owned.make<UpmixerSurroundField>();
    page.addAndMakeVisible (*m_field);
    for (auto* axis : m_field->getOverlay().getAxes())
        registerControl (*axis);

    // Right: dialogue, then Listen.
    auto& dialogue = m_owned.make<KaJuceOglGridComponent> ("Dialogue", 1, 62);
    dialogue.setName ("m_panelDialogue");
    m_dialogueActivity = &m_owned.make<UpmixerDialogueActivity>();
    dialogue.addToGrid (*m_dialogueActivity);
    page.addAndMakeVisible (dialogue);
    m_mainRight.push_back (&dialogue);
    auto& detector = makePanel ("Dialogue controls", 2, 26, { DialogIsolate, DialogMixInC, DialogExtractionStrength, DialogExtractionActive,
                                                              DialogExtractionAggression, DialogAttack, DialogRelease, DE_RampS,
                                                              DE_Stability, DDGate0, DDGate1, DDGate2 });
    page.addAndMakeVisible (detector);
    m_mainRight.push_back (&detector);

    using namespace KaChannelRouting;
    const std::pair<int, std::vector<int>> modes[] = {
        { MonitorSource, {} }, { MonitorUpmix, {} }, { MonitorDownmix, {} }, { MonitorDelta, {} },
        { MonitorC, { kindC } }, { MonitorLfe, { kindLfe } }, { MonitorCLF, { kindC } }, { MonitorLC, { kindL, kindC } },
        { MonitorCR, { kindC, kindR } }, { MonitorLsRs, { kindLs, kindRs } }, { MonitorLLs, { kindL, kindLs } }, { MonitorRRs, { kindR, kindRs } },
        { MonitorLbRb, { kindLsr, kindRsr } }, { MonitorLsLb, { kindLs, kindLsr } }, { MonitorLLb, { kindL, kindLsr } },
        { MonitorLtsRts, { kindLts, kindRts } }, { MonitorLLts, { kindL, kindLts } }, { MonitorLsLts, { kindLs, kindLts } },
        { MonitorLbLts, { kindLsr, kindLts } },
    };
    m_listen = &m_owned.make<UpmixerListenPanel>();
    auto& listenGroup = *m_groups.emplace_back (std::make_unique<KaJuceControlGroup> (true));
    for (const auto& [number, kinds] : modes)
    {
        auto& button = dynamic_cast<KaJuceButton&> (makeControl (number, false));
        m_listen->addMode (button, kinds);
        listenGroup.add (button);
    }
    m_listen->update (getProcessorBase().getParameterTable(), m_upmixer.getCurrentRouting(), m_upmixer.getEngineOutputCount());
    m_listen->onHeadphones = [this] (bool on) { m_upmixer.getHeadphones().setEnabled (on); };
    if (! m_upmixer.getHeadphones().isAvailable())
        m_readoutStatus.setLabel (m_upmixer.getHeadphones().getMessage());
    page.addAndMakeVisible (*m_listen);
}

void UpmixerEditor::layOutMainPage (juce::Rectangle<int> area)
{
    if (m_field == nullptr)
        return;  // not built yet
    auto left = area.removeFromLeft (mainLeftWidth);
    area.removeFromLeft (margin);
    auto right = area.removeFromRight (mainRightWidth);
    area.removeFromRight (margin);
    m_field->setBounds (area);
    for (auto* panel : m_mainLeft)
    {
        panel->setBounds (left.removeFromTop (panel->getRequiredHeight()));
        left.removeFromTop (margin);
    }
    for (auto* panel : m_mainRight)
    {
        panel->setBounds (right.removeFromTop (panel->getRequiredHeight()));
        right.removeFromTop (margin);
    }
    m_listen->setBounds (right.withHeight (m_listen->getRequiredHeight()));
}

void UpmixerEditor::updateDisplays()
{
    m_centrePage->update (m_pages[1]->isVisible());
    m_ioPage->update (m_pages[2]->isVisible());
    if (! m_pages[0]->isVisible())
        return;  // the field and the dialogue meter read their observers only while shown
    m_field->update (m_upmixer);
    m_panelOverheads->setEnabled (m_upmixer.getEngineOutputCount() >= 10);  // only where the layout has overheads
    const auto& frequencyDomain = m_upmixer.m_upmixerAlgo.getFrequencyDomainAlgo();
    const auto& table = getProcessorBase().getParameterTable();
    m_dialogueActivity->push (frequencyDomain.dialogEnergy.load (std::memory_order_relaxed),
                              frequencyDomain.remainderEnergy.load (std::memory_order_relaxed), table.get (DialogIsolate) > 0.0f);
    m_listen->update (table, m_upmixer.getCurrentRouting(), m_upmixer.getEngineOutputCount());
    m_listen->setHeadphones (m_upmixer.getHeadphones().isAvailable(), m_upmixer.getHeadphones().isEnabled());
    if (m_listen->getHeight() != m_listen->getRequiredHeight())
        m_listen->setSize (m_listen->getWidth(), m_listen->getRequiredHeight());
}

KaJuceControl& UpmixerEditor::makeControl (int number, bool knob)
{
    const auto* info = getProcessorBase().getParameterTable().info (number);
    jassert (info != nullptr);
    KaJuceControl* control = nullptr;
    if (info->kind == KaParamKind::toggle)
    {
        auto& button = m_owned.make<KaJuceButton> (info->name, number);
        // In the Listen panel the word "Listen" goes without saying.
        button.setLabel (info->name.startsWith ("Listen ") ? info->name.fromFirstOccurrenceOf ("Listen ", false, false) : info->name);
        control = &button;
    }
    else if (info->kind == KaParamKind::choice && info->choices.size() > 0)
    {
        auto& selector = m_owned.make<KaJuceSelectorControl> (info->name, number);
        selector.setItems (info->choices);
        selector.setLabel (info->name);
        selector.adoptPopUp (getOglComponent());
        control = &selector;
    }
    else
    {
        auto& drag = m_owned.make<KaJuceDragControl> (info->name, number);
        drag.setLabel (info->name);
        if (knob)
            drag.setFilmStrip (m_knobStrip, knobFrames, true);
        control = &drag;
    }
    registerControl (*control);
    return *control;
}

KaJuceControl* UpmixerEditor::findControl (int number) const
{
    for (auto* c : getRegisteredControls())
        if (c->getParameterIndex() == number)
            return c;
    return nullptr;
}

void UpmixerEditor::showPage (int page)
{
    page = juce::jlimit (0, (int) m_pages.size() - 1, page);
    for (size_t i = 0; i < m_pages.size(); ++i)
    {
        m_pages[i]->setVisible ((int) i == page);
        m_tabs[i]->setValue ((int) i == page ? 1.0f : 0.0f, false);
    }
    const int views[] = { PanelMain, PanelCenter, PanelIO };
    for (int i = 0; i < 3; ++i)
        getProcessorBase().setParameterNotifyingHost (views[i], i == page ? 1.0f : 0.0f, false);
}

void UpmixerEditor::resized()
{
    KaJuceEditorBase::resized();
    auto area = getLocalBounds();
    auto header = area.removeFromTop (headerHeight);
    if (! m_owned.empty())
        m_owned.front().setBounds (header);  // the header bar
    header.reduce (margin, 9);
    m_readoutTitle.setBounds (header.removeFromLeft (140));
    KaJuceLayout::fromRight (header, { { &m_btnMenu, 64, 12 }, { &m_btnBypass, 68, 12 }, { &m_btnAtoB, 50, 4 },
                                       { &m_btnAB, 50, 12 }, { &m_btnRedo, 50, 4 }, { &m_btnUndo, 50, 16 } });
    m_presetBar.setBounds (header);

    m_settings.setBounds (getLocalBounds());
    m_readoutStatus.setBounds (area.removeFromBottom (statusHeight).reduced (margin, 3));
    auto tabs = area.removeFromTop (tabHeight).reduced (margin, 3);
    for (auto* tab : m_tabs)
        KaJuceLayout::fromLeft (tabs, { { tab, 120, 6 } });

    const auto pageArea = area.reduced (margin, 4);
    layOutMainPage (pageArea.withZeroOrigin());
    const int columnWidth = (pageArea.getWidth() - (pageColumns - 1) * margin) / pageColumns;
    std::vector<int> top ((size_t) (m_pages.size() * pageColumns), 0);
    for (auto* page : m_pages)
        page->setBounds (pageArea);
    if (m_ioPage != nullptr)
        m_ioPage->setBounds (pageArea.withZeroOrigin());
    if (m_centrePage != nullptr)
        m_centrePage->setBounds (pageArea.withZeroOrigin());
    for (const auto& place : m_panels)
    {
        int y = 0;
        for (int c = place.column; c < place.column + place.span; ++c)
            y = juce::jmax (y, top[(size_t) (place.page * pageColumns + c)]);
        const int height = place.panel->getRequiredHeight();
        place.panel->setBounds (place.column * (columnWidth + margin), y, place.span * columnWidth + (place.span - 1) * margin, height);
        for (int c = place.column; c < place.column + place.span; ++c)
            top[(size_t) (place.page * pageColumns + c)] = y + height + margin;
    }
}

void UpmixerEditor::showParameterChange (const juce::String& text, int)
{
    m_readoutStatus.setLabel (text);
}

void UpmixerEditor::addMainMenuItems (KaJuceMenuPopUp& menu)
{
    menu.addItem ("Settings...", true, false, [this] { showSettings (true); });
    KaJuceEditorBase::addMainMenuItems (menu);
    m_supportMenu.addItems (menu);
    m_podMenu.addItems (menu);
}

void UpmixerEditor::updateOtherState()
{
    auto& processor = getProcessorBase();
    m_presetBar.update();
    if (m_settings.isShowing())
        m_settings.update();
    m_btnAB.setComparingB (processor.isComparingB());
    // The copy goes from the side heard to the other.
    if (const juce::String copy = processor.isComparingB() ? "B > A" : "A > B"; copy != m_btnAtoB.getLabel())
        m_btnAtoB.setLabel (copy);
    // Not while pressed: a button disabled mid-click would never see its release.
    for (auto [button, enabled] : { std::pair { &m_btnUndo, processor.canUndo() }, std::pair { &m_btnRedo, processor.canRedo() } })
        if (! button->isInGesture() && button->isEnabled() != enabled)
            button->setEnabled (enabled);
}

bool UpmixerEditor::keyPressed (const juce::KeyPress& key)
{
    const bool command = key.getModifiers().isCommandDown();
    if (command && key.getKeyCode() == 'Z' && ! key.getModifiers().isShiftDown())
        return getProcessorBase().undo(), true;
    if (command && (key.getKeyCode() == 'Y' || (key.getKeyCode() == 'Z' && key.getModifiers().isShiftDown())))
        return getProcessorBase().redo(), true;
    return false;
}

#include "editor/UpmixerIOPage.h"
#include "editor/UpmixerStripBinding.h"
#include "engine/UpmixerAmbisonicStage.h"
#include "processor/KaChannelRouting.h"
#include "processor/UpmixerParameters.h"
#include "processor/UpmixerProcessor.h"

using namespace UpmixerParam;
namespace Routing_ = KaChannelRouting;

namespace
{
    constexpr int margin = 10, stripGap = 4, scaleWidth = 26, panelPad = 8, panelTitle = 22;
    constexpr int maxStripWidth = 112;
    constexpr int bottomRowHeight = 178, routingWidth = 330, multiInputWidth = 300;
    constexpr int correlationRow = 13, correlationGap = 2;

    juce::String inputName (const juce::AudioChannelSet& set, int numInputs, int input)
    {
        if (numInputs == 1)
            return "M";
        if (set.size() == numInputs && ! set.isDiscreteLayout())
            return juce::AudioChannelSet::getAbbreviatedChannelTypeName (set.getTypeOfChannel (input));
        return "In " + juce::String (input + 1);
    }
}

UpmixerIOPage::UpmixerIOPage (KaJuceEditorBase& editor, UpmixerProcessor& processor, const ControlFactory& makeControl)
    : m_editor (editor), m_upmixer (processor), m_btnCorrelation ("Show", CorrelationMeters)
{
    setName ("m_pageIOContent");
    setInterceptsMouseClicks (false, true);

    for (auto* panel : { &m_panelSources, &m_panelOutputs, &m_panelDownmix, &m_panelCorrelation })
        addAndMakeVisible (panel);
    addChildComponent (m_panelAmbisonic);
    m_panelAmbisonic.setName ("m_panelAmbisonic");
    m_panelSources.setName ("m_panelSources");
    m_panelOutputs.setName ("m_panelOutputs");
    m_panelDownmix.setName ("m_panelDownmix");
    m_panelCorrelation.setName ("m_panelCorrelation");
    m_panelSources.addAndMakeVisible (m_scaleSources);
    m_panelOutputs.addAndMakeVisible (m_scaleOutputs);

    for (int i = 0; i < maxSources; ++i)
        addStrip (m_panelSources, m_sources, "m_stripSource" + juce::String (i));
    for (int i = 0; i < numOutputs; ++i)
        addStrip (m_panelOutputs, m_outputs, "m_stripOutput" + juce::String (i));
    for (int i = 0; i < 2; ++i)
    {
        auto& strip = addStrip (m_panelDownmix, m_downmix, "m_stripDownmix" + juce::String (i));
        strip.setVisible (true);
        UpmixerStripBinding::showDownmix (strip, processor.getParameterTable(), i);
    }

    // Routing and the multi-input options: the editor's usual controls in grids.
    auto grid = [&] (const juce::String& title, std::initializer_list<int> numbers)
    {
        auto panel = std::make_unique<KaJuceOglGridComponent> (title, 1, 24, 5);
        panel->setName ("m_panel" + title.removeCharacters (" -"));
        for (int number : numbers)
            panel->addToGrid (makeControl (number));
        addAndMakeVisible (*panel);
        return panel;
    };
    m_panelRouting = grid ("Routing", { Routing, MixType, AmbisonicFormat, TimecodeFramerate, AudioThru });
    m_selRouting = dynamic_cast<KaJuceSelectorControl*> (m_panelRouting->getChildComponent (0));
    m_panelMultiInput = grid ("Multi-input", { InputMixType, ExcludeC, ExcludeLfe, ExcludeLfeGain, SwitchedMultiInputFadeAlgo });

    m_btnCorrelation.setLabelFontSize (KaJuceTheme::smallText);
    m_panelCorrelation.addAndMakeVisible (m_btnCorrelation);
    m_editor.registerControl (m_btnCorrelation);
    m_readoutCorrelationHint.setLabel ("Source, downmix and neighbouring speakers, -1 to +1");
    m_readoutCorrelationHint.setTextColour (KaJuceTheme::textDim);
    m_readoutCorrelationHint.setDrawsBackground (false);
    m_readoutCorrelationHint.setLabelFontSize (KaJuceTheme::smallText);
    m_panelCorrelation.addAndMakeVisible (m_readoutCorrelationHint);
    auto correlation = [this] (const juce::String& name)
    {
        auto display = std::make_unique<KaJuceCorrelationDisplay> (name);
        m_panelCorrelation.addChildComponent (*display);
        return display;
    };
    m_correlationSource = correlation ("m_correlationSource");
    m_correlationSource->setLabel ("Source");
    m_correlationDownmix = correlation ("m_correlationDownmix");
    m_correlationDownmix->setLabel ("Lo-Ro");
    for (int i = 0; i < UpmixerObservers::numPairs; ++i)
        m_correlationPairs.push_back (correlation ("m_correlationPair" + juce::String (i)));

    for (int c = 0; c < UpmixerObservers::numAmbisonicMeters; ++c)
    {
        auto& meter = *m_ambisonicMeters.emplace_back (std::make_unique<KaJuceLevelMeterDisplay> ("m_meterAmbisonic" + juce::String (c)));
        meter.onReset = [this]
        {
            for (auto& m : m_ambisonicMeters)
                m->resetPeaks();
        };
        m_panelAmbisonic.addChildComponent (meter);
        auto& name = *m_ambisonicNames.emplace_back (std::make_unique<KaJuceMarginReadout> ("m_readoutAmbisonic" + juce::String (c), 0));
        name.setJustification (juce::Justification::centred);
        name.setDrawsBackground (false);
        name.setLabelFontSize (KaJuceTheme::smallText);
        m_panelAmbisonic.addChildComponent (name);
    }

    applyLayout (currentLayout());
}

UpmixerIOPage::~UpmixerIOPage() = default;

UpmixerChannelStrip& UpmixerIOPage::addStrip (KaJuceOglGridComponent& panel, std::vector<std::unique_ptr<UpmixerChannelStrip>>& list,
                                              const juce::String& name)
{
    auto& strip = *list.emplace_back (std::make_unique<UpmixerChannelStrip> (name));
    panel.addChildComponent (strip);
    UpmixerStripBinding::attach (strip, m_editor);
    strip.getMeter().onReset = [this]
    {
        for (auto* strips : { &m_sources, &m_outputs, &m_downmix })
            for (auto& s : *strips)
                s->getMeter().resetPeaks();
    };
    return strip;
}

UpmixerIOPage::Layout UpmixerIOPage::currentLayout() const
{
    Layout l;
    l.sources = juce::jlimit (0, maxSources, m_upmixer.getTotalNumInputChannels());
    // An Ambisonic bus is fed from the engine's 7.1, whose channels keep their strips (trims,
    // mutes and solos act on them before the encoding).
    l.ambisonicOrder = m_upmixer.getAmbisonicOrder();
    l.ambisonicFormat = m_upmixer.getParameterTable().getChoice (AmbisonicFormat);
    l.outputs = juce::jlimit (0, numOutputs, l.ambisonicOrder > 0 ? m_upmixer.getEngineOutputCount() : m_upmixer.getTotalNumOutputChannels());
    l.routing = m_upmixer.getCurrentRouting();
    l.primary = m_upmixer.getParameterTable().getChoice (PrimarySoloOrMute);
    l.secondary = m_upmixer.getParameterTable().getChoice (SecondarySoloOrMute);
    l.correlation = m_upmixer.getParameterValue (CorrelationMeters) >= 0.5f;
    return l;
}

void UpmixerIOPage::applyLayout (const Layout& l)
{
    m_layout = l;
    m_nSources = l.sources;
    m_nOutputs = l.outputs;
    const auto& table = m_upmixer.getParameterTable();
    auto value = [&] (int number) { return number >= 0 ? table.get (number) : 0.0f; };

    const auto inputSet = m_upmixer.getBusesLayout().getMainInputChannelSet();
    for (int i = 0; i < maxSources; ++i)
    {
        auto& strip = *m_sources[(size_t) i];
        strip.setVisible (i < l.sources);
        if (i >= l.sources)
            continue;
        strip.setChannel (inputName (inputSet, l.sources, i), KaJuceTheme::text);
        // Several inputs share one trim: it sits on the first strip only.
        const int trim = UpmixerProcessor::sourceTrimParameter (l.sources, i);
        const bool ownTrim = l.sources == 2 || i == 0;
        strip.bindTrim (ownTrim ? trim : KaJuceControl::noParameter, value (trim));
        const int mute = UpmixerProcessor::sourceMuteParameter (l.sources, i);
        strip.bindSwitch (0, mute >= 0 ? UpmixerChannelStrip::Switch::mute : UpmixerChannelStrip::Switch::none,
                          mute >= 0 ? mute : KaJuceControl::noParameter, value (mute));
        strip.bindSwitch (1, UpmixerChannelStrip::Switch::none, KaJuceControl::noParameter, 0.0f);
    }

    for (int p = 0; p < numOutputs; ++p)
    {
        auto& strip = *m_outputs[(size_t) p];
        strip.setVisible (p < l.outputs);
        if (p < l.outputs)
            UpmixerStripBinding::showOutput (strip, table, l.routing, p);
    }

    m_panelOutputs.setTitle (l.ambisonicOrder > 0 ? "Outputs  " + KaChannelRouting::layoutNameForWidth (l.outputs) + " > Ambisonic order " + juce::String (l.ambisonicOrder)
                                                   : "Outputs  " + KaChannelRouting::layoutNameForWidth (l.outputs));

    // Correlation: the source pair, the downmix and the speaker pairs the layout has.
    m_shownPairs.clear();
    for (int pair = 0; pair < UpmixerObservers::numPairs; ++pair)
    {
        const auto& kinds = UpmixerObservers::pairKinds[(size_t) pair];
        const int a = Routing_::hostPositionOfKind (l.routing, kinds[0]), b = Routing_::hostPositionOfKind (l.routing, kinds[1]);
        if (a >= 0 && b >= 0 && a < l.outputs && b < l.outputs && (pair < UpmixerObservers::numBedPairs || l.outputs >= 9))
        {
            m_shownPairs.push_back (pair);
            m_correlationPairs[(size_t) pair]->setLabel (Routing_::kindName (kinds[0], l.routing) + "-" + Routing_::kindName (kinds[1], l.routing));
        }
    }
    m_shownCorrelations.clear();
    if (l.correlation)
    {
        m_shownCorrelations.push_back (m_correlationSource.get());
        m_shownCorrelations.push_back (m_correlationDownmix.get());
        for (int pair : m_shownPairs)
            m_shownCorrelations.push_back (m_correlationPairs[(size_t) pair].get());
    }
    // The Ambisonic channels' meters take the correlation meters' place: those watch speaker
    // pairs that an Ambisonic bus does not have.
    m_panelCorrelation.setVisible (l.ambisonicOrder == 0);
    m_panelAmbisonic.setVisible (l.ambisonicOrder > 0);
    m_nAmbisonic = l.ambisonicOrder > 0 ? (l.ambisonicOrder + 1) * (l.ambisonicOrder + 1) : 0;
    const bool fuma = l.ambisonicFormat == UpmixerAmbisonicStage::formatFuMa;
    m_panelAmbisonic.setTitle ("Ambisonic  order " + juce::String (l.ambisonicOrder) + (fuma ? ", FuMa" : ", AmbiX (ACN, SN3D)"));
    for (int c = 0; c < UpmixerObservers::numAmbisonicMeters; ++c)
    {
        m_ambisonicMeters[(size_t) c]->setVisible (c < m_nAmbisonic);
        m_ambisonicNames[(size_t) c]->setVisible (c < m_nAmbisonic);
        m_ambisonicNames[(size_t) c]->setLabel (UpmixerAmbisonicStage::harmonicLetter (UpmixerAmbisonicStage::harmonicOfChannel (l.ambisonicFormat, c)));
    }
    m_correlationSource->setVisible (l.correlation);
    m_correlationDownmix->setVisible (l.correlation);
    for (auto& display : m_correlationPairs)
        display->setVisible (std::find (m_shownCorrelations.begin(), m_shownCorrelations.end(), display.get()) != m_shownCorrelations.end());
    m_readoutCorrelationHint.setVisible (! l.correlation);
    m_btnCorrelation.setLabel (l.correlation ? "Hide" : "Show");

    updateStyles();
    resized();
}

void UpmixerIOPage::listRoutings (int outputs, int choice)
{
    m_nListedRoutingWidth = outputs;
    m_nListedRoutingChoice = choice;
    if (m_selRouting == nullptr)
        return;
    // Several numbers give the same order at a width: each order is listed once, under the
    // number the parameter holds when it is one of them.
    const int width = outputs <= 6 ? 6 : outputs <= 8 ? 8 : outputs <= 10 ? 10 : 12;
    juce::StringArray items;
    std::vector<float> values;
    for (int r = 0; r < Routing_::numRoutings; ++r)
        if (Routing_::isAllowedForWidth (r, width) && Routing_::rowSize (r) > 0)
        {
            juce::StringArray names;
            for (int p = 0; p < juce::jmin (width, Routing_::rowSize (r)); ++p)
                names.add (Routing_::channelName (r, p));
            const auto text = names.joinIntoString (" ");
            if (const int twin = items.indexOf (text); twin >= 0)
            {
                if (r == choice)
                    values[(size_t) twin] = KaParameterTable::valueOfChoice (r);
                continue;
            }
            items.add (text);
            values.push_back (KaParameterTable::valueOfChoice (r));
        }
    items.add ("Host order");
    values.push_back (KaParameterTable::valueOfChoice (Routing_::routingFromHost));
    items.add ("Default");
    values.push_back (KaParameterTable::valueOfChoice (Routing_::routingByDefault));
    m_selRouting->setItems (items, std::move (values));
}

std::vector<KaJuceCorrelationDisplay*> UpmixerIOPage::getShownCorrelations() const { return m_shownCorrelations; }

void UpmixerIOPage::updateStyles()
{
    const auto& table = m_upmixer.getParameterTable();
    const auto style = UpmixerStripBinding::meterStyle (table);
    for (auto* strips : { &m_sources, &m_outputs, &m_downmix })
        for (auto& s : *strips)
            s->getMeter().setStyle (style);
    for (auto& meter : m_ambisonicMeters)
        meter->setStyle (style);
    for (int p = 0; p < m_nOutputs; ++p)
        m_outputs[(size_t) p]->setChannel (m_outputs[(size_t) p]->getChannelName(),
                                           UpmixerStripBinding::channelColour (table, KaChannelRouting::kindAtPosition (m_layout.routing, p)));
}

void UpmixerIOPage::update (bool pageShown)
{
    if (const auto now = currentLayout(); ! (now == m_layout))
        applyLayout (now);
    if (const int choice = m_upmixer.getParameterTable().getChoice (Routing); choice != m_nListedRoutingChoice || m_nOutputs != m_nListedRoutingWidth)
        listRoutings (m_nOutputs, choice);
    if (! pageShown)
        return;
    updateStyles();
    updateMeters();
}

void UpmixerIOPage::updateMeters()
{
    const double now = juce::Time::getMillisecondCounterHiRes();
    const bool live = UpmixerStripBinding::isAudioRunning (m_upmixer, now);
    const auto& observers = m_upmixer.getObservers();
    for (int i = 0; i < m_nSources; ++i)
        UpmixerStripBinding::tick (*m_sources[(size_t) i], observers.getLevelMeter (UpmixerObservers::rowSource, i).get(), live, now);
    for (int p = 0; p < m_nOutputs; ++p)
        UpmixerStripBinding::tick (*m_outputs[(size_t) p], observers.getLevelMeter (UpmixerObservers::rowUpmix, p).get(), live, now);
    for (int side = 0; side < 2; ++side)
        UpmixerStripBinding::tick (*m_downmix[(size_t) side], observers.getLevelMeter (UpmixerObservers::rowDownmix, side).get(), live, now);
    for (int c = 0; c < m_nAmbisonic; ++c)
        UpmixerStripBinding::tick (*m_ambisonicMeters[(size_t) c], observers.getLevelMeter (UpmixerObservers::rowAmbisonic, c).get(), live, now);

    if (! m_layout.correlation)
        return;
    auto correlate = [&] (KaJuceCorrelationDisplay& display, KaJuceObserverCorrelation::Ptr observer)
    {
        display.tick (live ? observer.get() : nullptr);
    };
    correlate (*m_correlationSource, observers.getSourceCorrelation());
    correlate (*m_correlationDownmix, observers.getDownmixCorrelation());
    for (int pair : m_shownPairs)
        correlate (*m_correlationPairs[(size_t) pair], observers.getPairCorrelation (pair));
}

void UpmixerIOPage::resized()
{
    auto area = getLocalBounds();
    auto bottom = area.removeFromBottom (bottomRowHeight);
    area.removeFromBottom (margin);

    // Strips: one width for all, as wide as the page allows up to a limit.
    const int strips = m_nSources + m_nOutputs + 2;
    const int fixed = 2 * margin + 3 * 2 * panelPad + 2 * scaleWidth + stripGap * juce::jmax (0, strips - 3);
    const int stripWidth = juce::jlimit (24, maxStripWidth, (area.getWidth() - fixed) / juce::jmax (1, strips));
    const int stripHeight = area.getHeight() - panelTitle - 2 * panelPad;

    auto placeStrips = [&] (KaJuceOglGridComponent& panel, KaJuceLevelMeterScale* scale, std::vector<std::unique_ptr<UpmixerChannelStrip>>& list, int count)
    {
        const int width = 2 * panelPad + (scale != nullptr ? scaleWidth : 0) + count * stripWidth + juce::jmax (0, count - 1) * stripGap;
        panel.setBounds (area.removeFromLeft (width));
        area.removeFromLeft (margin);
        const int scaleX = panelPad;
        int x = panelPad + (scale != nullptr ? scaleWidth : 0);
        for (int i = 0; i < count; ++i)
        {
            list[(size_t) i]->setBounds (x, panelTitle + panelPad, stripWidth, stripHeight);
            x += stripWidth + stripGap;
        }
        if (scale != nullptr)
        {
            // The scale spans the meters' height, so that its marks meet their bars.
            const auto meter = list.front()->getMeter().getBounds();
            scale->setBounds (scaleX, panelTitle + panelPad + meter.getY(), scaleWidth, meter.getHeight());
        }
    };
    placeStrips (m_panelSources, &m_scaleSources, m_sources, m_nSources);
    placeStrips (m_panelOutputs, &m_scaleOutputs, m_outputs, m_nOutputs);
    placeStrips (m_panelDownmix, nullptr, m_downmix, 2);

    m_panelRouting->setBounds (bottom.removeFromLeft (routingWidth));
    bottom.removeFromLeft (margin);
    m_panelMultiInput->setBounds (bottom.removeFromLeft (multiInputWidth));
    bottom.removeFromLeft (margin);
    m_panelCorrelation.setBounds (bottom);
    m_panelAmbisonic.setBounds (bottom);
    {
        // Sixteen meters share the panel's width; fewer keep a strip's width at most.
        const int nameHeight = 16, width = juce::jmin (maxStripWidth / 2, (bottom.getWidth() - 2 * panelPad) / juce::jmax (1, m_nAmbisonic));
        const int meterHeight = bottom.getHeight() - panelTitle - 2 * panelPad - nameHeight;
        for (int c = 0; c < m_nAmbisonic; ++c)
        {
            const int x = panelPad + c * width;
            m_ambisonicNames[(size_t) c]->setBounds (x, panelTitle + panelPad, width, nameHeight);
            m_ambisonicMeters[(size_t) c]->setBounds (x, panelTitle + panelPad + nameHeight, width, meterHeight);
        }
    }

    const int inner = bottom.getWidth() - 2 * panelPad;
    m_btnCorrelation.setBounds (bottom.getWidth() - panelPad - 64, 4, 64, 18);
    m_readoutCorrelationHint.setBounds (panelPad, panelTitle + panelPad, inner, 20);
    const int columnWidth = (inner - margin) / 2;
    const int rows = juce::jmax (1, ((int) m_shownCorrelations.size() + 1) / 2);
    for (size_t i = 0; i < m_shownCorrelations.size(); ++i)
    {
        const int column = (int) i / rows, row = (int) i % rows;
        m_shownCorrelations[i]->setBounds (panelPad + column * (columnWidth + margin), panelTitle + panelPad + row * (correlationRow + correlationGap),
                                           columnWidth, correlationRow);
    }
}

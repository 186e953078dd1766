#include "editor/UpmixerIOPage.h"
#include "processor/KaChannelRouting.h"
#include "processor/UpmixerParameters.h"
#include "processor/UpmixerProcessor.h"

using namespace UpmixerParam;
namespace Routing_ = KaChannelRouting;

namespace
{
    constexpr int margin = 10, stripGap = 4, scaleWidth = 26, panelPad = 8, panelTitle = 22;
    constexpr int maxStripWidth = 96;
    constexpr int bottomRowHeight = 178, routingWidth = 330, multiInputWidth = 300;
    constexpr int correlationRow = 13, correlationGap = 2;
    // A block within this long means the audio runs; after it the meters fall to silence.
    constexpr double audioStoppedMs = 250.0;
    constexpr float silenceDb = -1.0e10f;

    /** The colour parameter of each channel kind's family. */
    int colourParameterOfKind (int kind)
    {
        switch (kind)
        {
            case Routing_::kindC: return ColC;
            case Routing_::kindLfe: return ColLfe;
            case Routing_::kindLs: case Routing_::kindRs: return ColLsRs;
            case Routing_::kindLsr: case Routing_::kindRsr: return ColLbRb;
            case Routing_::kindLts: case Routing_::kindRts: case Routing_::kindTrl: case Routing_::kindTrr: return ColLtsRts;
            default: return ColLR;
        }
    }

    juce::String layoutName (int outputs)
    {
        switch (outputs)
        {
            case 6: return "5.1";
            case 8: return "7.1";
            case 10: return "7.1.2";
            case 12: return "7.1.4";
            default: return juce::String (outputs) + " ch";
        }
    }

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
    m_panelSources.setName ("m_panelSources");
    m_panelOutputs.setName ("m_panelOutputs");
    m_panelDownmix.setName ("m_panelDownmix");
    m_panelCorrelation.setName ("m_panelCorrelation");
    m_panelSources.addAndMakeVisible (m_scaleSources);
    m_panelOutputs.addAndMakeVisible (m_scaleOutputs);

    for (int i = 0; i < maxSources; ++i)
        m_sources.push_back (std::unique_ptr<UpmixerChannelStrip> (&addStrip (m_panelSources, "m_stripSource" + juce::String (i))));
    for (int i = 0; i < numOutputs; ++i)
        m_outputs.push_back (std::unique_ptr<UpmixerChannelStrip> (&addStrip (m_panelOutputs, "m_stripOutput" + juce::String (i))));
    for (int i = 0; i < 2; ++i)
    {
        auto& strip = addStrip (m_panelDownmix, "m_stripDownmix" + juce::String (i));
        m_downmix.push_back (std::unique_ptr<UpmixerChannelStrip> (&strip));
        strip.setVisible (true);
        const int mute = i == 0 ? MuteDownmix0 : MuteDownmix1;
        strip.setChannel (i == 0 ? "Lo" : "Ro", KaJuceTheme::text);
        strip.bindTrim (KaJuceControl::noParameter, 0.0f);
        strip.bindSwitch (0, UpmixerChannelStrip::Switch::mute, mute, processor.getParameterValue (mute));
        strip.bindSwitch (1, UpmixerChannelStrip::Switch::none, KaJuceControl::noParameter, 0.0f);
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

    applyLayout (currentLayout());
}

UpmixerIOPage::~UpmixerIOPage() = default;

UpmixerChannelStrip& UpmixerIOPage::addStrip (KaJuceOglGridComponent& panel, const juce::String& name)
{
    auto* strip = new UpmixerChannelStrip (name);
    panel.addChildComponent (strip);
    for (KaJuceControl* c : { (KaJuceControl*) &strip->getTrim(), (KaJuceControl*) &strip->getSwitch (0), (KaJuceControl*) &strip->getSwitch (1) })
        m_editor.registerControl (*c);
    // The trim's value in the strip is short ("-3.0"); typed entry takes the unit or not.
    if (const auto* info = m_upmixer.getParameterTable().info (Trim0))
        strip->getTrim().m_fnpConvertParamToString = [info] (float v) { return juce::String (info->toUnit (v), 1); };
    strip->getMeter().onReset = [this]
    {
        for (auto* strips : { &m_sources, &m_outputs, &m_downmix })
            for (auto& s : *strips)
                s->getMeter().resetPeaks();
    };
    return *strip;
}

UpmixerIOPage::Layout UpmixerIOPage::currentLayout() const
{
    Layout l;
    l.sources = juce::jlimit (0, maxSources, m_upmixer.getTotalNumInputChannels());
    l.outputs = juce::jlimit (0, numOutputs, m_upmixer.getTotalNumOutputChannels());
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

    // The two switches do what the per-user settings say (solo or mute); when both say the same
    // there is one.
    const auto first = l.primary == 1 ? UpmixerChannelStrip::Switch::mute : UpmixerChannelStrip::Switch::solo;
    const auto second = l.secondary == 1 ? UpmixerChannelStrip::Switch::mute : UpmixerChannelStrip::Switch::solo;
    for (int p = 0; p < numOutputs; ++p)
    {
        auto& strip = *m_outputs[(size_t) p];
        strip.setVisible (p < l.outputs);
        if (p >= l.outputs)
            continue;
        const int kind = juce::jlimit (0, numOutputs - 1, Routing_::kindAtPosition (l.routing, p));
        strip.setChannel (Routing_::channelName (l.routing, p), KaJuceTheme::text);
        strip.bindTrim (Trim0 + kind, value (Trim0 + kind));
        auto numberOf = [kind] (UpmixerChannelStrip::Switch s) { return (s == UpmixerChannelStrip::Switch::mute ? Mute0 : Solo0) + kind; };
        strip.bindSwitch (0, first, numberOf (first), value (numberOf (first)));
        const auto secondKind = second == first ? UpmixerChannelStrip::Switch::none : second;
        strip.bindSwitch (1, secondKind, numberOf (second), value (numberOf (second)));
    }

    m_panelSources.setTitle ("Sources  " + juce::String (l.sources) + (l.sources == 1 ? " channel" : " channels"));
    m_panelOutputs.setTitle ("Outputs  " + layoutName (l.outputs));

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
    m_correlationSource->setVisible (l.correlation);
    m_correlationDownmix->setVisible (l.correlation);
    for (auto& display : m_correlationPairs)
        display->setVisible (std::find (m_shownCorrelations.begin(), m_shownCorrelations.end(), display.get()) != m_shownCorrelations.end());
    m_readoutCorrelationHint.setVisible (! l.correlation);
    m_btnCorrelation.setLabel (l.correlation ? "Hide" : "Show");

    updateStyles();
    resized();
}

std::vector<KaJuceCorrelationDisplay*> UpmixerIOPage::getShownCorrelations() const { return m_shownCorrelations; }

float UpmixerIOPage::colourValue (int number) const
{
    if (! m_upmixer.getParameterTable().isOn (LockColors))
        return m_upmixer.getParameterValue (number);
    if (number >= ColC && number <= ColMeterPeak)
        return m_upmixer.getParameterValue (LockColC + number - ColC);
    if (number >= Col0LM && number <= Col4LM)
        return m_upmixer.getParameterValue (LockCol0LM + number - Col0LM);
    if (number >= Split1LM && number <= Split4LM)
        return m_upmixer.getParameterValue (LinkSplit1LM + number - Split1LM);
    return m_upmixer.getParameterValue (number);
}

void UpmixerIOPage::updateStyles()
{
    const auto& table = m_upmixer.getParameterTable();
    KaJuceLevelMeterDisplay::Style style;
    for (int i = 0; i < 4; ++i)
        if (const auto* info = table.info (Split1LM + i))
            style.splitsDb[(size_t) i] = info->toUnit (colourValue (Split1LM + i));
    // Col0LM colours the quietest zone, Col3LM the overs and Col4LM the over lamp; the overs
    // and the lamp are drawn brighter so that they read as warnings whatever their hue.
    style.colours = { KaJuceColourParamUser::colourForValue (colourValue (Col3LM), 0.85f, 1.0f),
                      KaJuceColourParamUser::colourForValue (colourValue (Col2LM), 0.8f, 0.95f),
                      KaJuceColourParamUser::colourForValue (colourValue (Col1LM), 0.7f, 0.85f),
                      KaJuceColourParamUser::colourForValue (colourValue (Col0LM), 0.6f, 0.7f),
                      KaJuceColourParamUser::colourForValue (colourValue (Col4LM), 0.9f, 1.0f) };
    style.hold = KaJuceColourParamUser::colourForValue (colourValue (ColMeterPeak), 0.5f, 1.0f);

    for (auto* strips : { &m_sources, &m_outputs, &m_downmix })
        for (auto& s : *strips)
            s->getMeter().setStyle (style);
    for (int p = 0; p < m_nOutputs; ++p)
    {
        const int kind = Routing_::kindAtPosition (m_layout.routing, p);
        m_outputs[(size_t) p]->setChannel (m_outputs[(size_t) p]->getChannelName(),
                                           KaJuceColourParamUser::colourForValue (colourValue (colourParameterOfKind (kind)), 0.55f, 1.0f));
    }
}

void UpmixerIOPage::update (bool pageShown)
{
    if (const auto now = currentLayout(); ! (now == m_layout))
        applyLayout (now);
    if (! pageShown)
        return;
    updateStyles();
    updateMeters();
}

void UpmixerIOPage::updateMeters()
{
    const double now = juce::Time::getMillisecondCounterHiRes();
    const double lastBlock = m_upmixer.getBlockInfo().processStartMs.load (std::memory_order_relaxed);
    const bool live = lastBlock > 0.0 && now - lastBlock < audioStoppedMs;
    const auto& observers = m_upmixer.getObservers();

    auto tick = [&] (UpmixerChannelStrip& strip, UpmixerObservers::Row row, int index)
    {
        auto meter = observers.getLevelMeter (row, index);
        if (live && meter != nullptr)
        {
            const float level = meter->getLevelDb();
            strip.getMeter().tick (level, meter->getLastPeakDb(), now);
        }
        else
            strip.getMeter().tick (silenceDb, silenceDb, now);
    };
    for (int i = 0; i < m_nSources; ++i)
        tick (*m_sources[(size_t) i], UpmixerObservers::rowSource, i);
    for (int p = 0; p < m_nOutputs; ++p)
        tick (*m_outputs[(size_t) p], UpmixerObservers::rowUpmix, p);
    for (int side = 0; side < 2; ++side)
        tick (*m_downmix[(size_t) side], UpmixerObservers::rowDownmix, side);

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

#include "editor/UpmixerCentreLfePage.h"
#include "editor/UpmixerStripBinding.h"
#include "processor/KaChannelRouting.h"
#include "processor/UpmixerParameters.h"
#include "processor/UpmixerProcessor.h"

using namespace UpmixerParam;
namespace Routing_ = KaChannelRouting;

namespace
{
    constexpr int margin = 10, stripGap = 4, scaleWidth = 26, panelPad = 8, panelTitle = 22;
    constexpr int topRowHeight = 178, stripWidth = 96, correlationRow = 18;
    constexpr int lfeWidth = 390, centreWidth = 290;

    constexpr int stripKinds[] = { Routing_::kindL, Routing_::kindC, Routing_::kindR, Routing_::kindLfe };
    // The upmix pairs whose phase decides what the fold-down keeps: L-R, L-C, C-R, L-Ls, R-Rs.
    constexpr int foldPairs[] = { 0, 1, 2, 3, 4 };
}

UpmixerCentreLfePage::UpmixerCentreLfePage (KaJuceEditorBase& editor, UpmixerProcessor& processor, const ControlFactory& makeControl)
    : m_upmixer (processor)
{
    setName ("m_pageCentreLfeContent");
    setInterceptsMouseClicks (false, true);

    auto grid = [&] (const juce::String& title, int columns, int rowHeight, std::initializer_list<int> numbers, bool knobs)
    {
        auto panel = std::make_unique<KaJuceOglGridComponent> (title, columns, rowHeight, 5);
        panel->setName ("m_panel" + title.removeCharacters (" &-"));
        for (int number : numbers)
            panel->addToGrid (makeControl (number, knobs));
        addAndMakeVisible (*panel);
        return panel;
    };
    const int knobRow = topRowHeight - panelTitle - 2 * panelPad;
    m_panelLfe = grid ("LFE", 3, knobRow, { LfeFreq, LfeSplit, LfeGain }, true);
    m_panelCentre = grid ("Centre LF split", 2, knobRow, { DivergeLfcAmount, DivergeLfcFreq }, true);
    m_panelDownmix = grid ("Downmix coefficients", 1, 24, { DownmixC, DownmixS, DownmixB, DownmixLfe, DownmixExact }, false);

    // The two switches sit in their panels' title lines.
    auto titleSwitch = [&] (KaJuceOglGridComponent& panel, int number)
    {
        auto* button = dynamic_cast<KaJuceButton*> (&makeControl (number, false));
        jassert (button != nullptr);
        button->setLabel ("On");
        button->setLabelFontSize (KaJuceTheme::smallText);
        panel.addAndMakeVisible (*button);
        return button;
    };
    m_btnLfe = titleSwitch (*m_panelLfe, Lfe);
    m_btnCentre = titleSwitch (*m_panelCentre, DivergeLfcEnable);

    for (auto* panel : { &m_panelLevels, &m_panelFold, &m_panelPhase })
        addAndMakeVisible (panel);
    m_panelLevels.setName ("m_panelFrontAndLfe");
    m_panelFold.setName ("m_panelDownmixLevels");
    m_panelPhase.setName ("m_panelFoldDownPhase");
    m_panelLevels.addAndMakeVisible (m_scale);
    for (int i = 0; i < numStrips; ++i)
    {
        auto strip = std::make_unique<UpmixerChannelStrip> ("m_stripCentreLfe" + juce::String (i));
        (i < 4 ? m_panelLevels : m_panelFold).addAndMakeVisible (*strip);
        UpmixerStripBinding::attach (*strip, editor);
        strip->getMeter().onReset = [this]
        {
            for (auto& s : m_strips)
                s->getMeter().resetPeaks();
        };
        m_strips.push_back (std::move (strip));
    }
    for (int side = 0; side < 2; ++side)
        UpmixerStripBinding::showDownmix (*m_strips[(size_t) (4 + side)], processor.getParameterTable(), side);

    for (int i = 0; i < 1 + (int) std::size (foldPairs); ++i)
    {
        auto display = std::make_unique<KaJuceCorrelationDisplay> ("m_correlationFold" + juce::String (i));
        m_panelPhase.addAndMakeVisible (*display);
        m_correlations.push_back (std::move (display));
    }
    m_correlations.front()->setLabel ("Lo-Ro");
    m_readoutPhaseHint.setLabel ("-1 to +1: below 0 a pair cancels when the mix is folded to stereo");
    m_readoutPhaseHint.setTextColour (KaJuceTheme::textDim);
    m_readoutPhaseHint.setDrawsBackground (false);
    m_readoutPhaseHint.setLabelFontSize (KaJuceTheme::smallText);
    m_panelPhase.addAndMakeVisible (m_readoutPhaseHint);

    follow (processor.getCurrentRouting(), processor.getParameterTable().getChoice (PrimarySoloOrMute),
            processor.getParameterTable().getChoice (SecondarySoloOrMute));
}

UpmixerCentreLfePage::~UpmixerCentreLfePage() = default;

void UpmixerCentreLfePage::follow (int routing, int primary, int secondary)
{
    m_nRouting = routing;
    m_nPrimary = primary;
    m_nSecondary = secondary;
    const auto& table = m_upmixer.getParameterTable();
    for (int i = 0; i < 4; ++i)
        UpmixerStripBinding::showOutput (*m_strips[(size_t) i], table, routing, juce::jmax (0, Routing_::hostPositionOfKind (routing, stripKinds[i])));
    for (size_t i = 0; i < std::size (foldPairs); ++i)
    {
        const auto& kinds = UpmixerObservers::pairKinds[(size_t) foldPairs[i]];
        m_correlations[i + 1]->setLabel (Routing_::kindName (kinds[0], routing) + "-" + Routing_::kindName (kinds[1], routing));
    }
}

void UpmixerCentreLfePage::update (bool pageShown)
{
    const auto& table = m_upmixer.getParameterTable();
    const int routing = m_upmixer.getCurrentRouting();
    const int primary = table.getChoice (PrimarySoloOrMute), secondary = table.getChoice (SecondarySoloOrMute);
    if (routing != m_nRouting || primary != m_nPrimary || secondary != m_nSecondary)
        follow (routing, primary, secondary);
    if (! pageShown)
        return;

    const auto style = UpmixerStripBinding::meterStyle (table);
    const double now = juce::Time::getMillisecondCounterHiRes();
    const bool live = UpmixerStripBinding::isAudioRunning (m_upmixer, now);
    const auto& observers = m_upmixer.getObservers();
    for (int i = 0; i < numStrips; ++i)
    {
        auto& strip = *m_strips[(size_t) i];
        strip.getMeter().setStyle (style);
        const auto meter = i < 4 ? observers.getLevelMeter (UpmixerObservers::rowUpmix, Routing_::hostPositionOfKind (routing, stripKinds[i]))
                                 : observers.getLevelMeter (UpmixerObservers::rowDownmix, i - 4);
        UpmixerStripBinding::tick (strip, meter.get(), live, now);
        if (i < 4)
            strip.setChannel (strip.getChannelName(), UpmixerStripBinding::channelColour (table, stripKinds[i]));
    }

    m_correlations.front()->tick (live ? observers.getDownmixCorrelation().get() : nullptr);
    for (size_t i = 0; i < std::size (foldPairs); ++i)
        m_correlations[i + 1]->tick (live ? observers.getPairCorrelation (foldPairs[i]).get() : nullptr);
}

void UpmixerCentreLfePage::resized()
{
    auto area = getLocalBounds();
    auto top = area.removeFromTop (topRowHeight);
    area.removeFromTop (margin);
    m_panelLfe->setBounds (top.removeFromLeft (lfeWidth));
    top.removeFromLeft (margin);
    m_panelCentre->setBounds (top.removeFromLeft (centreWidth));
    top.removeFromLeft (margin);
    m_panelDownmix->setBounds (top);
    for (auto* button : { m_btnLfe, m_btnCentre })
        button->setBounds (button->getParentWidth() - panelPad - 48, 4, 48, 18);

    const int stripHeight = area.getHeight() - panelTitle - 2 * panelPad;
    auto placeStrips = [&] (KaJuceOglGridComponent& panel, int first, int count, bool withScale)
    {
        const int width = 2 * panelPad + (withScale ? scaleWidth : 0) + count * stripWidth + (count - 1) * stripGap;
        panel.setBounds (area.removeFromLeft (width));
        area.removeFromLeft (margin);
        int x = panelPad + (withScale ? scaleWidth : 0);
        for (int i = first; i < first + count; ++i, x += stripWidth + stripGap)
            m_strips[(size_t) i]->setBounds (x, panelTitle + panelPad, stripWidth, stripHeight);
        if (withScale)
        {
            const auto meter = m_strips[(size_t) first]->getMeter().getBounds();
            m_scale.setBounds (panelPad, panelTitle + panelPad + meter.getY(), scaleWidth, meter.getHeight());
        }
    };
    placeStrips (m_panelLevels, 0, 4, true);
    placeStrips (m_panelFold, 4, 2, false);
    m_panelPhase.setBounds (area);
    for (size_t i = 0; i < m_correlations.size(); ++i)
        m_correlations[i]->setBounds (panelPad, panelTitle + panelPad + (int) i * (correlationRow + 4), area.getWidth() - 2 * panelPad, correlationRow);
    m_readoutPhaseHint.setBounds (panelPad, area.getHeight() - panelPad - 18, area.getWidth() - 2 * panelPad, 18);
}

#include "editor/UpmixerSurroundField.h"
#include "analysis/UpmixerSpeakerAngles.h"
#include "editor/KaJuceColourParamUser.h"
#include "editor/KaJuceTheme.h"
#include "editor/KaOglDraw.h"
#include "editor/UpmixerStripBinding.h"
#include "processor/KaChannelRouting.h"
#include "processor/UpmixerParameters.h"
#include "processor/UpmixerProcessor.h"

using namespace KaChannelRouting;

namespace
{
    constexpr int bedSize = 46, heightSize = 40, lfeSize = 38;
    // Without blocks the circles fall to silence at the level meters' own release (20 dB in
    // 1.5 s) instead of holding the last peak.
    constexpr double releaseDbPerMs = 20.0 / KaJuceObserverLevelMeter::defaultReleaseSeconds / 1000.0;

    bool isHeight (int kind) noexcept { return kind >= kindLts; }
}

UpmixerSurroundField::UpmixerSurroundField()
{
    setName ("UpmixerSurroundField");
    addAndMakeVisible (m_haze);
    for (int kind = 0; kind < numKinds; ++kind)
    {
        m_circles[(size_t) kind] = std::make_unique<UpmixerChannelCircle> (kind);
        addChildComponent (*m_circles[(size_t) kind]);
    }
    addAndMakeVisible (m_overlay);
    m_title.set ("Surround field");
}

int UpmixerSurroundField::getNumCirclesShown() const
{
    int n = 0;
    for (const auto& c : m_circles)
        n += c->isVisible() ? 1 : 0;
    return n;
}

void UpmixerSurroundField::resized()
{
    KaOglChildComponent::resized();
    const auto inner = getLocalBounds().withTrimmedTop (titleHeight).reduced (6, 0).withTrimmedBottom (4);
    m_haze.setBounds (inner);
    m_overlay.setBounds (inner);
    m_bPlaced = false;  // placed by the next update(), which the render thread does not overlap
}

void UpmixerSurroundField::placeCircles()
{
    const auto g = m_haze.getGeometry();
    const auto origin = m_haze.getPosition().toFloat();
    std::vector<juce::Point<float>> spokes;
    for (int kind = 0; kind < numKinds; ++kind)
    {
        auto& circle = *m_circles[(size_t) kind];
        const int position = hostPositionOfKind (m_nRouting, kind);
        const bool shown = m_nOutputs > 0 && position >= 0 && position < m_nOutputs;
        circle.setVisible (shown);
        if (! shown)
            continue;
        circle.setChannelName (kindName (kind, m_nRouting));
        if (kind == kindLfe)
        {
            // The LFE has no direction: it sits apart, in the field's lower left corner.
            const auto field = m_haze.getBounds().withTrimmedBottom (UpmixerHazeDisplay::keyHeight);
            circle.setBounds (field.getX() + 6, field.getBottom() - lfeSize - 6, lfeSize, lfeSize);
            continue;
        }
        const float azimuth = UpmixerSpeakerAngles::azimuthOf (kind, m_nRouting, m_nOutputs);
        const float ring = isHeight (kind) ? UpmixerFieldGeometry::heightRing : 1.0f;
        const int size = isHeight (kind) ? heightSize : bedSize;
        const auto centre = origin + g.at (azimuth, ring);
        circle.setBounds (juce::Rectangle<int> (size, size).withCentre (centre.roundToInt()));
        spokes.push_back ({ azimuth, ring });
    }
    m_haze.setSpokes (std::move (spokes));
}

void UpmixerSurroundField::update (UpmixerProcessor& processor)
{
    const int routing = processor.getCurrentRouting(), outputs = processor.getEngineOutputCount();
    if (routing != m_nRouting || outputs != m_nOutputs || ! m_bPlaced)
    {
        m_nRouting = routing;
        m_nOutputs = outputs;
        m_title.set ("Surround field   " + KaChannelRouting::layoutNameForWidth (outputs));
        placeCircles();
        m_bPlaced = true;
    }

    using namespace UpmixerParam;
    const auto& table = processor.getParameterTable();
    auto& observers = processor.getObservers();
    const double now = juce::Time::getMillisecondCounterHiRes();
    const bool live = UpmixerStripBinding::isAudioRunning (processor, now);
    const float fallen = m_dLastUpdateMs > 0.0 ? (float) ((now - m_dLastUpdateMs) * releaseDbPerMs) : 0.0f;
    m_dLastUpdateMs = now;
    for (auto& circle : m_circles)
    {
        if (! circle->isVisible())
            continue;
        circle->setColour (UpmixerStripBinding::channelColour (table, circle->getKind()));  // as the channel strips show it
        auto meter = observers.getLevelMeter (UpmixerObservers::rowUpmix, hostPositionOfKind (routing, circle->getKind()));
        circle->setLevelDb (live && meter != nullptr ? meter->getLevelDb() : circle->getLevelDb() - fallen);
    }

    m_hazeField.update (observers, routing, outputs);
    m_haze.setHaze (m_hazeField.getBands(), m_hazeField.getAzimuths());
    m_overlay.setLayout (outputs >= 8, outputs >= 10);
    m_overlay.setLinks (table.isOn (ArcLink), table.isOn (VerticalLink));
    m_overlay.setDiffusionColour (KaJuceColourParamUser::colourForValue (UpmixerStripBinding::colourValue (table, ColDiffusion)));
}

void UpmixerSurroundField::render (double)
{
    const auto area = getLocalBounds().toFloat();
    KaOglDraw::fillRoundedRect (area, 5.0f, KaJuceTheme::panel);
    KaOglDraw::drawRoundedRect (area, 5.0f, KaJuceTheme::panelEdge);
    if (auto* font = getOglFont (KaJuceTheme::titleText))
        font->drawText (m_title.forRender(), { 8, 4, getWidth() - 16, titleHeight - 4 }, juce::Justification::centredLeft, KaJuceTheme::textDim);
}

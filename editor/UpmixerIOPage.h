#pragma once

#include "editor/KaJuceCorrelationDisplay.h"
#include "editor/KaJuceEditorBase.h"
#include "editor/KaJuceGridComponent.h"
#include "editor/KaJuceSelectorControl.h"
#include "editor/UpmixerChannelStrip.h"

#include <functional>
#include <memory>
#include <vector>

class UpmixerProcessor;

/** The I/O page: a strip per source channel (as many as the host gives, up to 10), per output
    channel of the current layout (up to 12, in the order the host receives them) and per
    downmix side, each with its meter and controls; below them the routing, the multi-input
    options and the correlation meters, or, while the output bus is Ambisonic, a meter per
    Ambisonic channel in the order the host receives them.

    update() runs on the message thread inside the editor's updateGui(): it follows the layout
    (channel counts, routing, which switch is solo and which mute) and, while the page shows,
    reads the level and correlation observers (relaxed atomics, nothing blocks) into the
    displays, which the render thread draws. Without audio the meters fall to silence. */
class UpmixerIOPage : public juce::Component
{
public:
    using ControlFactory = std::function<KaJuceControl& (int number)>;

    static constexpr int maxSources = 10;

    /** makeControl makes and registers the editor's usual control for a parameter. */
    UpmixerIOPage (KaJuceEditorBase& editor, UpmixerProcessor& processor, const ControlFactory& makeControl);
    ~UpmixerIOPage() override;

    /** Message thread, inside updateGui(). The observers' peaks are read (and so reset) only
        while the page is shown, so that another display of the same meters loses nothing. */
    void update (bool pageShown);

    int getNumSourceStrips() const noexcept { return m_nSources; }
    int getNumOutputStrips() const noexcept { return m_nOutputs; }
    UpmixerChannelStrip& getSourceStrip (int index) { return *m_sources[(size_t) index]; }
    UpmixerChannelStrip& getOutputStrip (int position) { return *m_outputs[(size_t) position]; }
    UpmixerChannelStrip& getDownmixStrip (int side) { return *m_downmix[(size_t) side]; }
    /** The correlation meters shown now (source, downmix, then the layout's speaker pairs). */
    std::vector<KaJuceCorrelationDisplay*> getShownCorrelations() const;
    /** The Ambisonic channels' meters shown now (none unless the output bus is Ambisonic). */
    int getNumAmbisonicMeters() const noexcept { return m_nAmbisonic; }
    KaJuceLevelMeterDisplay& getAmbisonicMeter (int channel) { return *m_ambisonicMeters[(size_t) channel]; }
    juce::String getAmbisonicName (int channel) const { return m_ambisonicNames[(size_t) channel]->getLabel(); }

    void resized() override;

private:
    struct Layout
    {
        int sources = -1, outputs = -1, routing = -1, primary = -1, secondary = -1, ambisonicOrder = 0, ambisonicFormat = 0;
        bool correlation = false;
        bool operator== (const Layout& o) const noexcept
        {
            return sources == o.sources && outputs == o.outputs && routing == o.routing && primary == o.primary
                   && secondary == o.secondary && ambisonicOrder == o.ambisonicOrder
                   && ambisonicFormat == o.ambisonicFormat && correlation == o.correlation;
        }
    };

    Layout currentLayout() const;
    void applyLayout (const Layout& layout);
    void updateStyles();
    void updateMeters();
    UpmixerChannelStrip& addStrip (KaJuceOglGridComponent& panel, std::vector<std::unique_ptr<UpmixerChannelStrip>>& list, const juce::String& name);
    /** The Routing selector lists only the orders the output width allows, and the two
        automatic choices (its full list of 101 would not fit the editor). */
    void listRoutings (int outputs, int choice);

    KaJuceEditorBase& m_editor;
    UpmixerProcessor& m_upmixer;
    Layout m_layout;
    int m_nSources = 0, m_nOutputs = 0;

    KaJuceOglGridComponent m_panelSources { "Sources", 1, 0 }, m_panelOutputs { "Outputs", 1, 0 }, m_panelDownmix { "Downmix", 1, 0 };
    KaJuceLevelMeterScale m_scaleSources, m_scaleOutputs;
    std::vector<std::unique_ptr<UpmixerChannelStrip>> m_sources, m_outputs, m_downmix;

    std::unique_ptr<KaJuceOglGridComponent> m_panelRouting, m_panelMultiInput;
    KaJuceSelectorControl* m_selRouting = nullptr;
    int m_nListedRoutingWidth = -1, m_nListedRoutingChoice = -1;
    KaJuceOglGridComponent m_panelCorrelation { "Correlation", 1, 0 };
    KaJuceButton m_btnCorrelation;
    KaJuceMarginReadout m_readoutCorrelationHint { "m_readoutCorrelationHint" };
    std::unique_ptr<KaJuceCorrelationDisplay> m_correlationSource, m_correlationDownmix;
    std::vector<std::unique_ptr<KaJuceCorrelationDisplay>> m_correlationPairs;
    std::vector<KaJuceCorrelationDisplay*> m_shownCorrelations;
    std::vector<int> m_shownPairs;  // pair numbers of the pair meters shown, in order

    KaJuceOglGridComponent m_panelAmbisonic { "Ambisonic", 1, 0 };
    std::vector<std::unique_ptr<KaJuceLevelMeterDisplay>> m_ambisonicMeters;
    std::vector<std::unique_ptr<KaJuceMarginReadout>> m_ambisonicNames;
    int m_nAmbisonic = 0;
};

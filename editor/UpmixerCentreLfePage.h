#pragma once

#include "editor/KaJuceCorrelationDisplay.h"
#include "editor/KaJuceEditorBase.h"
#include "editor/KaJuceGridComponent.h"
#include "editor/UpmixerChannelStrip.h"

#include <functional>
#include <memory>
#include <vector>

class UpmixerProcessor;

/** The Centre & LFE page: the LFE (switch, crossover, split, gain) and the centre's LF split as
    knobs, the downmix coefficients; below them the strips of the front channels, the LFE and
    the downmix with their meters, and the correlations a fold-down depends on (Lo-Ro and the
    front pairs), so that a change is seen and heard at once.

    update() runs on the message thread inside the editor's updateGui(), like the I/O page's:
    it follows the routing and, while the page shows, reads the observers. */
class UpmixerCentreLfePage : public juce::Component
{
public:
    using ControlFactory = std::function<KaJuceControl& (int number, bool knob)>;

    /** makeControl makes and registers the editor's usual control (a knob when asked). */
    UpmixerCentreLfePage (KaJuceEditorBase& editor, UpmixerProcessor& processor, const ControlFactory& makeControl);
    ~UpmixerCentreLfePage() override;

    /** Message thread, inside updateGui(). */
    void update (bool pageShown);

    /** The strips: L, C, R, LFE, then Lo and Ro. */
    static constexpr int numStrips = 6;
    UpmixerChannelStrip& getStrip (int index) { return *m_strips[(size_t) index]; }

    void resized() override;

private:
    void follow (int routing, int primary, int secondary);

    UpmixerProcessor& m_upmixer;
    int m_nRouting = -1, m_nPrimary = -1, m_nSecondary = -1;

    std::unique_ptr<KaJuceOglGridComponent> m_panelLfe, m_panelCentre, m_panelDownmix;
    KaJuceButton* m_btnLfe = nullptr;
    KaJuceButton* m_btnCentre = nullptr;
    KaJuceOglGridComponent m_panelLevels { "Front and LFE", 1, 0 }, m_panelFold { "Downmix", 1, 0 }, m_panelPhase { "Fold-down phase", 1, 0 };
    KaJuceLevelMeterScale m_scale;
    KaJuceMarginReadout m_readoutPhaseHint { "m_readoutPhaseHint" };
    std::vector<std::unique_ptr<UpmixerChannelStrip>> m_strips;
    std::vector<std::unique_ptr<KaJuceCorrelationDisplay>> m_correlations;  // Lo-Ro, then the pairs below
};

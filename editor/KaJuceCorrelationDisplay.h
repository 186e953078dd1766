#pragma once

#include "analysis/KaJuceObserverCorrelation.h"
#include "editor/KaJuceOglFont.h"
#include "editor/KaOglChildComponent.h"

#include <array>

/** One correlation meter drawn by the OpenGL frame: its label, then a bar from -1 (left) to +1
    (right) carrying the observer's decaying scatter of recent coefficients and a marker at the
    smoothed coefficient, coloured by how safe it is for mono (red below 0, amber to 0.5, green
    above).

    The message thread ticks it from the editor's updateGui() with the observer (a copy of the
    readings is taken there); the render thread draws the copy. Without audio the scatter fades
    and the marker returns to 0, as for silence. */
class KaJuceCorrelationDisplay : public KaOglChildComponent, public KaJuceOglFontUser
{
public:
    static constexpr int labelWidth = 50;

    explicit KaJuceCorrelationDisplay (const juce::String& name);

    /** Message thread, inside updateGui(). */
    void setLabel (const juce::String& text) { m_label = text; }
    const juce::String& getLabel() const noexcept { return m_label; }
    /** Message thread, inside updateGui(): the observer's readings, or (null) silence. */
    void tick (const KaJuceObserverCorrelation* observer);

    float getCorrelation() const noexcept { return m_fCorrelation; }

    void render (double time) override;

private:
    juce::String m_label;
    float m_fCorrelation = 0.0f;
    std::array<float, KaJuceObserverCorrelation::numHistogramBins> m_histogram {};
};

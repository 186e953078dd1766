#pragma once

#include "editor/KaJuceOglFont.h"
#include "editor/KaOglChildComponent.h"

#include <array>
#include <atomic>
#include <functional>

/** A vertical sample-peak meter drawn by the OpenGL frame: the level as a bar coloured by zone,
    a peak-hold line, an over lamp at the top and the highest peak since the last reset as
    text above it.

    The message thread ticks it from the editor's updateGui() (which keeps the render thread
    out) with the level observer's readings; the render thread draws only what the last tick
    prepared. Ballistics: the bar rises at once and falls at the observer's release rate
    (20 dB in 1.5 s), also when the audio stops and the readings are silence; the hold line
    stays 2 s at a new peak, then falls at the same rate. A click resets the highest peak and
    the over lamp (onReset lets a page reset all its meters together). */
class KaJuceLevelMeterDisplay : public KaOglChildComponent, public KaJuceOglFontUser
{
public:
    /** Zones from the top: above split 0 (over), split 0..1, 1..2, 2..3; below split 3 nothing
        is lit. Colours: one per zone in the same order, then the over lamp's. */
    struct Style
    {
        std::array<float, 4> splitsDb { 0.0f, -8.0f, -60.0f, -100.0f };
        std::array<juce::Colour, 5> colours;
        juce::Colour hold;
    };

    /** The scale: dB to the fraction of the bar's height, after the IEC 60268-18 deflection
        (-70 dB at the foot, -20 dB half way to 0 dB), with 6 dB of headroom above 0 dB. */
    static constexpr float floorDb = -70.0f, topDb = 6.0f;
    static float fractionForDb (float db) noexcept;
    /** The dB marks a scale beside the meters labels. */
    static constexpr std::array<int, 8> scaleMarks { 6, 0, -6, -12, -20, -30, -40, -60 };

    static constexpr float releaseDbPerSecond = 20.0f / 1.5f;
    static constexpr double holdMs = 2000.0;
    /** Height of the peak text and the over lamp above the bar. */
    static constexpr int textHeight = 14, lampHeight = 5, minBarWidth = 6, maxBarWidth = 20;

    explicit KaJuceLevelMeterDisplay (const juce::String& name);

    /** Message thread, inside updateGui(): one reading. levelDb is the observer's ballistic
        level, peakDb the peak since the previous reading (both very low for silence). */
    void tick (float levelDb, float peakDb, double nowMs);
    /** Message thread, inside updateGui(). */
    void setStyle (const Style& style) { m_style = style; }
    /** Message thread, any time: the next tick forgets the highest peak and the over. */
    void resetPeaks() noexcept { m_bResetRequested.store (true); }

    float getLevelDb() const noexcept { return m_fShownDb; }
    float getHoldDb() const noexcept { return m_fHoldDb; }
    float getMaxPeakDb() const noexcept { return m_fMaxDb; }
    bool isOver() const noexcept { return m_bOver; }

    /** The bar's area in a meter of that size: centred, below the text and the lamp. */
    static juce::Rectangle<int> barAreaFor (int width, int height) noexcept;
    juce::Rectangle<int> getBarArea() const noexcept { return barAreaFor (getWidth(), getHeight()); }

    std::function<void()> onReset;

    void render (double time) override;

protected:
    void mouseDown (const juce::MouseEvent&) override;

private:
    Style m_style;
    float m_fShownDb = -1000.0f, m_fHoldDb = -1000.0f, m_fMaxDb = -1000.0f;
    bool m_bOver = false;
    std::atomic<bool> m_bResetRequested { false };
    double m_dLastTickMs = 0.0, m_dHoldUntilMs = 0.0;
    juce::String m_maxText;
};

/** The dB marks beside a column of KaJuceLevelMeterDisplay, given the same top and height as
    the meters so that its marks line up with their bars. */
class KaJuceLevelMeterScale : public KaOglChildComponent, public KaJuceOglFontUser
{
public:
    KaJuceLevelMeterScale();
    void render (double time) override;

private:
    std::array<juce::String, KaJuceLevelMeterDisplay::scaleMarks.size()> m_labels;
};

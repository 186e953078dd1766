#pragma once

#include "editor/KaGuiText.h"
#include "editor/KaJuceOglFont.h"
#include "editor/KaOglChildComponent.h"

#include <atomic>

/** One output channel in the surround field: a disc at its loudspeaker's place, named, in the
    channel's colour, brightening and glowing with the channel's level, with a ring around it
    that shows the level as an arc (a full turn at 0 dBFS, nothing at -60 dBFS).

    The message thread sets the level, colour and name in the editor's updateGui(); the render
    thread draws them. It takes no mouse clicks: the field's points are dragged above it. */
class UpmixerChannelCircle : public KaOglChildComponent, public KaJuceOglFontUser
{
public:
    static constexpr float floorDb = -60.0f;

    explicit UpmixerChannelCircle (int kind);

    int getKind() const noexcept { return m_nKind; }
    /** Message thread. */
    void setChannelName (const juce::String& name) { m_name.set (name); }
    juce::String getChannelName() const { return m_name.get(); }
    /** Message thread: the level in dB (anything below the floor shows as silence). */
    void setLevelDb (float db) noexcept;
    float getLevelDb() const noexcept { return m_fLevelDb.load (std::memory_order_relaxed); }
    /** 0 at the floor, 1 at 0 dBFS. */
    float getLevel() const noexcept { return m_fLevel.load (std::memory_order_relaxed); }
    void setColour (juce::Colour c) noexcept { m_colour.store (c.getARGB(), std::memory_order_relaxed); }
    juce::Colour getColour() const noexcept { return juce::Colour (m_colour.load (std::memory_order_relaxed)); }

    void render (double time) override;

private:
    const int m_nKind;
    KaGuiText m_name;
    std::atomic<float> m_fLevel { 0.0f };
    std::atomic<float> m_fLevelDb { floorDb };
    std::atomic<juce::uint32> m_colour { 0xffffffff };
};

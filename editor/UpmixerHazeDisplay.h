#pragma once

#include "analysis/UpmixerHazeField.h"
#include "editor/KaJuceOglFont.h"
#include "editor/KaOglChildComponent.h"
#include "editor/UpmixerFieldGeometry.h"

#include <vector>

/** The floor of the surround field and the spatial haze on it: the listener at the centre, the
    ear-level ring and the overheads' inner ring with spokes to the layout's loudspeakers, and
    the haze: one ring per frequency band around the listener (lowest inside, highest outside),
    glowing towards each loudspeaker as brightly as the band is loud on it, so a phantom source
    between two loudspeakers glows between them and quieter surround content still shows. Each
    loudspeaker's glow widens as the source's left and right lose coherence in the band
    (ambience is wide and soft, a panned source narrow); the colour is the band's frequency (warm
    lows to cool highs). A key under the field names the colours.

    The message thread prepares the rings (setHaze(), in updateGui()); the render thread draws
    them with additive blending so that neighbouring bands add up like light. */
class UpmixerHazeDisplay : public KaOglChildComponent, public KaJuceOglFontUser
{
public:
    struct Track
    {
        float ring = 0.0f;         // middle of the band's ring, in field units
        float width = 0.0f;        // degrees: each glow's standard deviation around its loudspeaker
        juce::Colour colour;       // at full brightness
        UpmixerHazeField::PerChannel brightness {};  // per analyser channel, 0..1
    };

    /** The rings' span in field units, inside the ear-level loudspeakers. */
    static constexpr float innerRing = 0.15f, outerRing = 0.84f;

    UpmixerHazeDisplay();

    /** Message thread, holding the render lock: the rings for the bands, and the spokes'
        azimuths (ring 1 or heightRing) for the layout. */
    void setHaze (const std::vector<UpmixerHazeField::Band>& bands, const UpmixerHazeField::PerChannel& azimuths);
    void setSpokes (std::vector<juce::Point<float>> azimuthAndRing) { m_spokes = std::move (azimuthAndRing); }
    /** The colour of a band's centre frequency (the key's gradient). */
    static juce::Colour colourForFrequency (float hz) noexcept;

    /** The bands' rings that glow now (silent bands have none). */
    const std::vector<Track>& getTracks() const noexcept { return m_tracks; }
    UpmixerFieldGeometry getGeometry() const noexcept { return UpmixerFieldGeometry::forBounds (fieldArea().toFloat()); }

    void render (double time) override;

    static constexpr int keyHeight = 22;

private:
    juce::Rectangle<int> fieldArea() const noexcept { return getLocalBounds().withTrimmedBottom (keyHeight); }
    void drawFloor (const UpmixerFieldGeometry& g);
    void drawKey();
    void drawTrack (const UpmixerFieldGeometry& g, const Track& track);

    std::vector<Track> m_tracks;               // guarded by the render lock
    UpmixerHazeField::PerChannel m_azimuths {};  // guarded by the render lock
    float m_fTrackThickness = 0.0f;            // field units, guarded by the render lock
    std::vector<juce::Point<float>> m_spokes;  // (azimuth, ring), guarded by the render lock
};

#pragma once

#include "analysis/UpmixerHazeField.h"
#include "editor/KaGuiText.h"
#include "editor/KaJuceOglFont.h"
#include "editor/KaOglChildComponent.h"
#include "editor/UpmixerChannelCircle.h"
#include "editor/UpmixerGraphOverlay.h"
#include "editor/UpmixerHazeDisplay.h"

#include <array>
#include <memory>

class UpmixerProcessor;

/** The surround field on the editor's Main page: a panel holding the floor with the spatial
    haze (UpmixerHazeDisplay), one UpmixerChannelCircle per output channel of the current layout
    at its loudspeaker's place (overheads on the inner ring, the LFE apart in a corner), and the
    points that shape the upmix (UpmixerGraphOverlay) on top.

    update() runs in the editor's updateGui() (message thread, render lock held) while the field
    is shown: it follows the layout, reads the upmix level meters and the haze with their
    non-blocking readers (when no block has come for a quarter of a second the circles fall to
    silence rather than hold the last peak), and takes the channel colours as the channel strips
    do (the colour parameters, or their per-user copies while Lock Colours is on). */
class UpmixerSurroundField : public KaOglChildComponent, public KaJuceOglFontUser
{
public:
    UpmixerSurroundField();

    void update (UpmixerProcessor& processor);

    UpmixerGraphOverlay& getOverlay() noexcept { return m_overlay; }
    UpmixerHazeDisplay& getHazeDisplay() noexcept { return m_haze; }
    const UpmixerHazeField& getHazeField() const noexcept { return m_hazeField; }
    /** The circle of a channel kind (0..11), shown or not. */
    UpmixerChannelCircle& getCircle (int kind) noexcept { return *m_circles[(size_t) kind]; }
    int getNumCirclesShown() const;

    void render (double time) override;
    void resized() override;

private:
    /** Message thread, holding the render lock: the circles and the floor's spokes for the layout. */
    void placeCircles();

    static constexpr int titleHeight = 24;
    UpmixerHazeDisplay m_haze;
    std::array<std::unique_ptr<UpmixerChannelCircle>, 12> m_circles;
    UpmixerGraphOverlay m_overlay;
    UpmixerHazeField m_hazeField;
    KaGuiText m_title;
    int m_nRouting = -1, m_nOutputs = -1;
    double m_dLastUpdateMs = 0.0;
    bool m_bPlaced = false;
};

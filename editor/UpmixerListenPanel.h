#pragma once

#include "editor/KaJuceButton.h"
#include "editor/KaJuceGridComponent.h"

#include <vector>

class KaParameterTable;

/** The Listen modes as one group of buttons: the whole signals (source, upmix, downmix, delta)
    and the single channels and channel pairs that the current layout has, named as the layout
    names its channels ("Ls Rs", "Tfl" under a top-front layout). Buttons of channels the layout
    lacks are hidden and the rest close up, unless one of them is on (it stays, so that it can
    be switched off). The mode actually heard (the last switch on in the processor's order, the
    source under Bypass) is outlined.

    Below them, on a row of its own, the headphone switch: binaural monitoring of whatever is
    selected (not a host parameter; onHeadphones passes each click on).

    Message thread: add the buttons at construction, then update() in the editor's updateGui(). */
class UpmixerListenPanel : public KaOglChildComponent, public KaJuceOglFontUser
{
public:
    static constexpr int columns = 4, rowHeight = 24, gap = 5, margin = 8, titleHeight = 22;

    UpmixerListenPanel();

    /** A Listen switch and the channel kinds it plays (none for the whole signals). */
    void addMode (KaJuceButton& button, std::vector<int> kinds);
    /** The parameter of a Listen switch's mode of UpmixerMonitor, or -1 (C LF is not a mode). */
    static int parameterOfMode (int mode) noexcept;

    /** Message thread, holding the render lock: follows the layout and the switches. */
    void update (const KaParameterTable& table, int routing, int numOutputs);
    /** Message thread: the headphone switch's state; unavailable, it is disabled and says so. */
    void setHeadphones (bool available, bool on);
    KaJuceButton& getHeadphonesButton() noexcept { return m_btnHeadphones; }
    std::function<void (bool)> onHeadphones;
    /** The height the panel needs for the buttons shown now. */
    int getRequiredHeight() const noexcept;
    /** The parameter of the mode heard now. */
    int getHeardParameter() const noexcept { return m_nHeard; }
    /** Whether the layout has every channel of a switch. */
    bool isAvailable (const std::vector<int>& kinds) const noexcept;

    void resized() override;
    void render (double time) override;

private:
    struct Mode
    {
        KaJuceButton* button;
        std::vector<int> kinds;
    };

    void layOut();

    std::vector<Mode> m_modes;
    KaJuceButton m_btnHeadphones { "Headphones" };
    int m_nRouting = -1, m_nOutputs = -1, m_nHeard = -1;
    juce::Rectangle<float> m_heardBounds;  // the heard switch's outline (empty: none), guarded by the render lock
};

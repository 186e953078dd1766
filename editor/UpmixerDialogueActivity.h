#pragma once

#include "editor/KaJuceOglFont.h"
#include "editor/KaOglChildComponent.h"

#include <array>
#include <atomic>

/** How much of the programme the dialogue detector takes as dialogue, live: the share of the
    dialogue stage's energy it moves to the centre as dialogue (its dialogue energy over the sum
    of dialogue and remainder energies), as a bar with its value and a trace of the last four
    seconds. With Dialog Isolate at zero the detector does not run (nothing is taken as
    dialogue but what Dialog Mix In puts in the centre), and the display says so.

    The message thread pushes one reading per GUI tick (in updateGui()); the render thread draws
    the bar and the trace from what was pushed. */
class UpmixerDialogueActivity : public KaOglChildComponent, public KaJuceOglFontUser
{
public:
    static constexpr int historyLength = 120;  // GUI ticks: 4 s at 30 a second
    /** Below this summed power per frame (about -80 dBFS over the bins) there is no programme. */
    static constexpr float silence = 1.0e-4f;

    UpmixerDialogueActivity();

    /** Message thread: the last frame's dialogue and remainder energies, and whether isolation
        is on. */
    void push (float dialogueEnergy, float remainderEnergy, bool isolating) noexcept;
    /** The smoothed dialogue share, 0..1. */
    float getShare() const noexcept { return m_fShare.load (std::memory_order_relaxed); }
    bool hasProgramme() const noexcept { return m_bProgramme.load (std::memory_order_relaxed); }

    void render (double time) override;

private:
    std::array<float, historyLength> m_history {};  // written by push(), under the render lock
    int m_nNewest = 0;
    std::atomic<float> m_fShare { 0.0f };
    std::atomic<bool> m_bProgramme { false }, m_bIsolating { false };
};

#pragma once

#include "dsp/CRecursiveFilter.h"
#include "engine/UpmixerChannels.h"
#include "engine/UpmixerGains.h"

#include <array>

/** The overhead channels, the engine's last stage: lifts part of the in-phase (sum) and the
    out-of-phase (difference) content of the front, side and back pairs, and optionally of the
    centre, into the overheads through high shelves, and takes what it lifted out of the lower
    channels.

    Two overheads (Lts, Rts): on = (cw C + Mf + b Ms + lw LFE + bw Mb) gOn, off = (Sf + b Ss + bw Sb)
    gOff, left = on + off, right = on - off, with M the half sums and S the half differences of
    the front, side and back pairs.

    Four overheads (7.1.4: a front pair Lts/Rts, also named Tfl/Tfr, and a rear pair Trl/Trr):
    each pair takes the lift of the lower pairs below it. The front pair takes the centre, the
    LFE and the fronts; the rear pair the backs; the sides sit between the two and go to both
    pairs at -3 dB each (b / sqrt 2 in amplitude, so the sides' lifted power is the two-overhead
    case's b^2 Ms^2 split evenly):
        front: on1 = (cw C + Mf + lw LFE + h b Ms) gOn    off1 = (Sf + h b Ss) gOff
        rear:  on2 = (h b Ms + Mb) gOn                    off2 = (h b Ss + Sb) gOff    (h = 0.7071)
    Unlike the two-overhead case, where the backs give up gOn Mb that no overhead receives (the
    back weight is 0), the backs' lifted part reaches the rear pair here. The lower channels give
    up the same amounts in both cases. */
class UpmixerOverheadStage
{
public:
    using Shelf = CRecursiveFilterBiquadHighShelf<float>;

    struct Settings
    {
        float onPhase = 0.0f;        // p(VerticalOnPhase)
        float offPhase = 0.0f;       // p(VerticalOffPhase)
        bool excludeCentre = false;  // VerticalExcludeC
        bool excludeLfe = false;     // VerticalExcludeLfe
        bool extendedRange = false;  // ExtendedVerticalParamRange: floor -40 dB instead of -20 dB
        int numOverheads = 2;
    };

    /** Message thread, no allocation: binds the stage to the engine's overhead shelves. */
    explicit UpmixerOverheadStage (std::array<Shelf, 4>& overheadShelf) noexcept : m_overheadShelf (overheadShelf) {}

    /** Message thread or audio thread while stopped, no allocation: the next gains are taken
        without a ramp. */
    void reset() noexcept;

    /** Any thread, no allocation: the phase-control gain law. 0 gives 0 and 1 gives 1; up to 0.5
        it rises in dB from the floor to -6.02 dB, above 0.5 it is the mirror image 1 - g (1 - v). */
    static float phaseGain (float v, bool extendedRange) noexcept;

    /** Audio thread, no allocation: writes the overheads (two, or four when numOverheads >= 4)
        and takes the lift out of the lower channels; the gains ramp across the block. With two
        overheads the rear pair's channels, if the block has them, are cleared. panLaw: the
        engine's five pan gains (centre, surround, back and LFE weights at 1 to 4). */
    void process (const UpmixerChannels& channels, int numSamples, const Settings& settings, const float* panLaw) noexcept;

private:
    std::array<Shelf, 4>& m_overheadShelf;
    UpmixerGainRamp m_onGain, m_offGain, m_centreKeep, m_lfeKeep;
};

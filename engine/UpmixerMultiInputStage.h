#pragma once

#include "dsp/CircularAudioBuffer.h"
#include "engine/UpmixerChannels.h"
#include "engine/UpmixerGains.h"

#include <array>
#include <vector>

/** The multi-input path: with more than two input channels, the upmix is made from the input's
    L and R as for stereo, and the input's own centre, LFE and surround channels join it, held in
    step with the frequency-domain stage's latency by the engine's six inputDelay buffers (one per
    kind: C, LFE, Ls, Rs, Lsr, Rsr).

    The input arrives in the block's slots of its kinds and the upmix overwrites those slots, so
    the discrete channels are taken (capture) before the frequency-domain stage and mixed back
    (mix) at the path's place in the stage order, 1536 samples later, next to the upmix of the
    same moment. The rules:
      - centre: added to C as it is. A discrete centre stays a hard centre; Divergence shapes
        the upmixed centre only (with ExcludeC on, the engine spreads all of that into L and R,
        so C carries the input's centre alone).
      - LFE: added to the LFE while LFE is on; with LFE off the LFE stays silent. With
        ExcludeLfe on the engine generates no LFE of its own from such an input, so the input's
        LFE is the whole LFE channel, and ExcludeLfeGain (-45 to +10 dB) sets its level; with
        ExcludeLfe off it joins the generated LFE at unity.
      - surrounds: added to the surrounds of their kind. Where the output has back channels and
        the input has sides only, the input's sides are placed between the sides and the backs
        by FadeSB: with SwitchedMultiInputFadeAlgo on they switch wholly to the backs from
        FadeSB 0.5 on, otherwise they cross-fade at constant power (sides cos (pi/2 FadeSB),
        backs sin (pi/2 FadeSB)). Input backs with no back channels to go to join the sides at
        -3 dB.
      - heights of a 9- or 10-channel input: folded into the sides of their side at -3 dB, as a
        downmix does; the overhead stage then lifts their in-phase part up again.
    FadeFS acts on the upmixed stereo only. The gains ramp across the block, so moving FadeSB
    never clicks, even when switched. */
class UpmixerMultiInputStage
{
public:
    /** The kind carried by each inputDelay buffer. */
    static constexpr int delayedKinds[6] = { 2, 3, 4, 5, 6, 7 };
    using SlotTable = std::array<std::array<int, 13>, 13>;

    struct Settings
    {
        int numInputs = 2;
        int numOutputChannels = 6;
        float fadeSB = 0.0f;
        bool lfeOn = true;
        float lfeGain = 1.0f;  // the input LFE's gain: ExcludeLfeGain with ExcludeLfe on, else 1
        bool switched = true;  // SwitchedMultiInputFadeAlgo
    };

    /** Message thread; allocates the scratch for blocks of up to maxBlockSize samples. Binds the
        stage to the engine's delay buffers and input-slot table. */
    UpmixerMultiInputStage (std::array<CircularAudioBuffer, 6>& inputDelay, const SlotTable& inputSlotTable, int maxBlockSize);

    /** Message thread, audio stopped: each delay buffer then holds exactly latency samples of
        silence; the next gains are taken without a ramp. */
    void prepare (int latency);

    /** Audio thread, no allocation: whether the table row for numInputs (capped at 12) carries
        the role (0 L, 1 R, 2 C, 3 LFE, 4 Ls, 5 Rs, 6 Lsr, 7 Rsr, 8 and 9 heights). */
    bool hasRole (int numInputs, int role) const noexcept;

    /** Audio thread, no allocation: takes the input's discrete channels of this block (silence
        for kinds it lacks) into the delay buffers. Call before the frequency-domain stage. */
    void capture (const UpmixerChannels& channels, int numInputs, int numSamples) noexcept;

    /** Audio thread, no allocation: adds the delayed channels of the same number of samples into
        the upmix by the rules above. */
    void mix (const UpmixerChannels& channels, int numSamples, const Settings& settings) noexcept;

    /** Audio thread, no allocation: the delayed channels are discarded; for a path switched off
        and on again, which must not replay what it held when it stopped. */
    void forget() noexcept;

private:
    std::array<CircularAudioBuffer, 6>& m_inputDelay;
    const SlotTable& m_inputSlotTable;
    std::vector<float> m_scratch;
    UpmixerGainRamp m_sidesToSides, m_sidesToBacks, m_lfeGain;
};

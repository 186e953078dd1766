#pragma once

#include "dsp/CRecursiveFilter.h"
#include "engine/UpmixerChannels.h"
#include "engine/UpmixerGains.h"

#include <array>

/** The three small time-domain stages around the centre and the LFE: the centre spread (a
    phantom centre between L and R at -3 dB each), the LFE generation (the low band of L, R and C
    through second-order low-passes at the crossover, moved or copied into the LFE) and the
    low-frequency centre divergence (a low shelf takes the centre's low band to L and R, or plays
    it alone on L and R for monitoring). The filters belong to the engine; this stage runs them. */
class UpmixerCentreLfeStage
{
public:
    using LowPass = CRecursiveFilterBiquadLowPass<float>;

    /** Message thread, no allocation: binds the stage to the engine's filters. */
    UpmixerCentreLfeStage (std::array<LowPass, 3>& lfeLowPass, CRecursiveFilterBiquadLowShelf<float>& centreLowShelf,
                           LowPass& auxLowPass) noexcept;

    /** Message thread or audio thread while stopped, no allocation: the next gains are taken
        without a ramp. */
    void reset() noexcept;

    /** Audio thread, no allocation: C x d x a into L and R, C x (1 - d) stays; d ramps from the
        last block's value across this one. */
    void spreadCentre (const UpmixerChannels& channels, int numSamples, float amount, float a) noexcept;

    /** Audio thread, no allocation: LFE = (lpL + lpR + lpC) x gain, overwritten; the fronts lose
        their low band times split (1 moves it, 0 copies it). Gain and split ramp across the block. */
    void generateLfe (const UpmixerChannels& channels, int numSamples, float gain, float split) noexcept;

    /** Audio thread, no allocation: the centre through the low shelf, the band it removed into
        L and R at gain a. Monitoring: the shelved centre is low-passed at the shelf frequency (the
        auxiliary low-pass is re-designed here) and L and R carry only the removed band. */
    void divergeLowCentre (const UpmixerChannels& channels, int numSamples, float a, bool monitor, float sampleRate) noexcept;

private:
    std::array<LowPass, 3>& m_lfeLowPass;
    CRecursiveFilterBiquadLowShelf<float>& m_centreLowShelf;
    LowPass& m_auxLowPass;

    UpmixerGainRamp m_spread, m_lfeGain, m_lfeSplit;
};

#pragma once

#include "dsp/CDelayDoubleBufferFilter.h"
#include "dsp/CRecursiveFilter.h"
#include "engine/UpmixerChannels.h"
#include "engine/UpmixerGains.h"

#include <array>

/** Diffuse surround synthesis and surround shelving, the engine's second stage.

    The anti-phase difference of the two channel sums (L + a C + b Ls against R + a C + b Rs) is
    delayed (up to 2500 samples, about 52 ms at 48 kHz), low-passed at 7 kHz and split through
    two complementary pairs of first-order all-passes (coefficients +-0.3 for the sides, +-0.5
    for the backs, the backs a further 625 samples later): the surrounds receive decorrelated
    diffuse sound in place of the fraction gD of what they carried, and what is taken out of the
    surrounds and the centre returns to the fronts through the pan gains. Then the surround
    high shelves. The filters and delays belong to the engine; this stage runs them. */
class UpmixerDiffuseStage
{
public:
    /** The per-block gains (the engine maps them from the parameters). */
    struct Gains
    {
        float centreFold = 0.0f;  // gC
        float keep = 1.0f;        // 1 - Divergence
        float diffusion = 0.0f;   // gD
        float frontFade = 0.0f;   // gFS
        float side = 1.0f;        // gSide
        float backFade = 0.0f;    // gSB
    };

    using Delay = CDelayDoubleBufferFilter<float>;
    using AllPass = CRecursiveAllPassWikipedia2<float>;

    /** Message thread, no allocation: binds the stage to the engine's filters and delays. */
    UpmixerDiffuseStage (Delay& diffuseDelay, Delay& backDelay, CRecursiveFilterBiquadLowPass<float>& diffuseLowPass,
                         AllPass& sideAllPassL, AllPass& sideAllPassR, AllPass& backAllPassL, AllPass& backAllPassR,
                         std::array<CRecursiveFilterBiquadHighShelf<float>, 4>& surroundShelf) noexcept;

    /** Message thread or audio thread while stopped, no allocation: the next gains are taken
        without a ramp. */
    void reset() noexcept;

    /** Audio thread, no allocation: the synthesis over one block in place. The gains ramp from
        the last block's across this one. a, b: the centre and surround pan gains. A pending
        delay length starts its cross-fade here, also in a block of zero samples. */
    void synthesise (const UpmixerChannels& channels, int numSamples, const Gains& gains, float a, float b) noexcept;

    /** Audio thread, no allocation: Ls and Rs through the first two shelves, and Lsr and Rsr
        through the other two only when the block has at least 8 channels. */
    void shelve (const UpmixerChannels& channels, int numChannels, int numSamples) noexcept;

private:
    Delay& m_diffuseDelay;
    Delay& m_backDelay;
    CRecursiveFilterBiquadLowPass<float>& m_diffuseLowPass;
    AllPass& m_sideAllPassL;
    AllPass& m_sideAllPassR;
    AllPass& m_backAllPassL;
    AllPass& m_backAllPassR;
    std::array<CRecursiveFilterBiquadHighShelf<float>, 4>& m_surroundShelf;

    UpmixerGainRamp m_centreFold, m_keep, m_diffusion, m_frontFade, m_side, m_backFade;
};

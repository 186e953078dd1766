#include "engine/UpmixerDiffuseStage.h"
#include "dsp/DenormalNoise.h"

UpmixerDiffuseStage::UpmixerDiffuseStage (Delay& diffuseDelay, Delay& backDelay, CRecursiveFilterBiquadLowPass<float>& diffuseLowPass,
                                          AllPass& sideAllPassL, AllPass& sideAllPassR, AllPass& backAllPassL, AllPass& backAllPassR,
                                          std::array<CRecursiveFilterBiquadHighShelf<float>, 4>& surroundShelf) noexcept
    : m_diffuseDelay (diffuseDelay),
      m_backDelay (backDelay),
      m_diffuseLowPass (diffuseLowPass),
      m_sideAllPassL (sideAllPassL),
      m_sideAllPassR (sideAllPassR),
      m_backAllPassL (backAllPassL),
      m_backAllPassR (backAllPassR),
      m_surroundShelf (surroundShelf)
{
}

void UpmixerDiffuseStage::reset() noexcept
{
    for (auto* ramp : { &m_centreFold, &m_keep, &m_diffusion, &m_frontFade, &m_side, &m_backFade })
        ramp->reset();
}

void UpmixerDiffuseStage::synthesise (const UpmixerChannels& channels, int numSamples, const Gains& gains, float a, float b) noexcept
{
    m_centreFold.setTarget (gains.centreFold, numSamples);
    m_keep.setTarget (gains.keep, numSamples);
    m_diffusion.setTarget (gains.diffusion, numSamples);
    m_frontFade.setTarget (gains.frontFade, numSamples);
    m_side.setTarget (gains.side, numSamples);
    m_backFade.setTarget (gains.backFade, numSamples);

    float* const chL = channels[0];
    float* const chR = channels[1];
    float* const chC = channels[2];
    float* const chLs = channels[4];
    float* const chRs = channels[5];
    float* const chLsr = channels[6];
    float* const chRsr = channels[7];

    // A length asked for (by this block's setting) starts its 10000-sample cross-fade with the
    // block's first sample: with any later start the sound would depend on how the host splits
    // its blocks. A request during a running fade waits for the fade to end.
    m_diffuseDelay.updateDelay();
    m_backDelay.updateDelay();

    DenormalNoise differenceNoise (DenormalNoise::difference), sideNoise (DenormalNoise::side), backNoise (DenormalNoise::back);
    auto at = [] (const float* channel, int i) noexcept { return channel != nullptr ? channel[i] : 0.0f; };

    for (int i = 0; i < numSamples; ++i)
    {
        const float gC = m_centreFold.next(), keep = m_keep.next(), gD = m_diffusion.next();
        const float gFS = m_frontFade.next(), gSide = m_side.next(), gSB = m_backFade.next();

        const float l = at (chL, i), r = at (chR, i), c = at (chC, i), ls = at (chLs, i), rs = at (chRs, i);
        const float sumL = l + a * c + b * ls;
        const float sumR = r + a * c + b * rs;

        const float x = (sumL - sumR) * gFS * UpmixerGains::minus3dB * gD + differenceNoise.next();
        const float diffuse = m_diffuseLowPass.process (m_diffuseDelay.process (x));

        const float sideFeed = diffuse * gSide + sideNoise.next();
        const float sideL = m_sideAllPassL.process (sideFeed);
        const float sideR = m_sideAllPassR.process (sideFeed);

        const float backFeed = m_backDelay.process (diffuse) * gSB + backNoise.next();
        const float backL = m_backAllPassL.process (backFeed);
        const float backR = m_backAllPassR.process (backFeed);

        const float fold = (sumL + sumR) * keep * UpmixerGains::minus3dB * gC;
        const float centreToFront = (c * gC - fold) * a;

        if (chL != nullptr) chL[i] = l + centreToFront + (ls * gD - sideL) * b;
        if (chR != nullptr) chR[i] = r + centreToFront + (rs * gD - sideR) * b;
        if (chC != nullptr) chC[i] = c * (1.0f - gC) + fold;
        if (chLs != nullptr) chLs[i] = ls * (1.0f - gD) + sideL;
        if (chRs != nullptr) chRs[i] = rs * (1.0f - gD) + sideR;
        if (chLsr != nullptr) chLsr[i] = chLsr[i] * (1.0f - gD) + backL;
        if (chRsr != nullptr) chRsr[i] = chRsr[i] * (1.0f - gD) + backR;
    }
}

void UpmixerDiffuseStage::shelve (const UpmixerChannels& channels, int numChannels, int numSamples) noexcept
{
    // The shelves run side by side, sample by sample: four independent recursions overlap in the
    // processor where one after the other each waits on its own feedback.
    float* channel[4];
    CRecursiveFilterBiquadHighShelf<float>* shelf[4];
    int numShelved = 0;
    for (int s = 0; s < (numChannels >= 8 ? 4 : 2); ++s)
        if (float* c = channels[4 + s])  // Ls, Rs, Lsr, Rsr
        {
            channel[numShelved] = c;
            shelf[numShelved++] = &m_surroundShelf[(size_t) s];
        }

    DenormalNoise noise (DenormalNoise::side);
    for (int i = 0; i < numSamples; ++i)
        for (int s = 0; s < numShelved; ++s)
            channel[s][i] = shelf[s]->process (channel[s][i] + noise.next());
}

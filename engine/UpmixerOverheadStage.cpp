#include "engine/UpmixerOverheadStage.h"
#include "dsp/DenormalNoise.h"

void UpmixerOverheadStage::reset() noexcept
{
    m_onGain.reset();
    m_offGain.reset();
    m_centreKeep.reset();
    m_lfeKeep.reset();
}

float UpmixerOverheadStage::phaseGain (float v, bool extendedRange) noexcept
{
    if (v <= 0.0f)
        return 0.0f;
    if (v >= 1.0f)
        return 1.0f;

    // -6.02 dB is a gain of one half: both halves of the law meet there.
    const float floorDb = extendedRange ? -40.0f : -20.0f;
    if (v <= 0.5f)
        return UpmixerGains::dbToGain (floorDb + (-6.02f - floorDb) * 2.0f * v);
    return 1.0f - UpmixerGains::dbToGain (floorDb + (-6.02f - floorDb) * 2.0f * (1.0f - v));
}

void UpmixerOverheadStage::process (const UpmixerChannels& channels, int numSamples, const Settings& settings,
                                    const float* panLaw) noexcept
{
    const float a = panLaw[1], b = panLaw[2], backWeight = panLaw[3], lfeWeight = panLaw[4];
    const float cw = settings.excludeCentre ? 0.0f : a;
    const float lw = settings.excludeLfe ? 0.0f : lfeWeight;
    const float bw = backWeight;
    const float hb = UpmixerGains::minus3dB * b;
    const bool fourOverheads = settings.numOverheads >= 4;

    const float gOnTarget = phaseGain (settings.onPhase, settings.extendedRange);
    m_onGain.setTarget (gOnTarget, numSamples);
    m_offGain.setTarget (phaseGain (settings.offPhase, settings.extendedRange), numSamples);
    m_centreKeep.setTarget (settings.excludeCentre ? 1.0f : 1.0f - gOnTarget, numSamples);
    m_lfeKeep.setTarget (settings.excludeLfe ? 1.0f : 1.0f - gOnTarget, numSamples);

    float* const lower[8] = { channels[0], channels[1], channels[2], channels[3],
                              channels[4], channels[5], channels[6], channels[7] };
    float* const top[4] = { channels[8], channels[9], channels[10], channels[11] };
    auto at = [] (const float* channel, int i) noexcept { return channel != nullptr ? channel[i] : 0.0f; };
    auto put = [] (float* channel, int i, float value) noexcept {
        if (channel != nullptr)
            channel[i] = value;
    };

    DenormalNoise leftNoise (DenormalNoise::side), rightNoise (DenormalNoise::back);

    for (int i = 0; i < numSamples; ++i)
    {
        const float gOn = m_onGain.next(), gOff = m_offGain.next();
        const float centreKeep = m_centreKeep.next(), lfeKeep = m_lfeKeep.next();

        const float l = at (lower[0], i), r = at (lower[1], i), c = at (lower[2], i), lfe = at (lower[3], i);
        const float ls = at (lower[4], i), rs = at (lower[5], i), lsr = at (lower[6], i), rsr = at (lower[7], i);
        const float mf = (l + r) / 2.0f, ms = (ls + rs) / 2.0f, mb = (lsr + rsr) / 2.0f;
        const float sf = (l - r) / 2.0f, ss = (ls - rs) / 2.0f, sb = (lsr - rsr) / 2.0f;

        if (fourOverheads)
        {
            const float on1 = (cw * c + mf + lw * lfe + hb * ms) * gOn, off1 = (sf + hb * ss) * gOff;
            const float on2 = (hb * ms + mb) * gOn, off2 = (hb * ss + sb) * gOff;
            put (top[0], i, m_overheadShelf[0].process (on1 + off1 + leftNoise.next()));
            put (top[1], i, m_overheadShelf[1].process (on1 - off1 + rightNoise.next()));
            put (top[2], i, m_overheadShelf[2].process (on2 + off2 + leftNoise.next()));
            put (top[3], i, m_overheadShelf[3].process (on2 - off2 + rightNoise.next()));
        }
        else
        {
            const float on = (cw * c + mf + b * ms + lw * lfe + bw * mb) * gOn;
            const float off = (sf + b * ss + bw * sb) * gOff;
            put (top[0], i, m_overheadShelf[0].process (on + off + leftNoise.next()));
            put (top[1], i, m_overheadShelf[1].process (on - off + rightNoise.next()));
            put (top[2], i, 0.0f);
            put (top[3], i, 0.0f);
        }

        // The lower channels give up what was lifted: the sides lose gOn Ms in full although
        // the overheads receive b Ms gOn of it, as the two-overhead mix has it.
        put (lower[0], i, l - (gOn * mf + gOff * sf));
        put (lower[1], i, r - (gOn * mf - gOff * sf));
        put (lower[4], i, ls - (gOn * ms + gOff * ss));
        put (lower[5], i, rs - (gOn * ms - gOff * ss));
        put (lower[6], i, lsr - (gOn * mb + gOff * sb));
        put (lower[7], i, rsr - (gOn * mb - gOff * sb));
        put (lower[2], i, c * centreKeep);
        put (lower[3], i, lfe * lfeKeep);
    }
}

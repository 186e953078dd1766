#pragma once

/** The stereo fold-down of the upmix (ITU-R BS.775):

        Lo = L + c.C + s.Ls + b.Lsr + f.(Lts + Trl) + e.LFE
        Ro = R + c.C + s.Rs + b.Rsr + f.(Rts + Trr) + e.LFE

    c, s, b and e come from the four-entry table below, indexed by the DownmixC, DownmixS,
    DownmixB and DownmixLfe choices (0 dB, -3 dB, -6 dB, off); the heights fold at -3 dB
    (f = 0.7071) into their side. Channels are found by kind through the routing table. */
class UpmixerDownmix
{
public:
    static constexpr float coefficientTable[4] = { 1.0f, 0.7071f, 0.5f, 0.0f };
    static constexpr float heightCoefficient = 0.7071f;

    struct Coefficients
    {
        float centre = coefficientTable[1];
        float surround = coefficientTable[1];
        float rear = coefficientTable[1];
        float lfe = coefficientTable[3];
    };

    /** The coefficient of a choice number, capped at 3. */
    static float coefficientForChoice (int choice) noexcept;

    /** Audio thread; no allocation. Folds numChannels channels laid out in the host order of
        `routing` into out[0] (Lo) and out[1] (Ro), overwriting them. The coefficients glide from
        `from` to `to` across the block, so that a change never clicks. */
    static void fold (const float* const* channels, int numChannels, int routing, const Coefficients& from,
                      const Coefficients& to, float* const* out, int numSamples) noexcept;

    /** Audio thread; no allocation. The same with fixed coefficients. */
    static void fold (const float* const* channels, int numChannels, int routing, const Coefficients& k,
                      float* const* out, int numSamples) noexcept
    {
        fold (channels, numChannels, routing, k, k, out, numSamples);
    }
};

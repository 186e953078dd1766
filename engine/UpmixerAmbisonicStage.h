#pragma once

#include "engine/UpmixerChannels.h"
#include "engine/UpmixerGains.h"

#include <array>

/** The Ambisonic output: encodes the 7.1 upmix into real spherical harmonics of order 1, 2 or 3
    (4, 9 or 16 channels), each channel kind a point source at its loudspeaker's direction.

    Harmonics are indexed in ACN order k = l (l + 1) + m. Two formats:
    - AmbiX: ACN channel order, SN3D normalisation (W = 1 for a source of gain 1);
    - FuMa: the Furse-Malham channel order W X Y Z R S T U V K L M N O P Q and its weights, W at
      -3 dB (1 / sqrt 2); the other weights make each harmonic's peak 1, except R and K (1/2 at
      the poles, as the FuMa set defines them) and L, M (sqrt (135/256)), N, O (sqrt (27/4)).

    Directions: the azimuth is the negated loudspeaker angle (positive to the left, as Ambisonic
    tools count it), the elevation (v - 0.5) pi for a height value v. The loudspeaker angles are
    those of the surround displays: C 0, L/R -+30, Ls/Rs -+100 beside the rears (-+110 when the
    routing carries no rears), Lsr/Rsr -+145; all at v = 0.5, the horizon. The LFE has no
    direction and is not encoded (Ambisonic decoders derive their own subwoofer feed).

    Height, as in the channel-based overheads: each pair (fronts, sides, backs) is split into its
    in-phase half M = (l + r) / 2 and out-of-phase half S = (l - r) / 2. The lifted part of the
    left member, gOn M + gOff S, and of the right member, gOn M - gOff S (the out-of-phase value
    enters with opposite signs for the two members), leave the horizon and sound at the same
    azimuth raised to v = 0.75 (45 degrees up, the usual height layer); gOn and gOff follow the
    phase-control law of VerticalOnPhase and VerticalOffPhase. The centre lifts gOn C to 45 degrees
    above the front unless VerticalExcludeC keeps it down. What is lifted leaves the lower source,
    so W carries the plain sum of the upmix whatever the height settings. */
class UpmixerAmbisonicStage
{
public:
    static constexpr int maxOrder = 3;
    static constexpr int maxChannels = (maxOrder + 1) * (maxOrder + 1);
    enum Format { formatAmbiX = 0, formatFuMa = 1 };

    /** The height value of the lifted parts: 45 degrees up. */
    static constexpr float liftedHeight = 0.75f;

    struct Settings
    {
        int order = 1;               // 1..3; clamped
        int format = formatAmbiX;    // AmbisonicFormat
        int routing = 0;             // the upmix's routing number
        float onPhase = 0.0f;        // p(VerticalOnPhase)
        float offPhase = 0.0f;       // p(VerticalOffPhase)
        bool excludeCentre = false;  // VerticalExcludeC
        bool extendedRange = false;  // ExtendedVerticalParamRange
    };

    /** Any thread, no allocation: harmonic k (ACN, 0..15) before normalisation, angles in radians. */
    static float harmonic (int k, float azimuth, float elevation) noexcept;

    /** Any thread, no allocation: the weight of harmonic k (ACN) in a format; 0 outside 0..15. */
    static float normalisation (int format, int k) noexcept;

    /** Any thread, no allocation: the harmonic (ACN index) output channel c carries in a format. */
    static int harmonicOfChannel (int format, int channel) noexcept;

    /** The letter Ambisonic tools name harmonic k (ACN, 0..15) by: W Y Z X V T R S U Q O M K L N P;
        "" outside. */
    static const char* harmonicLetter (int k) noexcept;

    /** Any thread, no allocation: the channel gains (in output channel order, numChannels of
        them) of a source at loudspeaker angle (degrees) and height value v. */
    static void encode (float angle, float v, int format, int numChannels, float* gains) noexcept;

    /** Audio thread, no allocation: the next gains are taken without a ramp. */
    void reset() noexcept;

    /** Audio thread, no allocation: encodes the upmix (its channels by kind) into out, which has
        numOut channels of numSamples; channels past the order's count are cleared. The height
        gains ramp across the block. */
    void process (const UpmixerChannels& upmix, float* const* out, int numOut, int numSamples, const Settings& settings) noexcept;

private:
    // Sources: each pair's lower left, lower right, lifted left, lifted right (fronts, sides,
    // backs), then the centre lower and lifted.
    static constexpr int numPairs = 3;
    static constexpr int numSources = numPairs * 4 + 2;

    void updateGains (const Settings& settings, bool withRears) noexcept;

    std::array<std::array<float, maxChannels>, numSources> m_gains {};
    int m_nGainsFormat = -1, m_nGainsChannels = -1;
    bool m_bGainsWithRears = false;
    UpmixerGainRamp m_onGain, m_offGain, m_centreLift;
};

#pragma once

#include <cmath>

/** Amplitude in decibels, 20 log10 (x), as the meters show it: computed as ln (x) divided by
    ln (10) / 20, and -1e10 for amplitudes below 1e-10, which every display clamps to its own
    floor. */
namespace KaDecibels
{
    inline constexpr float silenceDb = -1.0e10f;
    inline constexpr float lnTenOverTwenty = 0.115129254649702f;  // ln (10) / 20

    /** Any thread, no allocation. */
    inline float fromGain (float gain) noexcept
    {
        return gain < 1.0e-10f ? silenceDb : std::log (gain) / lnTenOverTwenty;
    }
}

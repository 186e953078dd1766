#pragma once

#include <algorithm>
#include <cmath>

/** Gerzon's energy vector of sound coming from several loudspeakers: each speaker's energy
    placed on the unit circle at its azimuth and summed. Its direction is where a listener
    places the sound; its length over the total energy, |rE|, is 1 for sound from one speaker
    and falls towards 0 as the energy spreads around the listener, so 1 - |rE| serves as the
    spread. Sums of vectors are the vector of the summed energy, which lets a reader gather a
    band over time or over bins by adding.

    Azimuths in degrees: 0 in front, negative to the left, positive to the right, +-180 behind.
*/
struct EnergyVector
{
    double energy = 0.0;
    double x = 0.0;  // towards the right
    double y = 0.0;  // towards the front

    /** Any thread, no allocation: adds energy e arriving from azimuthDegrees. */
    void add (double e, double azimuthDegrees) noexcept
    {
        const double a = azimuthDegrees * 3.14159265358979323846 / 180.0;
        energy += e;
        x += e * std::sin (a);
        y += e * std::cos (a);
    }

    /** Any thread, no allocation. */
    void add (const EnergyVector& other) noexcept
    {
        energy += other.energy;
        x += other.x;
        y += other.y;
    }

    /** Any thread, no allocation: the direction in degrees (0 when there is no energy). */
    double azimuthDegrees() const noexcept { return energy > 0.0 ? std::atan2 (x, y) * 180.0 / 3.14159265358979323846 : 0.0; }

    /** Any thread, no allocation: 1 - |rE|, 0 for one speaker, 1 when fully spread or silent. */
    double spread() const noexcept
    {
        if (energy <= 0.0)
            return 1.0;
        const double length = std::sqrt (x * x + y * y) / energy;
        return std::clamp (1.0 - length, 0.0, 1.0);
    }
};

#pragma once

#include "analysis/UpmixerObservers.h"

#include <array>

/** The loudspeaker azimuths the surround displays place the channel kinds at, in degrees (0 in
    front, negative to the left, +-180 behind), after the ITU-R BS.775 (5.1) and BS.2051 (7.1,
    7.1.2, 7.1.4) placements:

    | kind     | azimuth                                                        |
    |----------|----------------------------------------------------------------|
    | C        | 0                                                              |
    | L, R     | -30, 30                                                        |
    | Ls, Rs   | -110, 110 without rears (5.1); -100, 100 with them (side pair) |
    | Lsr, Rsr | -145, 145                                                      |
    | Lts, Rts | -90, 90 (top side), or -45, 45 where the layout names them Tfl, Tfr (top front) |
    | Trl, Trr | -135, 135                                                      |
    | LFE      | none                                                           |

    Heights are placed at the azimuth of their foot on the floor: the displays are a plan view.
*/
namespace UpmixerSpeakerAngles
{
    /** Any thread, no allocation: the azimuth of a kind under a routing with numOutputs outputs;
        NaN for the LFE and for kinds that the layout does not carry. */
    float azimuthOf (int kind, int routing, int numOutputs) noexcept;

    /** Any thread, no allocation: the azimuths of the upmix haze analyser's channels. */
    std::array<float, UpmixerObservers::numUpmixHazeChannels> forUpmixHaze (int routing, int numOutputs) noexcept;
}

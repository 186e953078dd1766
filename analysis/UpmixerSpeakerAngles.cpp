#include "analysis/UpmixerSpeakerAngles.h"
#include "processor/KaChannelRouting.h"

#include <limits>

using namespace KaChannelRouting;

float UpmixerSpeakerAngles::azimuthOf (int kind, int routing, int numOutputs) noexcept
{
    const float none = std::numeric_limits<float>::quiet_NaN();
    const int position = hostPositionOfKind (routing, kind);
    if (position < 0 || position >= numOutputs)
        return none;

    const bool hasRears = numOutputs >= 8;
    switch (kind)
    {
        case kindLts: return hasTopFrontHeights (routing) ? -45.0f : -90.0f;
        case kindRts: return hasTopFrontHeights (routing) ? 45.0f : 90.0f;
        case kindTrl: return -135.0f;
        case kindTrr: return 135.0f;
        default: return earLevelAzimuth (kind, hasRears);
    }
}

std::array<float, UpmixerObservers::numUpmixHazeChannels> UpmixerSpeakerAngles::forUpmixHaze (int routing, int numOutputs) noexcept
{
    std::array<float, UpmixerObservers::numUpmixHazeChannels> azimuths {};
    for (size_t i = 0; i < azimuths.size(); ++i)
        azimuths[i] = azimuthOf (UpmixerObservers::upmixHazeKinds[i], routing, numOutputs);
    return azimuths;
}

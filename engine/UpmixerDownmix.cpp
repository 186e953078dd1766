#include "engine/UpmixerDownmix.h"
#include "processor/KaChannelRouting.h"

#include <algorithm>
#include <cstring>

float UpmixerDownmix::coefficientForChoice (int choice) noexcept
{
    return coefficientTable[std::clamp (choice, 0, 3)];
}

void UpmixerDownmix::fold (const float* const* channels, int numChannels, int routing, const Coefficients& k,
                           float* const* out, int numSamples) noexcept
{
    using namespace KaChannelRouting;

    for (int side = 0; side < 2; ++side)
        std::memset (out[side], 0, sizeof (float) * (size_t) std::max (0, numSamples));

    auto add = [&] (int kind, float gain, int side)
    {
        const int ch = hostPositionOfKind (routing, kind);
        if (gain == 0.0f || ch < 0 || ch >= numChannels)
            return;
        const float* src = channels[ch];
        float* dst = out[side];
        for (int i = 0; i < numSamples; ++i)
            dst[i] += gain * src[i];
    };

    // Left side, then right side; centre and LFE go to both.
    const int front[2] = { kindL, kindR }, surround[2] = { kindLs, kindRs }, rear[2] = { kindLsr, kindRsr };
    const int heightFront[2] = { kindLts, kindRts }, heightRear[2] = { kindTrl, kindTrr };
    for (int side = 0; side < 2; ++side)
    {
        add (front[side], 1.0f, side);
        add (kindC, k.centre, side);
        add (surround[side], k.surround, side);
        add (rear[side], k.rear, side);
        add (heightFront[side], heightCoefficient, side);
        add (heightRear[side], heightCoefficient, side);
        add (kindLfe, k.lfe, side);
    }
}

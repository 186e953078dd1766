#include "engine/UpmixerDownmix.h"
#include "processor/KaChannelRouting.h"

#include <algorithm>
#include <cstring>

float UpmixerDownmix::coefficientForChoice (int choice) noexcept
{
    return coefficientTable[std::clamp (choice, 0, 3)];
}

void UpmixerDownmix::fold (const float* const* channels, int numChannels, int routing, const Coefficients& from,
                           const Coefficients& to, float* const* out, int numSamples) noexcept
{
    using namespace KaChannelRouting;

    for (int side = 0; side < 2; ++side)
        std::memset (out[side], 0, sizeof (float) * (size_t) std::max (0, numSamples));

    auto add = [&] (int kind, float gain0, float gain1, int side)
    {
        const int ch = hostPositionOfKind (routing, kind);
        if ((gain0 == 0.0f && gain1 == 0.0f) || ch < 0 || ch >= numChannels)
            return;
        const float* src = channels[ch];
        float* dst = out[side];
        if (gain0 == gain1)
        {
            for (int i = 0; i < numSamples; ++i)
                dst[i] += gain0 * src[i];
            return;
        }
        const float step = (gain1 - gain0) / (float) numSamples;
        for (int i = 0; i < numSamples; ++i)
            dst[i] += (gain0 + step * (float) i) * src[i];
    };

    // Left side, then right side; centre and LFE go to both.
    const int front[2] = { kindL, kindR }, surround[2] = { kindLs, kindRs }, rear[2] = { kindLsr, kindRsr };
    const int heightFront[2] = { kindLts, kindRts }, heightRear[2] = { kindTrl, kindTrr };
    for (int side = 0; side < 2; ++side)
    {
        add (front[side], 1.0f, 1.0f, side);
        add (kindC, from.centre, to.centre, side);
        add (surround[side], from.surround, to.surround, side);
        add (rear[side], from.rear, to.rear, side);
        add (heightFront[side], heightCoefficient, heightCoefficient, side);
        add (heightRear[side], heightCoefficient, heightCoefficient, side);
        add (kindLfe, from.lfe, to.lfe, side);
    }
}

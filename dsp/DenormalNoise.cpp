#include "dsp/DenormalNoise.h"

#include <algorithm>

namespace
{
std::atomic<std::uint32_t> sharedStates[DenormalNoise::numSources] = {
    { DenormalNoise::initialStates[0] },
    { DenormalNoise::initialStates[1] },
    { DenormalNoise::initialStates[2] },
};
} // namespace

std::atomic<std::uint32_t>& DenormalNoise::shared (int sourceIndex) noexcept
{
    return sharedStates[std::clamp (sourceIndex, 0, numSources - 1)];
}

std::uint32_t DenormalNoise::load (int sourceIndex) noexcept
{
    return shared (sourceIndex).load (std::memory_order_relaxed);
}

void DenormalNoise::store (int sourceIndex, std::uint32_t newState) noexcept
{
    shared (sourceIndex).store (newState, std::memory_order_relaxed);
}

DenormalNoise::DenormalNoise (int sourceIndex) noexcept
    : source (std::clamp (sourceIndex, 0, numSources - 1)), state (load (source))
{
}

DenormalNoise::~DenormalNoise()
{
    store (source, state);
}

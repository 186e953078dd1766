#pragma once

#include "processor/KaChannelRouting.h"

#include <array>

/** The channels of one engine block by kind (0 L, 1 R, 2 C, 3 LFE, 4 Ls, 5 Rs, 6 Lsr, 7 Rsr,
    8 Lts, 9 Rts, 10 Trl, 11 Trr): the block is laid out in the host order of a routing number,
    so the channel of kind k is the routing's host position of k (the kind's own number for a
    routing outside the table). A kind the routing does not carry, or whose position lies past
    the block's channel count, has no channel (null): stages neither read nor write it.
    Audio thread, no allocation. */
class UpmixerChannels
{
public:
    static constexpr int numKinds = KaChannelRouting::numKinds;

    /** Audio thread, no allocation. */
    UpmixerChannels (float* const* block, int numChannels, int routing) noexcept
    {
        for (int kind = 0; kind < numKinds; ++kind)
        {
            const int position = KaChannelRouting::hostPositionOfKind (routing, kind);
            m_pChannels[(size_t) kind] = position >= 0 && position < numChannels ? block[position] : nullptr;
        }
    }

    /** Audio thread, no allocation: the channel of a kind, or null. */
    float* operator[] (int kind) const noexcept { return m_pChannels[(size_t) kind]; }

    /** Audio thread, no allocation: zeroes a kind's channel, if the block has it. */
    void clear (int kind, int numSamples) const noexcept
    {
        if (float* channel = m_pChannels[(size_t) kind])
            for (int i = 0; i < numSamples; ++i)
                channel[i] = 0.0f;
    }

private:
    std::array<float*, numKinds> m_pChannels {};
};

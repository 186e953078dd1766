#pragma once

#include "dsp/CircularAudioBuffer.h"

/** A CircularAudioBuffer whose growth keeps the overlap-add tail.

    The plain buffer drops everything past the ready region when it grows. An overlap-add
    output FIFO always holds such a tail (the second half of the last frame, added ahead of the
    write position), so a growth there would cut half a frame out of the stream whenever a host
    block larger than any before arrives. This class overrides the one growth rule: the whole
    old ring, ready samples and the tail after them, is re-linearised from the read position, so
    the output is the same whichever block sizes the host uses. Everything else is inherited.
*/
class OverlapAddBuffer : public CircularAudioBuffer
{
public:
    using CircularAudioBuffer::CircularAudioBuffer;

    /** Owner's thread; allocates when n exceeds the capacity, keeping the ready samples and the
        pending tail behind them. Does nothing when n is not larger than the capacity. */
    void setSize (int n) override;
};

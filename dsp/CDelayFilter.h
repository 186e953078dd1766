#pragma once

#include <algorithm>
#include <vector>

/** A plain single-channel delay line of up to maxDelay samples.

    Per sample: the write index advances by one and wraps past maxDelay; the sample is written
    there and the sample written `delay` samples earlier is read back. A delay of 0 returns the
    sample just written. The processor base derives from CDelayFilter<float>; the engine holds one
    of 65536 samples.
*/
template <typename T>
class CDelayFilter
{
public:
    /** Not the audio thread; allocates maxDelay + 1 samples. */
    explicit CDelayFilter (int maxDelayIn = 0)
        : maxDelay (std::max (0, maxDelayIn)), buffer ((size_t) maxDelay + 1, T (0))
    {
        clear();
    }

    virtual ~CDelayFilter() = default;

    /** Not the audio thread; re-allocates the line for a new maximum and clears it. */
    void setMaxDelay (int newMaxDelay)
    {
        maxDelay = std::max (0, newMaxDelay);
        buffer.assign ((size_t) maxDelay + 1, T (0));
        delay = std::min (delay, maxDelay);
        clear();
    }

    /** The thread that runs the line, no allocation: zeroes the line and rewinds the write index. */
    void clear() noexcept
    {
        std::fill (buffer.begin(), buffer.end(), T (0));
        writeIndex = 0;
    }

    /** Audio thread, no allocation: the delay in samples, clamped to 0 ... maxDelay. */
    void setDelay (int d) noexcept { delay = std::clamp (d, 0, maxDelay); }

    /** Any thread, no allocation. */
    int getDelay() const noexcept { return delay; }

    /** Any thread, no allocation. */
    int getMaxDelay() const noexcept { return maxDelay; }

    /** Audio thread, no allocation: one sample in, the delayed sample out. */
    T process (T x) noexcept
    {
        if (++writeIndex > maxDelay)
            writeIndex = 0;

        buffer[(size_t) writeIndex] = x;
        int readIndex = writeIndex - delay;
        if (readIndex < 0)
            readIndex += maxDelay + 1;
        return buffer[(size_t) readIndex];
    }

    /** Audio thread, no allocation: delays a run of samples in place. */
    void processInPlace (T* samples, int numSamples) noexcept
    {
        for (int i = 0; i < numSamples; ++i)
            samples[i] = process (samples[i]);
    }

protected:
    int maxDelay = 0;
    int delay = 0;
    std::vector<T> buffer;
    int writeIndex = 0;
};

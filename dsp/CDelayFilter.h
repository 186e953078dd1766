#pragma once

#include <algorithm>
#include <vector>

/** A plain single-channel delay line of up to maxDelay samples.

    Per sample: the write index advances by one and wraps past maxDelay; the sample is written
    there and the sample written `delay` samples earlier is read back. A delay of 0 returns the
    sample just written.
*/
template <typename T>
class CDelayFilter
{
public:
    /** Message thread; allocates maxDelay + 1 samples. */
    explicit CDelayFilter (int maxDelayIn = 0)
        : maxDelay (std::max (0, maxDelayIn)), buffer ((size_t) maxDelay + 1, T (0))
    {
        clear();
    }

    virtual ~CDelayFilter() = default;

    /** Message thread; re-allocates the line for a new maximum and clears it. */
    void setMaxDelay (int newMaxDelay)
    {
        maxDelay = std::max (0, newMaxDelay);
        buffer.assign ((size_t) maxDelay + 1, T (0));
        delay = std::min (delay, maxDelay);
        clear();
    }

    /** Any thread that owns the line; no allocation. Zeroes the line and rewinds the write index. */
    void clear() noexcept
    {
        std::fill (buffer.begin(), buffer.end(), T (0));
        writeIndex = 0;
    }

    /** Audio thread; no allocation. The delay is clamped to maxDelay. */
    void setDelay (int d) noexcept { delay = std::clamp (d, 0, maxDelay); }

    int getDelay() const noexcept { return delay; }
    int getMaxDelay() const noexcept { return maxDelay; }

    /** Audio thread; no allocation. One sample in, the delayed sample out. */
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

    /** Audio thread; no allocation. Delays a run of samples in place. */
    void processInPlace (T* samples, int numSamples) noexcept
    {
        if (delay == 0)
        {
            for (int i = 0; i < numSamples; ++i)
                process (samples[i]);
            return;
        }
        for (int i = 0; i < numSamples; ++i)
            samples[i] = process (samples[i]);
    }

protected:
    int maxDelay = 0;
    int delay = 0;
    std::vector<T> buffer;
    int writeIndex = 0;
};

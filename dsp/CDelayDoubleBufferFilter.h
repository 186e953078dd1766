#pragma once

#include <algorithm>
#include <vector>

/** A delay line whose length changes without a click: a new length is faded in from a second
    tap while the old tap fades out, linearly over 10,000 samples (the fade's own step count,
    whatever the sample rate).

    Output = fade * x[n - targetDelay] + (1 - fade) * x[n - currentDelay]. A change asked for
    with setPendingDelay() starts at the next updateDelay() (called at the top of each block)
    once no fade is running; a request made during a fade waits for it to end. When the fade
    reaches 1 the taps swap roles and the line reads the new length only.
*/
template <typename T>
class CDelayDoubleBufferFilter
{
public:
    static constexpr float fadeStep = 0.0001f;

    /** Any thread (owner's construction), no allocation: an unallocated line that passes its
        input through until prepare(). */
    CDelayDoubleBufferFilter() noexcept = default;

    /** Not the audio thread; allocates: prepare (maxDelay, initialValue). */
    explicit CDelayDoubleBufferFilter (int maxDelayIn, T initialValue = T (0)) { prepare (maxDelayIn, initialValue); }

    virtual ~CDelayDoubleBufferFilter() = default;

    /** Not the audio thread; allocates maxDelay + 1 samples, all initialValue. Both taps start at
        maxDelay, no fade runs and no change waits. */
    void prepare (int maxDelayIn, T initialValue)
    {
        maxDelay = std::max (0, maxDelayIn);
        buffer.assign ((size_t) maxDelay + 1, initialValue);
        writeIndex = 0;
        fade = 0.0f;
        pendingDelay = -1;
        currentDelay = targetDelay = maxDelay;
    }

    /** Audio thread, no allocation: asks for a new length (0 ... maxDelay), applied by updateDelay(). */
    void setPendingDelay (int d) noexcept { pendingDelay = std::clamp (d, -1, maxDelay); }

    /** Audio thread, no allocation: at the start of each block, also an empty one; starts the
        waiting change if no fade runs and it differs from the current length. */
    void updateDelay() noexcept
    {
        if (fade == 0.0f && pendingDelay != -1 && pendingDelay != currentDelay)
        {
            targetDelay = pendingDelay;
            pendingDelay = -1;
            fade = fadeStep;
        }
    }

    /** Audio thread, no allocation: one sample in, the cross-faded delayed sample out. */
    T process (T x) noexcept
    {
        if (buffer.empty())
            return x;

        if (++writeIndex > maxDelay)
            writeIndex = 0;
        buffer[(size_t) writeIndex] = x;

        const T current = buffer[(size_t) wrap (writeIndex - currentDelay)];
        const T target = buffer[(size_t) wrap (writeIndex - targetDelay)];
        const T y = (T) fade * target + (T) (1.0f - fade) * current;

        if (fade > 0.0f)
        {
            fade += fadeStep;
            if (fade >= 1.0f)
            {
                fade = 0.0f;
                std::swap (currentDelay, targetDelay);
            }
        }
        return y;
    }

    /** Audio thread, no allocation: delays a run of samples in place. */
    void processInPlace (T* samples, int numSamples) noexcept
    {
        for (int i = 0; i < numSamples; ++i)
            samples[i] = process (samples[i]);
    }

    /** Any thread, no allocation: the length being read (faded out while a fade runs). */
    int getCurrentDelay() const noexcept { return currentDelay; }
    /** Any thread, no allocation: the length being faded in. */
    int getTargetDelay() const noexcept { return targetDelay; }
    /** Any thread, no allocation: the waiting request, -1 for none. */
    int getPendingDelay() const noexcept { return pendingDelay; }
    /** Any thread, no allocation: 0 when idle, else the fade position in (0, 1). */
    float getFade() const noexcept { return fade; }
    /** Any thread, no allocation: 0 when not prepared. */
    int getMaxDelay() const noexcept { return maxDelay; }

private:
    int wrap (int index) const noexcept { return index < 0 ? index + maxDelay + 1 : index; }

    int maxDelay = 0;
    int currentDelay = 0;
    int targetDelay = 0;
    float fade = 0.0f;
    int pendingDelay = -1;
    std::vector<T> buffer;
    int writeIndex = 0;
};

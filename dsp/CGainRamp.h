#pragma once

#include <algorithm>
#include <cstring>

/** A gain that reaches each new target along a straight line of fixed length, whatever the
    block size. Mutes, solos and trims then act within milliseconds at 64 or 8192 samples a
    block, without the click of a jump. */
class CGainRamp
{
public:
    void setLength (int samples) noexcept { m_nLength = std::max (1, samples); }

    /** Jumps to a gain (preparation, not playback). */
    void reset (float gain) noexcept
    {
        m_fGain = m_fTarget = gain;
        m_nRemaining = 0;
    }

    void setTarget (float target) noexcept
    {
        if (target == m_fTarget)
            return;
        m_fTarget = target;
        m_nRemaining = m_nLength;
        m_fStep = (target - m_fGain) / (float) m_nLength;
    }

    /** Multiplies a run by the gain, ramping where a ramp is under way. */
    void process (float* samples, int n) noexcept
    {
        int i = 0;
        for (; i < n && m_nRemaining > 0; ++i)
        {
            m_fGain = --m_nRemaining == 0 ? m_fTarget : m_fGain + m_fStep;
            samples[i] *= m_fGain;
        }
        if (i == n || m_fGain == 1.0f)
            return;
        if (m_fGain == 0.0f)
            std::memset (samples + i, 0, sizeof (float) * (size_t) (n - i));
        else
            for (; i < n; ++i)
                samples[i] *= m_fGain;
    }

    float getGain() const noexcept { return m_fGain; }

private:
    float m_fGain = 1.0f, m_fTarget = 1.0f, m_fStep = 0.0f;
    int m_nLength = 1, m_nRemaining = 0;
};

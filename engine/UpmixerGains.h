#pragma once

#include <cmath>

/** The unit conversions every engine stage shares, and the per-block gain ramp. */
namespace UpmixerGains
{
    /** Any thread, no allocation: exp (dB ln 10 / 20); 1e10 above 200 dB, where exp would be
        far past any useful gain. */
    inline float dbToGain (float db) noexcept
    {
        return db > 200.0f ? 1.0e10f : std::exp (db * std::log (10.0f) / 20.0f);
    }

    /** Any thread, no allocation: a normalised value on a logarithmic sweep from low to high. */
    inline float logSweep (float p, float low, float high) noexcept
    {
        return std::exp (std::log (low) + (std::log (high) - std::log (low)) * p);
    }

    /** 1 / sqrt 2 as the stages write it: the -3 dB fold of a channel into a pair. */
    inline constexpr float minus3dB = 0.7071068f;
}

/** A gain that the engine sets once per block and that moves there linearly across the block,
    so that automation of the stage gains never steps (a step of a loud signal's gain clicks).
    The first target after prepare is taken at once. Audio thread, no allocation. */
class UpmixerGainRamp
{
public:
    /** Audio thread, no allocation: forgets the current value; the next target is jumped to. */
    void reset() noexcept { m_bPrimed = false; }

    /** Audio thread, no allocation: starts a ramp to target over numSamples samples. */
    void setTarget (float target, int numSamples) noexcept
    {
        if (! m_bPrimed || numSamples <= 1)
        {
            m_fValue = target;
            m_fStep = 0.0f;
            m_bPrimed = true;
            m_fTarget = target;
            return;
        }
        m_fTarget = target;
        m_fStep = (target - m_fValue) / (float) numSamples;
    }

    /** Audio thread, no allocation: the gain for the next sample (the target once the ramp ends). */
    float next() noexcept
    {
        if (m_fStep == 0.0f)
            return m_fValue;
        m_fValue += m_fStep;
        if ((m_fStep > 0.0f && m_fValue >= m_fTarget) || (m_fStep < 0.0f && m_fValue <= m_fTarget))
        {
            m_fValue = m_fTarget;
            m_fStep = 0.0f;
        }
        return m_fValue;
    }

    /** Any thread, no allocation: the value the ramp is heading for. */
    float target() const noexcept { return m_fTarget; }

private:
    float m_fValue = 0.0f;
    float m_fTarget = 0.0f;
    float m_fStep = 0.0f;
    bool m_bPrimed = false;
};

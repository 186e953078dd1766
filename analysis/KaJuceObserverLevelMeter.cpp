#include "analysis/KaJuceObserverLevelMeter.h"
#include "analysis/KaDecibels.h"

#include <cmath>

namespace
{
    constexpr auto relaxed = std::memory_order_relaxed;

    float peakOf (const float* samples, int n, float peak) noexcept
    {
        for (int i = 0; i < n; ++i)
            peak = std::max (peak, std::abs (samples[i]));
        return peak;
    }
}

KaJuceObserverLevelMeter::KaJuceObserverLevelMeter (const juce::String& name, Clock clockIn)
    : KaJuceObserverTimeDomainLevelSingleChannel (nullptr, name), clock (std::move (clockIn))
{
    m_nLastReadMs.store (now().toMilliseconds(), relaxed);
    setReleaseTime (defaultReleaseSeconds);
    clear();
}

void KaJuceObserverLevelMeter::setReleaseTime (float seconds) noexcept
{
    float rate = 0.0f;
    if (seconds <= 0.0f)
        rate = instantRelease;
    else if (seconds < instantRelease)
        rate = 20.0f / seconds;
    m_fReleaseDbPerSecond.store (rate, relaxed);
}

void KaJuceObserverLevelMeter::clear() noexcept
{
    m_fDisplayDb.store (floorValue, relaxed);
    m_fPeak.store (resetValue, relaxed);
    m_fLastPeak.store (resetValue, relaxed);
}

void KaJuceObserverLevelMeter::observe (const juce::AudioSampleBuffer& block) noexcept
{
    const int source = getSource();
    const int numChannels = block.getNumChannels();
    const int n = block.getNumSamples();
    if (source == sourceNone || n <= 0)
        return;

    float peak = m_fPeak.load (relaxed);
    if (source == sourceMid || source == sourceSide)
    {
        if (numChannels < 2)
            return;
        const float sign = source == sourceMid ? 1.0f : -1.0f;
        const float* a = block.getReadPointer (0);
        const float* b = block.getReadPointer (1);
        for (int i = 0; i < n; ++i)
            peak = std::max (peak, std::abs ((a[i] + sign * b[i]) * 0.5f));
    }
    else if (source == sourceAll)
    {
        for (int ch = 0; ch < numChannels; ++ch)
            peak = peakOf (block.getReadPointer (ch), n, peak);
    }
    else if (source >= 0 && source < numChannels)
    {
        peak = peakOf (block.getReadPointer (source), n, peak);
    }
    else
    {
        return;
    }
    m_fPeak.store (peak, relaxed);
}

float KaJuceObserverLevelMeter::getLevelDb() noexcept
{
    float p = m_fPeak.load (relaxed);
    if (p == floorValue)
        p = m_fLastPeak.load (relaxed);  // no block since the last reading: the last peak stands
    else
        m_fLastPeak.store (p, relaxed);
    const float db = KaDecibels::fromGain (p);

    const juce::int64 nowMs = now().toMilliseconds();
    const float rate = m_fReleaseDbPerSecond.load (relaxed);
    float display = db;
    if (rate != instantRelease)
    {
        const auto elapsedMs = (float) (nowMs - m_nLastReadMs.load (relaxed));
        const float fallen = m_fDisplayDb.load (relaxed) - elapsedMs * direction * rate / 1000.0f;
        if (direction * fallen > direction * db)
            display = fallen;
    }
    m_fDisplayDb.store (display, relaxed);
    m_nLastReadMs.store (nowMs, relaxed);
    m_fPeak.store (floorValue, relaxed);
    return m_fOffsetDb.load (relaxed) + display;
}

float KaJuceObserverLevelMeter::getLastPeakDb() const noexcept
{
    return KaDecibels::fromGain (m_fLastPeak.load (relaxed)) + m_fOffsetDb.load (relaxed);
}

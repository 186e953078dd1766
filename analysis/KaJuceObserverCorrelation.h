#pragma once

#include "analysis/KaJuceObserverTimeDomain.h"

#include <array>
#include <atomic>

/** Stereo correlation meter: the Pearson coefficient of two channels without mean removal,
    sum(ab) / sqrt(sum(a^2) sum(b^2)), over fixed, non-overlapping windows of 1024 samples
    (about 21 ms at 48 kHz), with a display value smoothed by a one-pole average of weight 0.05
    per window and a decaying scatter of recent coefficients: a 100-bin histogram from -1 to +1
    whose hit bin is set to 1 and whose every bin decays by 0.99 per window (a bin not hit for
    100 windows has fallen to about 0.37).

    Fed with a block of more than two channels (and given a layout provider), the two channels
    are channel kinds, found in the block through the current routing; otherwise they are the
    block's own channel indices. The readings are relaxed atomics: a reader racing a window sees
    the old or the new value of each.
*/
class KaJuceObserverCorrelation : public KaJuceObserverTimeDomain
{
public:
    using Ptr = juce::ReferenceCountedObjectPtr<KaJuceObserverCorrelation>;

    static constexpr int windowLength = 1024;
    static constexpr int numHistogramBins = 100;

    /** Message thread; allocates (the name). Compares channels 0 and 1. */
    explicit KaJuceObserverCorrelation (const KaJuceChannelUser* layoutProvider = nullptr, const juce::String& name = {});

    /** Any thread, no allocation: takes effect with the next block. */
    void setChannels (int a, int b) noexcept;
    /** Any thread, no allocation: the channels (kinds or indices) compared. */
    int getChannelA() const noexcept { return m_nChannelA.load (std::memory_order_relaxed); }
    int getChannelB() const noexcept { return m_nChannelB.load (std::memory_order_relaxed); }

    /** Audio thread, no allocation: accumulates the block, closing every window it completes. */
    void observe (const juce::AudioSampleBuffer& block) noexcept override;

    /** Any thread, no allocation: the last complete window's coefficient, -1..1. */
    float getCorrelation() const noexcept { return m_fCorrelation.load (std::memory_order_relaxed); }

    /** Any thread, no allocation: the smoothed coefficient. */
    float getSmoothedCorrelation() const noexcept { return m_fSmoothedCorrelation.load (std::memory_order_relaxed); }

    /** Any thread, no allocation: bin 0 is -1, bin 99 is +1. */
    float getHistogramBin (int bin) const noexcept;

    /** Any thread, no allocation: the bin a coefficient falls into. */
    static int binOf (float correlation) noexcept;

private:
    void closeWindow() noexcept;

    std::atomic<int> m_nChannelA { 0 }, m_nChannelB { 1 };
    std::atomic<float> m_fCorrelation { 0.0f }, m_fSmoothedCorrelation { 0.0f };
    std::array<std::atomic<float>, numHistogramBins> m_histogram {};

    // Audio thread only.
    float sumAB = 0.0f, sumAA = 0.0f, sumBB = 0.0f;
    int count = 0;
};

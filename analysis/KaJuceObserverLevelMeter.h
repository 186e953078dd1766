#pragma once

#include "analysis/KaJuceObserverTimeDomain.h"

#include <atomic>
#include <functional>

/** Sample-peak level meter with instant attack and a release that is linear in dB.

    The audio thread only raises a held peak (the largest |sample| since the last reading). The
    reader's polling runs the ballistics: each getLevelDb() takes the held peak, lets the
    displayed value fall by the release rate times the time since the previous reading, shows
    whichever is higher and starts a new peak. The release is timed by the reader's own clock
    rather than by sample counts, so the display falls at the same speed whatever the block
    size; the default 20 dB in 1.5 s is the fall time of a classic digital peak-programme meter.

    Each value is one word written by one thread and read by the other (relaxed atomics). A
    peak raised in the same instant as a reading resets it may be lost; that costs at most one
    frame of the display.
*/
class KaJuceObserverLevelMeter : public KaJuceObserverTimeDomainLevelSingleChannel
{
public:
    using Ptr = juce::ReferenceCountedObjectPtr<KaJuceObserverLevelMeter>;
    /** The reader's time source. */
    using Clock = std::function<juce::Time()>;

    /** Values of the source selector besides a channel index. */
    enum Source { sourceNone = -1, sourceMid = 100, sourceSide = 101, sourceAll = 102 };

    static constexpr float defaultReleaseSeconds = 1.5f;

    /** Message thread; allocates. Measures nothing until a source is set; the clock defaults to
        the system's. */
    explicit KaJuceObserverLevelMeter (const juce::String& name = {}, Clock clock = {});

    /** Any thread, no allocation: -1 none, 0..n-1 that channel, or sourceMid / Side / All. */
    void setSource (int source) noexcept { m_nSource.store (source, std::memory_order_relaxed); }
    /** Any thread, no allocation. */
    int getSource() const noexcept { return m_nSource.load (std::memory_order_relaxed); }

    /** Any thread, no allocation: a constant added to every reading. */
    void setOffsetDb (float db) noexcept { m_fOffsetDb.store (db, std::memory_order_relaxed); }

    /** Any thread, no allocation: the time to fall 20 dB; 0 is instant, 1e6 holds for ever. */
    void setReleaseTime (float seconds) noexcept;

    /** Reader's thread, no allocation: shows the floor and forgets the last peak. */
    void clear() noexcept override;

    /** Audio thread, no allocation: raises the held peak with the block's selected signal. */
    void observe (const juce::AudioSampleBuffer& block) noexcept override;

    /** Reader's thread, no allocation (the clock aside): the ballistic level in dB (-1e10 for
        silence), plus the offset; starts a new peak. */
    virtual float getLevelDb() noexcept;

    /** Any thread, no allocation: the peak taken by the last reading in dB, plus the offset;
        no ballistics, resets nothing. */
    virtual float getLastPeakDb() const noexcept;

private:
    // The marker in the held peak for "no block since the last reading", and the floor the
    // display restarts from.
    static constexpr float floorValue = -1000.0f;
    static constexpr float resetValue = 0.0f;
    static constexpr float instantRelease = 1.0e6f;
    // +1: the display rises at once and falls at the release rate.
    static constexpr float direction = 1.0f;

    juce::Time now() const { return clock ? clock() : juce::Time::getCurrentTime(); }

    const Clock clock;
    std::atomic<float> m_fOffsetDb { 0.0f };
    std::atomic<int> m_nSource { sourceNone };
    std::atomic<float> m_fPeak { resetValue };
    std::atomic<juce::int64> m_nLastReadMs { 0 };
    std::atomic<float> m_fDisplayDb { floorValue };
    std::atomic<float> m_fLastPeak { resetValue };
    std::atomic<float> m_fReleaseDbPerSecond { 20.0f / defaultReleaseSeconds };
};

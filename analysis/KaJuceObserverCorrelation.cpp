#include "analysis/KaJuceObserverCorrelation.h"
#include "processor/KaChannelRouting.h"

#include <cmath>

namespace
{
    constexpr auto relaxed = std::memory_order_relaxed;
    constexpr float histogramDecay = 0.99f;
    constexpr float smoothingWeight = 0.05f;
    // Below this mean energy per sample the window counts as silent (coefficient 0).
    constexpr float silenceThreshold = 1.0e-8f;
}

KaJuceObserverCorrelation::KaJuceObserverCorrelation (const KaJuceChannelUser* layoutProvider, const juce::String& name)
    : KaJuceObserverTimeDomain (layoutProvider, name)
{
    for (auto& bin : m_histogram)
        bin.store (0.0f, relaxed);
}

void KaJuceObserverCorrelation::setChannels (int a, int b) noexcept
{
    m_nChannelA.store (a, relaxed);
    m_nChannelB.store (b, relaxed);
}

float KaJuceObserverCorrelation::getHistogramBin (int bin) const noexcept
{
    return bin >= 0 && bin < numHistogramBins ? m_histogram[(size_t) bin].load (relaxed) : 0.0f;
}

int KaJuceObserverCorrelation::binOf (float correlation) noexcept
{
    return juce::jlimit (0, numHistogramBins - 1, (int) ((correlation + 1.0f) * (numHistogramBins / 2)));
}

void KaJuceObserverCorrelation::observe (const juce::AudioSampleBuffer& block) noexcept
{
    int a = getChannelA();
    int b = getChannelB();
    const int numChannels = block.getNumChannels();
    if (numChannels > 2 && channelProvider != nullptr)
    {
        const int routing = getCurrentRouting();
        a = KaChannelRouting::hostPositionOfKind (routing, a);
        b = KaChannelRouting::hostPositionOfKind (routing, b);
    }
    if (a < 0 || b < 0 || a >= numChannels || b >= numChannels)
        return;

    const float* x = block.getReadPointer (a);
    const float* y = block.getReadPointer (b);
    const int n = block.getNumSamples();
    for (int done = 0; done < n;)
    {
        // Pieces end at window boundaries so that every window holds exactly 1024 samples.
        const int piece = std::min (n - done, windowLength - count);
        for (int i = done; i < done + piece; ++i)
        {
            sumAB += x[i] * y[i];
            sumAA += x[i] * x[i];
            sumBB += y[i] * y[i];
        }
        count += piece;
        done += piece;
        if (count >= windowLength)
            closeWindow();
    }
}

void KaJuceObserverCorrelation::closeWindow() noexcept
{
    const float norm = std::sqrt (sumAA * sumBB);
    const float correlation = norm / (float) count > silenceThreshold ? juce::jlimit (-1.0f, 1.0f, sumAB / norm) : 0.0f;
    m_fCorrelation.store (correlation, relaxed);

    for (auto& bin : m_histogram)
        bin.store (bin.load (relaxed) * histogramDecay, relaxed);
    m_histogram[(size_t) binOf (correlation)].store (1.0f, relaxed);

    m_fSmoothedCorrelation.store (smoothingWeight * correlation + (1.0f - smoothingWeight) * getSmoothedCorrelation(), relaxed);
    sumAB = sumAA = sumBB = 0.0f;
    count = 0;
}

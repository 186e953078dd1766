#include "analysis/UpmixerObservers.h"
#include "analysis/SpatialHazeObserver_FilterCallBack.h"
#include "analysis/UpmixerStereoAnalysis_FilterCallBack.h"
#include "processor/KaChannelRouting.h"

using namespace KaChannelRouting;

const std::array<int, UpmixerObservers::numUpmixHazeChannels> UpmixerObservers::upmixHazeKinds {
    kindL, kindR, kindC, kindLs, kindRs, kindLsr, kindRsr, kindLts, kindRts, kindTrl, kindTrr
};

// Bed first (the ring of neighbours and the two left-right pairs), then the heights: each
// height with its partner across, the floor speaker below or in front of it, and the rear
// height with the side height ahead of it.
const std::array<std::array<int, 2>, UpmixerObservers::numPairs> UpmixerObservers::pairKinds { {
    { kindL, kindR }, { kindL, kindC }, { kindC, kindR }, { kindL, kindLs }, { kindR, kindRs },
    { kindLs, kindRs }, { kindLs, kindLsr }, { kindRs, kindRsr }, { kindLsr, kindRsr },
    { kindLts, kindRts }, { kindL, kindLts }, { kindR, kindRts }, { kindLts, kindTrl },
    { kindRts, kindTrr }, { kindLsr, kindTrl }, { kindRsr, kindTrr },
} };

namespace
{
    const char* const rowNames[UpmixerObservers::numRows] = {
        "m_observerSourceLM[", "m_observerUpmixLM[", "m_observerDownmixLM[", "m_observerAmbisonicLM["
    };

    // The Hann window keeps a loud band's leakage out of its quiet neighbours.
    constexpr int hannWindow = 2;
}

UpmixerObservers::UpmixerObservers (const KaJuceChannelUser& provider)
    : sourceCorrelation (new KaJuceObserverCorrelation (&provider, "m_observerSourceCorrelation")),
      downmixCorrelation (new KaJuceObserverCorrelation (&provider, "m_observerDownmixCorrelation")),
      upmixHaze (new SpatialHazeObserver (numUpmixHazeChannels, &provider, "m_observerUpmixHaze")),
      stereoHaze (new SpatialHazeObserver (numStereoHazeChannels, &provider, "m_observerStereoHaze")),
      coherence (new UpmixerStereoCoherenceObserver (&provider, "m_observerStereoCoherence"))
{
    for (int row = 0; row < numRows; ++row)
        for (int i = 0; i < metersInRow ((Row) row); ++i)
        {
            auto& meter = meters[(size_t) row][(size_t) i];
            meter = new KaJuceObserverLevelMeter (rowNames[row] + juce::String (i) + "]");
            meter->setSource (i);
        }

    sourceCorrelation->setChannels (kindL, kindR);
    for (int i = 0; i < numPairs; ++i)
    {
        const auto& kinds = pairKinds[(size_t) i];
        pairCorrelation[(size_t) i] = new KaJuceObserverCorrelation (&provider, "m_observerUpmixCorrelation[" + juce::String (i) + "]");
        pairCorrelation[(size_t) i]->setChannels (kinds[0], kinds[1]);
    }
}

void UpmixerObservers::prepare (double sampleRate, int maxBlock)
{
    m_fSampleRate.store (sampleRate, std::memory_order_relaxed);
    maxBlock = std::max (1, maxBlock);
    silence.setSize (1, maxBlock);
    silence.clear();

    upmixAnalyser = new FftFilter (analyserFftSize, new SpatialHazeObserver_FilterCallBack (upmixHaze), numUpmixHazeChannels);
    stereoAnalyser = new FftFilter (analyserFftSize, new UpmixerStereoAnalysis_FilterCallBack (stereoHaze, coherence), numStereoHazeChannels);
    coherence->prepare (analyserFftSize);

    // One silent block of the largest size grows the analysers' queues now rather than in the
    // first large block on the audio thread.
    for (auto* analyser : { upmixAnalyser.get(), stereoAnalyser.get() })
    {
        analyser->setWindowType (hannWindow);
        juce::AudioBuffer<float> warmUp (analyser->getNumChannels(), maxBlock);
        warmUp.clear();
        analyser->analyse (warmUp);
    }
    upmixHaze->clear();
    stereoHaze->clear();
}

void UpmixerObservers::feedSource (float* const* inputs, int numInputs, int numSamples) noexcept
{
    if (numInputs <= 0 || numSamples <= 0 || ! m_bActive.load (std::memory_order_relaxed))
        return;
    view.setDataToReferTo (inputs, std::min (numInputs, metersPerRow), numSamples);
    observeRow (rowSource);
}

void UpmixerObservers::feedAmbisonic (float* const* outputs, int numOutputs, int numSamples) noexcept
{
    if (numOutputs <= 0 || numSamples <= 0 || ! m_bActive.load (std::memory_order_relaxed))
        return;
    view.setDataToReferTo (outputs, std::min (numOutputs, (int) numAmbisonicMeters), numSamples);
    observeRow (rowAmbisonic);
}

void UpmixerObservers::observeRow (Row row) noexcept
{
    for (int i = 0; i < metersInRow (row); ++i)
        meters[(size_t) row][(size_t) i]->observe (view);
}

void UpmixerObservers::feedUpmixRow (float* const* channels, int numChannels, int numSamples) noexcept
{
    if (numChannels <= 0 || numSamples <= 0 || ! m_bActive.load (std::memory_order_relaxed))
        return;
    view.setDataToReferTo (channels, std::min (numChannels, metersPerRow), numSamples);
    observeRow (rowUpmix);

    const int pairs = numChannels < 9 ? numBedPairs : numPairs;
    for (int i = 0; i < pairs; ++i)
        pairCorrelation[(size_t) i]->observe (view);
    numPairsFed.store (pairs, std::memory_order_relaxed);
}

void UpmixerObservers::feedOutputs (const Signals& s, int numSamples) noexcept
{
    if (numSamples <= 0 || ! m_bActive.load (std::memory_order_relaxed))
        return;

    if (s.numUpmix > 0 && ! s.upmixRowApart)
        feedUpmixRow (s.upmix, s.numUpmix, numSamples);

    if (s.downmix != nullptr)
    {
        view.setDataToReferTo (s.downmix, 2, numSamples);
        observeRow (rowDownmix);
        downmixCorrelation->observe (view);
    }

    if (s.numSource > 0)
    {
        view.setDataToReferTo (s.source, std::min (s.numSource, metersPerRow), numSamples);
        sourceCorrelation->observe (view);
    }

    if (s.numUpmix > 0 && s.numSource > 0
        && s.downmix != nullptr && s.delta != nullptr)
        feedAnalysers (s, numSamples);
}

void UpmixerObservers::feedAnalysers (const Signals& s, int numSamples) noexcept
{
    if (upmixAnalyser == nullptr || stereoAnalyser == nullptr || numSamples > silence.getNumSamples())
        return;

    float* const quiet = silence.getWritePointer (0);
    auto channelOf = [&] (float* const* channels, int numChannels, int kind) {
        const int position = hostPositionOfKind (s.routing, kind);
        return position >= 0 && position < numChannels ? channels[position] : quiet;
    };

    std::array<float*, numUpmixHazeChannels> upmix {};
    for (size_t i = 0; i < upmix.size(); ++i)
        upmix[i] = channelOf (s.upmix, s.numUpmix, upmixHazeKinds[i]);
    view.setDataToReferTo (upmix.data(), numUpmixHazeChannels, numSamples);
    upmixAnalyser->analyse (view);

    std::array<float*, numStereoHazeChannels> stereo {
        channelOf (s.source, s.numSource, kindL), channelOf (s.source, s.numSource, kindR),
        s.downmix[0], s.downmix[1], s.delta[0], s.delta[1],
    };
    view.setDataToReferTo (stereo.data(), numStereoHazeChannels, numSamples);
    stereoAnalyser->analyse (view);
}

void UpmixerObservers::resetSourceMeters() noexcept
{
    for (int i = 0; i < metersPerRow; ++i)
        meters[rowSource][(size_t) i]->clear();
}

KaJuceObserverLevelMeter::Ptr UpmixerObservers::getLevelMeter (Row row, int index) const noexcept
{
    if (row < 0 || row >= numRows || index < 0 || index >= metersInRow (row))
        return {};
    return meters[(size_t) row][(size_t) index];
}

KaJuceObserverCorrelation::Ptr UpmixerObservers::getPairCorrelation (int pair) const noexcept
{
    return pair >= 0 && pair < numPairs ? pairCorrelation[(size_t) pair] : nullptr;
}

#pragma once

#include "analysis/KaJuceObserverCorrelation.h"
#include "analysis/KaJuceObserverLevelMeter.h"
#include "analysis/SpatialHazeObserver.h"
#include "analysis/UpmixerStereoCoherenceObserver.h"
#include "dsp/FftFilter.h"

#include <array>
#include <atomic>

/** Every observer of the upmixer's processor, and the block path's few calls that feed them.

    - Level meters in four rows, meter i measuring channel i of its row's signal: the source
      (host inputs after the input trims), the upmix (engine outputs after trims, mutes and
      solos) and the downmix (two), twelve meters each, and the Ambisonic outputs, sixteen (fed
      only while the output bus is Ambisonic; otherwise they read silence).
    - Correlation meters: the source's L and R (the time-aligned copy the Listen modes play),
      the downmix pair, and pairs of neighbouring speakers of the upmix: the first nine take the
      bed, the other seven involve the heights and are fed only from 10 outputs on.
    - Two haze analysers, FFTs of 256 samples that only analyse: the upmix with 11 channels in
      the kind order of upmixHazeKinds (LFE left out; a kind the layout lacks reads silence),
      and the stereo signals with 6 (source L R, downmix L R, delta L R), whose frames also go
      to the coherence observer, which keeps the source pair.

    Built with the processor; prepare() allocates everything the feeds use, so feeding never
    allocates. Readers take the observers (reference-counted) and poll them from any thread.
*/
class UpmixerObservers
{
public:
    enum Row { rowSource, rowUpmix, rowDownmix, rowAmbisonic, numRows };
    static constexpr int metersPerRow = 12;
    static constexpr int numAmbisonicMeters = 16;
    static constexpr int numPairs = 16;
    static constexpr int numBedPairs = 9;
    static constexpr int analyserFftSize = 256;
    static constexpr int numUpmixHazeChannels = 11;
    static constexpr int numStereoHazeChannels = 6;

    /** The channel kinds, in order, of the upmix haze analyser's channels. */
    static const std::array<int, numUpmixHazeChannels> upmixHazeKinds;

    /** The two channel kinds each pair correlation meter compares. */
    static const std::array<std::array<int, 2>, numPairs> pairKinds;

    /** What feedOutputs() measures; every pointer array has at least the stated channels, each
        at least numSamples long. */
    struct Signals
    {
        float* const* upmix = nullptr;   // engine outputs, in the host order of `routing`
        int numUpmix = 0;
        float* const* source = nullptr;  // the time-aligned source copy, in the same order
        int numSource = 0;
        float* const* downmix = nullptr; // two channels
        float* const* delta = nullptr;   // two channels
        int routing = 0;
        bool upmixRowApart = false;      // the upmix meters are fed by feedUpmixRow() instead
    };

    /** Message thread; allocates. The provider (the processor) gives the routing in force. */
    explicit UpmixerObservers (const KaJuceChannelUser& layoutProvider);

    /** Message thread, audio stopped; allocates: the analysers and their buffers for blocks of
        up to maxBlock samples at the given rate. */
    void prepare (double sampleRate, int maxBlock);

    /** Audio thread, no allocation: the source meters, with the host inputs after the trims. */
    void feedSource (float* const* inputs, int numInputs, int numSamples) noexcept;

    /** Audio thread, no allocation: the upmix and downmix meters, the correlation meters and
        the analysers, after the downmix. numSamples at most prepare()'s maxBlock. */
    void feedOutputs (const Signals& signals, int numSamples) noexcept;

    /** Audio thread, no allocation: the upmix meters and the pair correlations alone, from
        channels in the host order (a pod's receiver meters the sum it plays this way). */
    void feedUpmixRow (float* const* channels, int numChannels, int numSamples) noexcept;

    /** Audio thread, no allocation: the Ambisonic meters, with the host outputs (at most 16). */
    void feedAmbisonic (float* const* outputs, int numOutputs, int numSamples) noexcept;

    /** Any thread, no allocation: how many meters a row has. */
    static constexpr int metersInRow (Row row) noexcept { return row == rowAmbisonic ? numAmbisonicMeters : metersPerRow; }

    /** Any thread but the audio thread, no allocation: the source meters start again. */
    void resetSourceMeters() noexcept;

    /** Any thread, no allocation: whether the observers are fed at all. On by default; a
        renderer with nobody to read them switches them off and saves their whole cost (about a
        tenth of the processor's). */
    void setActive (bool shouldBeFed) noexcept { m_bActive.store (shouldBeFed, std::memory_order_relaxed); }

    // Readers: any thread, no allocation ------------------------------------------------------
    /** The rate the analysers run at: bin k of a haze frame is centred on k * rate / 256 Hz. */
    double getSampleRate() const noexcept { return m_fSampleRate.load (std::memory_order_relaxed); }
    KaJuceObserverLevelMeter::Ptr getLevelMeter (Row row, int index) const noexcept;
    KaJuceObserverCorrelation::Ptr getSourceCorrelation() const noexcept { return sourceCorrelation; }
    KaJuceObserverCorrelation::Ptr getDownmixCorrelation() const noexcept { return downmixCorrelation; }
    KaJuceObserverCorrelation::Ptr getPairCorrelation (int pair) const noexcept;
    /** How many pair meters the last block fed: 9 below 9 outputs, otherwise 16. */
    int getNumPairsFed() const noexcept { return numPairsFed.load (std::memory_order_relaxed); }
    SpatialHazeObserver::Ptr getUpmixHaze() const noexcept { return upmixHaze; }
    SpatialHazeObserver::Ptr getStereoHaze() const noexcept { return stereoHaze; }
    UpmixerStereoCoherenceObserver::Ptr getCoherence() const noexcept { return coherence; }

private:
    void feedAnalysers (const Signals& signals, int numSamples) noexcept;

    void observeRow (Row row) noexcept;

    std::array<std::array<KaJuceObserverLevelMeter::Ptr, numAmbisonicMeters>, numRows> meters;
    KaJuceObserverCorrelation::Ptr sourceCorrelation, downmixCorrelation;
    std::array<KaJuceObserverCorrelation::Ptr, numPairs> pairCorrelation;
    SpatialHazeObserver::Ptr upmixHaze, stereoHaze;
    UpmixerStereoCoherenceObserver::Ptr coherence;
    FftFilter::Ptr upmixAnalyser, stereoAnalyser;
    std::atomic<int> numPairsFed { 0 };
    std::atomic<bool> m_bActive { true };
    std::atomic<double> m_fSampleRate { 48000.0 };

    // Audio thread: views onto the processor's buffers (no copies), and a silent channel for
    // the kinds a layout lacks.
    juce::AudioBuffer<float> view, silence;
};

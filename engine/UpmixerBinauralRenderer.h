#pragma once

#include "dsp/CRecursiveFilter.h"
#include "dsp/FreqDataStore.h"
#include "engine/UpmixerHrirSet.h"

#include <array>
#include <vector>

/** Renders loudspeaker feeds for headphones: each source (a virtual loudspeaker) is convolved
    with the pair of head-related impulse responses of its direction and the results are summed
    into a left and a right ear signal.

    Convolution: uniformly partitioned overlap-save in the frequency domain, partitions of
    partitionSize samples (FFT of twice that, double precision, through FftPlans), one frequency
    -domain delay line of past input spectra per source, the partitions' products summed per ear
    before one inverse transform. It adds no latency: the part of the current partition that has
    arrived is transformed (zero-padded) on every call and multiplied by the first partition,
    while the contribution of all earlier input partitions to the current output partition is
    summed once, when a partition completes. Calls of any length, down to one sample, give the
    same output (at a higher cost for calls much shorter than a partition).

    A source marked low-passed (the LFE) passes a fourth-order Linkwitz-Riley low-pass at
    lfeCutoffHz (two Butterworth sections) before its convolution.

    prepare() on any thread but the audio thread (allocates: responses, spectra, plans);
    reset() and process() on the audio thread, no allocation, no lock. */
class UpmixerBinauralRenderer
{
public:
    static constexpr int partitionSize = 128;
    static constexpr int fftSize = 2 * partitionSize;
    static constexpr int numBins = partitionSize + 1;
    static constexpr float lfeCutoffHz = 120.0f;

    struct Source
    {
        float azimuth = 0.0f;    // degrees, 0 ahead, negative to the left
        float elevation = 0.0f;  // degrees, up positive
        bool lowPassed = false;  // the LFE: low-passed, heard from its direction
    };

    UpmixerBinauralRenderer() = default;
    ~UpmixerBinauralRenderer();
    UpmixerBinauralRenderer (const UpmixerBinauralRenderer&) = delete;
    UpmixerBinauralRenderer& operator= (const UpmixerBinauralRenderer&) = delete;

    /** Not the audio thread; allocates. Takes the responses of every source from the set at the
        sample rate and transforms their partitions; leaves the renderer reset. */
    void prepare (const UpmixerHrirSet& set, const std::vector<Source>& sources, double sampleRate);

    /** Audio thread, no allocation: forgets all past input. */
    void reset() noexcept;

    /** Audio thread, no allocation: adds nothing, writes left and right (numSamples each) with
        the ears' signals of the sources' feeds. inputs holds getNumSources() pointers; a null
        one is a silent source (and costs nothing once its past input has left the responses). */
    void process (const float* const* inputs, float* left, float* right, int numSamples) noexcept;

    int getNumSources() const noexcept { return (int) m_sources.size(); }
    int getNumPartitions() const noexcept { return m_nPartitions; }
    bool isPrepared() const noexcept { return m_nPartitions > 0; }

private:
    struct SourceState
    {
        Source source;
        double* history = nullptr;  // fftSize: the previous partition, then the current one
        Complex* spectrum = nullptr;  // numBins: the current partition's, zero-padded
        std::vector<Complex*> responses[2];  // per ear, per partition: numBins
        std::vector<Complex*> past;  // ring of input spectra, one per partition
        std::vector<char> pastLive;  // whether a ring entry holds anything but zeros
        int liveFor = 0;  // partitions until its last input has left the history
        CRecursiveFilterBiquadLowPass<float> lowPass[2];
    };

    void completePartition() noexcept;
    void release() noexcept;

    std::vector<SourceState> m_sources;
    std::array<Complex*, 2> m_tail {};  // per ear: earlier partitions' part of the current output partition
    Complex* m_sum = nullptr;
    double* m_time = nullptr;
    int m_nPartitions = 0;
    int m_nPosition = 0;  // samples of the current partition that have arrived
    int m_nRing = 0;      // ring entry of the current partition
};

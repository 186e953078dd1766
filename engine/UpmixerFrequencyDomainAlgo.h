#pragma once

#include "dsp/BlockOverlaper.h"
#include "engine/UpmixerDialogFeatures.h"
#include "engine/UpmixerDialogNetwork.h"

#include <array>
#include <atomic>
#include <vector>

class UpmixerFrequencyDomainAlgo;

/** Hands every frame of the overlapper to the frequency-domain stage that owns it. */
class UpmixerFrequencyDomainAlgo_FilterCallBack : public FftFilterCallBack
{
public:
    /** Message thread, no allocation. */
    explicit UpmixerFrequencyDomainAlgo_FilterCallBack (UpmixerFrequencyDomainAlgo* owner) noexcept : m_pOwner (owner) {}

    /** Audio thread, no allocation: runs the owner's frame steps; nothing once detached. */
    void processFrame (FreqDataStore<Complex>::Ptr frame) noexcept override;

    /** Message thread, no allocation: the owner is going away. */
    void detach() noexcept { m_pOwner = nullptr; }

private:
    UpmixerFrequencyDomainAlgo* m_pOwner;
};

/** The engine's first stage: takes L and R into 1024-point frames at hop 512, moves what the
    dialogue network finds to the centre, and splits the rest bin by bin, by how well the phases
    of the two channels agree, into a centre part and front, side and back pairs. It returns
    seven channels: L, R, Ls, Rs, Lsr, Rsr and C.

    The mask and the split of a frame work on the input one hop older than the newest, so the
    detector has one frame of look-ahead; with the overlapper's own 1024 samples the stage delays
    by 1536 samples. */
class UpmixerFrequencyDomainAlgo
{
public:
    static constexpr int defaultFftSize = BlockOverlaper::frameSize;
    static constexpr int numBins = defaultFftSize / 2 + 1;
    static constexpr int numSpectra = 7;
    static constexpr int numHistoryFrames = UpmixerDialogFeatures::numHistoryFrames;
    /** The longest block process() takes; the overlapper's FIFOs are grown to it in prepare. */
    static constexpr int maxBlockSize = 8192;
    /** The channel kind each spectrum channel returns to: L, R, Ls, Rs, Lsr, Rsr, C. */
    static constexpr int spectrumKinds[numSpectra] = { 0, 1, 4, 5, 6, 7, 2 };

    /** Written by the engine every block (their mapping from parameters is the engine's). */
    struct Settings
    {
        float dialogAttack = 0.3f;
        float dialogRelease = 0.75f;
        float dialogMixInC = 0.1f;
        float dialogAmount = 1.0f;
        float centreThreshold = 0.7f;        // t
        float correlationSmoothing = 0.99f;  // s1
        float smoothingFloor = 0.8f;         // s2, never written by the engine
        float frontOffset = -0.1f;
        float frontSlope = 1.0f;
        float backOffset = -0.5f;
        float backSlope = 1.0f;
        float backBoost = 1.0f;
    };

    /** A slope of this value turns a fade into a hard switch. */
    static constexpr float hardSlope = 1.0e8f;

    /** Message thread; allocates and copies the dialogue network (loading it once per process).
        Does nothing with audio until prepare(). */
    UpmixerFrequencyDomainAlgo();

    /** Message thread. */
    ~UpmixerFrequencyDomainAlgo();

    UpmixerFrequencyDomainAlgo (const UpmixerFrequencyDomainAlgo&) = delete;
    UpmixerFrequencyDomainAlgo& operator= (const UpmixerFrequencyDomainAlgo&) = delete;

    /** Message thread, audio stopped; allocates. Rebuilds the framing (only 1024 is supported)
        and the history and clears every per-bin state: the stage starts from silence. */
    void prepare (int fftSize);

    /** Audio thread, no allocation. */
    void setOutputLayout (int index) noexcept { outputLayout = index; }

    /** Audio thread, no allocation: one block of at most maxBlockSize samples, in place. Reads L
        and R of the layout and writes the seven spectrum channels' output to their kinds' channels;
        with fewer than 8 block channels only L, R, Ls, Rs and C are written (channel i < count - 2,
        and C). panLaw: the engine's five pan gains (null: both gains 0.7071068). */
    void process (float* const* block, int numChannels, int numSamples, const float* panLaw) noexcept;

    /** Audio thread, no allocation: the per-frame steps on the overlapper's frame. */
    void processFrame (FreqDataStore<Complex>& frame) noexcept;

    /** Any thread, no allocation: whether a dialogue network is loaded. */
    bool hasDialogNetwork() const noexcept { return m_network.isLoaded(); }

    Settings settings;
    /** The power moved to the centre as dialogue and the power of the rest, summed over the
        bins of the last frame (for display). */
    std::atomic<float> dialogEnergy { 0.0f }, remainderEnergy { 0.0f };

private:
    using BinArray = std::array<float, numBins>;
    using FrameFeatureArray = std::array<float, UpmixerDialogFeatures::frameStride>;

    void runDialogNetwork (int newestSlot) noexcept;
    void extractDialogue (FreqDataStore<Complex>& frame, int olderSlot) noexcept;
    void splitByPhase (FreqDataStore<Complex>& frame) noexcept;
    float centrePanGain() const noexcept { return m_pPanLaw != nullptr ? m_pPanLaw[1] : 0.7071068f; }
    float surroundPanGain() const noexcept { return m_pPanLaw != nullptr ? m_pPanLaw[2] : 0.7071068f; }

    int fftSize = 0;
    int outputLayout = 0;
    std::array<bool, numSpectra> channelEnabled {};
    juce::ReferenceCountedObjectPtr<UpmixerFrequencyDomainAlgo_FilterCallBack> callback;
    BlockOverlaper::Ptr overlapper;
    bool m_bWarmingUp = false;

    std::array<int, numHistoryFrames> historySlot {};
    std::array<FreqDataStore<Complex>::Ptr, numHistoryFrames> history;
    std::array<FrameFeatureArray, numHistoryFrames> levelDb {}, diffDb {}, dialogProbability {};
    // Level features are computed only when the network is about to read them (they are a
    // function of the stored spectra alone, so late is the same as on time).
    std::array<bool, numHistoryFrames> m_bLevelsCurrent {};

    BinArray smoothedPower {}, transientHold {}, centreCoef {}, frontCoef {}, backCoef {}, dialogMask {};

    std::array<double, numBins> m_binPower {}, m_agreement {};  // per frame, before the chain up the bins

    // The running mean of the smoothing coefficient over the last 8 bins.
    static constexpr int smoothingSpan = 8;
    std::array<double, smoothingSpan> smoothingHistory {};

    // The network's input vectors of every bin of a frame, bin after bin.
    std::array<float, numBins * UpmixerDialogFeatures::numInputs> networkInput {};
    UpmixerDialogNetwork m_network;
    const float* m_pPanLaw = nullptr;

    std::vector<float> m_silence, m_discard;  // maxBlockSize each: unused inputs and outputs
};

#pragma once

#include "dsp/CDelayDoubleBufferFilter.h"
#include "dsp/CRecursiveFilter.h"
#include "dsp/CircularAudioBuffer.h"
#include "engine/UpmixerAlgoInterface.h"
#include "engine/UpmixerAmbisonicStage.h"
#include "engine/UpmixerCentreLfeStage.h"
#include "engine/UpmixerDiffuseStage.h"
#include "engine/UpmixerFrequencyDomainAlgo.h"
#include "engine/UpmixerMultiInputStage.h"
#include "engine/UpmixerOverheadStage.h"

#include <array>

/** The upmix engine: turns the processor's block (a stereo pair, or a few input channels, in the
    slots of their kinds) into the full output layout, in place, on up to 12 channels laid out in
    the host order of the current output routing.

    Per block, in this order: the frequency-domain split (L, R, C, Ls, Rs, Lsr, Rsr), diffuse
    surround synthesis and surround shelving, centre spread, LFE generation, the multi-input path
    (more than two inputs), the low-frequency centre divergence, the overheads. Every value it
    needs it reads once per block from its host as a normalised parameter; it never writes one.
    The stages' filters, delays and buffers are members here; each stage's file runs them. */
class UpmixerAlgo
{
public:
    static constexpr int maxChannels = 12;
    static constexpr int frameLength = UpmixerFrequencyDomainAlgo::defaultFftSize;

    /** Message thread; allocates: builds every member, then prepares with no host at 48 kHz. */
    UpmixerAlgo();

    UpmixerAlgo (const UpmixerAlgo&) = delete;
    UpmixerAlgo& operator= (const UpmixerAlgo&) = delete;

    /** Message thread, audio stopped; allocates. Rebuilds the frequency-domain stage, re-designs
        the filters for the sample rate, re-primes the delays and registers the profiler items
        (once per engine). Sets outputLayout to 0. */
    void prepare (UpmixerAlgoInterface* host, float sampleRate);

    /** Audio thread, no allocation: one block in place. block holds numChannels channel pointers
        (at most 12 are used); any numSamples. Without a host (never prepared with one) the block is
        left alone. */
    void process (float* const* block, int numChannels, int numSamples) noexcept;

    /** Audio thread, no allocation: encodes a processed block (numChannels channels laid out by
        outputLayout) into numOut Ambisonic channels of the given order (1..3) and format
        (AmbisonicFormat), with the height controls VerticalOnPhase, VerticalOffPhase and
        VerticalExcludeC. out must not share memory with block. */
    void encodeAmbisonic (float* const* block, int numChannels, float* const* out, int numOut, int numSamples, int order,
                          int format) noexcept;

    /** Any thread, no allocation: samples between input and output, the overlapper's frame of
        1024 plus the hop of look-ahead that the dialogue mask and the split work behind. */
    static constexpr int getLatencySamples() noexcept { return frameLength + frameLength / 2; }

    /** Audio or message thread, no allocation: the routing number of the block's layout. */
    void setOutputLayout (int routing) noexcept { outputLayout = routing; }
    /** Audio or message thread, no allocation: takes effect at the next block. */
    void setNumInputChannels (int n) noexcept { m_nUpmixerNumInputChannels = n; }
    /** Audio or message thread, no allocation: 6, 8, 10 or 12. */
    void setNumOutputChannels (int n) noexcept { numOutputChannels = n; }
    /** Audio or message thread, no allocation: 0, 2 or 4. */
    void setNumOverheadChannels (int n) noexcept { numOverheadChannels = n; }

    /** Any thread, no allocation: whether the input's row of the slot table carries a centre. */
    bool hasCentreInput() const noexcept { return multiInputStage.hasRole (m_nUpmixerNumInputChannels, 2); }
    /** Any thread, no allocation: whether the input's row of the slot table carries an LFE. */
    bool hasLfeInput() const noexcept { return multiInputStage.hasRole (m_nUpmixerNumInputChannels, 3); }

    /** Any thread, no allocation: the frequency-domain stage (its dialogue and remainder energy). */
    const UpmixerFrequencyDomainAlgo& getFrequencyDomainAlgo() const noexcept { return freqAlgo; }

    int outputLayout = 0;
    float sampleRate = 48000.0f;
    /** Pan gains: front (not used by the stages), centre into front, surround into front, back
        weight and LFE weight of the overheads. */
    float panLaw[5] = { 1.0f, 0.70710677f, 0.70710677f, 0.0f, 0.0f };
    int m_nUpmixerNumInputChannels = 2;
    int numOutputChannels = 6;
    int numOverheadChannels = 0;

private:
    /** The longest run the stages take at once; longer blocks are processed in pieces. */
    static constexpr int maxSubBlock = UpmixerFrequencyDomainAlgo::maxBlockSize;

    void processSubBlock (float* const* block, int numChannels, int numSamples) noexcept;
    void runFrequencyDomainStage (float* const* block, int numChannels, int numSamples) noexcept;
    void runDiffuseStage (const UpmixerChannels& channels, int numChannels, int numSamples) noexcept;
    void runCentreAndLfe (const UpmixerChannels& channels, int numSamples) noexcept;
    void runOverheads (const UpmixerChannels& channels, int numSamples) noexcept;
    float p (int number) const noexcept { return host->getParameterValue (number); }
    void startTiming (int item, int numSamples) const noexcept;
    /** Ends the last stage's timing item. */
    void stopTiming() const noexcept;
    static std::array<CircularAudioBuffer, 6> makeInputDelays();

    UpmixerAlgoInterface* host = nullptr;
    UpmixerFrequencyDomainAlgo freqAlgo;
    CDelayDoubleBufferFilter<float> diffuseDelay { 2500 }, backDelay { 625 };
    CRecursiveFilterBiquadLowPass<float> diffuseLowPass;
    CRecursiveAllPassWikipedia2<float> sideAllPassL, sideAllPassR, backAllPassL, backAllPassR;
    std::array<CRecursiveFilterBiquadHighShelf<float>, 4> surroundShelf;
    std::array<CRecursiveFilterBiquadHighShelf<float>, 4> overheadShelf;
    std::array<CRecursiveFilterBiquadLowPass<float>, 3> lfeLowPass;
    CRecursiveFilterBiquadLowShelf<float> centreLowShelf;
    CRecursiveFilterBiquadLowPass<float> auxLowPass;
    std::array<CircularAudioBuffer, 6> inputDelay;
    UpmixerMultiInputStage::SlotTable inputSlotTable {};
    bool profilerRegistered = false;
    bool m_bMultiInputRunning = false;

    UpmixerDiffuseStage diffuseStage;
    UpmixerCentreLfeStage centreLfeStage;
    UpmixerOverheadStage overheadStage;
    UpmixerAmbisonicStage ambisonicStage;
    UpmixerMultiInputStage multiInputStage;
};

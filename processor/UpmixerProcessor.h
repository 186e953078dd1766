#pragma once

#include "analysis/UpmixerObservers.h"
#include "dsp/CDelayFilter.h"
#include "dsp/CGainRamp.h"
#include "engine/KaProfiler.h"
#include "engine/UpmixerAlgo.h"
#include "engine/UpmixerAlgoInterface.h"
#include "engine/UpmixerDownmix.h"
#include "processor/KaJuceProcessorBase.h"
#include "processor/KaJucePodUser.h"
#include "processor/UpmixerHeadphones.h"
#include "processor/UpmixerMonitor.h"
#include "processor/UpmixerOfflineRender.h"

#include <array>
#include <functional>

/** Orrin Upmix's processor: the glue between the host and the upmix engine.

    Per block it resolves the channel routing, applies input trims and mutes, copies the inputs
    into the engine's buffer by channel kind, runs the engine, applies output trims, mutes and
    solos, folds the result down to stereo, and writes what the Listen selection asks for. In a
    pod (KaJucePodUser) it sends its output or adds what other instances send it. */
class UpmixerProcessor : public KaJuceProcessorBase, public virtual KaJucePodUser, public UpmixerAlgoInterface
{
public:
    static constexpr int maxChannels = 12;
    /** Host outputs: 12 speakers, or up to 16 Ambisonic channels (third order). */
    static constexpr int maxHostOutputs = UpmixerAmbisonicStage::maxChannels;

    /** With a fixed output set the output bus is that set, named for it, and no host can change
        it (a plug-in published for one layout); otherwise it starts at 5.1 and negotiates. */
    explicit UpmixerProcessor (const juce::AudioChannelSet& fixedOutput = juce::AudioChannelSet::disabled());
    ~UpmixerProcessor() override;

    // juce::AudioProcessor ------------------------------------------------------------------
    void prepareToPlay (double sampleRate, int maximumExpectedSamplesPerBlock) override;
    void releaseResources() override;
    // Single precision only; the double-precision overloads stay JUCE's.
    using juce::AudioProcessor::processBlock;
    using juce::AudioProcessor::processBlockBypassed;
    void processBlock (juce::AudioBuffer<float>&, juce::MidiBuffer&) override;
    void processBlockBypassed (juce::AudioBuffer<float>&, juce::MidiBuffer&) override;
    bool isBusesLayoutSupported (const BusesLayout& layouts) const override;
    void numChannelsChanged() override;

    bool hasEditor() const override { return editorFactory != nullptr; }
    /** The host's bypass switch is the plug-in's own Bypass parameter. */
    juce::AudioProcessorParameter* getBypassParameter() const override;
    juce::AudioProcessorEditor* createEditor() override;

    // UpmixerAlgoInterface --------------------------------------------------------------------
    KaProfiler* getProfiler() noexcept override { return &profiler; }

    // Editor ------------------------------------------------------------------------------------
    /** Bypass, Audio Thru and the Source and Upmix Listen modes: their names say it all. */
    bool isAnnouncedWithoutValue (int number) const override;
    /** A host that gives no input or fewer than two outputs leaves nothing to upmix. */
    bool isPluginDisabled() const noexcept override { return layout.numInputs < 1 || layout.numOutputs < 2; }
    float getParameterValue (int number) const noexcept override { return getParameterTable().get (number); }

    // Channels --------------------------------------------------------------------------------
    int getCurrentRouting() const noexcept override { return currentRouting.load (std::memory_order_relaxed); }
    int getEngineOutputCount() const noexcept { return engineOutputs; }
    /** 1..3 while the host's output bus is Ambisonic (the engine then runs as 7.1 and its
        Ambisonic stage writes the outputs), otherwise 0. */
    int getAmbisonicOrder() const noexcept { return ambisonicOrder; }
    /** The name reported for the output bus: "Ambisonic", "7.1", "Overheads" or "5.1". */
    juce::String getOutputBusName() const;

    /** Reads the host's input count into the engine and logs it. Message thread; with the
        audio running, the audio thread takes the count at its next block. */
    void checkNumInputChannels (bool whileAudioRuns = false);
    int m_nTrackNumInputChannels = 2;

    // Latency and sends -------------------------------------------------------------------------
    int computeLatency() const noexcept;

    // Offline rendering (analysis pass, then render pass) ---------------------------------------
    void offlineAnalysisBegin (int numInputChannels);
    void offlineAnalysisBlock (const juce::AudioBuffer<float>& block);
    void offlineAnalysisEnd();
    void offlineRenderBegin();
    void offlineRenderBlock (juce::AudioBuffer<float>& block);
    void offlineRenderEnd();
    const UpmixerOfflineRender& getOfflineRender() const noexcept { return offline; }

    const UpmixerMonitor& getMonitor() const noexcept { return monitor; }
    /** Headphone monitoring: the editor's switch and its availability (not a host parameter). */
    UpmixerHeadphones& getHeadphones() noexcept { return m_headphones; }
    UpmixerAlgo m_upmixerAlgo;

    /** The meters and analysers the block path feeds; displays and the command line read them. */
    const UpmixerObservers& getObservers() const noexcept { return m_observers; }
    UpmixerObservers& getObservers() noexcept { return m_observers; }

    /** Installed by the plug-in formats, which link the editor; the command line and the
        tests run without one. */
    static std::function<juce::AudioProcessorEditor* (UpmixerProcessor&)> editorFactory;

    /** The trim and the mute (or -1: none) that act on host input `input` of numInputs: stereo
        has a trim and a mute per side; other counts share TrimSource0, and up to 5 inputs
        have the three mutes MuteSourceMulti0..2 over groups of neighbouring inputs. */
    static int sourceTrimParameter (int numInputs, int input) noexcept;
    static int sourceMuteParameter (int numInputs, int input) noexcept;

    /** The routing a MixType choice selects, or -1 for the host's own order. */
    static int routingForMixType (int choice, int pluginType) noexcept;

    // Session state: the instance-link attributes ("SENDSELECTOR", the pod).
    void writeInstanceLinkState (juce::XmlElement& root) const override { writePodState (root); }
    void readInstanceLinkState (const juce::XmlElement& root) override { readPodState (root); }
    void updateTrackProperties (const TrackProperties& properties) override { setPodTrackName (properties.name); }

protected:
    void parameterChanged (int number, float value, bool userChange) override;
    void onHousekeeping() override;
    void performParamMappingToNextVersion (int oldVersion) override;
    std::vector<KaPreset> createFactoryPresets() const override;

    // KaJucePodUser
    int podLinkGroupOf (int number) const noexcept override;
    float podParameterValue (int number) const noexcept override { return getParameterTable().get (number); }
    void podApplyLinkedValue (int number, float value) override { setParameterNotifyingHost (number, value, false); }
    void podSendSelectorChanged() override;
    void podWarning (const juce::String& text) override { postWarning ({}, text); }

private:
    struct LayoutInfo
    {
        int numInputs = 2;
        int numOutputs = 6;
        std::array<int, maxChannels + 1> inputKinds {};   // kind of each host input, -1 ended
        int deliveredRouting = -1;                        // routing matching the output order
    };

    void buildLayout (const BusesLayout* busLayout, int numIn, int numOut) noexcept;
    /** Message thread: the layout of the host's buses, which it keeps. */
    void buildLayoutFromBuses();
    /** The routing whose order matches the speakers of a speaker output bus, or -1. */
    static int deliveredRouting (const BusesLayout* buses, int numOut) noexcept;
    void resolveRouting() noexcept;
    void processChunk (float* const* host, int numHostChannels, int numSamples, bool bypassed, juce::int64 position) noexcept;
    /** The timeline position of this block for the pod's exchange: the host's while its
        transport runs, else this instance's own sample count. */
    juce::int64 podBlockPosition (int numSamples) noexcept;
    void applyInputTrims (float* const* host, int numInputs, int numSamples) noexcept;
    void copyInputsToEngine (float* const* host, int numInputs, int numSamples) noexcept;
    void applyOutputGains (int numSamples) noexcept;
    void computeDownmix (int numSamples) noexcept;
    /** upmixRowApart: the upmix meters are fed later, with the pod's sum. */
    void feedObservers (int numSamples, bool upmixRowApart) noexcept;
    /** Step 13 of the block: the engine's Ambisonic encoding, or the Listen selection. */
    void writeAmbisonic (float* const* host, int numOutputs, int numSamples, bool bypass) noexcept;
    void writeMonitored (float* const* host, int numOutputs, int numSamples, bool bypassed) noexcept;
    void updateLatency();
    void applyInputCount (int inputs) noexcept;
    /** Audio thread: takes what housekeeping changed while blocks were running. */
    void applyPendingChanges() noexcept;
    void carryLinked (int changed, const int* group, int groupSize, float* snapshot);
    /** A trim changed: under its pair's Link setting, a change by the user moves the partner by
        the same step (so a pair keeps its balance, and an undo moves both back). */
    void carryTrimLink (int number, float value, bool userChange);
    bool isLinkAvailable (int number) const noexcept;
    void processWholeBlock (juce::AudioBuffer<float>& buffer, bool bypassed) noexcept;

    KaProfiler profiler;
    UpmixerMonitor monitor;
    UpmixerHeadphones m_headphones;
    UpmixerOfflineRender offline;
    UpmixerObservers m_observers { *this };

    const juce::AudioChannelSet fixedOutput;
    LayoutInfo layout;
    BusesLayout m_builtBuses;  // the buses the layout was last built from
    std::atomic<int> currentRouting { 1 };
    int engineOutputs = 6;
    int numOverheads = 0;
    int ambisonicOrder = 0;
    int ambisonicFormat = 0;
    int reportedLatency = 0;
    std::atomic<bool> m_bSendSelectorChanged { false };  // the layout is rebuilt at the next block
    juce::int64 m_nOwnSamples = 0;
    std::atomic<int> m_nPendingSendDelay { -1 };  // samples; -1 when the lines are up to date
    std::atomic<int> m_nPendingInputCount { -1 };
    double currentSampleRate = 48000.0;
    int maxBlock = 0;

    juce::AudioBuffer<float> engineBuffer, sourceBuffer, downmixBuffer, deltaBuffer;
    std::array<CDelayFilter<float>, maxChannels> inputDelay, sourceDelay;
    std::array<CDelayFilter<float>, maxHostOutputs> sendDelay;
    std::array<CGainRamp, maxChannels> inputGain;   // by host input channel
    std::array<CGainRamp, maxChannels> outputGain;  // by output channel kind, so a ramp follows its speaker
    std::array<CGainRamp, 2> downmixGain;
    juce::uint32 sourceFed = 0;  // channels whose source delay line carried input last block
    UpmixerDownmix::Coefficients downmixCoefficients;  // those of the last block, glided from

    std::array<float, 4> arcSnapshot {};
    std::array<float, 2> verticalSnapshot {};
    /** The last value of each trim (the two source trims, then the twelve outputs'), so that a
        linked partner moves by the same step. Written by whichever thread sets a trim. */
    std::array<std::atomic<float>, 2 + maxChannels> trimShadow {};
    std::atomic<bool> pendingInputCheck { false };
};

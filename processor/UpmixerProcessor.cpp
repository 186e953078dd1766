#include "processor/UpmixerProcessor.h"
#include "engine/UpmixerDownmix.h"
#include "processor/KaChannelRouting.h"
#include "processor/KaHostDetection.h"
#include "processor/KaLog.h"
#include "processor/UpmixerFactoryPresets.h"
#include "processor/UpmixerOutputLayouts.h"
#include "processor/UpmixerParameters.h"
#include "processor/UpmixerPodLinks.h"

#include <cmath>

using namespace UpmixerParam;
namespace Routing_ = KaChannelRouting;

std::function<juce::AudioProcessorEditor* (UpmixerProcessor&)> UpmixerProcessor::editorFactory;

namespace
{
    constexpr int minBlockAllocation = 512;

    /** The channel kind of a JUCE channel type, or -1. JUCE delivers every format in its own
        order; the type names the speaker. */
    int kindOf (juce::AudioChannelSet::ChannelType type) noexcept
    {
        using T = juce::AudioChannelSet::ChannelType;
        static constexpr std::pair<T, int> kinds[] = {
            { T::left, Routing_::kindL }, { T::right, Routing_::kindR }, { T::centre, Routing_::kindC },
            { T::LFE, Routing_::kindLfe }, { T::leftSurround, Routing_::kindLs }, { T::leftSurroundSide, Routing_::kindLs },
            { T::rightSurround, Routing_::kindRs }, { T::rightSurroundSide, Routing_::kindRs },
            { T::leftSurroundRear, Routing_::kindLsr }, { T::rightSurroundRear, Routing_::kindRsr },
            { T::topSideLeft, Routing_::kindLts }, { T::topFrontLeft, Routing_::kindLts },
            { T::topSideRight, Routing_::kindRts }, { T::topFrontRight, Routing_::kindRts },
            { T::topRearLeft, Routing_::kindTrl }, { T::topRearRight, Routing_::kindTrr },
        };
        for (const auto& [channelType, kind] : kinds)
            if (channelType == type)
                return kind;
        return -1;
    }

    float dbToGain (float db) noexcept { return db > 200.0f ? 1.0e10f : std::exp (db * std::log (10.0f) / 20.0f); }

    float levelGain (const KaParameterTable& t, int number) noexcept
    {
        return dbToGain (t.info (number)->toUnit (t.get (number)));
    }

    /** Input-mute groups for input counts below 6 (stereo has its own two mutes): how many
        consecutive input channels take MuteSourceMulti0, 1 and 2. */
    constexpr int muteGroupSlots[6][3] = { { 0, 0, 0 }, { 1, 0, 0 }, { 0, 0, 0 }, { 1, 1, 1 }, { 2, 0, 2 }, { 2, 1, 2 } };

    /** Host input orders selectable by InputMixType for six discrete input channels. */
    constexpr int inputOrders[4][6] = {
        { 0, 2, 1, 4, 5, 3 },  // Auto for discrete 6: L C R Ls Rs LFE
        { 0, 1, 2, 3, 4, 5 },  // L R C LFE Ls Rs
        { 0, 2, 1, 4, 5, 3 },  // L C R Ls Rs LFE
        { 0, 1, 4, 5, 2, 3 },  // L R Ls Rs C LFE
    };

    /** Roles of discrete input channels by count (the engine's native input orders). */
    constexpr int discreteRoles[11][10] = {
        {}, { 0 }, { 0, 1 }, { 0, 2, 1 }, { 0, 1, 4, 5 }, { 0, 1, 2, 4, 5 }, { 0, 2, 1, 4, 5, 3 },
        { 0, 2, 1, 4, 5, 6, 7 }, { 0, 2, 1, 4, 5, 6, 7, 3 }, { 0, 2, 1, 4, 5, 6, 7, 8, 9 },
        { 0, 2, 1, 4, 5, 6, 7, 3, 8, 9 },
    };

    juce::AudioChannelSet initialOutput (const juce::AudioChannelSet& fixedOutput)
    {
        return fixedOutput.isDisabled() ? juce::AudioChannelSet::create5point1() : fixedOutput;
    }
}

UpmixerProcessor::UpmixerProcessor (const juce::AudioChannelSet& fixed)
    : KaJuceProcessorBase (BusesProperties()
                               .withInput ("Input", juce::AudioChannelSet::stereo(), true)
                               // JUCE fixes a bus's name at construction: a negotiated layout's
                               // name reaches the host through the VST3 wrapper's bus info.
                               .withOutput (UpmixerOutputLayouts::busName (initialOutput (fixed)), initialOutput (fixed), true)),
      fixedOutput (fixed)
{
    registerParameters (createParameterInfos());
    for (size_t slot = 0; slot < trimShadow.size(); ++slot)
        trimShadow[slot].store (getParameterTable().get (slot < 2 ? TrimSource0 + (int) slot : Trim0 + (int) slot - 2));

    for (int i = 0; i < KaProfiler::maxItems; ++i)
        profiler.registerItem (i, nullptr);

    buildLayoutFromBuses();
    resolveRouting();
    m_upmixerAlgo.prepare (this, 48000.0f);
    checkNumInputChannels();
    restorePresetsAtStartup();

    // Hosts ask for the latency before they prepare the plug-in.
    reportedLatency = -1;
    updateLatency();
    startHousekeeping();
}

UpmixerProcessor::~UpmixerProcessor()
{
    stopHousekeeping();
}

juce::AudioProcessorParameter* UpmixerProcessor::getBypassParameter() const
{
    return getParameters()[Bypass];
}

juce::AudioProcessorEditor* UpmixerProcessor::createEditor()
{
    return editorFactory != nullptr ? editorFactory (*this) : nullptr;
}

bool UpmixerProcessor::isBusesLayoutSupported (const BusesLayout& layouts) const
{
    const auto in = layouts.getMainInputChannelSet();
    const auto out = layouts.getMainOutputChannelSet();
    const int numIn = in.size();
    if (numIn < 1 || numIn > 10)
        return false;
    if (! fixedOutput.isDisabled())
        return out == fixedOutput;
    const int order = out.getAmbisonicOrder();
    return out == juce::AudioChannelSet::create5point1() || out == juce::AudioChannelSet::create7point1()
           || out == juce::AudioChannelSet::create7point1point2() || out == juce::AudioChannelSet::create7point1point4()
           || (order >= 1 && order <= UpmixerAmbisonicStage::maxOrder);
}

void UpmixerProcessor::numChannelsChanged()
{
    buildLayoutFromBuses();
    resolveRouting();
    checkNumInputChannels();
}

int UpmixerProcessor::deliveredRouting (const BusesLayout* buses, int numOut) noexcept
{
    // The routing whose order matches the speakers JUCE hands over.
    std::array<int, maxChannels> outKinds {};
    bool typed = buses != nullptr && buses->getMainOutputChannelSet().size() == numOut && numOut <= maxChannels;
    for (int i = 0; typed && i < numOut; ++i)
    {
        outKinds[(size_t) i] = kindOf (buses->getMainOutputChannelSet().getTypeOfChannel (i));
        typed = outKinds[(size_t) i] >= 0;
    }
    bool frontHeights = false;
    for (int i = 0; typed && i < numOut; ++i)
    {
        const auto type = buses->getMainOutputChannelSet().getTypeOfChannel (i);
        frontHeights = frontHeights || type == juce::AudioChannelSet::topFrontLeft || type == juce::AudioChannelSet::topFrontRight;
    }
    if (! typed)
    {
        // Unnamed channels: assume JUCE's own orders. Its sets list channels by type, so 5.1 to
        // 7.1.2 run L R C LFE Ls Rs Lsr Rsr (Lts Rts), while 7.1.4 puts its front and rear
        // heights before the rear surrounds.
        static constexpr int juce714[maxChannels] = { 0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 6, 7 };
        frontHeights = numOut >= 11;
        for (int i = 0; i < maxChannels; ++i)
            outKinds[(size_t) i] = frontHeights ? juce714[i] : i;
    }
    return Routing_::routingMatchingKinds (outKinds.data(), juce::jmin (numOut, maxChannels), frontHeights);
}

void UpmixerProcessor::buildLayoutFromBuses()
{
    // Kept for the audio thread's rebuild when the send selector changes: the same channels are
    // the same speakers. Hosts change buses only while no block runs.
    m_builtBuses = getBusesLayout();
    buildLayout (&m_builtBuses, getTotalNumInputChannels(), getTotalNumOutputChannels());
}

void UpmixerProcessor::buildLayout (const BusesLayout* buses, int numIn, int numOut) noexcept
{
    layout.numInputs = juce::jlimit (0, maxChannels, numIn);
    layout.numOutputs = numOut;
    layout.inputKinds.fill (-1);
    layout.deliveredRouting = -1;

    // An Ambisonic bus is known by its set; without one, by the counts only it can have.
    const int setOrder = buses != nullptr && buses->getMainOutputChannelSet().size() == numOut
                             ? buses->getMainOutputChannelSet().getAmbisonicOrder()
                             : (numOut == 4 ? 1 : numOut == 9 ? 2 : numOut == 16 ? 3 : -1);
    ambisonicOrder = setOrder >= 1 && setOrder <= UpmixerAmbisonicStage::maxOrder ? setOrder : 0;

    // Ambisonic output encodes a 7.1 upmix: the overheads' lift is the encoder's own.
    engineOutputs = ambisonicOrder > 0 ? 8 : numOut <= 6 ? 6 : numOut <= 8 ? 8 : numOut <= 10 ? 10 : 12;
    numOverheads = engineOutputs - 8 > 0 ? engineOutputs - 8 : 0;

    if (ambisonicOrder == 0)
        layout.deliveredRouting = deliveredRouting (buses, numOut);

    // Input: named speakers by their type; discrete channels in the engine's native orders.
    const int n = juce::jmin (layout.numInputs, 10);
    bool inputTyped = buses != nullptr && buses->getMainInputChannelSet().size() == n && ! buses->getMainInputChannelSet().isDiscreteLayout();
    for (int i = 0; inputTyped && i < n; ++i)
    {
        layout.inputKinds[(size_t) i] = kindOf (buses->getMainInputChannelSet().getTypeOfChannel (i));
        inputTyped = layout.inputKinds[(size_t) i] >= 0;
    }
    if (n == 1)
        layout.inputKinds[0] = Routing_::kindL;  // mono feeds L and R alike (see copyInputsToEngine)
    else if (! inputTyped)
        for (int i = 0; i < n; ++i)
            layout.inputKinds[(size_t) i] = discreteRoles[n][i];
    layout.inputKinds[(size_t) n] = -1;
}

void UpmixerProcessor::resolveRouting() noexcept
{
    const auto& t = getParameterTable();
    const int width = engineOutputs;
    const int defaultNumber = width <= 6 ? RoutingDefault : width <= 8 ? RoutingDefault_7_1 : width <= 10 ? RoutingDefault_7_1_2 : -1;
    const int defaultSetting = defaultNumber >= 0 ? t.getChoice (defaultNumber) : -1;

    const auto resolved = Routing_::resolveRouting (width, t.getChoice (Routing), defaultSetting,
                                                   getPluginTypeNumber(), layout.deliveredRouting);
    currentRouting.store (resolved.routing, std::memory_order_relaxed);
    if (resolved.storeBack && getParameterTable().getChoice (Routing) != resolved.routing)
    {
        getParameterTable().set (Routing, KaParameterTable::valueOfChoice (resolved.routing));
        queueHostNotification (Routing);
    }
}

void UpmixerProcessor::checkNumInputChannels (bool whileAudioRuns)
{
    const int inputs = getTotalNumInputChannels();
    if (whileAudioRuns)
        m_nPendingInputCount.store (inputs);  // the audio thread takes it at its next block
    else
        applyInputCount (inputs);
    KaLog::write ("UpmixerProcessor::checkNumInputChannels: m_nTrackNumInputChannels=" + juce::String (inputs)
                  + ", m_upmixerAlgo.m_nUpmixerNumInputChannels=" + juce::String (inputs));
}

void UpmixerProcessor::applyInputCount (int inputs) noexcept
{
    m_nTrackNumInputChannels = inputs;
    m_upmixerAlgo.setNumInputChannels (inputs);
}

juce::String UpmixerProcessor::getOutputBusName() const
{
    return UpmixerOutputLayouts::busName (ambisonicOrder > 0 ? juce::AudioChannelSet::ambisonic (ambisonicOrder)
                                                             : juce::AudioChannelSet::discreteChannels (engineOutputs));
}

int UpmixerProcessor::computeLatency() const noexcept
{
    constexpr int frame = UpmixerAlgo::frameLength;
    return getSendSelector() != -1 ? 4096 : frame + frame / 2;
}

void UpmixerProcessor::podSendSelectorChanged()
{
    m_bSendSelectorChanged.store (true);
    updateLatency();
}

int UpmixerProcessor::podLinkGroupOf (int number) const noexcept { return UpmixerPodLinks::groupOf (number); }

void UpmixerProcessor::updateLatency()
{
    const int latency = computeLatency();
    if (latency == reportedLatency)
        return;

    reportedLatency = latency;
    setLatencySamples (latency);
    constexpr int frame = UpmixerAlgo::frameLength;
    // The send delay lines belong to the audio thread, which takes the new length at its next
    // block (this may run in housekeeping, on another thread, while a block is running).
    m_nPendingSendDelay.store (KaHostDetection::isNuendo (getHostPath()) ? 0 : latency - (frame + frame / 2));
}

void UpmixerProcessor::applyPendingChanges() noexcept
{
    if (const int inputs = m_nPendingInputCount.exchange (-1); inputs >= 0)
        applyInputCount (inputs);

    if (const int samples = m_nPendingSendDelay.exchange (-1); samples >= 0)
        for (auto& d : sendDelay)
        {
            d.setDelay (samples);
            d.clear();
        }
}

void UpmixerProcessor::prepareToPlay (double sampleRate, int maximumExpectedSamplesPerBlock)
{
    const juce::ScopedLock lock (getHousekeepingLock());
    currentSampleRate = sampleRate > 0.0 ? sampleRate : 48000.0;
    maxBlock = juce::jlimit (minBlockAllocation, 8192, maximumExpectedSamplesPerBlock);

    engineBuffer.setSize (maxChannels, maxBlock);
    sourceBuffer.setSize (maxChannels, maxBlock);
    downmixBuffer.setSize (2, maxBlock);
    deltaBuffer.setSize (2, maxBlock);
    m_headphones.prepare (currentSampleRate, maxBlock);

    const int latency = UpmixerAlgo::getLatencySamples();
    for (int ch = 0; ch < maxChannels; ++ch)
    {
        inputDelay[(size_t) ch].setMaxDelay (latency);
        sourceDelay[(size_t) ch].setMaxDelay (latency);
        sourceDelay[(size_t) ch].setDelay (latency);
    }
    for (auto& delay : sendDelay)
        delay.setMaxDelay (4096);
    // Gains move to new targets in 3 ms, a de-click ramp short enough to hear as immediate.
    const int rampSamples = juce::roundToInt (0.003 * currentSampleRate);
    for (auto* ramps : { inputGain.data(), outputGain.data() })
        for (int ch = 0; ch < maxChannels; ++ch)
        {
            ramps[ch].setLength (rampSamples);
            ramps[ch].reset (1.0f);
        }
    for (auto& ramp : downmixGain)
    {
        ramp.setLength (rampSamples);
        ramp.reset (1.0f);
    }
    sourceFed = 0;
    m_observers.prepare (currentSampleRate, maxBlock);
    monitor.reset (UpmixerMonitor::selectMode (getParameterTable()));

    buildLayoutFromBuses();
    resolveRouting();
    m_upmixerAlgo.prepare (this, (float) currentSampleRate);
    checkNumInputChannels();
    podPrepare (currentSampleRate);
    m_nOwnSamples = 0;

    reportedLatency = -1;
    updateLatency();
}

void UpmixerProcessor::releaseResources() {}

void UpmixerProcessor::processBlock (juce::AudioBuffer<float>& buffer, juce::MidiBuffer&)
{
    processWholeBlock (buffer, false);
}

void UpmixerProcessor::processBlockBypassed (juce::AudioBuffer<float>& buffer, juce::MidiBuffer&)
{
    // The host's own bypass plays the time-aligned source, as the Bypass parameter does.
    processWholeBlock (buffer, true);
}

void UpmixerProcessor::processWholeBlock (juce::AudioBuffer<float>& buffer, bool bypassed) noexcept
{
    juce::ScopedNoDenormals noDenormals;
    markStarted();
    noteBlock (buffer.getNumSamples());

    const int numSamples = buffer.getNumSamples();
    const int numChannels = buffer.getNumChannels();
    if (numSamples <= 0 || numChannels <= 0 || maxBlock <= 0)
        return;
    applyPendingChanges();

    // A host may change its channel count without preparing again; the layout follows, as it
    // does a send selector set or cleared.
    const bool countsChanged = getTotalNumInputChannels() != layout.numInputs || getTotalNumOutputChannels() != layout.numOutputs;
    if (m_bSendSelectorChanged.exchange (false) || countsChanged)
        buildLayout (countsChanged ? nullptr : &m_builtBuses, getTotalNumInputChannels(), getTotalNumOutputChannels());
    resolveRouting();

    const juce::int64 position = podBlockPosition (numSamples);
    std::array<float*, 64> channels {};
    const int numHost = juce::jmin (numChannels, (int) channels.size());
    for (int done = 0; done < numSamples; done += maxBlock)
    {
        const int n = juce::jmin (maxBlock, numSamples - done);
        for (int ch = 0; ch < numHost; ++ch)
            channels[(size_t) ch] = buffer.getWritePointer (ch, done);
        processChunk (channels.data(), numHost, n, bypassed, position + done);
    }
    // A timing item stamped after the engine (the pod's receive) ends with the block, not with
    // the next block's first stage.
    if (profiler.isTiming())
        profiler.stop (juce::Time::getMillisecondCounterHiRes());
    if (isProfilingShown())
        noteBlockEnd();
}

void UpmixerProcessor::applyInputTrims (float* const* host, int numInputs, int numSamples) noexcept
{
    const auto& t = getParameterTable();
    for (int ch = 0; ch < numInputs && ch < maxChannels; ++ch)
    {
        const int muteParameter = sourceMuteParameter (numInputs, ch);
        float gain = levelGain (t, sourceTrimParameter (numInputs, ch));
        if (muteParameter >= 0 && t.isOn (muteParameter))
            gain = 0.0f;

        inputGain[(size_t) ch].setTarget (gain);
        inputGain[(size_t) ch].process (host[ch], numSamples);
    }
}

void UpmixerProcessor::copyInputsToEngine (float* const* host, int numInputs, int numSamples) noexcept
{
    const int routing = getCurrentRouting();
    const int mixType = getParameterTable().getChoice (InputMixType);
    engineBuffer.clear (0, numSamples);
    juce::uint32 fed = 0;  // engine channels that receive input in this block

    for (int i = 0; i < numInputs && i < maxChannels; ++i)
    {
        int kind = layout.inputKinds[(size_t) i];
        if (numInputs == 6 && mixType > 0 && mixType < 4)
            kind = inputOrders[mixType][i];
        if (kind < 0)
            break;

        const int target = Routing_::hostPositionOfKind (routing, kind);
        if (target < 0 || target >= maxChannels)
            continue;

        float* dst = engineBuffer.getWritePointer (target);
        const float* src = host[i];
        // Non-finite input would poison every recursive filter downstream for good.
        for (int s = 0; s < numSamples; ++s)
            dst[s] = std::isfinite (src[s]) ? src[s] : 0.0f;
        auto& delay = inputDelay[(size_t) target];
        if (delay.getDelay() > 0)
            delay.processInPlace (dst, numSamples);
        fed |= 1u << target;

        if (numInputs == 1)
        {
            const int right = Routing_::hostPositionOfKind (routing, Routing_::kindR);
            if (right >= 0 && right < maxChannels)
            {
                engineBuffer.copyFrom (right, 0, engineBuffer, target, 0, numSamples);
                fed |= 1u << right;
            }
        }
    }

    // The source copy, delayed by the engine's latency, is what Listen Source and Delta play.
    // Only channels that carry input need their delay line; one that stops carrying input has
    // its line emptied, so that it never replays old audio when it is fed again.
    for (int ch = 0; ch < maxChannels; ++ch)
    {
        const bool isFed = (fed >> ch) & 1u;
        if (! isFed && ((sourceFed >> ch) & 1u))
            sourceDelay[(size_t) ch].clear();
        if (isFed)
        {
            sourceBuffer.copyFrom (ch, 0, engineBuffer, ch, 0, numSamples);
            sourceDelay[(size_t) ch].processInPlace (sourceBuffer.getWritePointer (ch), numSamples);
        }
        else
            sourceBuffer.clear (ch, 0, numSamples);
    }
    sourceFed = fed;
}

void UpmixerProcessor::applyOutputGains (int numSamples) noexcept
{
    const auto& t = getParameterTable();
    bool anySolo = false;
    for (int kind = 0; kind < numOutputs; ++kind)
        anySolo = anySolo || t.isOn (Solo0 + kind);

    // The families are numbered by channel kind, the engine's buffers by host position: each
    // kind's gain goes to the position that carries it under the current routing.
    const int routing = getCurrentRouting();
    for (int kind = 0; kind < numOutputs; ++kind)
    {
        const int ch = Routing_::hostPositionOfKind (routing, kind);
        if (ch < 0 || ch >= maxChannels)
            continue;
        // Solo wins over mute: once any output is soloed, exactly the soloed ones play.
        const bool muted = anySolo ? ! t.isOn (Solo0 + kind) : t.isOn (Mute0 + kind);
        const float gain = muted ? 0.0f : levelGain (t, Trim0 + kind);
        outputGain[(size_t) kind].setTarget (gain);
        outputGain[(size_t) kind].process (engineBuffer.getWritePointer (ch), numSamples);
    }
}

void UpmixerProcessor::computeDownmix (int numSamples) noexcept
{
    const auto& t = getParameterTable();
    UpmixerDownmix::Coefficients k;
    k.centre = UpmixerDownmix::coefficientForChoice (t.getChoice (DownmixC));
    k.surround = UpmixerDownmix::coefficientForChoice (t.getChoice (DownmixS));
    k.lfe = UpmixerDownmix::coefficientForChoice (t.getChoice (DownmixLfe));
    k.rear = engineOutputs < 8 ? 0.0f : UpmixerDownmix::coefficientForChoice (t.getChoice (DownmixB));

    const int routing = getCurrentRouting();
    UpmixerDownmix::fold (engineBuffer.getArrayOfReadPointers(), engineOutputs, routing, downmixCoefficients, k,
                          downmixBuffer.getArrayOfWritePointers(), numSamples);
    for (int side = 0; side < 2; ++side)
    {
        downmixGain[(size_t) side].setTarget (t.isOn (MuteDownmix0 + side) ? 0.0f : 1.0f);
        downmixGain[(size_t) side].process (downmixBuffer.getWritePointer (side), numSamples);
    }

    // Delta: the time-aligned input folded the same way, minus the fold-down of the upmix.
    UpmixerDownmix::fold (sourceBuffer.getArrayOfReadPointers(), maxChannels, routing, downmixCoefficients, k,
                          deltaBuffer.getArrayOfWritePointers(), numSamples);
    for (int side = 0; side < 2; ++side)
        deltaBuffer.addFrom (side, 0, downmixBuffer, side, 0, numSamples, -1.0f);
    downmixCoefficients = k;
}

juce::int64 UpmixerProcessor::podBlockPosition (int numSamples) noexcept
{
    juce::int64 position = m_nOwnSamples;
    m_nOwnSamples += numSamples;
    if (getSendSelector() != -1)
        if (auto* head = getPlayHead())
            if (const auto info = head->getPosition(); info.hasValue() && info->getIsPlaying())
                if (const auto samples = info->getTimeInSamples())
                    position = *samples;
    return position;
}

void UpmixerProcessor::processChunk (float* const* host, int numHostChannels, int numSamples, bool bypassed, juce::int64 position) noexcept
{
    const auto& t = getParameterTable();
    const bool bypass = bypassed || t.isOn (Bypass);
    const int numInputs = juce::jmin (offline.isRendering() && offline.getNumInputChannels() > 0 ? offline.getNumInputChannels()
                                                                                                : m_nTrackNumInputChannels,
                                      getTotalNumInputChannels(), numHostChannels);
    const int routing = getCurrentRouting();

    if (! bypass)
        applyInputTrims (host, numInputs, numSamples);
    m_observers.feedSource (host, numInputs, numSamples);
    copyInputsToEngine (host, numInputs, numSamples);

    m_upmixerAlgo.setOutputLayout (routing);
    m_upmixerAlgo.setNumOutputChannels (engineOutputs);
    m_upmixerAlgo.setNumOverheadChannels (numOverheads);
    m_upmixerAlgo.process (engineBuffer.getArrayOfWritePointers(), maxChannels, numSamples);

    applyOutputGains (numSamples);
    computeDownmix (numSamples);
    // A pod's receiver playing the upmix meters what it plays: the pod's sum, which exists only
    // after the output delay lines.
    const bool meterPodSum = isPodReceiver() && ambisonicOrder == 0 && ! bypass && ! m_headphones.isNeeded()
                             && UpmixerMonitor::selectMode (t) == UpmixerMonitor::modeUpmix;
    feedObservers (numSamples, meterPodSum);

    const int numOutputs = juce::jmin (getTotalNumOutputChannels(), numHostChannels, (int) maxHostOutputs);
    if (ambisonicOrder > 0)
        writeAmbisonic (host, numOutputs, numSamples, bypassed || bypass);
    else
        writeMonitored (host, numOutputs, numSamples, bypassed);

    if (getSendSelector() == -1)
        return;
    podSend (host, numOutputs, numSamples, position);
    for (int ch = 0; ch < numOutputs; ++ch)
        sendDelay[(size_t) ch].processInPlace (host[ch], numSamples);
    constexpr int podInItem = 4;
    if (isPodReceiver())
    {
        profiler.stamp (podInItem, juce::Time::getMillisecondCounterHiRes(), numSamples / currentSampleRate * 1000.0);
        podReceive (host, numOutputs, numSamples, position);
        if (meterPodSum)
            m_observers.feedUpmixRow (host, juce::jmin (engineOutputs, numOutputs), numSamples);
    }
}

void UpmixerProcessor::writeAmbisonic (float* const* host, int numOutputs, int numSamples, bool bypass) noexcept
{
    // Bypassed, the time-aligned source is encoded instead: L and R from the front pair.
    auto& encoded = bypass ? sourceBuffer : engineBuffer;
    m_upmixerAlgo.encodeAmbisonic (encoded.getArrayOfWritePointers(), maxChannels, host, numOutputs, numSamples,
                                   ambisonicOrder, ambisonicFormat);
    m_observers.feedAmbisonic (host, numOutputs, numSamples);
    if (m_headphones.isNeeded())
    {
        const unsigned kinds = m_headphones.decodeAmbisonic (host, numOutputs, ambisonicOrder, ambisonicFormat, numSamples);
        m_headphones.process (kinds, getCurrentRouting(), engineOutputs, true, host, numOutputs, numSamples);
    }
}

void UpmixerProcessor::writeMonitored (float* const* host, int numOutputs, int numSamples, bool bypassed) noexcept
{
    const auto& t = getParameterTable();
    const int routing = getCurrentRouting();
    UpmixerMonitor::Signals signals;
    signals.upmix = engineBuffer.getArrayOfReadPointers();
    signals.numUpmix = juce::jmin (engineOutputs, numOutputs);
    signals.source = sourceBuffer.getArrayOfReadPointers();
    signals.numSource = maxChannels;
    signals.downmix = downmixBuffer.getArrayOfReadPointers();
    signals.delta = deltaBuffer.getArrayOfReadPointers();
    signals.routing = routing;

    const int mode = bypassed ? UpmixerMonitor::modeSource : UpmixerMonitor::selectMode (t);
    monitor.process (mode, signals, host, juce::jmin (numOutputs, (int) maxChannels), numSamples, currentSampleRate);
    if (m_headphones.isNeeded())
    {
        const unsigned kinds = monitor.writeKinds (signals, m_headphones.getKindChannels(), numSamples);
        m_headphones.process (kinds, routing, engineOutputs, false, host, numOutputs, numSamples);
    }
}

void UpmixerProcessor::feedObservers (int numSamples, bool upmixRowApart) noexcept
{
    UpmixerObservers::Signals signals;
    signals.upmix = engineBuffer.getArrayOfWritePointers();
    signals.numUpmix = engineOutputs;
    signals.source = sourceBuffer.getArrayOfWritePointers();
    signals.numSource = maxChannels;
    signals.downmix = downmixBuffer.getArrayOfWritePointers();
    signals.delta = deltaBuffer.getArrayOfWritePointers();
    signals.routing = getCurrentRouting();
    signals.upmixRowApart = upmixRowApart;
    m_observers.feedOutputs (signals, numSamples);
}

int UpmixerProcessor::sourceTrimParameter (int numInputs, int input) noexcept
{
    // Stereo has a trim per side; every other input count shares one trim on purpose.
    return numInputs == 2 && input == 1 ? TrimSource1 : TrimSource0;
}

int UpmixerProcessor::sourceMuteParameter (int numInputs, int input) noexcept
{
    if (numInputs == 2)
        return input == 0 ? MuteSource0 : input == 1 ? MuteSource1 : -1;
    if (numInputs < 1 || numInputs >= 6 || input < 0)
        return -1;
    int first = 0;
    for (int group = 0; group < 3; ++group)
    {
        first += muteGroupSlots[numInputs][group];
        if (input < first)
            return MuteSourceMulti0 + group;
    }
    return -1;
}

int UpmixerProcessor::routingForMixType (int choice, int pluginType) noexcept
{
    constexpr int routings[] = { 0, 1, 2, 3, 4, 7, 9, 15, 25 };
    if (choice >= 0 && choice < (int) std::size (routings))
        return routings[choice];
    if (choice == 10)
        return pluginType == Routing_::typeRtas || pluginType == Routing_::typeAax ? 15 : 16;
    return Routing_::routingFromHost;
}

bool UpmixerProcessor::isLinkAvailable (int number) const noexcept
{
    if (number == FadeSB)
        return engineOutputs >= 8;  // the rears exist only from 7.1 on
    if (number == DivergeLfcAmount)
        return getParameterTable().isOn (DivergeLfcEnable);
    return true;
}

void UpmixerProcessor::carryLinked (int changed, const int* group, int groupSize, float* snapshot)
{
    // Linked controls keep the offsets they had when the link was switched on.
    int changedIndex = -1;
    for (int i = 0; i < groupSize; ++i)
        if (group[i] == changed)
            changedIndex = i;
    if (changedIndex < 0)
        return;

    const float delta = getParameterTable().get (changed) - snapshot[changedIndex];
    for (int i = 0; i < groupSize; ++i)
        if (i != changedIndex && isLinkAvailable (group[i]))
            setParameterNotifyingHost (group[i], juce::jlimit (0.0f, 1.0f, snapshot[i] + delta), false);
}

void UpmixerProcessor::parameterChanged (int number, float value, bool userChange)
{
    podParameterChanged (number);
    static constexpr int arcGroup[] = { Divergence, FadeFS, FadeSB, DivergeLfcAmount };
    static constexpr int verticalGroup[] = { VerticalOnPhase, VerticalOffPhase };
    auto& t = getParameterTable();

    switch (number)
    {
        case InputMixType: pendingInputCheck.store (true); break;
        case AmbisonicFormat: ambisonicFormat = juce::jmin (KaParameterTable::choiceOf (value), 1); break;
        case MixType:
        {
            const int routing = routingForMixType (KaParameterTable::choiceOf (value), getPluginTypeNumber());
            t.set (Routing, KaParameterTable::valueOfChoice (routing));
            queueHostNotification (Routing);
            break;
        }
        case ArcLink:
            if (value != 0.0f)
                for (int i = 0; i < 4; ++i)
                    arcSnapshot[(size_t) i] = t.get (arcGroup[i]);
            break;
        case VerticalLink:
            if (value != 0.0f)
                for (int i = 0; i < 2; ++i)
                    verticalSnapshot[(size_t) i] = t.get (verticalGroup[i]);
            break;
        case AutomationLogging: setAutomationLogging (value != 0.0f); break;
        case PanelIO: m_observers.resetSourceMeters(); break;
        case Test: setTestFlag (value != 0.0f); break;
        case ShowProfiling: profiler.setEnabled (value != 0.0f); break;
        case ShowExtraOutputOptions:
            if (userChange)
                postWarning ({}, "Changing this setting requires you to restart the host application for it to take effect");
            break;
        default: break;
    }

    if (userChange && t.isOn (ArcLink))
        carryLinked (number, arcGroup, 4, arcSnapshot.data());
    if (userChange && t.isOn (VerticalLink))
        carryLinked (number, verticalGroup, 2, verticalSnapshot.data());
    if ((number >= TrimSource0 && number <= TrimSource1) || (number >= Trim0 && number < Trim0 + maxChannels))
        carryTrimLink (number, value, userChange);
}

void UpmixerProcessor::carryTrimLink (int number, float value, bool userChange)
{
    // Shadow slots: 0, 1 the source trims, 2 + kind the outputs'. Pairs are neighbours from
    // slot 0 (L / R of the source, then L / R, C / LFE unlinked, Ls / Rs, Lsr / Rsr, Lts / Rts,
    // Trl / Trr), each with its link setting (-1: none).
    static constexpr int links[] = { LinkSourceLR, LinkLR, -1, LinkLsRs, LinkLbRb, LinkLtsRts, LinkTrlTrr };
    auto slotOf = [] (int n) { return n <= TrimSource1 ? n - TrimSource0 : 2 + n - Trim0; };
    auto numberOf = [] (int slot) { return slot < 2 ? TrimSource0 + slot : Trim0 + slot - 2; };
    const int slot = slotOf (number);
    const float step = value - trimShadow[(size_t) slot].exchange (value, std::memory_order_relaxed);
    const int link = links[slot / 2];
    if (! userChange || link < 0 || ! getParameterTable().isOn (link) || step == 0.0f)
        return;
    const int partner = slot ^ 1;
    const float moved = juce::jlimit (0.0f, 1.0f, trimShadow[(size_t) partner].load (std::memory_order_relaxed) + step);
    trimShadow[(size_t) partner].store (moved, std::memory_order_relaxed);
    setParameterNotifyingHost (numberOf (partner), moved, false);
}

void UpmixerProcessor::onHousekeeping()
{
    if (pendingInputCheck.exchange (false))
        checkNumInputChannels (true);
    updateLatency();
    podHousekeeping();
}

void UpmixerProcessor::performParamMappingToNextVersion (int oldVersion)
{
    KaLog::write ("UpmixerProcessor::performParamMappingToNextVersion: nOldPluginVersion=" + juce::String (oldVersion));
    // Switches whose default changed with a map version are turned off for values saved before
    // it, so that an old session sounds the way it was made.
    if (oldVersion < 2)
    {
        setParameterNotifyingHost (ExcludeC, 0.0f, false);
        setParameterNotifyingHost (ExcludeLfe, 0.0f, false);
    }
    if (oldVersion < 3)
    {
        setParameterNotifyingHost (ExtendedVerticalParamRange, 0.0f, false);
        setParameterNotifyingHost (SwitchedMultiInputFadeAlgo, 0.0f, false);
    }
}

std::vector<KaPreset> UpmixerProcessor::createFactoryPresets() const
{
    return UpmixerFactoryPresets::create (getParameterTable());
}

void UpmixerProcessor::offlineAnalysisBegin (int numInputChannels) { offline.analysisBegin (numInputChannels, currentSampleRate); }
void UpmixerProcessor::offlineAnalysisBlock (const juce::AudioBuffer<float>& block) { offline.analysisBlock (block); }
void UpmixerProcessor::offlineAnalysisEnd() { offline.analysisEnd(); }
void UpmixerProcessor::offlineRenderBegin() { offline.renderBegin(); }

void UpmixerProcessor::offlineRenderBlock (juce::AudioBuffer<float>& block)
{
    offline.renderBlock (block);
    juce::MidiBuffer midi;
    processBlock (block, midi);
}

void UpmixerProcessor::offlineRenderEnd() { offline.renderEnd(); }

bool UpmixerProcessor::isAnnouncedWithoutValue (int number) const
{
    return number == Bypass || number == AudioThru || number == MonitorSource || number == MonitorUpmix;
}

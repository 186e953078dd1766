#include "engine/UpmixerAlgo.h"
#include "engine/KaProfiler.h"
#include "engine/UpmixerGains.h"
#include "processor/UpmixerParameters.h"

#include <algorithm>
#include <cmath>

using namespace UpmixerParam;
using UpmixerGains::dbToGain;
using UpmixerGains::logSweep;

namespace
{
    /** The roles (0 L, 1 R, 2 C, 3 LFE, 4 Ls, 5 Rs, 6 Lsr, 7 Rsr, 8 and 9 heights) of input channel
        i for n input channels, row n; -1 for none. 11 and 12 inputs have no order of their own:
        every channel counts as L, so the engine upmixes the block's L and R slots as for stereo. */
    constexpr int inputSlotRows[13][13] = {
        { -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1 },
        { 0, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1 },
        { 0, 1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1 },
        { 0, 2, 1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1 },
        { 0, 1, 4, 5, -1, -1, -1, -1, -1, -1, -1, -1, -1 },
        { 0, 1, 2, 4, 5, -1, -1, -1, -1, -1, -1, -1, -1 },
        { 0, 2, 1, 4, 5, 3, -1, -1, -1, -1, -1, -1, -1 },
        { 0, 2, 1, 4, 5, 6, 7, -1, -1, -1, -1, -1, -1 },
        { 0, 2, 1, 4, 5, 6, 7, 3, -1, -1, -1, -1, -1 },
        { 0, 2, 1, 4, 5, 6, 7, 8, 9, -1, -1, -1, -1 },
        { 0, 2, 1, 4, 5, 6, 7, 3, 8, 9, -1, -1, -1 },
        { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 },
        { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 },
    };

    struct ProfilerItem
    {
        int index;
        const char* name;
    };

    // Items 4 to 7 are timed by the processor; the engine registers them with its own.
    constexpr ProfilerItem profilerItems[] = {
        { 4, "Upmixer_podIn" },           { 5, "Upmixer_LMIn" },         { 6, "Upmixer_LMOut" },
        { 7, "Upmixer_LMDownmix" },       { 8, "Upmixer_DialogExtraction" }, { 9, "Upmixer_UpmixPsd" },
        { 10, "Upmixer_spreadCentre" },   { 11, "Upmixer_generateLfe" }, { 12, "Upmixer_generateOverheadChannels" },
    };

    enum TimingItem
    {
        dialogExtractionItem = 8,
        upmixPsdItem = 9,
        spreadCentreItem = 10,
        generateLfeItem = 11,
        overheadItem = 12
    };

    constexpr float hardSlope = UpmixerFrequencyDomainAlgo::hardSlope;
}

std::array<CircularAudioBuffer, 6> UpmixerAlgo::makeInputDelays()
{
    std::array<CircularAudioBuffer, 6> buffers { CircularAudioBuffer (1), CircularAudioBuffer (1), CircularAudioBuffer (1),
                                                 CircularAudioBuffer (1), CircularAudioBuffer (1), CircularAudioBuffer (1) };
    // 65536 samples of room: the delay plus the longest run the stages take stay far below it.
    for (auto& buffer : buffers)
        buffer.setSize (65536);
    return buffers;
}

UpmixerAlgo::UpmixerAlgo()
    : inputDelay (makeInputDelays()),
      diffuseStage (diffuseDelay, backDelay, diffuseLowPass, sideAllPassL, sideAllPassR, backAllPassL, backAllPassR, surroundShelf),
      centreLfeStage (lfeLowPass, centreLowShelf, auxLowPass),
      overheadStage (overheadShelf),
      multiInputStage (inputDelay, inputSlotTable, maxSubBlock)
{
    for (size_t row = 0; row < inputSlotTable.size(); ++row)
        std::copy (std::begin (inputSlotRows[row]), std::end (inputSlotRows[row]), inputSlotTable[row].begin());
    m_nUpmixerNumInputChannels = 2;
    numOutputChannels = 6;
    numOverheadChannels = 0;
    prepare (nullptr, 48000.0f);
}

void UpmixerAlgo::prepare (UpmixerAlgoInterface* newHost, float newSampleRate)
{
    freqAlgo.prepare (frameLength);

    host = newHost;
    sampleRate = newSampleRate > 0.0f ? newSampleRate : 48000.0f;
    outputLayout = 0;

    diffuseLowPass.setParameters (7000.0f, 1.0f, sampleRate, 1.0f);
    // Complementary pairs: opposite coefficients give the two sides of each pair differing phase.
    sideAllPassL.setCoefficient (0.3f);
    sideAllPassR.setCoefficient (-0.3f);
    backAllPassL.setCoefficient (0.5f);
    backAllPassR.setCoefficient (-0.5f);

    // Placeholder designs until the first block sets the shelves from the parameters.
    for (auto* shelves : { &surroundShelf, &overheadShelf })
        for (auto& shelf : *shelves)
            shelf.setParameters (2000.0f, 1.0f, sampleRate, 0.8f);

    for (auto& lowPass : lfeLowPass)
        lowPass.setParameters (200.0f, 1.0f, sampleRate, 1.0f);
    auxLowPass.setParameters (200.0f, 1.0f, sampleRate, 1.0f);
    centreLowShelf.setParameters (200.0f, 1.0f, sampleRate, 1.0f);

    // A new start: nothing of what played before preparing may ring on.
    for (auto* filter : std::initializer_list<CRecursiveFilter<float>*> { &diffuseLowPass, &sideAllPassL, &sideAllPassR, &backAllPassL,
                                                                         &backAllPassR, &centreLowShelf, &auxLowPass })
        filter->reset();
    for (auto* filters : { surroundShelf.data(), overheadShelf.data() })
        for (size_t i = 0; i < surroundShelf.size(); ++i)
            filters[i].reset();
    for (auto& lowPass : lfeLowPass)
        lowPass.reset();

    multiInputStage.prepare (getLatencySamples());
    m_bMultiInputRunning = false;

    diffuseDelay.prepare (2500, 0.0f);
    backDelay.prepare (625, 0.0f);

    diffuseStage.reset();
    centreLfeStage.reset();
    overheadStage.reset();
    ambisonicStage.reset();

    if (host != nullptr && ! profilerRegistered)
        if (auto* profiler = host->getProfiler())
        {
            for (const auto& item : profilerItems)
                profiler->registerItem (item.index, item.name);
            profilerRegistered = true;
        }
}

void UpmixerAlgo::process (float* const* block, int numChannels, int numSamples) noexcept
{
    if (host == nullptr || block == nullptr)
        return;

    numChannels = std::clamp (numChannels, 0, maxChannels);
    std::array<float*, maxChannels> piece {};

    // A zero-sample block still runs once: the delay lines take up a pending length change.
    int done = 0;
    do
    {
        const int n = std::min (maxSubBlock, std::max (0, numSamples - done));
        for (int ch = 0; ch < numChannels; ++ch)
            piece[(size_t) ch] = block[ch] + done;
        processSubBlock (piece.data(), numChannels, n);
        done += n;
    } while (done < numSamples);
}

void UpmixerAlgo::startTiming (int item, int numSamples) const noexcept
{
    KaProfiler* profiler = host->getProfiler();
    if (profiler != nullptr && profiler->item (item).enabled.load (std::memory_order_relaxed))
        profiler->stamp (item, juce::Time::getMillisecondCounterHiRes(), numSamples / (double) sampleRate * 1000.0);
}

void UpmixerAlgo::stopTiming() const noexcept
{
    if (KaProfiler* profiler = host->getProfiler(); profiler != nullptr && profiler->isTiming())
        profiler->stop (juce::Time::getMillisecondCounterHiRes());
}

void UpmixerAlgo::processSubBlock (float* const* block, int numChannels, int numSamples) noexcept
{
    const UpmixerChannels channels (block, numChannels, outputLayout);

    // The discrete input channels are taken before the upmix overwrites their slots.
    const bool multiInput = m_nUpmixerNumInputChannels > 2;
    if (multiInput)
    {
        if (! m_bMultiInputRunning)
            multiInputStage.forget();
        multiInputStage.capture (channels, m_nUpmixerNumInputChannels, numSamples);
    }
    m_bMultiInputRunning = multiInput;

    runFrequencyDomainStage (block, numChannels, numSamples);
    runDiffuseStage (channels, numChannels, numSamples);
    runCentreAndLfe (channels, numSamples);

    if (multiInput)
    {
        UpmixerMultiInputStage::Settings settings;
        settings.numInputs = m_nUpmixerNumInputChannels;
        settings.numOutputChannels = numOutputChannels;
        settings.fadeSB = p (FadeSB);
        settings.lfeOn = p (Lfe) != 0.0f;
        // Only an excluded LFE is the input's alone, so only then does its own gain apply.
        settings.lfeGain = p (ExcludeLfe) != 0.0f ? UpmixerGains::dbToGain (55.0f * p (ExcludeLfeGain) - 45.0f) : 1.0f;
        settings.switched = p (SwitchedMultiInputFadeAlgo) != 0.0f;
        multiInputStage.mix (channels, numSamples, settings);
    }

    if (p (DivergeLfcEnable) != 0.0f)
    {
        centreLowShelf.setParameters (logSweep (p (DivergeLfcFreq), 40.0f, 1000.0f), 1.0f, sampleRate,
                                      dbToGain (-40.0f * p (DivergeLfcAmount)));
        centreLfeStage.divergeLowCentre (channels, numSamples, panLaw[1], p (MonitorCLF) != 0.0f, sampleRate);
    }

    runOverheads (channels, numSamples);
    stopTiming();
}

void UpmixerAlgo::runFrequencyDomainStage (float* const* block, int numChannels, int numSamples) noexcept
{
    freqAlgo.setOutputLayout (outputLayout);

    auto& s = freqAlgo.settings;
    const float isolate = p (DialogIsolate);
    const float aggression = p (DialogExtractionAggression);
    s.dialogAmount = isolate * std::min (1.0f, 2.0f * aggression);
    s.dialogAttack = p (DialogAttack);
    s.dialogRelease = p (DialogRelease);
    s.dialogMixInC = p (DialogMixInC);
    s.centreThreshold = p (Divergence);
    // Smoothing over frames: 0.99 normally; with isolation on it falls from 0.99 (aggression 0)
    // to 0.8 (aggression 1), so the split follows the dialogue's faster changes.
    s.correlationSmoothing = isolate == 0.0f ? 0.99f : 1.0f - logSweep (aggression, 0.01f, 0.2f);

    const float fadeFS = p (FadeFS), fadeSB = p (FadeSB), rampS = p (DE_RampS);
    s.frontOffset = 2.0f * fadeFS - 1.0f;
    s.frontSlope = rampS == 0.0f || fadeFS == 0.0f || fadeFS == 1.0f ? hardSlope : 0.5f / rampS;
    s.backOffset = 2.0f * fadeSB - 1.0f;
    s.backSlope = fadeSB == 0.0f || fadeSB == 1.0f ? hardSlope : 0.5f;
    s.backBoost = p (BackBoost) != 0.0f ? 1.0f : 0.0f;

    startTiming (dialogExtractionItem, numSamples);
    freqAlgo.process (block, numChannels, numSamples, panLaw);
}

void UpmixerAlgo::runDiffuseStage (const UpmixerChannels& channels, int numChannels, int numSamples) noexcept
{
    const float fadeFS = p (FadeFS), fadeSB = p (FadeSB), diffusion = p (Diffusion);
    const float gFS = fadeFS == 0.0f ? 0.0f : dbToGain (20.0f * fadeFS - 15.0f);
    const float gSB = fadeSB == 0.0f ? 0.0f : dbToGain (20.0f * fadeSB - 20.0f);

    const float width = p (UpmixPsdWidth);
    diffuseDelay.setPendingDelay ((int) (width * 2500.0f));
    backDelay.setPendingDelay ((int) (width * 625.0f));

    // -30 dB to 0 dB over the control's travel; its ends switch the diffuse sound off and full on.
    const float q = 1.0f - diffusion;
    const float gD = q > 0.0f && q < 1.0f ? dbToGain (30.0f * diffusion - 30.0f) : (q == 0.0f ? 1.0f : 0.0f);

    UpmixerDiffuseStage::Gains gains;
    gains.centreFold = (1.0f - p (DialogExtractionAggression)) * gD;
    gains.keep = 1.0f - p (Divergence);
    gains.diffusion = gD;
    gains.frontFade = gFS;
    gains.side = p (BackBoost) != 0.0f ? 1.0f : 1.0f - gSB;
    gains.backFade = gSB;

    const float shelfDb = p (ShelfEnable) == 0.0f ? 0.0f : 20.0f * p (ShelfGain) - 10.0f;
    const float sideFrequency = logSweep (p (ShelfFreq), 1000.0f, 22000.0f);
    const float backFrequency = logSweep (p (ShelfFreq), 1100.0f, 22000.0f);
    for (int i = 0; i < 4; ++i)
        surroundShelf[(size_t) i].setParameters (i < 2 ? sideFrequency : backFrequency, 1.0f, sampleRate, dbToGain (shelfDb));

    startTiming (upmixPsdItem, numSamples);
    diffuseStage.synthesise (channels, numSamples, gains, panLaw[1], panLaw[2]);
    diffuseStage.shelve (channels, numChannels, numSamples);
}

void UpmixerAlgo::runCentreAndLfe (const UpmixerChannels& channels, int numSamples) noexcept
{
    // A discrete input centre with ExcludeC keeps C for itself: the upmixed centre goes to L and R.
    const float spread = hasCentreInput() && p (ExcludeC) != 0.0f ? 1.0f : p (Divergence);
    startTiming (spreadCentreItem, numSamples);
    centreLfeStage.spreadCentre (channels, numSamples, spread, panLaw[1]);

    const bool generateLfe = p (Lfe) != 0.0f && ! (hasLfeInput() && p (ExcludeLfe) != 0.0f);
    if (! generateLfe)
    {
        channels.clear (3, numSamples);
        return;
    }

    startTiming (generateLfeItem, numSamples);
    const float crossover = logSweep (p (LfeFreq), 10.0f, 200.0f);
    for (auto& lowPass : lfeLowPass)
        lowPass.setParameters (crossover, 1.0f, sampleRate, 1.0f);
    const float gain = dbToGain (55.0f * p (LfeGain) - 45.0f);
    const float split = p (DownmixExact) == 0.0f ? p (LfeSplit) : 0.0f;
    centreLfeStage.generateLfe (channels, numSamples, gain, split);
}

void UpmixerAlgo::runOverheads (const UpmixerChannels& channels, int numSamples) noexcept
{
    if (numOverheadChannels < 1)
    {
        for (int kind = 8; kind < 12; ++kind)
            channels.clear (kind, numSamples);
        return;
    }

    startTiming (overheadItem, numSamples);
    const float shelfDb = p (VerticalShelfEnable) == 0.0f ? 0.0f : 20.0f * p (VerticalShelfGain) - 10.0f;
    const float frequency = logSweep (p (VerticalShelfFreq), 1000.0f, 22000.0f);
    for (auto& shelf : overheadShelf)
        shelf.setParameters (frequency, 1.0f, sampleRate, dbToGain (shelfDb));

    UpmixerOverheadStage::Settings settings;
    settings.onPhase = p (VerticalOnPhase);
    settings.offPhase = p (VerticalOffPhase);
    settings.excludeCentre = p (VerticalExcludeC) != 0.0f;
    settings.excludeLfe = p (VerticalExcludeLfe) != 0.0f;
    settings.extendedRange = p (ExtendedVerticalParamRange) != 0.0f;
    settings.numOverheads = numOverheadChannels;
    overheadStage.process (channels, numSamples, settings, panLaw);
}

void UpmixerAlgo::encodeAmbisonic (float* const* block, int numChannels, float* const* out, int numOut, int numSamples,
                                   int order, int format) noexcept
{
    if (host == nullptr || numSamples <= 0)
        return;
    UpmixerAmbisonicStage::Settings settings;
    settings.order = order;
    settings.format = format;
    settings.onPhase = p (VerticalOnPhase);
    settings.offPhase = p (VerticalOffPhase);
    settings.excludeCentre = p (VerticalExcludeC) != 0.0f;
    settings.extendedRange = p (ExtendedVerticalParamRange) != 0.0f;
    ambisonicStage.process (UpmixerChannels (block, std::min (numChannels, maxChannels), outputLayout), out, numOut,
                            numSamples, settings);
}

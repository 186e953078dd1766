#include "app/UpmixRenderer.h"
#include "app/UpmixInterruptGuard.h"
#include "processor/KaChannelRouting.h"
#include "processor/KaPresetFile.h"
#include "processor/KaPresetLibrary.h"
#include "processor/UpmixerParameters.h"
#include "processor/UpmixerProcessor.h"

#include <algorithm>
#include <cmath>

namespace
{
    using Set = juce::AudioChannelSet;
    using T = juce::AudioChannelSet::ChannelType;
    using namespace KaChannelRouting;

    struct Layout
    {
        const char* name;
        Set pluginSet;                 // what the processor's output bus is set to
        std::vector<T> wavTypes;       // WAV speaker of each file channel, in mask-bit order
        std::vector<int> wavKinds;     // the channel kind each file channel carries
        int ambisonicFormat = -1;      // AmbisonicFormat for an Ambisonic layout, else -1
    };

    /** Ambisonic layouts: the processor's channels go to the file as they are, with no speaker
        mask (Ambisonic readers take the order and normalisation from the layout's name). */
    Layout ambisonic (const char* name, int order, int format)
    {
        return { name, Set::ambisonic (order), {}, {}, format };
    }

    /** The names of the Ambisonic channels in file order: ACN numbers, or FuMa's letters. */
    juce::String ambisonicChannelName (int format, int channel)
    {
        return format == UpmixerAmbisonicStage::formatFuMa ? juce::String (UpmixerAmbisonicStage::harmonicLetter (UpmixerAmbisonicStage::harmonicOfChannel (format, channel)))
                                                            : "ACN" + juce::String (channel);
    }

    std::vector<Layout> layouts()
    {
        // WAVE_FORMAT_EXTENSIBLE orders channels by speaker bit: back (rear) surrounds come
        // before side surrounds, and there are no top-side bits, so the first height pair is
        // written as top front.
        return {
            { "5.1", Set::create5point1(),
              { T::left, T::right, T::centre, T::LFE, T::leftSurroundSide, T::rightSurroundSide },
              { kindL, kindR, kindC, kindLfe, kindLs, kindRs } },
            { "7.1", Set::create7point1(),
              { T::left, T::right, T::centre, T::LFE, T::leftSurround, T::rightSurround, T::leftSurroundSide, T::rightSurroundSide },
              { kindL, kindR, kindC, kindLfe, kindLsr, kindRsr, kindLs, kindRs } },
            { "7.1.2", Set::create7point1point2(),
              { T::left, T::right, T::centre, T::LFE, T::leftSurround, T::rightSurround, T::leftSurroundSide, T::rightSurroundSide,
                T::topFrontLeft, T::topFrontRight },
              { kindL, kindR, kindC, kindLfe, kindLsr, kindRsr, kindLs, kindRs, kindLts, kindRts } },
            { "7.1.4", Set::create7point1point4(),
              { T::left, T::right, T::centre, T::LFE, T::leftSurround, T::rightSurround, T::leftSurroundSide, T::rightSurroundSide,
                T::topFrontLeft, T::topFrontRight, T::topRearLeft, T::topRearRight },
              { kindL, kindR, kindC, kindLfe, kindLsr, kindRsr, kindLs, kindRs, kindLts, kindRts, kindTrl, kindTrr } },
            ambisonic ("ambix1", 1, UpmixerAmbisonicStage::formatAmbiX), ambisonic ("ambix2", 2, UpmixerAmbisonicStage::formatAmbiX),
            ambisonic ("ambix3", 3, UpmixerAmbisonicStage::formatAmbiX), ambisonic ("fuma1", 1, UpmixerAmbisonicStage::formatFuMa),
            ambisonic ("fuma2", 2, UpmixerAmbisonicStage::formatFuMa), ambisonic ("fuma3", 3, UpmixerAmbisonicStage::formatFuMa),
        };
    }

    /** "binaural" is the widest loudspeaker layout heard on headphones. */
    bool wantsHeadphones (const UpmixRenderer::Options& options) { return options.headphones || options.layout == "binaural"; }
    juce::String loudspeakerLayout (const UpmixRenderer::Options& options)
    {
        return options.layout == "binaural" ? juce::String ("7.1.4") : options.layout;
    }

    juce::AudioChannelSet inputSetFor (int numChannels)
    {
        if (numChannels == 1)
            return Set::mono();
        if (numChannels == 2)
            return Set::stereo();
        return Set::discreteChannels (numChannels);
    }

    juce::String applySetting (UpmixerProcessor& processor, const juce::String& setting)
    {
        const auto key = setting.upToFirstOccurrenceOf ("=", false, false).trim();
        const auto text = setting.fromFirstOccurrenceOf ("=", false, false).trim();
        if (! setting.contains ("=") || key.isEmpty())
            return "--set expects Key=value, got '" + setting + "'";

        const auto* info = processor.getParameterTable().findByKey (key);
        if (info == nullptr || info->number >= processor.getParameterTable().getNumHostParameters())
            return "unknown parameter key '" + key + "'";

        const auto value = info->textToValue (text);
        if (! value.has_value())
            return "value '" + text + "' for " + key + " is not valid or out of range (range: "
                   + info->valueToText (0.0f) + " to " + info->valueToText (1.0f) + ")";

        processor.setParameterNotifyingHost (info->number, *value, false);
        return {};
    }

    juce::String applyPreset (UpmixerProcessor& processor, const juce::String& nameOrFile)
    {
        const auto library = KaPresetLibrary::standard();
        const auto file = library.find (nameOrFile);
        if (! file.existsAsFile())
            return "unknown preset '" + nameOrFile + "': no such file, and no preset of that name in "
                   + library.getRoot().getFullPathName();
        if (! file.hasFileExtension (KaPresetFile::extension) || ! processor.loadPresetFile (file))
            return "cannot load preset '" + file.getFullPathName() + "': not an Orrin Upmix preset file (.nap)";
        return {};
    }

    /** The timing items that ran, in the order the stages run (their index order). */
    std::vector<UpmixRenderer::StageTime> stageTimes (const KaProfiler& profiler)
    {
        std::vector<UpmixRenderer::StageTime> stages;
        for (int i = 0; i < KaProfiler::maxItems; ++i)
            if (const auto& item = profiler.item (i); item.name != nullptr && item.runs.load() > 0)
                stages.push_back ({ item.name, item.totalMs.load(), item.runs.load() });
        return stages;
    }

    double toDb (double x) { return x > 1.0e-10 ? 20.0 * std::log10 (x) : -200.0; }

    /** Adds a run of samples to a channel's peak and sum of squares. The sums run in four
        independent lanes held in registers: one running total, stored back each sample, made
        this loop cost as much as a tenth of a render. */
    void accumulateStats (const float* data, int count, double& peak, double& sumSquares)
    {
        double lane[4] = {};
        float top = 0.0f;
        int s = 0;
        for (; s + 4 <= count; s += 4)
            for (int k = 0; k < 4; ++k)
            {
                lane[k] += (double) data[s + k] * data[s + k];
                top = std::max (top, std::abs (data[s + k]));
            }
        for (; s < count; ++s)
        {
            lane[0] += (double) data[s] * data[s];
            top = std::max (top, std::abs (data[s]));
        }
        peak = std::max (peak, (double) top);
        sumSquares += (lane[0] + lane[1]) + (lane[2] + lane[3]);
    }
}

juce::StringArray UpmixRenderer::layoutNames()
{
    juce::StringArray names;
    for (const auto& l : layouts())
        names.add (l.name);
    names.add ("binaural");
    return names;
}

juce::String UpmixRenderer::prepareProcessor (UpmixerProcessor& processor, const Options& options, int numInputs,
                                              double sampleRate, int blockSize)
{
    const auto all = layouts();
    const auto layout = std::find_if (all.begin(), all.end(), [&] (const Layout& l) { return loudspeakerLayout (options) == l.name; });
    if (layout == all.end())
        return "unknown layout '" + options.layout + "' (use " + layoutNames().joinIntoString (", ") + ")";

    processor.setHostPath ("orrin-upmix");
    processor.setNonRealtime (true);
    juce::AudioProcessor::BusesLayout buses;
    buses.inputBuses.add (inputSetFor (numInputs));
    buses.outputBuses.add (layout->pluginSet);
    if (! processor.setBusesLayout (buses))
        return "the processor refused the layout " + options.layout;

    if (options.preset.isNotEmpty())
        if (const auto error = applyPreset (processor, options.preset); error.isNotEmpty())
            return error;

    for (const auto& setting : options.settings)
        if (const auto error = applySetting (processor, setting); error.isNotEmpty())
            return error;
    // The layout's name says the format; a preset or setting cannot contradict the file.
    if (layout->ambisonicFormat >= 0)
        processor.setParameterNotifyingHost (UpmixerParam::AmbisonicFormat, KaParameterTable::valueOfChoice (layout->ambisonicFormat), false);

    if (options.profile)
        processor.setProfilingShown (true);
    if (wantsHeadphones (options))
    {
        if (! processor.getHeadphones().isAvailable())
            return processor.getHeadphones().getMessage();
        // On before the first block: its fade-in ends inside the pre-roll, which is dropped.
        processor.getHeadphones().setEnabled (true);
    }

    // As a host does: the rate and block size first, so that getSampleRate() is right, then prepare.
    processor.setRateAndBufferSizeDetails (sampleRate, blockSize);
    processor.prepareToPlay (sampleRate, blockSize);
    processor.runHousekeeping();
    return {};
}

juce::int64 UpmixRenderer::preRollSamples (double sampleRate, int blockSize, juce::int64 numSamples)
{
    // Whole blocks, about a second, and never reaching past the file's end when mirrored.
    const juce::int64 wanted = (juce::int64) std::ceil (sampleRate / blockSize) * blockSize;
    const juce::int64 available = (numSamples - 1) / blockSize * blockSize;
    return std::max<juce::int64> (0, std::min (wanted, available));
}

UpmixRenderer::Result UpmixRenderer::render (const Options& options)
{
    Result result;
    const auto all = layouts();
    const bool headphones = wantsHeadphones (options);
    const auto layoutIt = std::find_if (all.begin(), all.end(), [&] (const Layout& l) { return loudspeakerLayout (options) == l.name; });
    if (layoutIt == all.end())
        return result.error = "unknown layout '" + options.layout + "' (use " + layoutNames().joinIntoString (", ") + ")", result;
    const auto& layout = *layoutIt;
    result.layout = headphones ? juce::String (layout.name) + " binaural" : juce::String (layout.name);

    if (! options.input.existsAsFile())
        return result.error = "cannot read '" + options.input.getFullPathName() + "': no such file", result;
    if (options.input == options.output)
        return result.error = "the output would overwrite the input '" + options.input.getFullPathName() + "'", result;
    if (options.bits != 16 && options.bits != 24 && options.bits != 32)
        return result.error = "--bits must be 16, 24 or 32", result;
    if (! options.output.hasFileExtension ("wav"))
        return result.error = "the output must be a .wav file: '" + options.output.getFullPathName() + "'", result;

    juce::AudioFormatManager formats;
    formats.registerBasicFormats();
    std::unique_ptr<juce::AudioFormatReader> reader (formats.createReaderFor (options.input));
    if (reader == nullptr || reader->lengthInSamples <= 0 || reader->sampleRate <= 0.0)
        return result.error = "cannot read '" + options.input.getFullPathName() + "': not a readable audio file", result;

    const int numIn = (int) reader->numChannels;
    if (numIn < 1 || numIn > 10)
        return result.error = "the input has " + juce::String (numIn) + " channels; 1 to 10 are supported", result;
    result.numInputChannels = numIn;
    result.sampleRate = reader->sampleRate;
    result.numSamples = reader->lengthInSamples;

    UpmixerProcessor processor;
    const int block = juce::jlimit (1, 8192, options.blockSize);
    if (const auto error = prepareProcessor (processor, options, numIn, reader->sampleRate, block); error.isNotEmpty())
        return result.error = error, result;
    // The meters and analysers only serve someone who reads them between blocks.
    processor.getObservers().setActive (static_cast<bool> (options.afterBlock));
    const int latency = processor.getLatencySamples();
    result.latencySamples = latency;

    const int numOut = layout.pluginSet.size();
    const int numFile = headphones ? 2 : numOut;  // the ears are on the processor's first two outputs
    const int routing = processor.getCurrentRouting();

    if (! options.output.getParentDirectory().isDirectory())
        return result.error = "cannot write '" + options.output.getFullPathName() + "': no such folder", result;
    juce::TemporaryFile temp (options.output);
    const UpmixInterruptGuard interruptGuard (temp.getFile());
    std::unique_ptr<juce::AudioFormatWriter> writer;
    {
        auto stream = std::make_unique<juce::FileOutputStream> (temp.getFile());
        if (! stream->openedOk())
            return result.error = "cannot write '" + options.output.getFullPathName() + "': " + stream->getStatus().getErrorMessage(), result;
        auto wavSet = headphones ? Set::stereo() : layout.ambisonicFormat >= 0 ? Set::discreteChannels (numOut) : Set();
        if (! headphones)
            for (auto type : layout.wavTypes)
                wavSet.addChannel (type);
        juce::WavAudioFormat wav;
        writer.reset (wav.createWriterFor (stream.get(), reader->sampleRate, wavSet, options.bits, {}, 0));
        if (writer == nullptr)
            return result.error = "cannot write a " + juce::String (options.bits) + "-bit WAV file at this sample rate", result;
        stream.release();
    }

    const int numBufferChannels = juce::jmax (numIn, numOut);
    juce::AudioBuffer<float> buffer (numBufferChannels, block);
    juce::AudioBuffer<float> fileBlock (numFile, block);
    juce::MidiBuffer midi;
    std::vector<double> peak ((size_t) numFile, 0.0), sumSquares ((size_t) numFile, 0.0);

    const juce::int64 total = reader->lengthInSamples;
    const juce::int64 preRoll = preRollSamples (reader->sampleRate, block, total);
    juce::int64 written = 0;
    for (juce::int64 position = -preRoll; written < total; position += block)
    {
        buffer.clear();
        if (position < 0)
        {
            // The opening mirrored in time: the samples -position, -position - 1, ... of the file.
            const juce::int64 first = -position - block + 1;
            if (! reader->read (&buffer, 0, block, first, true, true))
                return result.error = "reading '" + options.input.getFullPathName() + "' failed", result;
            for (int ch = 0; ch < numIn; ++ch)
                std::reverse (buffer.getWritePointer (ch), buffer.getWritePointer (ch) + block);
            for (int ch = numIn; ch < numBufferChannels; ++ch)
                buffer.clear (ch, 0, block);
            processor.processBlock (buffer, midi);
            if (position + block >= 0 && options.profile)
                processor.getProfiler()->resetTotals();  // the timed part starts with the file
            continue;
        }
        if (position < total)
        {
            const int toRead = (int) juce::jmin<juce::int64> (block, total - position);
            if (! reader->read (&buffer, 0, toRead, position, true, true))
                return result.error = "reading '" + options.input.getFullPathName() + "' failed", result;
            for (int ch = numIn; ch < numBufferChannels; ++ch)
                buffer.clear (ch, 0, block);
        }
        const double blockStart = options.profile ? juce::Time::getMillisecondCounterHiRes() : 0.0;
        processor.processBlock (buffer, midi);
        if (options.profile)
            result.processMs += juce::Time::getMillisecondCounterHiRes() - blockStart;
        if (options.afterBlock)
            options.afterBlock (processor, (double) (position + block - latency) / reader->sampleRate);

        // Drop the first `latency` samples so that the output lines up with the input.
        const juce::int64 outStart = position - latency;
        const int skip = (int) juce::jlimit<juce::int64> (0, block, -outStart);
        const int count = (int) juce::jmin<juce::int64> (block - skip, total - written);
        if (count <= 0)
            continue;

        for (int i = 0; i < numFile; ++i)
        {
            const int from = headphones || layout.ambisonicFormat >= 0 ? i : hostPositionOfKind (routing, layout.wavKinds[(size_t) i]);
            if (from >= 0 && from < numOut)
                fileBlock.copyFrom (i, 0, buffer, from, skip, count);
            else
                fileBlock.clear (i, 0, count);
            accumulateStats (fileBlock.getReadPointer (i), count, peak[(size_t) i], sumSquares[(size_t) i]);
        }
        if (! writer->writeFromAudioSampleBuffer (fileBlock, 0, count))
            return result.error = "writing '" + options.output.getFullPathName() + "' failed (disk full?)", result;
        written += count;

        if (options.progress)
            options.progress ((double) written / (double) total);
    }

    writer.reset();  // finishes the file's header
    if (! temp.overwriteTargetFileWithTemporary())
        return result.error = "cannot write '" + options.output.getFullPathName() + "'", result;

    if (options.profile)
        result.stages = stageTimes (*processor.getProfiler());

    for (int i = 0; i < numFile; ++i)
        result.channels.push_back ({ headphones ? juce::String (i == 0 ? "Left ear" : "Right ear")
                                     : layout.ambisonicFormat >= 0 ? ambisonicChannelName (layout.ambisonicFormat, i)
                                                                 : kindName (layout.wavKinds[(size_t) i], routing),
                                     toDb (peak[(size_t) i]),
                                     toDb (std::sqrt (sumSquares[(size_t) i] / (double) juce::jmax<juce::int64> (1, total))) });
    return result;
}

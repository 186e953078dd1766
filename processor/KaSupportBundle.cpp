#include "processor/KaSupportBundle.h"
#include "engine/KaProfiler.h"
#include "processor/KaJuceProcessorBase.h"
#include "processor/KaLog.h"
#include "processor/KaPaths.h"
#include "processor/KaSessionState.h"
#include "processor/KaSettingsStore.h"

namespace
{
    juce::String layoutText (const juce::AudioChannelSet& set)
    {
        return set.isDisabled() ? juce::String ("none") : set.getDescription() + " (" + juce::String (set.size()) + " channels)";
    }

    juce::String timingText (KaJuceProcessorBase& processor)
    {
        juce::String text;
        if (auto* profiler = processor.getProfiler())
            for (int i = 0; i < KaProfiler::maxItems; ++i)
                if (const auto& item = profiler->item (i); item.name != nullptr && item.runs.load() > 0)
                {
                    const auto runs = item.runs.load();
                    text << "  " << juce::String (item.name).paddedRight (' ', 36) << juce::String (item.totalMs.load() / (double) runs, 4)
                         << " ms average over " << juce::String (runs) << " runs\n";
                }
        return text.isNotEmpty() ? text
                                 : juce::String ("  none: the profiling read-out was off (Menu > Show profiling, play a while, then export)\n");
    }

    /** The build line as the log writes it, without the user's logon name. */
    juce::String buildLine (const KaJuceProcessorBase& processor)
    {
        return KaJuceProcessorBase::buildLine (processor.getPluginTypeWord(), processor.getHostPath())
            .upToFirstOccurrenceOf (", user = ", false, false);
    }

    void addText (juce::ZipFile::Builder& zip, const juce::String& text, const juce::String& path)
    {
        zip.addEntry (new juce::MemoryInputStream (text.toRawUTF8(), text.getNumBytesAsUTF8(), true), 9, path, juce::Time::getCurrentTime());
    }

    void addFile (juce::ZipFile::Builder& zip, const juce::File& file, const juce::String& path)
    {
        // Read now: the logs are still being written to while the zip is made.
        juce::MemoryBlock data;
        if (file.existsAsFile() && file.loadFileAsData (data))
            zip.addEntry (new juce::MemoryInputStream (std::move (data)), 9, path, file.getLastModificationTime());
    }
}

juce::String KaSupportBundle::withoutHome (const juce::String& path)
{
    const auto home = juce::File::getSpecialLocation (juce::File::userHomeDirectory).getFullPathName();
    return home.length() > 1 && path.startsWith (home) ? "~" + path.substring (home.length()) : path;
}

juce::String KaSupportBundle::describe (KaJuceProcessorBase& processor)
{
    using Stats = juce::SystemStats;
    const auto& block = processor.getBlockInfo();
    const auto format = processor.wrapperType == juce::AudioProcessor::wrapperType_Undefined
                            ? juce::String ("none (command line or a test)")
                            : juce::String (juce::AudioProcessor::getWrapperTypeDescription (processor.wrapperType));

    juce::String text;
    text << KaPaths::productName << " support file, " << juce::Time::getCurrentTime().toISO8601 (true) << "\n\n";
    text << "Build:          " << buildLine (processor) << "\n";
    text << "Format:         " << format << "\n";
    text << "Host:           " << juce::File::createFileWithoutCheckingPath (processor.getHostPath()).getFileName()
         << " (known host " << processor.getHostNumber() << ")\n";
    text << "System:         " << Stats::getOperatingSystemName() << (Stats::isOperatingSystem64Bit() ? ", 64-bit" : ", 32-bit") << "\n";
    text << "CPU:            " << Stats::getCpuVendor() << " " << Stats::getCpuModel() << ", " << Stats::getNumPhysicalCpus()
         << " cores, " << Stats::getNumCpus() << " threads, " << Stats::getCpuSpeedInMegahertz() << " MHz"
         << (Stats::hasAVX() ? ", AVX" : "") << (Stats::hasAVX2() ? ", AVX2" : "") << "\n";
    text << "Memory:         " << Stats::getMemorySizeInMegabytes() << " MB\n";
    text << "Sample rate:    " << processor.getSampleRate() << " Hz\n";
    text << "Block size:     " << processor.getBlockSize() << " (last block " << block.blockSize.load() << ")\n";
    text << "Input layout:   " << layoutText (processor.getBus (true, 0) != nullptr ? processor.getBus (true, 0)->getCurrentLayout() : juce::AudioChannelSet()) << "\n";
    text << "Output layout:  " << layoutText (processor.getBus (false, 0) != nullptr ? processor.getBus (false, 0)->getCurrentLayout() : juce::AudioChannelSet()) << "\n";
    text << "Latency:        " << processor.getLatencySamples() << " samples\n";
    text << "Settings:       " << withoutHome (KaSettingsStore::getInstance().getFile().getFullPathName()) << "\n";
    text << "Log:            " << withoutHome (KaPaths::mainLogFile().getFullPathName()) << "\n";
    text << "\nTiming of the engine's stages (this instance):\n" << timingText (processor);
    return text;
}

juce::String KaSupportBundle::write (KaJuceProcessorBase& processor, const juce::File& zip)
{
    const auto target = zip.getFullPathName();
    if (! zip.getParentDirectory().isDirectory())
        return "cannot write '" + target + "': no such folder";
    if (zip.isDirectory())
        return "cannot write '" + target + "': it is a folder";

    juce::ZipFile::Builder builder;
    addText (builder, describe (processor), "system.txt");

    juce::MemoryBlock state;
    processor.getStateInformation (state);
    if (auto document = KaSessionState::unpack (state.getData(), (int) state.getSize()))
        addText (builder, document->toString(), "state.xml");

    const auto mainLog = KaLog::mainLogFile() != juce::File() ? KaLog::mainLogFile() : KaPaths::mainLogFile();
    addFile (builder, mainLog, "logs/" + mainLog.getFileName());
    addFile (builder, KaPaths::supportLogFile(), "logs/" + KaPaths::supportLogFile().getFileName());
    addFile (builder, KaSettingsStore::getInstance().getFile(), "settings/" + KaSettingsStore::getInstance().getFile().getFileName());

    juce::TemporaryFile temp (zip);
    {
        juce::FileOutputStream out (temp.getFile());
        if (! out.openedOk())
            return "cannot write '" + target + "': " + out.getStatus().getErrorMessage();
        if (! builder.writeToStream (out, nullptr) || (out.flush(), out.getStatus().failed()))
            return "cannot write '" + target + "': " + (out.getStatus().failed() ? out.getStatus().getErrorMessage() : juce::String ("disk full?"));
    }
    if (! temp.overwriteTargetFileWithTemporary())
        return "cannot write '" + target + "': the finished file could not be put in place";
    return {};
}

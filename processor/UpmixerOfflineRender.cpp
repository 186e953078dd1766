#include "processor/UpmixerOfflineRender.h"
#include "processor/KaLog.h"
#include "processor/KaSettingsStore.h"

UpmixerOfflineRender::UpmixerOfflineRender()
{
    formats.registerBasicFormats();
}

UpmixerOfflineRender::~UpmixerOfflineRender() = default;

void UpmixerOfflineRender::analysisBegin (int numChannels, double sampleRate)
{
    writer.reset();
    temporaryFile = juce::File::createTempFile (".wav");
    numInputChannels = juce::jmax (1, numChannels);

    juce::WavAudioFormat wav;
    if (auto stream = std::make_unique<juce::FileOutputStream> (temporaryFile); stream->openedOk())
    {
        writer.reset (wav.createWriterFor (stream.get(), sampleRate > 0.0 ? sampleRate : 48000.0,
                                           (unsigned int) numInputChannels, 32, {}, 0));
        if (writer != nullptr)
            stream.release();  // the writer owns the stream now
    }
    if (writer == nullptr)
        KaLog::write ("ERROR: UpmixerOfflineRender::analysisBegin: cannot write " + temporaryFile.getFullPathName());

    auto& store = KaSettingsStore::getInstance();
    store.setString (pathKey, temporaryFile.getFullPathName());
    store.setFloat (channelsKey, (float) numInputChannels);
    analysing = true;
}

void UpmixerOfflineRender::analysisBlock (const juce::AudioBuffer<float>& block)
{
    if (writer != nullptr)
        writer->writeFromAudioSampleBuffer (block, 0, block.getNumSamples());
}

void UpmixerOfflineRender::analysisEnd()
{
    analysing = false;
    writer.reset();  // deleting the writer finishes the file
}

int UpmixerOfflineRender::renderBegin()
{
    auto& store = KaSettingsStore::getInstance();
    const auto path = store.getString (pathKey).value_or (juce::String());
    rendering = true;
    reader.reset();
    readPosition = 0;
    numInputChannels = (int) store.getFloat (channelsKey).value_or (0.0f);

    temporaryFile = juce::File::isAbsolutePath (path) ? juce::File (path) : juce::File();
    if (temporaryFile.existsAsFile())
        reader.reset (formats.createReaderFor (temporaryFile));

    if (reader == nullptr)
    {
        // Not an error: the host's own input is rendered instead.
        temporaryFile = juce::File();
        store.setString (pathKey, {});
        store.setFloat (channelsKey, 0.0f);
        numInputChannels = 0;
    }
    return numInputChannels;
}

void UpmixerOfflineRender::renderBlock (juce::AudioBuffer<float>& block)
{
    if (reader == nullptr)
        return;
    reader->read (&block, 0, block.getNumSamples(), readPosition, true, true);
    readPosition += block.getNumSamples();
}

void UpmixerOfflineRender::renderEnd()
{
    rendering = false;
    reader.reset();
}

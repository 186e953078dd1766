#pragma once

#include <juce_audio_formats/juce_audio_formats.h>

/** The offline (AudioSuite-style) rendering path: an analysis pass writes the clip's source
    audio to a temporary WAV file, and the render pass reads it back in place of what the host
    passes, so that the render sees the whole clip from its start. The file's path and channel
    count are kept in the per-user settings store under "OrrinUpmixOfflineTemporaryFile" and
    "OrrinUpmixOfflineNumInputChannels".

    Called by the host's offline thread, never during real-time playback: file access is allowed. */
class UpmixerOfflineRender
{
public:
    static constexpr const char* pathKey = "OrrinUpmixOfflineTemporaryFile";
    static constexpr const char* channelsKey = "OrrinUpmixOfflineNumInputChannels";

    UpmixerOfflineRender();
    ~UpmixerOfflineRender();

    void analysisBegin (int numInputChannels, double sampleRate);
    void analysisBlock (const juce::AudioBuffer<float>& block);
    void analysisEnd();

    /** Starts the render pass; returns the stored input channel count (0 when missing). */
    int renderBegin();
    /** Replaces the block's samples with the next ones from the file, if there is a reader. */
    void renderBlock (juce::AudioBuffer<float>& block);
    void renderEnd();

    bool isRendering() const noexcept { return rendering; }
    bool isAnalysing() const noexcept { return analysing; }
    bool hasReader() const noexcept { return reader != nullptr; }
    int getNumInputChannels() const noexcept { return numInputChannels; }
    juce::File getTemporaryFile() const { return temporaryFile; }

private:
    juce::AudioFormatManager formats;
    juce::File temporaryFile;
    std::unique_ptr<juce::AudioFormatWriter> writer;
    std::unique_ptr<juce::AudioFormatReader> reader;
    juce::int64 readPosition = 0;
    int numInputChannels = 0;
    bool analysing = false;
    bool rendering = false;
};

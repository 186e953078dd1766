#pragma once

#include <juce_audio_formats/juce_audio_formats.h>
#include <juce_core/juce_core.h>

/** Runs the built orrin-upmix as a user would, collecting everything it prints, on input files
    the tests write. */
namespace CliRunner
{
    /** Writes buffer to file (replacing it) as a 24-bit WAV at 48 kHz; false when it cannot. */
    inline bool writeWav (const juce::File& file, const juce::AudioBuffer<float>& buffer)
    {
        file.deleteFile();  // a FileOutputStream would write over an old file's start and keep the rest
        juce::WavAudioFormat wav;
        std::unique_ptr<juce::AudioFormatWriter> writer (
            wav.createWriterFor (new juce::FileOutputStream (file), 48000.0, (unsigned int) buffer.getNumChannels(), 24, {}, 0));
        return writer != nullptr && writer->writeFromAudioSampleBuffer (buffer, 0, buffer.getNumSamples());
    }

    /** A reader of a WAV file, or null. */
    inline std::unique_ptr<juce::AudioFormatReader> openWav (const juce::File& file)
    {
        juce::WavAudioFormat wav;
        return std::unique_ptr<juce::AudioFormatReader> (wav.createReaderFor (file.createInputStream().release(), true));
    }

    struct Run
    {
        int exitCode = -1;
        juce::String output;  // stdout and stderr together
    };

    inline Run run (const juce::StringArray& args)
    {
        juce::StringArray command { ORRIN_CLI_PATH };
        command.addArray (args);
        juce::ChildProcess process;
        Run result;
        if (! process.start (command))
            return result;
        result.output = process.readAllProcessOutput();
        process.waitForProcessToFinish (60000);
        result.exitCode = (int) process.getExitCode();
        return result;
    }
}

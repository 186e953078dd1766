#pragma once

#include <juce_core/juce_core.h>

/** Runs the built orrin-upmix as a user would, collecting everything it prints. */
namespace CliRunner
{
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

#pragma once

/** The orrin-upmix command line: parses the options, renders, and reports. Every error is one
    line on stderr ("orrin-upmix: error: ...") with a non-zero exit: 2 for a usage error, 1 for a
    failed render. */
namespace UpmixCommandLine
{
    int run (int argc, char** argv);
}

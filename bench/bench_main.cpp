// The benchmark runner's entry point: JUCE set up for the whole run (the processor and the
// editor need its message manager), with the program's files in a temporary folder instead of
// the user's own. The benchmarks themselves live in the other bench_*.cpp files.
#include <benchmark/benchmark.h>
#include <juce_events/juce_events.h>

#include <cstdlib>

int main (int argc, char** argv)
{
    const auto home = juce::File::getSpecialLocation (juce::File::tempDirectory).getChildFile ("orrin-bench");
    home.createDirectory();
    setenv ("KESTRO_AUDIO_DIR", home.getFullPathName().toRawUTF8(), 0);
    juce::ScopedJuceInitialiser_GUI juce;

    benchmark::Initialize (&argc, argv);
    if (benchmark::ReportUnrecognizedArguments (argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

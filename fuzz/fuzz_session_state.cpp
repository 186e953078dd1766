// libFuzzer target: the session block a host hands to set-state, through the real processor.
// Every input must be loaded or ignored without a crash, a sanitizer report or a hang; and a
// block that was loaded must save and load back to the very same values (the state is stable).
// Run with ORRIN_FUZZ_WRITE_SEEDS=<folder> it writes its seed corpus there instead and exits.
#include "FuzzEnvironment.h"
#include "SessionSeeds.h"
#include "processor/KaSessionState.h"
#include "processor/UpmixerProcessor.h"

#include <cstdint>
#include <cstdlib>

namespace
{
    UpmixerProcessor* processor = nullptr;
}

extern "C" int LLVMFuzzerInitialize (int*, char***)
{
    FuzzEnvironment::setUp();
    if (const char* seeds = std::getenv ("ORRIN_FUZZ_WRITE_SEEDS"))
    {
        SessionSeeds::write (juce::File (seeds));
        std::exit (0);
    }
    processor = new UpmixerProcessor();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput (const std::uint8_t* data, std::size_t size)
{
    // The loader behind set-state, which also says whether the block was taken.
    if (! KaSessionState::load (*processor, data, (int) std::min<std::size_t> (size, (std::size_t) std::numeric_limits<int>::max())))
        return 0;

    const auto values = processor->getHostValues();
    juce::MemoryBlock saved;
    processor->getStateInformation (saved);
    processor->setStateInformation (saved.getData(), (int) saved.getSize());
    if (processor->getHostValues() != values)
        __builtin_trap();
    return 0;
}

#pragma once

#include "engine/KaProfiler.h"
#include "engine/UpmixerAlgoInterface.h"
#include "processor/KaParameterTable.h"
#include "processor/UpmixerParameters.h"

/** The engine's host without the processor: the real parameter table at its defaults, and a
    profiler. For running the engine on its own (the dialogue tools, benchmarks, tests); set
    parameters through the table. Not for the audio thread of a plug-in: the processor is that
    host. */
class UpmixerDefaultHost : public UpmixerAlgoInterface
{
public:
    UpmixerDefaultHost() { table.registerParameters (UpmixerParam::createParameterInfos()); }

    KaProfiler* getProfiler() noexcept override { return &profiler; }
    float getParameterValue (int number) const noexcept override { return table.get (number); }

    void set (int number, float value) { table.set (number, value); }

    KaParameterTable table;
    KaProfiler profiler;
};

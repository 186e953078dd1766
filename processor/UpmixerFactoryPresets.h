#pragma once

#include "processor/KaParameterTable.h"
#include "processor/KaPreset.h"

/** Orrin Upmix's factory presets, each designed for one job. A design names only what it
    changes, by key and in the parameter's own unit ("80 Hz", "-3 dB", "On", "35 %"); every
    other host parameter keeps its default. The presets are built from the parameter table,
    so a renamed key or a value out of range shows up as a problem here, never as a silently
    wrong file. */
namespace UpmixerFactoryPresets
{
    /** One preset per design, for the folder "Installed". Settings that cannot be applied are
        skipped and described in `problems` when given. */
    std::vector<KaPreset> create (const KaParameterTable& table, juce::StringArray* problems = nullptr);
}

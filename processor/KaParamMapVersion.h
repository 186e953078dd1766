#pragma once

#include "processor/KaParameterTable.h"

/** Parameter-map versions: which meaning a saved set of values was written for.

    Every session slot and preset carries `ParamMapVersion` (the version / 1000, a choice value),
    presets also their "FileVersion". The program's own version is the default that
    `ParamMapVersion` is registered with. Pure functions; any thread. */
namespace KaParamMapVersion
{
    inline constexpr const char* parameterKey = "ParamMapVersion";
    inline constexpr int maxVersion = 1000;

    /** The version a stored `ParamMapVersion` value names: value x 1000, rounded, 0..1000. */
    int versionOf (float parameterValue) noexcept;

    /** The value `ParamMapVersion` holds for a version. */
    float valueOf (int version) noexcept;

    /** The number of the `ParamMapVersion` parameter, or -1 when the table has none. */
    int parameterNumber (const KaParameterTable& table) noexcept;

    /** The version this program writes (0 when the table has no `ParamMapVersion`). */
    int codeVersion (const KaParameterTable& table) noexcept;
}

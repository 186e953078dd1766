#include "processor/KaParamMapVersion.h"

#include <cmath>

namespace KaParamMapVersion
{
    int versionOf (float parameterValue) noexcept
    {
        if (! std::isfinite (parameterValue) || parameterValue <= 0.0f)
            return 0;
        return (int) std::min<long> (std::lround ((double) parameterValue * 1000.0), maxVersion);
    }

    float valueOf (int version) noexcept { return (float) juce::jlimit (0, maxVersion, version) / 1000.0f; }

    int parameterNumber (const KaParameterTable& table) noexcept
    {
        const auto* info = table.findByKey (parameterKey);
        return info != nullptr ? info->number : -1;
    }

    int codeVersion (const KaParameterTable& table) noexcept
    {
        const int number = parameterNumber (table);
        return number >= 0 ? versionOf (table.getDefault (number)) : 0;
    }
}

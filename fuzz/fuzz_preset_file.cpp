// libFuzzer target: the bytes of a ".nap" preset file, through the preset reader.
// Every input must be read or refused without a crash, a sanitizer report or a hang; a preset
// that was read holds one value in 0..1 per host parameter, and writing it out and reading that
// back keeps every value bit for bit and keeps its specific data.
#include "FuzzEnvironment.h"
#include "processor/KaPresetFile.h"
#include "processor/UpmixerParameters.h"

#include <bit>
#include <cstdint>

namespace
{
    const KaParameterTable& table()
    {
        static const auto t = []
        {
            auto table = std::make_unique<KaParameterTable>();
            table->registerParameters (UpmixerParam::createParameterInfos());
            return table;
        }();
        return *t;
    }

    bool sameBits (const std::vector<float>& a, const std::vector<float>& b)
    {
        if (a.size() != b.size())
            return false;
        for (size_t i = 0; i < a.size(); ++i)
            if (std::bit_cast<std::uint32_t> (a[i]) != std::bit_cast<std::uint32_t> (b[i]))
                return false;
        return true;
    }
}

extern "C" int LLVMFuzzerInitialize (int*, char***)
{
    FuzzEnvironment::setUp();
    table();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput (const std::uint8_t* data, std::size_t size)
{
    const auto preset = KaPresetFile::parse (data, size, table());
    if (! preset.has_value())
        return 0;

    if ((int) preset->values.size() != table().getNumHostParameters())
        __builtin_trap();
    for (const float v : preset->values)
        if (! (v >= 0.0f && v <= 1.0f))
            __builtin_trap();

    const auto text = KaPresetFile::toText (*preset, table());
    const auto again = KaPresetFile::parse (text.toRawUTF8(), text.getNumBytesAsUTF8(), table());
    if (! again.has_value() || ! sameBits (again->values, preset->values)
        || again->specificData.isNotEmpty() != preset->specificData.isNotEmpty())
        __builtin_trap();
    return 0;
}

#include "processor/KaPresetName.h"

namespace KaPresetName
{
    namespace
    {
        constexpr const char* escaped = "/\\()|:";
        constexpr const char* kept = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ _-.,&+%!";

        juce::String codeOf (juce::juce_wchar c)
        {
            return juce::String::toHexString ((int) c).toUpperCase().paddedLeft ('0', 2);
        }
    }

    juce::String encode (const juce::String& shownName)
    {
        auto name = shownName;
        for (const char* c = escaped; *c != 0; ++c)
            name = name.replace (juce::String::charToString ((juce::juce_wchar) *c), "&" + codeOf ((juce::juce_wchar) *c));
        return name.retainCharacters (kept);
    }

    juce::String decode (const juce::String& diskName)
    {
        auto name = diskName;
        for (const char* c = escaped; *c != 0; ++c)
        {
            const auto plain = juce::String::charToString ((juce::juce_wchar) *c);
            name = name.replace ("%" + codeOf ((juce::juce_wchar) *c), plain).replace ("&" + codeOf ((juce::juce_wchar) *c), plain);
        }
        return name;
    }

    juce::String keptCharacters() { return juce::String (kept) + escaped; }
}

#include "processor/KaFloatText.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace KaFloatText
{
    juce::String fromFloat (float value)
    {
        char buffer[32] {};
        const auto result = std::to_chars (std::begin (buffer), std::end (buffer), value);
        return juce::String (buffer, (size_t) (result.ptr - buffer));
    }

    std::optional<float> toFloat (const juce::String& text)
    {
        const auto trimmed = text.trim();
        const auto utf8 = trimmed.toStdString();
        const char* begin = utf8.data();
        const char* end = begin + utf8.size();
        // from_chars takes no leading '+', which hand-edited files may carry.
        if (begin != end && *begin == '+' && (end - begin) > 1 && begin[1] != '-')
            ++begin;
        if (begin == end)
            return std::nullopt;

        float value = 0.0f;
        const auto result = std::from_chars (begin, end, value);
        if (result.ptr != end)
            return std::nullopt;
        if (result.ec == std::errc::result_out_of_range)
        {
            // Too large or too small for a float: the sign and magnitude still say which end of
            // the range was meant.
            double wide = 0.0;
            const auto again = std::from_chars (begin, end, wide);
            if (again.ptr != end)
                return std::nullopt;
            if (again.ec == std::errc::result_out_of_range || std::abs (wide) > 1.0)
                return *begin == '-' ? -std::numeric_limits<float>::max() : std::numeric_limits<float>::max();
            return 0.0f;
        }
        if (result.ec != std::errc() || ! std::isfinite (value))
            return std::nullopt;
        return value;
    }
}

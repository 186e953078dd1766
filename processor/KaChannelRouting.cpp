#include "processor/KaChannelRouting.h"

#include <algorithm>
#include <limits>

namespace KaChannelRouting
{
    namespace
    {
        constexpr Row rowLCR   { 0, 2, 1, 4, 5, 3, 8, 9, 10, 11, 6, 7, -1 };  // L C R Ls Rs LFE Lts Rts Trl Trr Lsr Rsr
        constexpr Row rowLRC   { 0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 6, 7, -1 };  // L R C LFE Ls Rs Lts Rts Trl Trr Lsr Rsr
        constexpr Row rowLRLs  { 0, 1, 4, 5, 2, 3, 8, 9, 10, 11, 6, 7, -1 };  // L R Ls Rs C LFE Lts Rts Trl Trr Lsr Rsr
        constexpr Row rowFilm  { 0, 2, 1, 4, 5, 6, 7, 3, 8, 9, 10, 11, -1 };  // L C R Ls Rs Lsr Rsr LFE Lts Rts Trl Trr
        constexpr Row rowSmpte { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, -1 };  // L R C LFE Ls Rs Lsr Rsr Lts Rts Trl Trr
        constexpr Row rowWide  { 0, 6, 2, 7, 1, 4, 5, 3, 8, 9, 10, 11, -1 };  // L Lsr C Rsr R Ls Rs LFE Lts Rts Trl Trr
        constexpr Row rowRears { 0, 1, 2, 3, 6, 7, 4, 5, 8, 9, 10, 11, -1 };  // L R C LFE Lsr Rsr Ls Rs Lts Rts Trl Trr
        constexpr Row row51H   { 0, 1, 2, 3, 4, 5, 8, 9, -1, 0, 0, 0, 0 };    // L R C LFE Ls Rs Lts Rts
        constexpr Row row51X   { 0, 1, 2, 3, 4, 5, 12, -1, 0, 0, 0, 0, 0 };   // L R C LFE Ls Rs X
        constexpr Row rowZero  { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 };     // reserved, never selected

        constexpr std::array<Row, numRoutings> table {
            rowLCR, rowLRC, rowLRLs, rowFilm, rowSmpte, rowFilm, rowSmpte, rowWide, rowSmpte, rowRears,  // 0-9
            rowFilm, rowFilm, rowFilm, rowFilm, row51H, rowFilm, rowSmpte, rowLCR, rowLRC, rowRears,     // 10-19
            rowFilm, rowFilm, rowFilm, row51X, rowFilm, rowSmpte, rowFilm, rowFilm, rowFilm, rowFilm,    // 20-29
            rowFilm, rowZero, rowZero, rowZero, rowZero, rowZero, rowZero                                // 30-36
        };

        struct Inverse
        {
            std::array<Row, numRoutings> rows {};

            Inverse()
            {
                for (int r = 0; r < numRoutings; ++r)
                {
                    rows[(size_t) r].fill (-1);
                    for (int p = 0; p < rowLength; ++p)
                    {
                        const int kind = table[(size_t) r][(size_t) p];
                        if (kind < 0)
                            break;
                        if (kind < rowLength)
                            rows[(size_t) r][(size_t) kind] = p;  // a later position wins
                    }
                }
            }
        };

        std::atomic<bool> inverseBuilt { false };

        const Inverse& inverse() noexcept
        {
            // Built once, on first use; a function-local static is thread-safe.
            static const Inverse instance;
            inverseBuilt.store (true, std::memory_order_release);
            return instance;
        }
    }

    bool hasTopFrontHeights (int routing) noexcept { return routing == 17 || routing == 18 || routing == 24 || routing == 25; }

    int kindAtPosition (int routing, int position) noexcept
    {
        if (routing < 0 || routing >= numRoutings || position < 0 || position >= rowLength)
            return position;
        return table[(size_t) routing][(size_t) position];
    }

    int hostPositionOfKind (int routing, int kind) noexcept
    {
        if (routing < 0 || routing >= numRoutings || kind < 0 || kind >= rowLength)
            return kind;
        return inverse().rows[(size_t) routing][(size_t) kind];
    }

    int rowSize (int routing) noexcept
    {
        if (routing < 0 || routing >= numRoutings)
            return numKinds;
        const auto& row = table[(size_t) routing];
        return (int) (std::find (row.begin(), row.end(), -1) - row.begin());
    }

    bool isInverseTableBuilt() noexcept { return inverseBuilt.load (std::memory_order_acquire); }

    float earLevelAzimuth (int kind, bool withRears) noexcept
    {
        switch (kind)
        {
            case kindC: return 0.0f;
            case kindL: return -30.0f;
            case kindR: return 30.0f;
            case kindLs: return withRears ? -100.0f : -110.0f;
            case kindRs: return withRears ? 100.0f : 110.0f;
            case kindLsr: return -145.0f;
            case kindRsr: return 145.0f;
            default: return std::numeric_limits<float>::quiet_NaN();
        }
    }

    juce::String layoutNameForWidth (int numOutputs)
    {
        switch (numOutputs)
        {
            case 6: return "5.1";
            case 8: return "7.1";
            case 10: return "7.1.2";
            case 12: return "7.1.4";
            default: return juce::String (numOutputs) + " ch";
        }
    }

    juce::String kindName (int kind, int routing)
    {
        static const char* const names[numKinds] = { "L", "R", "C", "LFE", "Ls", "Rs", "Lsr", "Rsr", "Lts", "Rts", "Trl", "Trr" };
        if (kind == kindLts && hasTopFrontHeights (routing))
            return "Tfl";
        if (kind == kindRts && hasTopFrontHeights (routing))
            return "Tfr";
        if (kind < 0 || kind >= numKinds)
            return "X";
        return names[kind];
    }

    juce::String channelName (int routing, int position)
    {
        if (routing >= 0 && routing < numRoutings && position >= 0 && position < rowLength)
            return kindName (table[(size_t) routing][(size_t) position], routing);
        return kindName (position, routing);
    }

    juce::String hostLayoutName (juce::uint32 code)
    {
        switch (code)
        {
            case 0x00000001: return "M";
            case 0x00010002: return "L R";
            case 0x00020003: return "L C R";
            case 0x00030004: return "L C R S";
            case 0x00040004: return "L R Ls Rs";
            case 0x00050005: return "L C R Ls Rs";
            case 0x00060006: return "L C R Ls Rs LFE";
            case 0x00070006: return "L C R Ls Cs Rs";
            case 0x00080007: return "L C R Ls Cs Rs LFE";
            case 0x00090007: return "L Lc C Rc R Ls Rs";
            case 0x000A0008: return "L Lc C Rc R Ls Rs LFE";
            case 0x000B0007: return "L C R Lss Rss Lsr Rsr";
            case 0x000C0008: return "L C R Lss Rss Lsr Rsr LFE";
            case 0x000D000A: return "L C R Lss Rss Lsr Rsr LFE Lts Rts";
            case 0x000E0004:
            case 0x00120009:
            case 0x00130010: return "Ambisonic";
            case 0x00140009: return "L C R Lss Rss Lsr Rsr Lts Rts";
            default: return {};
        }
    }

    bool isAllowedForWidth (int r, int width) noexcept
    {
        if (width < 3)
            return r == 1;
        if (width <= 6)
            return r == 0 || r == 1 || r == 2 || r == 17 || r == 18;
        if (width <= 8)
            return (r >= 3 && r <= 9) || r == 13 || r == 14 || r == 24 || r == 25;
        if (width <= 10)
            return r >= 15 && r <= 19;
        if (width <= 12)
            return r == 24 || r == 25;
        return r >= 0 && r < numRoutings;
    }

    namespace
    {
        bool defaultSettingMaySupply (int r, int width) noexcept
        {
            if (width <= 6)
                return r >= 0 && r <= 2;
            if (width <= 8)
                return r >= 3 && r <= 9;
            if (width <= 10)
                return r >= 15 && r <= 19;
            return false;  // 11 and 12 channels have no default setting
        }

        int fallbackForType (int width, int type) noexcept
        {
            const bool proTools = type == typeRtas || type == typeAax;
            if (width <= 6)
                return type == typeAu ? 2 : (proTools ? 0 : 1);
            if (width <= 8)
                return (type == typeVst || type == typeVst3) ? 9 : 3;
            if (width <= 10)
                return proTools ? 15 : 16;
            return proTools ? 24 : 25;
        }
    }

    Resolution resolveRouting (int width, int routingChoice, int defaultSetting, int pluginType, int deliveredRouting) noexcept
    {
        if (width < 3)
            return { 1, false };

        int r = std::min (routingChoice, 1000);
        if (r == routingFromHost)
            r = deliveredRouting;
        const bool storeBack = routingChoice != routingByDefault && routingChoice != routingFromHost;

        if (width > 12)
            return { r >= 0 && r < numRoutings ? r : 1, false };

        if (isAllowedForWidth (r, width))
            return { r, false };

        if (defaultSettingMaySupply (defaultSetting, width))
            return { defaultSetting, storeBack };

        // JUCE's wrappers hand every format over in JUCE's own channel order, whatever the host's
        // native order, so the routing that matches the delivered order places each channel on
        // its speaker, even where that order is not among the width's choices (JUCE's 7.1.4 puts
        // the heights before the rears). The per-type column is kept for wrappers that pass the
        // host order through unnamed.
        if (deliveredRouting >= 0 && deliveredRouting < numRoutings)
            return { deliveredRouting, storeBack };

        return { fallbackForType (width, pluginType), storeBack };
    }

    int routingMatchingKinds (const int* kinds, int numChannels, bool frontHeights) noexcept
    {
        if (numChannels <= 0 || numChannels > rowLength)
            return -1;
        int best = -1, bestScore = -1;
        for (int r = 0; r < numRoutings; ++r)
        {
            const auto& row = table[(size_t) r];
            if (! std::equal (kinds, kinds + numChannels, row.begin()))
                continue;
            const int score = (isAllowedForWidth (r, numChannels) ? 2 : 0) + (hasTopFrontHeights (r) == frontHeights ? 1 : 0);
            if (score > bestScore)
                best = r, bestScore = score;
        }
        return best;
    }
}

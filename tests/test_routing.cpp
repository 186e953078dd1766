// Channel kinds and routing:
// - the inverse of every routing number agrees with its row (later positions win, -1 for absent
//   kinds), and out-of-range numbers fall back to the identity;
// - naming: Tfl/Tfr only under 17, 18, 24, 25; routing 14 drops Lsr, Rsr, Trl, Trr; 23 has "X";
// - host-layout names;
// - resolution: allowed sets per width, default settings, per-type fallbacks, the host-format
//   choice, and JUCE's delivered orders (5.1 -> 1, 7.1 -> 4, 7.1.2 -> 16; JUCE's 7.1.4 lists its
//   heights before the rears, which only routing 18 describes with front-height names).
#include "processor/KaChannelRouting.h"

#include <gtest/gtest.h>

using namespace KaChannelRouting;

TEST (Routing, InverseAgreesWithEveryRow)
{
    for (int r = 0; r < numRoutings; ++r)
    {
        std::array<int, rowLength> expected;
        expected.fill (-1);
        for (int p = 0; p < rowLength; ++p)
        {
            const int kind = kindAtPosition (r, p);
            if (kind < 0)
                break;
            if (kind < rowLength)
                expected[(size_t) kind] = p;
        }
        for (int k = 0; k < rowLength; ++k)
            EXPECT_EQ (hostPositionOfKind (r, k), expected[(size_t) k]) << "routing " << r << " kind " << k;
    }
    EXPECT_TRUE (isInverseTableBuilt());

    // Rows 31..36 are all zero: kind 0 sits at every position and the last one wins.
    EXPECT_EQ (hostPositionOfKind (31, kindL), 12);
    EXPECT_EQ (hostPositionOfKind (36, kindR), -1);

    // Out of range: the identity.
    EXPECT_EQ (hostPositionOfKind (37, kindLs), kindLs);
    EXPECT_EQ (hostPositionOfKind (5, 13), 13);
    EXPECT_EQ (kindAtPosition (40, 7), 7);
}

TEST (Routing, KnownOrders)
{
    // L C R Ls Rs LFE for Pro Tools-style 5.1, L R C LFE Ls Rs elsewhere, L R Ls Rs C LFE.
    EXPECT_EQ (hostPositionOfKind (0, kindC), 1);
    EXPECT_EQ (hostPositionOfKind (0, kindLfe), 5);
    EXPECT_EQ (hostPositionOfKind (1, kindLfe), 3);
    EXPECT_EQ (hostPositionOfKind (2, kindC), 4);
    // Rears before sides (routing 9) and the wide order of 7.
    EXPECT_EQ (hostPositionOfKind (9, kindLsr), 4);
    EXPECT_EQ (hostPositionOfKind (9, kindLs), 6);
    EXPECT_EQ (hostPositionOfKind (7, kindR), 4);
}

TEST (Routing, NamesAndDroppedKinds)
{
    EXPECT_EQ (kindName (kindLts, 18), "Tfl");
    EXPECT_EQ (kindName (kindRts, 25), "Tfr");
    EXPECT_EQ (kindName (kindLts, 19), "Lts");
    EXPECT_EQ (channelName (18, hostPositionOfKind (18, kindLts)), "Tfl");
    EXPECT_EQ (channelName (19, hostPositionOfKind (19, kindLts)), "Lts");

    EXPECT_EQ (rowSize (14), 8);
    for (int kind : { kindLsr, kindRsr, kindTrl, kindTrr })
        EXPECT_EQ (hostPositionOfKind (14, kind), -1);

    EXPECT_EQ (channelName (23, 6), "X");
    EXPECT_EQ (kindName (12), "X");
    EXPECT_EQ (channelName (50, 3), "LFE");  // out of range: the kind numbered like the position
}

TEST (Routing, HostLayoutNames)
{
    EXPECT_EQ (hostLayoutName (0x00000001), "M");
    EXPECT_EQ (hostLayoutName (0x00060006), "L C R Ls Rs LFE");
    EXPECT_EQ (hostLayoutName (0x000D000A), "L C R Lss Rss Lsr Rsr LFE Lts Rts");
    EXPECT_EQ (hostLayoutName (0x00130010), "Ambisonic");
    EXPECT_EQ (hostLayoutName (0x00140009), "L C R Lss Rss Lsr Rsr Lts Rts");
    EXPECT_EQ (hostLayoutName (0x00060007), "");
}

TEST (Routing, ResolutionByWidthDefaultAndFallback)
{
    constexpr int none = -1, defaultChoice = 100;

    // Narrow outputs always use routing 1.
    EXPECT_EQ (resolveRouting (2, 0, none, typeVst3, none).routing, 1);

    // An allowed choice is kept and not stored back.
    auto r = resolveRouting (6, 17, none, typeVst3, none);
    EXPECT_EQ (r.routing, 17);
    EXPECT_FALSE (r.storeBack);

    // Not allowed: the width's default setting, when it may supply that number.
    r = resolveRouting (6, 5, 2, typeVst3, none);
    EXPECT_EQ (r.routing, 2);
    EXPECT_TRUE (r.storeBack);
    EXPECT_EQ (resolveRouting (6, defaultChoice, 17, typeVst3, none).routing, 1);  // 17 is not a default

    // Per-type fallbacks when nothing else decides.
    EXPECT_EQ (resolveRouting (6, defaultChoice, defaultChoice, typeRtas, none).routing, 0);
    EXPECT_EQ (resolveRouting (6, defaultChoice, defaultChoice, typeAax, none).routing, 0);
    EXPECT_EQ (resolveRouting (6, defaultChoice, defaultChoice, typeAu, none).routing, 2);
    EXPECT_EQ (resolveRouting (6, defaultChoice, defaultChoice, typeVst, none).routing, 1);
    EXPECT_EQ (resolveRouting (8, defaultChoice, defaultChoice, typeVst3, none).routing, 9);
    EXPECT_EQ (resolveRouting (8, defaultChoice, defaultChoice, typeAu, none).routing, 3);
    EXPECT_EQ (resolveRouting (8, defaultChoice, 7, typeAu, none).routing, 7);
    EXPECT_EQ (resolveRouting (10, defaultChoice, defaultChoice, typeAax, none).routing, 15);
    EXPECT_EQ (resolveRouting (10, defaultChoice, defaultChoice, typeVst3, none).routing, 16);
    EXPECT_EQ (resolveRouting (12, defaultChoice, defaultChoice, typeRtas, none).routing, 24);
    EXPECT_EQ (resolveRouting (12, defaultChoice, defaultChoice, typeVst3, none).routing, 25);
    EXPECT_EQ (resolveRouting (12, defaultChoice, 25, typeRtas, none).routing, 24);  // no default setting at 12

    // Wider than 12: anything goes.
    EXPECT_EQ (resolveRouting (16, 30, none, typeVst3, none).routing, 30);
}

TEST (Routing, DeliveredOrderDecidesFallbackAndHostChoice)
{
    // JUCE's own orders, read from the bus channel types.
    const int smpte[12] = { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11 };
    EXPECT_EQ (routingMatchingKinds (smpte, 6), 1);
    EXPECT_EQ (routingMatchingKinds (smpte, 8), 4);
    EXPECT_EQ (routingMatchingKinds (smpte, 10), 16);
    EXPECT_EQ (routingMatchingKinds (smpte, 12), 25);
    const int juce714[12] = { 0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 6, 7 };
    EXPECT_EQ (routingMatchingKinds (juce714, 12, true), 18);
    EXPECT_EQ (routingMatchingKinds (juce714, 12, false), 1);
    EXPECT_EQ (routingMatchingKinds (smpte, 6, true), 18);  // allowed at 6 and names Tfl
    const int film[6] = { 0, 2, 1, 4, 5, 3 };
    EXPECT_EQ (routingMatchingKinds (film, 6), 0);
    const int nonsense[6] = { 5, 5, 5, 5, 5, 5 };
    EXPECT_EQ (routingMatchingKinds (nonsense, 6), -1);

    // VST3 at 7.1 would fall back to 9 (rears first), but JUCE delivers L R C LFE Ls Rs Lsr Rsr.
    EXPECT_EQ (resolveRouting (8, 100, 100, typeVst3, 4).routing, 4);
    // The host-format choice (99) takes the delivered order.
    auto r = resolveRouting (10, routingFromHost, 100, typeVst3, 16);
    EXPECT_EQ (r.routing, 16);
    EXPECT_FALSE (r.storeBack);
    // The delivered order wins even where the width's choices do not list it (7.1.4).
    r = resolveRouting (12, 100, -1, typeVst3, 18);
    EXPECT_EQ (r.routing, 18);
    EXPECT_TRUE (r.storeBack);
    // Without a delivered order the per-type column decides.
    EXPECT_EQ (resolveRouting (10, routingFromHost, 100, typeAax, -1).routing, 15);
}

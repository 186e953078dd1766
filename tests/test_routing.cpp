// Channel kinds and routing:
// - the inverse of every routing number agrees with its row (later positions win, -1 for absent
//   kinds), and out-of-range numbers fall back to the identity;
// - JUCE's delivered orders are recognised from the bus channel kinds (JUCE's 7.1.4 lists its
//   heights before the rears, which only routing 18 describes with front-height names);
// - resolution: allowed sets per width, default settings, per-type fallbacks, the delivered
//   order and the host-format choice; only a chosen number the width does not allow is
//   replaced in the parameter, never the standing "Default" and "Host order" choices.
#include "processor/KaChannelRouting.h"

#include <gtest/gtest.h>

using namespace KaChannelRouting;

TEST (Routing, InverseAgreesWithEveryRow)
{
    for (int r = 0; r < numRoutings; ++r)
    {
        std::array<int, rowLength> expected;
        expected.fill (-1);
        for (int p = 0; p < rowLength && kindAtPosition (r, p) >= 0; ++p)
            if (kindAtPosition (r, p) < rowLength)
                expected[(size_t) kindAtPosition (r, p)] = p;
        for (int k = 0; k < rowLength; ++k)
            EXPECT_EQ (hostPositionOfKind (r, k), expected[(size_t) k]) << "routing " << r << " kind " << k;
    }
    EXPECT_TRUE (isInverseTableBuilt());

    // Out of range: the identity.
    EXPECT_EQ (hostPositionOfKind (37, kindLs), kindLs);
    EXPECT_EQ (hostPositionOfKind (5, 13), 13);
    EXPECT_EQ (kindAtPosition (40, 7), 7);
}

TEST (Routing, DeliveredOrders)
{
    const int smpte[12] = { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11 };
    const int juce714[12] = { 0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 6, 7 };
    const int film[6] = { 0, 2, 1, 4, 5, 3 };
    const int nonsense[6] = { 5, 5, 5, 5, 5, 5 };
    EXPECT_EQ (routingMatchingKinds (smpte, 6), 1);
    EXPECT_EQ (routingMatchingKinds (smpte, 8), 4);
    EXPECT_EQ (routingMatchingKinds (smpte, 10), 16);
    EXPECT_EQ (routingMatchingKinds (smpte, 12), 25);
    EXPECT_EQ (routingMatchingKinds (juce714, 12, true), 18);
    EXPECT_EQ (routingMatchingKinds (juce714, 12, false), 1);
    EXPECT_EQ (routingMatchingKinds (smpte, 6, true), 18);  // allowed at 6 and names Tfl
    EXPECT_EQ (routingMatchingKinds (film, 6), 0);
    EXPECT_EQ (routingMatchingKinds (nonsense, 6), -1);
}

TEST (Routing, Resolution)
{
    constexpr int none = -1, byDefault = routingByDefault;
    struct Row
    {
        int width, choice, defaultSetting, type, delivered, routing;
        int storeBack = -1;  // 0 or 1 where the case decides it
    };
    const Row rows[] = {
        { 2, 0, none, typeVst3, none, 1 },              // narrow outputs always use 1
        { 6, 17, none, typeVst3, none, 17, 0 },           // an allowed choice is kept
        { 6, 5, 2, typeVst3, none, 2, 1 },                 // not allowed: the width's default setting, stored back
        { 6, byDefault, 17, typeVst3, none, 1, 0 },     // 17 is no default setting; "Default" stays
        { 6, byDefault, byDefault, typeRtas, none, 0 }, // per-type fallbacks
        { 6, byDefault, byDefault, typeAax, none, 0 },
        { 6, byDefault, byDefault, typeAu, none, 2 },
        { 6, byDefault, byDefault, typeVst, none, 1 },
        { 8, byDefault, byDefault, typeVst3, none, 9 },
        { 8, byDefault, byDefault, typeAu, none, 3 },
        { 8, byDefault, 7, typeAu, none, 7 },
        { 10, byDefault, byDefault, typeAax, none, 15 },
        { 10, byDefault, byDefault, typeVst3, none, 16 },
        { 12, byDefault, byDefault, typeRtas, none, 24 },
        { 12, byDefault, byDefault, typeVst3, none, 25 },
        { 12, byDefault, 25, typeRtas, none, 24 },       // no default setting at 12
        { 16, 30, none, typeVst3, none, 30 },           // wider than 12: anything goes
        { 8, byDefault, byDefault, typeVst3, 4, 4 },     // JUCE delivers L R C LFE Ls Rs Lsr Rsr, not 9's rears first
        { 10, routingFromHost, byDefault, typeVst3, 16, 16, 0 },  // the host-format choice takes the delivered order
        { 12, byDefault, none, typeVst3, 18, 18, 0 },       // even where the width's choices do not list it
        { 12, 3, none, typeVst3, 18, 18, 1 },
        { 10, routingFromHost, byDefault, typeAax, none, 15 },  // without one the per-type column decides
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE (testing::Message() << "width " << row.width << ", choice " << row.choice << ", default " << row.defaultSetting
                                         << ", type " << row.type << ", delivered " << row.delivered);
        const auto r = resolveRouting (row.width, row.choice, row.defaultSetting, row.type, row.delivered);
        EXPECT_EQ (r.routing, row.routing);
        EXPECT_TRUE (row.storeBack < 0 || r.storeBack == (row.storeBack == 1));
    }
}

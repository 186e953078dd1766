#pragma once

#include <juce_core/juce_core.h>

#include <array>

/** Channel kinds, the routing table that places each kind at a host channel position for every
    routing number, its inverse, the channel names and the host-layout names.

    The engine always works on channels of fixed kinds; hosts and delivery formats want them in
    many orders. A routing number (0..36) selects one order: entry p of its row is the kind
    carried at host position p, -1 ends the row. The engine's buffers are laid out in the host
    order of the current routing number.

    All functions are real-time safe (no allocation, no locks) except the name functions, which
    build juce::Strings.
*/
namespace KaChannelRouting
{
    enum Kind
    {
        kindL = 0, kindR, kindC, kindLfe, kindLs, kindRs, kindLsr, kindRsr,
        kindLts, kindRts, kindTrl, kindTrr,
        numKinds = 12
    };

    inline constexpr int numRoutings = 37;
    inline constexpr int rowLength = 13;
    /** A routing number that holds no fixed order: the wrapper reports the host's own. */
    inline constexpr int routingFromHost = 99;
    /** The Routing choice "Default": the width's default setting, or the order the plug-in
        receives, decides at every width. */
    inline constexpr int routingByDefault = 100;

    using Row = std::array<int, rowLength>;

    /** Kind at host position p of routing r; the position itself when r or p is out of range. */
    int kindAtPosition (int routing, int position) noexcept;

    /** Host position that carries kind k under routing r, or -1; the kind itself when r > 36 or
        k is outside 0..12. */
    int hostPositionOfKind (int routing, int kind) noexcept;

    /** The azimuth in degrees (negative to the left) of an ear-level loudspeaker kind (C, L, R,
        Ls, Rs, Lsr, Rsr): side surrounds at ±110 without rears, ±100 with them; NaN for the LFE
        and the heights. */
    float earLevelAzimuth (int kind, bool withRears) noexcept;

    /** The speaker layout a number of outputs makes ("5.1", "7.1", "7.1.2", "7.1.4"), or the
        channel count ("16 ch") for any other width. */
    juce::String layoutNameForWidth (int numOutputs);

    /** Number of host positions that routing r defines before its terminator. */
    int rowSize (int routing) noexcept;

    /** The inverse table has been built (it is built once, on first use, process-wide). */
    bool isInverseTableBuilt() noexcept;

    /** Whether kinds 8 and 9 are the top front pair (Tfl, Tfr) rather than the top side pair
        under routing r: routing numbers 17, 18, 24 and 25. */
    bool hasTopFrontHeights (int routing) noexcept;

    /** Name of a kind; kinds 8 and 9 are "Tfl" and "Tfr" under routing numbers 17, 18, 24, 25. */
    juce::String kindName (int kind, int routing = 0);

    /** Name of the channel at host position p under routing r. */
    juce::String channelName (int routing, int position);

    /** The name of a host channel-format code (upper 16 bits the format, lower 16 the channel
        count), or an empty string for an unknown code. */
    juce::String hostLayoutName (juce::uint32 code);

    /** Plug-in type numbers as reported by the wrappers. */
    enum PluginType { typeUndefined = 0, typeVst = 1, typeAu = 2, typeRtas = 3, typeAax = 4, typeAs = 6, typeVst3 = 7 };

    struct Resolution
    {
        int routing = 1;
        /** True when a chosen routing number that the width does not allow was replaced by a
            default setting or a fallback (the caller stores it back into the Routing
            parameter). The standing choices "Default" and "Host order" are resolved afresh for
            every width and never replaced, so that a fresh instance, every program and the
            parameter's declared default all hold the same value. */
        bool storeBack = false;
    };

    /** Whether routing r is allowed for output width n. */
    bool isAllowedForWidth (int routing, int width) noexcept;

    /** Resolves the routing number for output width n from the Routing choice.
        defaultSetting is the width's persistent default choice (or -1 when the width has none);
        deliveredRouting is the routing whose order matches the channels the plug-in actually
        receives (or -1 when unknown). */
    Resolution resolveRouting (int width, int routingChoice, int defaultSetting, int pluginType, int deliveredRouting) noexcept;

    /** The routing number whose first n positions carry exactly the given kinds, or -1. Among
        several, one allowed for the width n is preferred, then one that names kinds 8 and 9 as
        the channel types do (front heights "Tfl"/"Tfr", or "Lts"/"Rts"). */
    int routingMatchingKinds (const int* kinds, int numChannels, bool frontHeights = false) noexcept;
}

#include "processor/UpmixerMonitor.h"
#include "processor/KaChannelRouting.h"
#include "processor/KaParameterTable.h"
#include "processor/UpmixerParameters.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace
{
    using namespace KaChannelRouting;

    struct ModeChannels
    {
        int first;   // kind on the L output (or -1)
        int second;  // kind on the R output
    };

    // Modes 1..14: the kinds each one plays; a single-channel mode names its kind twice.
    constexpr ModeChannels modeChannels[15] = {
        { -1, -1 },
        { kindLs, kindRs }, { kindC, kindC }, { kindLfe, kindLfe }, { kindL, kindLs }, { kindL, kindC },
        { kindC, kindR }, { kindR, kindRs }, { kindLsr, kindRsr }, { kindLs, kindLsr }, { kindL, kindLsr },
        { kindLts, kindRts }, { kindL, kindLts }, { kindLs, kindLts }, { kindLsr, kindLts },
    };

    void ramp (float* dst, const float* src, int n, float g0, float g1, bool overwrite) noexcept
    {
        if (src == nullptr)
        {
            if (overwrite)
                std::memset (dst, 0, sizeof (float) * (size_t) n);
            return;
        }
        const float step = n > 0 ? (g1 - g0) / (float) n : 0.0f;
        float g = g0;
        if (overwrite)
            for (int i = 0; i < n; ++i, g += step)
                dst[i] = src[i] * g;
        else
            for (int i = 0; i < n; ++i, g += step)
                dst[i] += src[i] * g;
    }
}

int UpmixerMonitor::selectMode (const KaParameterTable& t) noexcept
{
    using namespace UpmixerParam;
    static constexpr int order[][2] = {
        { MonitorSource, 0 }, { MonitorLsRs, 1 }, { MonitorC, 2 }, { MonitorLfe, 3 }, { MonitorLLs, 4 },
        { MonitorLC, 5 }, { MonitorCR, 6 }, { MonitorRRs, 7 }, { MonitorLbRb, 8 }, { MonitorLsLb, 9 },
        { MonitorLLb, 10 }, { MonitorLtsRts, 11 }, { MonitorLLts, 12 }, { MonitorLsLts, 13 },
        { MonitorLbLts, 14 }, { MonitorDownmix, 15 }, { MonitorDelta, 16 },
    };

    int mode = t.isOn (Bypass) ? modeSource : modeUpmix;
    for (const auto& entry : order)
        if (t.isOn (entry[0]))
            mode = entry[1];
    return mode;
}

float UpmixerMonitor::fadeCurve (float x) noexcept
{
    constexpr float floorDb = -40.0f, halfDb = -6.02f;
    if (x <= 0.0f)
        return 0.0f;
    if (x >= 1.0f)
        return 1.0f;

    auto power = [] (float d) { return d > 200.0f ? 1.0e10f : std::pow (10.0f, d / 20.0f); };
    if (x <= 0.5f)
        return power ((halfDb - floorDb) * 2.0f * x + floorDb);
    return 1.0f - power ((halfDb - floorDb) * 2.0f * (1.0f - x) + floorDb);
}

void UpmixerMonitor::reset (int mode) noexcept
{
    previousMode = currentMode = mode;
    fadePosition = lastStart = lastEnd = 1.0f;
}

void UpmixerMonitor::write (int mode, const Signals& s, float* const* outputs, int numOutputs, int n,
                            float g0, float g1, bool overwrite) const noexcept
{
    numOutputs = std::min (numOutputs, maxOutputs);
    auto channel = [] (const float* const* signal, int count, int position) -> const float*
    { return signal != nullptr && position >= 0 && position < count ? signal[position] : nullptr; };

    if (mode == modeSource || mode == modeUpmix)
    {
        const auto* signal = mode == modeSource ? s.source : s.upmix;
        const int count = mode == modeSource ? s.numSource : s.numUpmix;
        for (int ch = 0; ch < numOutputs; ++ch)
            ramp (outputs[ch], channel (signal, count, ch), n, g0, g1, overwrite);
        return;
    }

    const float* first = nullptr;
    const float* second = nullptr;
    if (mode == modeDownmix || mode == modeDelta)
    {
        const auto* pair = mode == modeDownmix ? s.downmix : s.delta;
        first = pair != nullptr ? pair[0] : nullptr;
        second = pair != nullptr ? pair[1] : nullptr;
    }
    else if (mode > 0 && mode < 15)
    {
        first = channel (s.upmix, s.numUpmix, hostPositionOfKind (s.routing, modeChannels[mode].first));
        second = channel (s.upmix, s.numUpmix, hostPositionOfKind (s.routing, modeChannels[mode].second));
    }

    if (overwrite)
        for (int ch = 0; ch < numOutputs; ++ch)
            std::memset (outputs[ch], 0, sizeof (float) * (size_t) n);

    if (numOutputs == 1)
    {
        ramp (outputs[0], second, n, g0, g1, false);
        return;
    }
    const int left = hostPositionOfKind (s.routing, kindL);
    const int right = hostPositionOfKind (s.routing, kindR);
    if (left >= 0 && left < numOutputs)
        ramp (outputs[left], first, n, g0, g1, false);
    if (right >= 0 && right < numOutputs)
        ramp (outputs[right], second, n, g0, g1, false);
}

void UpmixerMonitor::process (int requestedMode, const Signals& signals, float* const* outputs, int numOutputs,
                              int numSamples, double sampleRate) noexcept
{
    if (fadePosition >= 1.0f && requestedMode != currentMode)
    {
        previousMode = currentMode;
        currentMode = requestedMode;
        fadePosition = 0.0f;
    }

    lastStart = lastEnd = 1.0f;
    if (fadePosition < 1.0f)
    {
        const float start = fadePosition;
        const float end = std::min (1.0f, start + (float) (numSamples / (sampleRate * 0.01)));
        lastStart = start;
        lastEnd = end;
        write (previousMode, signals, outputs, numOutputs, numSamples, 1.0f - fadeCurve (start), 1.0f - fadeCurve (end), true);
        write (currentMode, signals, outputs, numOutputs, numSamples, fadeCurve (start), fadeCurve (end), false);
        fadePosition = end;
        return;
    }

    write (currentMode, signals, outputs, numOutputs, numSamples, 1.0f, 1.0f, true);
}

unsigned UpmixerMonitor::writeKinds (const Signals& s, float* const* kinds, int n) const noexcept
{
    unsigned written = 0;
    auto add = [&] (int kind, const float* src, float g0, float g1)
    {
        if (src == nullptr || kind < 0 || kind >= numKinds)
            return;
        ramp (kinds[kind], src, n, g0, g1, (written & (1u << kind)) == 0);
        written |= 1u << kind;
    };
    auto channel = [&s] (const float* const* signal, int count, int kind) -> const float*
    {
        const int position = hostPositionOfKind (s.routing, kind);
        return signal != nullptr && position >= 0 && position < count ? signal[position] : nullptr;
    };
    auto writeMode = [&] (int mode, float g0, float g1)
    {
        if (g0 == 0.0f && g1 == 0.0f)
            return;
        if (mode == modeSource || mode == modeUpmix)
        {
            for (int kind = 0; kind < numKinds; ++kind)
            {
                const float* src = mode == modeSource ? channel (s.source, s.numSource, kind) : channel (s.upmix, s.numUpmix, kind);
                // The source has a channel for every kind, most of them silent.
                if (mode == modeSource && src != nullptr && std::all_of (src, src + n, [] (float v) { return v == 0.0f; }))
                    continue;
                add (kind, src, g0, g1);
            }
        }
        else if (mode == modeDownmix || mode == modeDelta)
        {
            if (const auto* pair = mode == modeDownmix ? s.downmix : s.delta)
            {
                add (kindL, pair[0], g0, g1);
                add (kindR, pair[1], g0, g1);
            }
        }
        else if (mode > 0 && mode < 15)
        {
            const auto [first, second] = modeChannels[mode];
            add (first, channel (s.upmix, s.numUpmix, first), g0, g1);
            if (second != first)
                add (second, channel (s.upmix, s.numUpmix, second), g0, g1);
        }
    };

    if (lastStart < 1.0f)
        writeMode (previousMode, 1.0f - fadeCurve (lastStart), 1.0f - fadeCurve (lastEnd));
    writeMode (currentMode, lastStart < 1.0f ? fadeCurve (lastStart) : 1.0f, lastStart < 1.0f ? fadeCurve (lastEnd) : 1.0f);
    return written;
}

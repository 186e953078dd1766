#include "processor/KaParameterTable.h"

#include <cmath>

juce::String KaParameterInfo::choiceText (int choice) const
{
    if (choice >= 0 && choice < choices.size() && choices[choice].isNotEmpty())
        return choices[choice];
    return juce::String (choice);
}

float KaParameterInfo::toUnit (float p) const
{
    switch (kind)
    {
        case KaParamKind::level: return low + (high - low) * p;
        case KaParamKind::logFrequency: return std::exp (std::log (low) + (std::log (high) - std::log (low)) * p);
        case KaParamKind::choice: return (float) KaParameterTable::choiceOf (p);
        case KaParamKind::toggle: return p != 0.0f ? 1.0f : 0.0f;
        case KaParamKind::plain: break;
    }
    return p;
}

std::optional<float> KaParameterInfo::fromUnit (float u) const
{
    if (! std::isfinite (u))
        return std::nullopt;

    float p = u;
    switch (kind)
    {
        case KaParamKind::level: p = (u - low) / (high - low); break;
        case KaParamKind::logFrequency:
            if (u <= 0.0f)
                return std::nullopt;
            p = (std::log (u) - std::log (low)) / (std::log (high) - std::log (low));
            break;
        case KaParamKind::choice: p = KaParameterTable::valueOfChoice ((int) std::lround (u)); break;
        case KaParamKind::toggle: p = u != 0.0f ? 1.0f : 0.0f; break;
        case KaParamKind::plain: break;
    }

    // A small tolerance absorbs the rounding of texts such as "12.0 dB".
    constexpr float tolerance = 1.0e-4f;
    if (p < -tolerance || p > 1.0f + tolerance)
        return std::nullopt;
    return juce::jlimit (0.0f, 1.0f, p);
}

juce::String KaParameterInfo::valueToText (float p) const
{
    switch (kind)
    {
        case KaParamKind::level: return juce::String (toUnit (p), 1) + " dB";
        case KaParamKind::logFrequency:
        {
            const float hz = toUnit (p);
            return hz >= 1000.0f ? juce::String (hz / 1000.0f, 2) + " kHz" : juce::String (juce::roundToInt (hz)) + " Hz";
        }
        case KaParamKind::choice: return choiceText (KaParameterTable::choiceOf (p));
        case KaParamKind::toggle: return p != 0.0f ? "On" : "Off";
        case KaParamKind::plain: break;
    }
    return juce::String (p * 100.0f, 1) + " %";
}

std::optional<float> KaParameterInfo::textToValue (const juce::String& rawText) const
{
    const auto text = rawText.trim();
    if (text.isEmpty())
        return std::nullopt;

    if (kind == KaParamKind::toggle)
    {
        if (text.equalsIgnoreCase ("on") || text.equalsIgnoreCase ("true"))
            return 1.0f;
        if (text.equalsIgnoreCase ("off") || text.equalsIgnoreCase ("false"))
            return 0.0f;
    }
    if (kind == KaParamKind::choice)
        for (int i = 0; i < choices.size(); ++i)
            if (choices[i].isNotEmpty() && text.equalsIgnoreCase (choices[i]))
                return KaParameterTable::valueOfChoice (i);

    const auto lower = text.toLowerCase();
    const auto digits = lower.retainCharacters ("0123456789.-+e");
    if (digits.isEmpty() || ! digits.containsAnyOf ("0123456789"))
        return std::nullopt;
    const auto unit = lower.substring (lower.indexOfAnyOf ("abcdfghijklmnopqrstuvwxyz%")).trim();
    const bool numericOnly = lower.indexOfAnyOf ("abcdfghijklmnopqrstuvwxyz%") < 0;
    const float x = digits.getFloatValue();

    if (numericOnly)
    {
        // A bare digits is the normalised value, except for a choice, where it is the choice digits.
        if (kind == KaParamKind::choice)
            return fromUnit (x);
        if (x < 0.0f || x > 1.0f)
            return std::nullopt;
        return x;
    }
    if (unit == "db" && kind == KaParamKind::level)
        return fromUnit (x);
    if ((unit == "hz" || unit == "khz") && kind == KaParamKind::logFrequency)
        return fromUnit (unit == "khz" ? x * 1000.0f : x);
    if (unit == "%" && (kind == KaParamKind::plain))
        return fromUnit (x / 100.0f);
    return std::nullopt;
}

void KaParameterTable::registerParameters (std::vector<KaParameterInfo> newInfos)
{
    infos = std::move (newInfos);
    records = std::make_unique<KaParameterRecord[]> (infos.size());
    numberList.clear();
    numHost = 0;

    int maxNumber = 0;
    for (const auto& i : infos)
        maxNumber = std::max (maxNumber, i.number);
    slotByNumber.assign ((size_t) maxNumber + 1, -1);

    for (size_t slot = 0; slot < infos.size(); ++slot)
    {
        const auto& i = infos[slot];
        jassert (slotByNumber[(size_t) i.number] < 0);
        slotByNumber[(size_t) i.number] = (int) slot;
        numberList.push_back (i.number);
        records[slot].value.store (i.defaultValue);
        records[slot].defaultValue = i.defaultValue;
        if (i.number < firstPersistent)
            ++numHost;
    }
}

int KaParameterTable::slotOf (int number) const noexcept
{
    if (number < 0 || number >= (int) slotByNumber.size())
        return -1;
    return slotByNumber[(size_t) number];
}

float KaParameterTable::get (int number) const noexcept
{
    const int slot = slotOf (number);
    return slot >= 0 ? records[(size_t) slot].value.load (std::memory_order_relaxed) : 0.0f;
}

bool KaParameterTable::set (int number, float value) noexcept
{
    const int slot = slotOf (number);
    if (slot < 0 || std::isnan (value))
        return false;
    value = juce::jlimit (0.0f, 1.0f, value);
    auto& r = records[(size_t) slot];
    const float old = r.value.exchange (value, std::memory_order_relaxed);
    if (old == value)
        return false;
    r.changed.store (true, std::memory_order_relaxed);
    return true;
}

float KaParameterTable::getDefault (int number) const noexcept
{
    const int slot = slotOf (number);
    return slot >= 0 ? records[(size_t) slot].defaultValue : 0.0f;
}

int KaParameterTable::getChoice (int number) const noexcept { return choiceOf (get (number)); }

KaParameterRecord* KaParameterTable::record (int number) noexcept
{
    const int slot = slotOf (number);
    return slot >= 0 ? &records[(size_t) slot] : nullptr;
}

const KaParameterInfo* KaParameterTable::info (int number) const noexcept
{
    const int slot = slotOf (number);
    return slot >= 0 ? &infos[(size_t) slot] : nullptr;
}

const KaParameterInfo* KaParameterTable::findByKey (const juce::String& key) const noexcept
{
    for (const auto& i : infos)
        if (i.key == key)
            return &i;
    return nullptr;
}

int KaParameterTable::choiceOf (float value) noexcept { return (int) std::lround (value * 1000.0f); }

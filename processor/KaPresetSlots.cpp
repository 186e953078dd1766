#include "processor/KaPresetSlots.h"

void KaPresetSlots::reset (const std::vector<float>& values)
{
    const auto count = std::min (values.size(), (size_t) maxRecords);
    for (int s = 0; s < numSlots; ++s)
    {
        auto& slot = m_slots[(size_t) s];
        slot.name = standardName (s);
        slot.values.assign (values.begin(), values.begin() + (std::ptrdiff_t) count);
    }
    m_nCurrent = 0;
}

void KaPresetSlots::setName (int slot, const juce::String& name)
{
    // Hosts and validators refuse programs without a name.
    m_slots[(size_t) clampSlot (slot)].name = name.trim().isNotEmpty() ? name : standardName (slot);
}

float KaPresetSlots::getValue (int slot, int number) const noexcept
{
    const auto& values = m_slots[(size_t) clampSlot (slot)].values;
    return values.empty() ? 0.0f : values[(size_t) clampNumber (number)];
}

void KaPresetSlots::setValue (int slot, int number, float value) noexcept
{
    auto& values = m_slots[(size_t) clampSlot (slot)].values;
    if (! values.empty())
        values[(size_t) clampNumber (number)] = value;
}

#pragma once

#include <juce_core/juce_core.h>

#include <vector>

/** The 46 program slots an instance keeps in the host's session: a name and one value per
    host parameter each. One slot is current; the parameter table holds its live values, so its
    stored values are only brought up to date when it is left or saved. Slot and parameter
    numbers outside their ranges address slot 0 and parameter 0. Message thread. */
class KaPresetSlots
{
public:
    static constexpr int numSlots = 46;
    static constexpr int maxRecords = 3000;

    /** Every slot to the given values, named "Program 1" .. "Program 46"; slot 0 current. */
    void reset (const std::vector<float>& values);

    int getCurrent() const noexcept { return m_nCurrent; }
    void setCurrent (int slot) noexcept { m_nCurrent = clampSlot (slot); }

    const juce::String& getName (int slot) const noexcept { return m_slots[(size_t) clampSlot (slot)].name; }
    void setName (int slot, const juce::String& name);

    float getValue (int slot, int number) const noexcept;
    void setValue (int slot, int number, float value) noexcept;
    int getNumValues() const noexcept { return m_slots[0].values.empty() ? 0 : (int) m_slots[0].values.size(); }

    static int clampSlot (int slot) noexcept { return slot >= 0 && slot < numSlots ? slot : 0; }
    static juce::String standardName (int slot) { return "Program " + juce::String (clampSlot (slot) + 1); }

private:
    struct Slot
    {
        juce::String name;
        std::vector<float> values;
    };

    int clampNumber (int number) const noexcept { return number >= 0 && number < getNumValues() ? number : 0; }

    std::vector<Slot> m_slots = std::vector<Slot> ((size_t) numSlots);
    int m_nCurrent = 0;
};

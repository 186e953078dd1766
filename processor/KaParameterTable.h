#pragma once

#include <juce_core/juce_core.h>

#include <atomic>
#include <optional>
#include <vector>

/** How a parameter's normalised value maps to what the user sees. */
enum class KaParamKind
{
    plain,        // shown as a percentage of its range
    toggle,       // 0 or 1: "Off" / "On"
    choice,       // choice number / 1000
    level,        // dB range mapped linearly onto 0..1
    logFrequency  // Hz on a logarithmic sweep: f = exp (ln lo + (ln hi - ln lo) p)
};

/** The constant description of one parameter: number, key, display name, default and units. */
struct KaParameterInfo
{
    int number = 0;
    juce::String key;
    juce::String name;
    float defaultValue = 0.0f;
    KaParamKind kind = KaParamKind::plain;
    float low = 0.0f;   // dB or Hz at normalised 0 (level, logFrequency)
    float high = 1.0f;  // dB or Hz at normalised 1
    juce::StringArray choices;  // texts of choice numbers 0, 1, 2, ...; empty for numbers only
    juce::String choiceText (int choice) const;

    /** The value as the user reads it: "-3.0 dB", "120 Hz", "50 %", "On", a choice's text. */
    juce::String valueToText (float normalised) const;

    /** The normalised value of a text in the parameter's own unit ("120Hz", "-3 dB", "On",
        "50%", a choice text or number) or a bare normalised number; nothing when the text
        cannot be read or lies outside the range. */
    std::optional<float> textToValue (const juce::String& text) const;

    /** The value in the parameter's unit (dB, Hz, choice number, 0/1, or the normalised value). */
    float toUnit (float normalised) const;
    std::optional<float> fromUnit (float unitValue) const;
};

/** The record of one parameter: the live values the processor, engine and editor share.
    Values are plain 32-bit stores (atomic, relaxed), read once per block without locks. */
struct KaParameterRecord
{
    std::atomic<float> value { 0.0f };
    float defaultValue = 0.0f;
    float referenceValue = -1.0f;
    std::atomic<bool> changed { true };
    std::atomic<bool> userChanged { false };
    std::atomic<bool> hostSet { false };
};

/** The flat table of all parameters, addressed by number: host parameters 0..n-1, persistent
    per-user settings from 9000 and transient editor controls from 9100.

    Registration (message thread, allocates) happens once at construction of the processor;
    afterwards get/set are real-time safe. */
class KaParameterTable
{
public:
    static constexpr int firstPersistent = 9000;
    static constexpr int firstTransient = 9100;

    /** Registers every parameter in the order given. Host parameters must be numbered 0..n-1. */
    void registerParameters (std::vector<KaParameterInfo> infos);

    int getNumHostParameters() const noexcept { return numHost; }
    bool contains (int number) const noexcept { return slotOf (number) >= 0; }

    /** Real-time safe. Unknown numbers read 0. */
    float get (int number) const noexcept;
    /** Real-time safe. Stores a value clamped into 0..1 (NaN is ignored); unknown numbers are
        ignored. Returns true when the stored value changed. */
    bool set (int number, float value) noexcept;

    float getDefault (int number) const noexcept;
    int getChoice (int number) const noexcept;
    bool isOn (int number) const noexcept { return get (number) != 0.0f; }

    KaParameterRecord* record (int number) noexcept;
    const KaParameterInfo* info (int number) const noexcept;
    const KaParameterInfo* findByKey (const juce::String& key) const noexcept;

    /** All registered numbers in registration order. */
    const std::vector<int>& numbers() const noexcept { return numberList; }

    /** Choice number of a normalised choice value: value x 1000, rounded. */
    static int choiceOf (float value) noexcept;
    static float valueOfChoice (int choice) noexcept { return (float) choice / 1000.0f; }

private:
    int slotOf (int number) const noexcept;

    std::vector<KaParameterInfo> infos;
    std::unique_ptr<KaParameterRecord[]> records;
    std::vector<int> numberList;
    std::vector<int> slotByNumber;  // index: number (0..9120), value: slot or -1
    int numHost = 0;
};

#pragma once

#include <juce_audio_processors/juce_audio_processors.h>

class KaJuceProcessorBase;
struct KaParameterInfo;

/** The host's view of one host parameter: reads and writes the processor's parameter table,
    so automation from the host and changes from inside the plug-in stay one value. Its ID is the
    parameter's key, which the LV2 wrapper turns into the parameter's URI and the VST3 wrapper
    hashes into a stable parameter ID. */
class KaHostParameter : public juce::AudioProcessorParameterWithID
{
public:
    KaHostParameter (KaJuceProcessorBase& owner, const KaParameterInfo& info);

    float getValue() const override;
    void setValue (float newValue) override;
    float getDefaultValue() const override;
    juce::String getName (int maximumStringLength) const override;
    juce::String getText (float value, int maximumStringLength) const override;
    float getValueForText (const juce::String& text) const override;
    int getNumSteps() const override;
    bool isDiscrete() const override;
    bool isBoolean() const override;

    int getNumber() const noexcept { return number; }

private:
    KaJuceProcessorBase& owner;
    const KaParameterInfo& info;
    const int number;
};

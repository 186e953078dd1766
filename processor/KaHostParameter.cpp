#include "processor/KaHostParameter.h"
#include "processor/KaJuceProcessorBase.h"

KaHostParameter::KaHostParameter (KaJuceProcessorBase& o, const KaParameterInfo& i)
    : juce::AudioProcessorParameterWithID (juce::ParameterID { i.key, 1 }, i.name), owner (o), info (i), number (i.number)
{
}

float KaHostParameter::getValue() const { return owner.getParameterValue (number); }

void KaHostParameter::setValue (float newValue) { owner.setParameter (number, newValue); }

float KaHostParameter::getDefaultValue() const { return info.defaultValue; }

juce::String KaHostParameter::getName (int maximumStringLength) const { return info.name.substring (0, maximumStringLength); }

juce::String KaHostParameter::getText (float value, int maximumStringLength) const
{
    return info.valueToText (value).substring (0, maximumStringLength);
}

float KaHostParameter::getValueForText (const juce::String& text) const
{
    return info.textToValue (text).value_or (getValue());
}

int KaHostParameter::getNumSteps() const
{
    return info.kind == KaParamKind::toggle ? 2 : juce::AudioProcessor::getDefaultNumParameterSteps();
}

bool KaHostParameter::isDiscrete() const { return info.kind == KaParamKind::toggle; }

bool KaHostParameter::isBoolean() const { return info.kind == KaParamKind::toggle; }

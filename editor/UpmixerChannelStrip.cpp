#include "editor/UpmixerChannelStrip.h"
#include "editor/KaJuceTheme.h"
#include "editor/KaOglDraw.h"

namespace
{
    constexpr int nameHeight = 18, trimHeight = 20, switchHeight = 19, gap = 4;
    // From this width the two switches sit side by side and carry whole words.
    constexpr int wideStrip = 60, wordsStrip = 84;
}

UpmixerChannelStrip::UpmixerChannelStrip (const juce::String& name)
    : m_readoutName (name + ".m_readoutName", 0), m_meter (name + ".m_meter"), m_dragTrim (name + ".m_dragTrim"),
      m_btnFirst (name + ".m_btnFirst"), m_btnSecond (name + ".m_btnSecond")
{
    setName (name);
    setInterceptsMouseClicks (false, true);
    m_readoutName.setJustification (juce::Justification::centred);
    m_readoutName.setDrawsBackground (false);
    m_readoutName.setLabelFontSize (KaJuceTheme::titleText);
    m_dragTrim.setLabel ({});
    m_dragTrim.setLabelFontSize (KaJuceTheme::smallText);
    m_dragTrim.setGrowTextEditor (true);
    m_dragTrim.setValueJustification (juce::Justification::centred);
    for (auto* b : { &m_btnFirst, &m_btnSecond })
        b->setLabelFontSize (KaJuceTheme::smallText);
    for (juce::Component* c : { (juce::Component*) &m_readoutName, (juce::Component*) &m_meter, (juce::Component*) &m_dragTrim,
                                (juce::Component*) &m_btnFirst, (juce::Component*) &m_btnSecond })
        addAndMakeVisible (c);
}

int UpmixerChannelStrip::controlsHeight (int width) noexcept
{
    return trimHeight + gap + (width >= wideStrip ? switchHeight : 2 * switchHeight + 3);
}

void UpmixerChannelStrip::setChannel (const juce::String& name, juce::Colour colour)
{
    if (name != m_readoutName.getLabel())
        m_readoutName.setLabel (name);
    m_readoutName.setTextColour (colour);
}

void UpmixerChannelStrip::bindTrim (int number, float value)
{
    m_dragTrim.setParameterIndex (number);
    m_dragTrim.setVisible (number != KaJuceControl::noParameter);
    m_dragTrim.setValue (value, false);
}

void UpmixerChannelStrip::bindSwitch (int index, Switch kind, int number, float value)
{
    auto& button = getSwitch (index);
    m_switch[(size_t) (index == 0 ? 0 : 1)] = kind;
    button.setParameterIndex (kind == Switch::none ? KaJuceControl::noParameter : number);
    button.setVisible (kind != Switch::none);
    // Solo in amber, mute in red, as on a console.
    button.setAccentColour (kind == Switch::solo ? KaJuceTheme::warning : KaJuceTheme::danger);
    button.setValue (value, false);
    resized();
}

void UpmixerChannelStrip::labelSwitches()
{
    const bool wide = getWidth() >= wordsStrip;
    for (int i = 0; i < 2; ++i)
    {
        const auto kind = m_switch[(size_t) i];
        getSwitch (i).setLabel (kind == Switch::solo ? (wide ? "Solo" : "S") : kind == Switch::mute ? (wide ? "Mute" : "M") : "");
    }
}

void UpmixerChannelStrip::resized()
{
    KaOglChildComponent::resized();
    // Narrow strips (ten sources beside twelve outputs) take their names a size smaller.
    m_readoutName.setLabelFontSize (getWidth() < 48 ? KaJuceTheme::bodyText : KaJuceTheme::titleText);
    auto area = getLocalBounds().reduced (3, 4);
    m_readoutName.setBounds (area.removeFromTop (nameHeight));
    auto controls = area.removeFromBottom (controlsHeight (getWidth()));
    area.removeFromBottom (gap);
    m_meter.setBounds (area);

    m_dragTrim.setBounds (controls.removeFromTop (trimHeight));
    controls.removeFromTop (gap);
    if (m_switch[1] == Switch::none)
        m_btnFirst.setBounds (controls.removeFromTop (switchHeight));  // alone: the whole width
    else if (getWidth() >= wideStrip)
    {
        const int half = (controls.getWidth() - 3) / 2;
        m_btnFirst.setBounds (controls.removeFromLeft (half));
        m_btnSecond.setBounds (controls.removeFromRight (half));
    }
    else
    {
        m_btnFirst.setBounds (controls.removeFromTop (switchHeight));
        m_btnSecond.setBounds (controls.removeFromBottom (switchHeight));
    }
    labelSwitches();
}

void UpmixerChannelStrip::render (double)
{
    KaOglDraw::fillRoundedRect (getLocalBounds().toFloat(), 4.0f, KaJuceTheme::control.withAlpha (0.35f));
}

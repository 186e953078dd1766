#pragma once

#include "editor/KaJuceButton.h"
#include "editor/KaJuceDragControl.h"
#include "editor/KaJuceLevelMeterDisplay.h"

/** One channel's strip on the I/O page: its name in its channel colour, a level meter, a trim
    (drag, or double click to type "-3 dB") and up to two switches (mute or solo), top to
    bottom. The strip only holds and places them; the page binds the controls to the channel's
    parameters and ticks the meter. Unbound controls are hidden but keep their place, so that
    the meters of every strip on the page line up. */
class UpmixerChannelStrip : public KaOglChildComponent
{
public:
    enum class Switch { none, mute, solo };

    explicit UpmixerChannelStrip (const juce::String& name);

    /** The height of the controls below the meter for strips of that width. */
    static int controlsHeight (int width) noexcept;

    KaJuceLevelMeterDisplay& getMeter() noexcept { return m_meter; }
    KaJuceDragControl& getTrim() noexcept { return m_dragTrim; }
    KaJuceButton& getSwitch (int index) noexcept { return index == 0 ? m_btnFirst : m_btnSecond; }
    Switch getSwitchKind (int index) const noexcept { return m_switch[(size_t) (index == 0 ? 0 : 1)]; }
    juce::String getChannelName() const { return m_readoutName.getLabel(); }

    /** Message thread: the channel's name and colour. */
    void setChannel (const juce::String& name, juce::Colour colour);
    /** Message thread: the trim's parameter (KaJuceControl::noParameter hides it) and value. */
    void bindTrim (int number, float value);
    /** Message thread: what switch `index` (0 or 1) does, its parameter and value. */
    void bindSwitch (int index, Switch kind, int number, float value);

    void resized() override;
    void render (double time) override;

private:
    void labelSwitches();

    KaJuceMarginReadout m_readoutName;
    KaJuceLevelMeterDisplay m_meter;
    KaJuceDragControl m_dragTrim;
    KaJuceButton m_btnFirst, m_btnSecond;
    std::array<Switch, 2> m_switch { Switch::none, Switch::none };
};

#pragma once

#include "editor/KaJuceButton.h"

/** The A/B switch: a push button (it runs the comparison command) drawn as two halves, the
    setting heard lit. */
class KaJuceABButton : public KaJuceButton
{
public:
    KaJuceABButton (const juce::String& name, int parameterIndex);

    /** Message thread: which setting is heard. */
    void setComparingB (bool b) noexcept;
    bool isComparingB() const noexcept { return m_bComparingB.load(); }

protected:
    void drawFace (juce::Rectangle<float> area) override;

private:
    std::atomic<bool> m_bComparingB { false };
};

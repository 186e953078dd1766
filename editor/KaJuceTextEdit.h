#pragma once

#include "editor/KaGuiText.h"
#include "editor/KaJuceControlWithHelpers.h"

/** A single-line text field drawn with the bitmap fonts (preset names, pod names). After each
    edit the text is filtered: integer mode keeps digits, decimal mode digits and '.', both keep
    a leading '-'; a maximum length cuts it. Return confirms (onReturn), Escape drops focus. */
class KaJuceTextEdit : public KaJuceControlWithHelpers
{
public:
    enum class Filter { none, integer, decimal };

    explicit KaJuceTextEdit (const juce::String& name);

    void setFilter (Filter filter) noexcept { m_filter = filter; }
    void setMaxLength (int length) noexcept { m_nMaxLength = length; }
    /** Message thread. */
    void setText (const juce::String& text);
    juce::String getText() const { return m_text.get(); }
    std::function<void (const juce::String&)> onReturn;

    /** The text as the filter and the maximum length leave it. */
    static juce::String filtered (const juce::String& text, Filter filter, int maxLength);

    void render (double time) override;
    bool keyPressed (const juce::KeyPress& key) override;

protected:
    void mouseDown (const juce::MouseEvent& e) override;
    void focusGained (FocusChangeType) override { requestRedraw(); }
    void focusLost (FocusChangeType) override { requestRedraw(); }

private:
    void edited (juce::String text);

    KaGuiText m_text;
    Filter m_filter = Filter::none;
    int m_nMaxLength = 0;
};

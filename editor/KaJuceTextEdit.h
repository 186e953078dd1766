#pragma once

#include "editor/KaGuiText.h"
#include "editor/KaJuceControlWithHelpers.h"

/** A single-line text field drawn with the bitmap fonts (preset names, pod names). After each
    edit the text is filtered: integer mode keeps digits, decimal mode digits and '.', both keep
    a leading '-'; a set of allowed characters drops the others; a maximum length cuts it.
    Return confirms (onReturn), Escape drops focus (onEscape), Ctrl+V pastes a line. Text set
    with its selection (a proposed name) is replaced by the first character typed or pasted, or
    cleared by Backspace; Ctrl+A selects it all. */
class KaJuceTextEdit : public KaJuceControlWithHelpers
{
public:
    enum class Filter { none, integer, decimal };

    explicit KaJuceTextEdit (const juce::String& name);

    void setFilter (Filter filter) noexcept { m_filter = filter; }
    void setMaxLength (int length) noexcept { m_nMaxLength = length; }
    /** Only these characters are kept (empty: any). */
    void setAllowedCharacters (const juce::String& characters) { m_allowed = characters; }
    /** Message thread. */
    void setText (const juce::String& text, bool selected = false);
    juce::String getText() const { return m_text.get(); }
    bool isTextSelected() const noexcept { return m_bSelected.load(); }
    std::function<void (const juce::String&)> onReturn;
    std::function<void()> onEscape;
    /** The text changed by typing (after filtering). */
    std::function<void (const juce::String&)> onChange;

    /** The text as the filter, the allowed characters and the maximum length leave it. */
    static juce::String filtered (const juce::String& text, Filter filter, int maxLength, const juce::String& allowed = {});

    void render (double time) override;
    bool keyPressed (const juce::KeyPress& key) override;

protected:
    void mouseDown (const juce::MouseEvent& e) override;
    // The render thread draws the focus ring from this copy, not from JUCE's focus pointer.
    void focusGained (FocusChangeType) override { m_bFocused = true; requestRedraw(); }
    void focusLost (FocusChangeType) override { m_bFocused = false; requestRedraw(); }

private:
    void edited (juce::String text);

    KaGuiText m_text;
    Filter m_filter = Filter::none;
    int m_nMaxLength = 0;
    std::atomic<bool> m_bFocused { false };
    juce::String m_allowed;
    std::atomic<bool> m_bSelected { false };
};

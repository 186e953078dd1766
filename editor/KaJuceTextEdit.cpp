#include "editor/KaJuceTextEdit.h"
#include "editor/KaOglDraw.h"

KaJuceTextEdit::KaJuceTextEdit (const juce::String& name) : KaJuceControlWithHelpers (name)
{
    setWantsKeyboardFocus (true);
    setMouseCursor (juce::MouseCursor::IBeamCursor);
}

juce::String KaJuceTextEdit::filtered (const juce::String& text, Filter filter, int maxLength, const juce::String& allowed)
{
    juce::String result = allowed.isEmpty() ? text : text.retainCharacters (allowed);
    if (filter != Filter::none)
    {
        const bool negative = result.startsWithChar ('-');
        result = result.retainCharacters (filter == Filter::integer ? "0123456789" : "0123456789.");
        if (negative)
            result = "-" + result;
    }
    if (maxLength > 0 && result.length() > maxLength)
        result = result.substring (0, maxLength);
    return result;
}

void KaJuceTextEdit::setText (const juce::String& text, bool selected)
{
    m_text.set (text);
    m_bSelected.store (selected && text.isNotEmpty());
    requestRedraw();
}

void KaJuceTextEdit::edited (juce::String text)
{
    const auto kept = filtered (text, m_filter, m_nMaxLength, m_allowed);
    if (kept == m_text.get() && ! m_bSelected.load())
        return;
    setText (kept);
    if (onChange)
        onChange (kept);
}

void KaJuceTextEdit::mouseDown (const juce::MouseEvent&)
{
    if (isEnabled())
        grabKeyboardFocus();
}

bool KaJuceTextEdit::keyPressed (const juce::KeyPress& key)
{
    auto text = m_text.get();
    if (key == juce::KeyPress::returnKey)
    {
        if (onReturn)
            onReturn (text);
        return true;
    }
    if (key == juce::KeyPress::escapeKey)
    {
        giveAwayKeyboardFocus();
        if (onEscape)
            onEscape();
        return true;
    }
    const bool selected = m_bSelected.load();
    if (key == juce::KeyPress ('a', juce::ModifierKeys::commandModifier, 0))
    {
        m_bSelected.store (text.isNotEmpty());
        requestRedraw();
    }
    else if (key == juce::KeyPress ('v', juce::ModifierKeys::commandModifier, 0))
        edited ((selected ? juce::String() : text) + juce::SystemClipboard::getTextFromClipboard().upToFirstOccurrenceOf ("\n", false, false));
    else if (key == juce::KeyPress::backspaceKey || key == juce::KeyPress::deleteKey)
        edited (selected ? juce::String() : text.dropLastCharacters (1));
    else if (const auto c = key.getTextCharacter(); c >= ' ' && ! key.getModifiers().isCtrlDown())
        edited ((selected ? juce::String() : text) + juce::String::charToString (c));
    else if (selected && (key == juce::KeyPress::leftKey || key == juce::KeyPress::rightKey || key == juce::KeyPress::endKey))
    {
        m_bSelected.store (false);
        requestRedraw();
    }
    else
        return false;
    return true;
}

void KaJuceTextEdit::render (double time)
{
    const auto area = getLocalBounds().toFloat();
    const bool focused = m_bFocused.load();
    KaOglDraw::fillRoundedRect (area, 3.0f, KaJuceTheme::background);
    KaOglDraw::drawRoundedRect (area, 3.0f, focused ? getAccentColour() : KaJuceTheme::controlEdge);
    auto* font = getOglFont (getLabelFontSize());
    if (font == nullptr)
        return;
    const auto& text = m_text.forRender();
    const auto inner = getLocalBounds().reduced (6, 0);
    if (m_bSelected.load())
    {
        const float h = (float) font->getHeight() + 4.0f;
        KaOglDraw::fillRect ({ (float) inner.getX() - 1.0f, area.getCentreY() - h * 0.5f, (float) juce::jmin (font->getTextWidth (text), inner.getWidth()) + 2.0f, h },
                             getAccentColour().withAlpha (0.35f));
    }
    font->drawText (text, inner, juce::Justification::centredLeft, getTextColour());
    // A blinking caret at the end of the text while focused.
    if (focused && std::fmod (time, 1.0) < 0.6)
    {
        const float x = (float) inner.getX() + (float) juce::jmin (font->getTextWidth (text), inner.getWidth()) + 1.0f;
        KaOglDraw::fillRect ({ x, area.getCentreY() - (float) font->getHeight() * 0.5f, 1.0f, (float) font->getHeight() }, getTextColour());
    }
}

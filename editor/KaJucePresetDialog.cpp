#include "editor/KaJucePresetDialog.h"
#include "editor/KaOglDraw.h"
#include "processor/KaPresetName.h"

namespace
{
    constexpr int cardWidth = 440, nameCardHeight = 178, confirmCardHeight = 150, maxNameLength = 64;
}

KaJucePresetDialog::KaJucePresetDialog() : KaJuceControlWithHelpers ("m_presetDialog")
{
    setWantsKeyboardFocus (true);
    addChildComponent (m_textName);
    addAndMakeVisible (m_btnConfirm);
    addAndMakeVisible (m_btnCancel);
    m_btnCancel.setLabel ("Cancel");
    m_textName.setAllowedCharacters (KaPresetName::keptCharacters());
    m_textName.setMaxLength (maxNameLength);
    m_textName.setLabelFontSize (KaJuceTheme::titleText);
    m_textName.onChange = [this] (const juce::String& name) { nameEdited (name); };
    m_textName.onReturn = [this] (const juce::String&) { confirm(); };
    m_textName.onEscape = [this] { close(); };
    m_btnConfirm.onClick = [this] { confirm(); };
    m_btnCancel.onClick = [this] { close(); };
    setVisible (false);
}

void KaJucePresetDialog::askName (const juce::String& title, const juce::String& proposal, std::function<bool (const juce::String&)> taken,
                                  std::function<void (const juce::String&)> onName, NameWords words)
{
    m_words = std::move (words);
    m_fnTaken = std::move (taken);
    m_fnOnName = std::move (onName);
    m_fnOnConfirm = nullptr;
    m_bNameMode.store (true);
    m_title.set (title);
    m_text.set ({});
    m_textName.setText (KaJuceTextEdit::filtered (proposal, KaJuceTextEdit::Filter::none, maxNameLength, KaPresetName::keptCharacters()), true);
    m_textName.setVisible (true);
    nameEdited (m_textName.getText());
    open();
    m_textName.grabKeyboardFocus();
}

void KaJucePresetDialog::askName (const juce::String& title, const juce::String& proposal, std::function<bool (const juce::String&)> taken,
                                  std::function<void (const juce::String&)> onName)
{
    askName (title, proposal, std::move (taken), std::move (onName), NameWords());
}

void KaJucePresetDialog::askConfirmation (const juce::String& title, const juce::String& text, const juce::String& confirmWord, std::function<void()> onConfirm)
{
    m_fnOnConfirm = std::move (onConfirm);
    m_fnOnName = nullptr;
    m_fnTaken = nullptr;
    m_bNameMode.store (false);
    m_title.set (title);
    m_text.set (text);
    m_hint.set ({});
    m_textName.setVisible (false);
    m_btnConfirm.setLabel (confirmWord);
    m_btnConfirm.setAccentColour (KaJuceTheme::danger);
    m_btnConfirm.setBackgroundColour (KaJuceTheme::danger.withAlpha (0.3f));
    m_btnConfirm.setEnabled (true);
    open();
    grabKeyboardFocus();
}

void KaJucePresetDialog::open()
{
    toFront (false);
    setVisible (true);
    resized();
}

void KaJucePresetDialog::nameEdited (const juce::String& name)
{
    const auto trimmed = name.trim();
    const bool taken = trimmed.isNotEmpty() && m_fnTaken != nullptr && m_fnTaken (trimmed);
    m_btnConfirm.setEnabled (trimmed.isNotEmpty());
    const bool danger = taken && m_words.takenIsDanger;
    m_btnConfirm.setLabel (taken ? m_words.replace : m_words.confirm);
    m_btnConfirm.setAccentColour (danger ? KaJuceTheme::danger : KaJuceTheme::accent);
    m_btnConfirm.setBackgroundColour ((danger ? KaJuceTheme::danger : KaJuceTheme::accent).withAlpha (0.3f));
    m_bHintWarns.store (danger);
    m_hint.set (trimmed.isEmpty() ? m_words.empty : taken ? m_words.taken : m_words.fresh);
}

void KaJucePresetDialog::confirm()
{
    if (! isVisible())
        return;
    if (m_bNameMode.load())
    {
        const auto name = m_textName.getText().trim();
        if (name.isEmpty())
            return;
        auto onName = std::move (m_fnOnName);
        close();
        if (onName)
            onName (name);
        return;
    }
    auto onConfirm = std::move (m_fnOnConfirm);
    close();
    if (onConfirm)
        onConfirm();
}

void KaJucePresetDialog::close()
{
    m_fnTaken = nullptr;
    m_fnOnName = nullptr;
    m_fnOnConfirm = nullptr;
    m_textName.setVisible (false);
    setVisible (false);
}

bool KaJucePresetDialog::keyPressed (const juce::KeyPress& key)
{
    if (key == juce::KeyPress::returnKey)
        confirm();
    else if (key == juce::KeyPress::escapeKey)
        close();
    // Nothing reaches the editor behind while it asks (Ctrl+Z would undo a parameter there).
    return true;
}

void KaJucePresetDialog::resized()
{
    KaJuceControlWithHelpers::resized();
    const bool nameMode = m_bNameMode.load();
    m_card = getLocalBounds().withSizeKeepingCentre (juce::jmin (cardWidth, getWidth() - 40), nameMode ? nameCardHeight : confirmCardHeight);
    auto inner = m_card.reduced (18, 16);
    auto buttons = inner.removeFromBottom (28);
    m_btnConfirm.setBounds (buttons.removeFromRight (96));
    buttons.removeFromRight (8);
    m_btnCancel.setBounds (buttons.removeFromRight (96));
    m_textName.setBounds (inner.withTop (m_card.getY() + 50).withHeight (30));
}

void KaJucePresetDialog::render (double)
{
    KaOglDraw::drawModalCard (getLocalBounds().toFloat(), m_card.toFloat(), 0.55f, 6.0f, KaJuceTheme::panel.brighter (0.05f), KaJuceTheme::controlEdge);
    auto* title = getOglFont (KaJuceTheme::titleText);
    auto* body = getOglFont (KaJuceTheme::bodyText);
    if (title == nullptr || body == nullptr)
        return;
    auto area = m_card.reduced (18, 16);
    title->drawText (m_title.forRender(), area.removeFromTop (22), juce::Justification::centredLeft, KaJuceTheme::text);
    if (m_bNameMode.load())
    {
        // Below the name field.
        const juce::Rectangle<int> hint (area.getX(), m_card.getY() + 86, area.getWidth(), 20);
        body->drawText (m_hint.forRender(), hint, juce::Justification::centredLeft, m_bHintWarns.load() ? KaJuceTheme::warning : KaJuceTheme::textDim);
        return;
    }
    area.removeFromTop (10);
    body->drawWrappedText (m_text.forRender(), area.getX(), area.getY(), area.getWidth(), 4, KaJuceTheme::text);
}

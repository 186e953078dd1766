#pragma once

#include "editor/KaJuceButton.h"
#include "editor/KaJuceTextEdit.h"

/** The preset bar's questions, inside the editor over a dimmed window (never a window of its
    own): the name to save a preset as, typed into a field that keeps only what a preset name
    can hold, and the confirmation before something is removed for good. Return confirms,
    Escape cancels; clicks outside the card and other keys do not reach the editor behind.
    Message thread, but for render(). */
class KaJucePresetDialog : public KaJuceControlWithHelpers
{
public:
    KaJucePresetDialog();

    /** Asks for a name, proposing one (selected, so typing replaces it). The confirm button
        reads "Replace" while taken() says the name is in use; onName runs with the trimmed
        name confirmed. */
    void askName (const juce::String& title, const juce::String& proposal, std::function<bool (const juce::String&)> taken,
                  std::function<void (const juce::String&)> onName);
    /** Asks before an action that cannot be undone; the confirm button carries its word. */
    void askConfirmation (const juce::String& title, const juce::String& text, const juce::String& confirmWord, std::function<void()> onConfirm);

    void confirm();
    void close();
    bool isAsking() const { return isVisible(); }

    KaJuceTextEdit& getNameField() noexcept { return m_textName; }
    KaJuceButton& getConfirmButton() noexcept { return m_btnConfirm; }
    KaJuceButton& getCancelButton() noexcept { return m_btnCancel; }
    juce::String getHint() const { return m_hint.get(); }

    void render (double time) override;
    void resized() override;
    bool keyPressed (const juce::KeyPress& key) override;

private:
    void open();
    void nameEdited (const juce::String& name);

    KaGuiText m_title, m_text, m_hint;
    std::atomic<bool> m_bNameMode { false }, m_bHintWarns { false };
    KaJuceTextEdit m_textName { "m_textPresetName" };
    KaJuceButton m_btnConfirm { "m_btnDialogConfirm", noParameter, KaJuceButton::Mode::push };
    KaJuceButton m_btnCancel { "m_btnDialogCancel", noParameter, KaJuceButton::Mode::push };
    std::function<bool (const juce::String&)> m_fnTaken;
    std::function<void (const juce::String&)> m_fnOnName;
    std::function<void()> m_fnOnConfirm;
    juce::Rectangle<int> m_card;
};

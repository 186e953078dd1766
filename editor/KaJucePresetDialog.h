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

    /** The words of a name question: the confirm button's, fresh and taken, and the hint
        under the field for an empty, a taken and a fresh name. A preset's by default. */
    struct NameWords
    {
        juce::String confirm = "Save", replace = "Replace";
        juce::String empty = "Type a name for the preset.", taken = "A preset of this name exists: saving replaces it.",
                     fresh = "Saved in the User folder.";
        bool takenIsDanger = true;
    };

    /** Asks for a name, proposing one (selected, so typing replaces it). The confirm button
        reads words.replace while taken() says the name is in use; onName runs with the trimmed
        name confirmed. */
    void askName (const juce::String& title, const juce::String& proposal, std::function<bool (const juce::String&)> taken,
                  std::function<void (const juce::String&)> onName, NameWords words);
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
    NameWords m_words;
    juce::Rectangle<int> m_card;
};

#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>

class ModalTextEditorUser;

/** The text box opened over a control for typed entry. It is a small window of its own above
    the OpenGL surface (nothing software-painted shows through an OpenGL child window), opened
    only by a user's double click. Return confirms, Escape or a click elsewhere cancels. */
class ModalTextEditor : public juce::TextEditor, private juce::TextEditor::Listener
{
public:
    ModalTextEditor (ModalTextEditorUser& user, const juce::String& text);
    ~ModalTextEditor() override;

    /** Shows the box at a place on the screen. */
    void showAt (juce::Rectangle<int> screenArea);
    /** Ends editing; confirmed hands the text to the user. */
    void finish (bool confirmed);

private:
    void textEditorReturnKeyPressed (juce::TextEditor&) override { finish (true); }
    void textEditorEscapeKeyPressed (juce::TextEditor&) override { finish (false); }
    void textEditorFocusLost (juce::TextEditor&) override { finish (false); }

    ModalTextEditorUser& m_user;
    bool m_bFinished = false;
};

/** Mixin of controls that accept typed entry: owns the open box, if any. */
class ModalTextEditorUser
{
public:
    virtual ~ModalTextEditorUser();

    bool isEditingText() const noexcept { return m_textEditor != nullptr; }
    ModalTextEditor* getModalTextEditor() const noexcept { return m_textEditor.get(); }

    /** Called by the box (message thread); the box is closed afterwards. */
    virtual void modalTextEditorFinished (const juce::String& text, bool confirmed) = 0;

protected:
    ModalTextEditor& openModalTextEditor (const juce::String& text);
    void closeModalTextEditor();

private:
    friend class ModalTextEditor;
    std::unique_ptr<ModalTextEditor> m_textEditor;
};

#include "editor/ModalTextEditor.h"

ModalTextEditor::ModalTextEditor (ModalTextEditorUser& user, const juce::String& text) : m_user (user)
{
    setName ("ModalTextEditor");
    setText (text, false);
    selectAll();
    setJustification (juce::Justification::centred);
    addListener (this);
}

ModalTextEditor::~ModalTextEditor() { removeListener (this); }

void ModalTextEditor::showAt (juce::Rectangle<int> screenArea)
{
    setBounds (screenArea);
    addToDesktop (juce::ComponentPeer::windowIsTemporary);
    setVisible (true);
    toFront (true);
    grabKeyboardFocus();
}

void ModalTextEditor::finish (bool confirmed)
{
    if (m_bFinished)
        return;
    m_bFinished = true;
    const auto text = getText();
    // The user closes (deletes) this box: do it after the current event has been handled.
    juce::MessageManager::callAsync ([safe = juce::Component::SafePointer<ModalTextEditor> (this), text, confirmed]
    {
        if (auto* self = safe.getComponent())
        {
            auto& user = self->m_user;
            user.modalTextEditorFinished (text, confirmed);
            user.closeModalTextEditor();
        }
    });
}

ModalTextEditorUser::~ModalTextEditorUser() = default;

ModalTextEditor& ModalTextEditorUser::openModalTextEditor (const juce::String& text)
{
    m_textEditor = std::make_unique<ModalTextEditor> (*this, text);
    return *m_textEditor;
}

void ModalTextEditorUser::closeModalTextEditor() { m_textEditor.reset(); }

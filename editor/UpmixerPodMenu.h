#pragma once

#include "editor/KaJuceMenuPopUp.h"

class UpmixerEditor;
class UpmixerProcessor;

/** The main menu's instance-link entries (docs/instance-link.md): create, join or leave a pod,
    its members by track name as the places to send to, receiving here, and the pod's link
    groups. A missing pod library is said here. Message thread. */
class UpmixerPodMenu
{
public:
    UpmixerPodMenu (UpmixerEditor& editor, UpmixerProcessor& processor);

    void addItems (KaJuceMenuPopUp& menu);
    /** Asks for a pod's name and joins it (created when new). */
    void askPodName();

    /** A member as the menu names it: "2 Dialogue", or "2" when the host gave no track name. */
    static juce::String memberText (int number, const juce::String& trackName);

private:
    void join (const juce::String& name);

    UpmixerEditor& m_editor;
    UpmixerProcessor& m_processor;
};

#include "editor/UpmixerPodMenu.h"
#include "editor/UpmixerEditor.h"
#include "processor/UpmixerProcessor.h"

UpmixerPodMenu::UpmixerPodMenu (UpmixerEditor& editor, UpmixerProcessor& processor)
    : m_editor (editor), m_processor (processor)
{
}

juce::String UpmixerPodMenu::memberText (int number, const juce::String& trackName)
{
    return juce::String (number + 1) + (trackName.isNotEmpty() ? " " + trackName : juce::String());
}

void UpmixerPodMenu::addItems (KaJuceMenuPopUp& menu)
{
    menu.addSeparator();
    if (! UpmixerProcessor::isPodLibraryAvailable())
    {
        menu.addItem ("Instance link unavailable: libKaPod not found", false, false, nullptr);
        return;
    }
    auto& p = m_processor;
    if (! p.isInPod())
    {
        menu.addItem ("Create or join pod...", true, false, [this] { askPodName(); });
        for (const auto& name : UpmixerProcessor::getPodNames())
            menu.addItem ("Join pod \"" + name + "\"", true, false, [this, name] { join (name); });
        return;
    }

    const auto members = p.getPodMembers();
    const int self = p.getPodMemberNumber(), selector = p.getSendSelector();
    menu.addItem ("Pod \"" + p.getPodName() + "\": member " + juce::String (self + 1) + " of " + juce::String ((int) members.size()),
                  false, false, nullptr);
    menu.addItem ("Send nowhere", true, selector == -1, [&p] { p.setSendSelector (-1); });
    menu.addItem ("Receive the others here", true, selector == self, [&p, self] { p.setSendSelector (self); });
    for (const auto& m : members)
        if (m.number != self)
            menu.addItem ("Send to " + memberText (m.number, m.trackName) + (m.sendTarget == m.number ? " (receives)" : ""), true,
                          selector == m.number, [&p, number = m.number] { p.setSendSelector (number); });
    const unsigned groups = p.getPodLinkGroups();
    for (int g = 0; g < KaJucePodUser::numLinkGroups; ++g)
        menu.addItem (juce::String ("Link ") + KaJucePodUser::linkGroupName (g), true, (groups >> g & 1u) != 0,
                      [&p, g] { p.setPodLinkGroups (p.getPodLinkGroups() ^ (1u << g)); });
    menu.addItem ("Leave pod \"" + p.getPodName() + "\"", true, false, [this] { m_processor.leavePod(); m_editor.showParameterChange ("Left the pod", -1); });
}

void UpmixerPodMenu::askPodName()
{
    KaJucePresetDialog::NameWords words;
    words.confirm = words.replace = "Join";
    words.empty = "Type the pod's name.";
    words.taken = "A pod of this name is open here: joining takes its linked settings.";
    words.fresh = "A new pod: other instances join it by this name.";
    const auto names = UpmixerProcessor::getPodNames();
    m_editor.getPresetBar().getDialog().askName ("Create or join pod", m_processor.getPodName(),
                                                 [names] (const juce::String& name) { return names.contains (name); },
                                                 [this] (const juce::String& name) { join (name); }, words);
}

void UpmixerPodMenu::join (const juce::String& name)
{
    // A refusal (another rate, a full pod) arrives as the processor's notice.
    if (m_processor.joinPod (name))
        m_editor.showParameterChange ("Joined pod \"" + name + "\" as member " + juce::String (m_processor.getPodMemberNumber() + 1), -1);
}

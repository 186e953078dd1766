#pragma once

#include "pod/KaPodApi.h"

#include <juce_core/juce_core.h>

#include <array>
#include <atomic>
#include <vector>

/** An instance's side of the instance link (docs/instance-link.md): its membership of a pod in
    libKaPod, its send selector, the linked settings it sends and takes, and the channels it
    sends or receives. A virtual base of the processor, which answers the hooks below.

    Membership, state and settings run on the message thread; podSend() and podReceive() on
    the audio thread, where they neither lock nor allocate. Leaving waits (off the audio thread)
    until the audio thread is out of the pod, so a member is never used after it left. */
class KaJucePodUser
{
public:
    static constexpr int numLinkGroups = 5;
    enum LinkGroup { linkSpatial, linkDialogue, linkLfe, linkOverheads, linkMonitoring };
    static const char* linkGroupName (int group) noexcept;

    struct PodMember
    {
        int number, sendTarget;
        double sampleRate;
        juce::String trackName;
    };

    virtual ~KaJucePodUser();

    // Membership (message thread) -------------------------------------------------------------
    /** Joins (creating it when new) the pod `name`, leaving any other first; takes the pod's
        values of its linked groups. False when refused: the reason is posted as a warning. */
    bool joinPod (const juce::String& name);
    void leavePod();
    /** The pod joined, or the one a session named while the library is missing. */
    const juce::String& getPodName() const noexcept { return m_strPodName; }
    bool isInPod() const noexcept { return m_pMember != nullptr; }
    /** 0..15 while in a pod, else -1. */
    int getPodMemberNumber() const noexcept { return m_nMemberNumber.load (std::memory_order_relaxed); }
    std::vector<PodMember> getPodMembers() const;
    /** The pods open in this process, by name. */
    static juce::StringArray getPodNames();
    static bool isPodLibraryAvailable();
    static juce::String getPodLibraryStatus();

    /** The pod's link groups, bit (1 << LinkGroup) each; the pod's choice, shared by all members. */
    unsigned getPodLinkGroups() const noexcept { return m_nLinkGroups.load (std::memory_order_relaxed); }
    void setPodLinkGroups (unsigned groups);

    /** The host's name for the track, shown to the other members. */
    void setPodTrackName (const juce::String& name);

    // Send selector ---------------------------------------------------------------------------
    /** -1: none; this member's own number: it receives; another number: it sends there.
        Message thread; the processor hears of it through podSendSelectorChanged(). */
    void setSendSelector (int selector);
    int getSendSelector() const noexcept { return m_nSendSelector.load (std::memory_order_relaxed); }

    // Session (message thread) ------------------------------------------------------------------
    void writePodState (juce::XmlElement& root) const;
    /** Rejoins the pod the session names (keeping this instance's values) or leaves. */
    void readPodState (const juce::XmlElement& root);

protected:
    /** Any thread, no allocation: a parameter changed here; linked ones go to the pod at the
        next housekeeping. */
    void podParameterChanged (int number) noexcept;
    /** Message thread: sends this member's linked changes, takes the others', follows the
        pod's link groups. */
    void podHousekeeping();
    /** Message thread: the member's rate; a rate other than the pod's is warned about (by
        housekeeping, once it has lasted). */
    void podPrepare (double sampleRate);

    /** Audio thread: this member's output, before its send delay, for timeline samples from
        `position`, when it sends. */
    void podSend (const float* const* channels, int numChannels, int numSamples, juce::int64 position) noexcept;
    /** Audio thread: adds what the senders made KAPOD_EXCHANGE_DELAY samples ago, when this
        member receives; true when anything was added. */
    bool podReceive (float* const* channels, int numChannels, int numSamples, juce::int64 position) noexcept;
    bool isPodReceiver() const noexcept
    {
        const int number = getPodMemberNumber();
        return number >= 0 && getSendSelector() == number;
    }

    // Hooks the processor answers ---------------------------------------------------------------
    /** The link group of a parameter, or -1 when it is never linked. */
    virtual int podLinkGroupOf (int number) const noexcept = 0;
    virtual float podParameterValue (int number) const noexcept = 0;
    /** A linked change from another member, to be taken as if made here (not undoable). */
    virtual void podApplyLinkedValue (int number, float value) = 0;
    /** The send selector was set or cleared: latency and layout follow. */
    virtual void podSendSelectorChanged() = 0;
    virtual void podWarning (const juce::String& text) = 0;

private:
    bool join (const juce::String& name, int wantedNumber, bool adoptSettings);
    /** Warns once when this member's rate has differed from another's for a while. */
    void checkPodRates();
    /** Leaves the pod without a word to the processor (its destructor may be running). */
    void detach() noexcept;
    bool isLinked (int number) const noexcept;

    const KaPodApiV1* m_pApi = nullptr;
    KaPodMember* m_pMember = nullptr;  // message thread's
    std::atomic<KaPodMember*> m_pAudioMember { nullptr };
    std::atomic<bool> m_bInAudio { false };
    juce::String m_strPodName, m_strTrackName;
    std::atomic<int> m_nMemberNumber { -1 };
    int m_nSavedMemberNumber = -1;  // from the session, while the library is missing
    double m_dSampleRate = 0.0;
    int m_nRateMismatchTicks = 0;
    std::atomic<int> m_nSendSelector { -1 };
    std::atomic<unsigned> m_nLinkGroups { 0 };
    std::atomic<int> m_nApplying { -1 };  // the parameter being taken from the pod: not sent back

    std::array<std::atomic<bool>, KAPOD_MAX_SETTINGS> m_outbox {};
};

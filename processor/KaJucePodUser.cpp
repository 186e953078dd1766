#include "processor/KaJucePodUser.h"
#include "processor/KaLog.h"
#include "processor/KaPodLibrary.h"

#include <thread>

namespace
{
    constexpr unsigned allGroups = (1u << KaJucePodUser::numLinkGroups) - 1;

    int clampSelector (int selector) noexcept { return selector >= 0 && selector < KAPOD_MAX_MEMBERS ? selector : -1; }
}

const char* KaJucePodUser::linkGroupName (int group) noexcept
{
    static constexpr const char* names[numLinkGroups] = { "Spatial", "Dialogue", "LFE", "Overheads", "Monitoring" };
    return group >= 0 && group < numLinkGroups ? names[group] : "";
}

KaJucePodUser::~KaJucePodUser()
{
    detach();
}

juce::StringArray KaJucePodUser::getPodNames()
{
    juce::StringArray names;
    if (const auto* api = KaPodLibrary::api())
    {
        char found[32][KAPOD_TEXT_LENGTH] = {};
        const int count = api->list_pods (found, 32);
        for (int i = 0; i < count; ++i)
            names.add (juce::String::fromUTF8 (found[i]));
    }
    return names;
}

bool KaJucePodUser::isPodLibraryAvailable() { return KaPodLibrary::api() != nullptr; }

juce::String KaJucePodUser::getPodLibraryStatus() { return KaPodLibrary::status(); }

bool KaJucePodUser::joinPod (const juce::String& name)
{
    const auto trimmed = name.trim();
    if (isInPod() && trimmed == m_strPodName)
        return true;
    leavePod();
    return join (trimmed, -1, true);
}

bool KaJucePodUser::join (const juce::String& name, int wantedNumber, bool adoptSettings)
{
    if (m_pApi == nullptr)
        m_pApi = KaPodLibrary::api();
    if (m_pApi == nullptr)
    {
        // Kept so that the session saves it back and rejoins where the library exists.
        m_strPodName = name;
        m_nSavedMemberNumber = wantedNumber;
        return false;
    }

    char error[256] = {};
    auto* member = m_pApi->join (name.toRawUTF8(), wantedNumber, m_dSampleRate, getPodLinkGroups(), adoptSettings ? 1 : 0, error,
                                 (int) sizeof (error));
    if (member == nullptr)
    {
        podWarning (juce::String::fromUTF8 (error));
        return false;
    }

    m_pMember = member;
    m_strPodName = name;
    m_nSavedMemberNumber = -1;
    const int number = m_pApi->member_number (member);
    m_nMemberNumber.store (number);
    m_nLinkGroups.store (m_pApi->get_link_mask (member) & allGroups);
    m_pApi->set_track_name (member, m_strTrackName.toRawUTF8());
    KaLog::write ("KaJucePodUser: joined pod \"" + name + "\" as member " + juce::String (number + 1)
                  + (wantedNumber >= 0 && wantedNumber != number ? " (member " + juce::String (wantedNumber + 1) + " was taken)" : juce::String()));

    // A receiver stays the receiver under the number it got.
    const int selector = getSendSelector();
    if (selector >= 0 && selector == wantedNumber && wantedNumber != number)
        setSendSelector (number);
    m_pApi->set_send_target (member, getSendSelector());
    m_pAudioMember.store (member);
    return true;
}

void KaJucePodUser::detach() noexcept
{
    if (m_pMember == nullptr)
        return;
    // The audio thread may be inside the pod; it is out within one block.
    m_pAudioMember.store (nullptr);
    while (m_bInAudio.load())
        std::this_thread::yield();
    m_pApi->leave (m_pMember);
    m_pMember = nullptr;
    m_nMemberNumber.store (-1);
}

void KaJucePodUser::leavePod()
{
    if (m_pMember != nullptr)
        KaLog::write ("KaJucePodUser: left pod \"" + m_strPodName + "\"");
    detach();
    m_strPodName.clear();
    m_nSavedMemberNumber = -1;
    setSendSelector (-1);
}

std::vector<KaJucePodUser::PodMember> KaJucePodUser::getPodMembers() const
{
    std::vector<PodMember> members;
    if (m_pMember == nullptr)
        return members;
    std::array<KaPodMemberInfo, KAPOD_MAX_MEMBERS> infos {};
    const int count = m_pApi->list_members (m_pMember, infos.data(), (int) infos.size());
    for (int i = 0; i < count; ++i)
        members.push_back ({ infos[(size_t) i].number, infos[(size_t) i].sendTarget, infos[(size_t) i].sampleRate,
                             juce::String::fromUTF8 (infos[(size_t) i].trackName) });
    return members;
}

void KaJucePodUser::setPodLinkGroups (unsigned groups)
{
    m_nLinkGroups.store (groups & allGroups);
    if (m_pMember != nullptr)
        m_pApi->set_link_mask (m_pMember, groups & allGroups);
}

void KaJucePodUser::setPodTrackName (const juce::String& name)
{
    m_strTrackName = name;
    if (m_pMember != nullptr)
        m_pApi->set_track_name (m_pMember, name.toRawUTF8());
}

void KaJucePodUser::setSendSelector (int selector)
{
    selector = clampSelector (selector);
    const int previous = m_nSendSelector.exchange (selector);
    if (m_pMember != nullptr)
        m_pApi->set_send_target (m_pMember, selector);
    if (previous != selector)
        podSendSelectorChanged();
}

void KaJucePodUser::writePodState (juce::XmlElement& root) const
{
    root.setAttribute ("SENDSELECTOR", getSendSelector());
    if (m_strPodName.isEmpty())
        return;
    root.setAttribute ("PODNAME", m_strPodName);
    root.setAttribute ("PODMEMBER", isInPod() ? getPodMemberNumber() : m_nSavedMemberNumber);
    // The pod's groups as they are now: another member may have changed them since housekeeping.
    root.setAttribute ("PODLINKS", (int) (isInPod() ? m_pApi->get_link_mask (m_pMember) & allGroups : getPodLinkGroups()));
}

void KaJucePodUser::readPodState (const juce::XmlElement& root)
{
    const auto name = root.getStringAttribute ("PODNAME").trim();
    const int wanted = clampSelector (root.getIntAttribute ("PODMEMBER", -1));
    const int selector = clampSelector (root.getIntAttribute ("SENDSELECTOR", -1));
    if (name.isEmpty())
        leavePod();
    else if (! isInPod() || name != m_strPodName)
    {
        leavePod();
        // The session's values were linked when it was saved: keep them, take the pod's groups
        // unless this member is the first back.
        m_nLinkGroups.store ((unsigned) root.getIntAttribute ("PODLINKS", 0) & allGroups);
        setSendSelector (selector);
        join (name, wanted, false);
        return;
    }
    setSendSelector (selector);
}

bool KaJucePodUser::isLinked (int number) const noexcept
{
    const int group = podLinkGroupOf (number);
    return group >= 0 && (getPodLinkGroups() >> group & 1u) != 0;
}

void KaJucePodUser::podParameterChanged (int number) noexcept
{
    if (number >= 0 && number < KAPOD_MAX_SETTINGS && number != m_nApplying.load (std::memory_order_relaxed) && isLinked (number)
        && m_pAudioMember.load (std::memory_order_relaxed) != nullptr)
        m_outbox[(size_t) number].store (true, std::memory_order_release);
}

void KaJucePodUser::podHousekeeping()
{
    if (m_pMember == nullptr)
        return;
    m_nLinkGroups.store (m_pApi->get_link_mask (m_pMember) & allGroups);
    for (int n = 0; n < KAPOD_MAX_SETTINGS; ++n)
        if (m_outbox[(size_t) n].exchange (false, std::memory_order_acq_rel) && isLinked (n))
            m_pApi->publish_setting (m_pMember, n, podParameterValue (n));

    std::array<int, KAPOD_MAX_SETTINGS> numbers {};
    std::array<float, KAPOD_MAX_SETTINGS> values {};
    const int count = m_pApi->take_settings (m_pMember, numbers.data(), values.data(), KAPOD_MAX_SETTINGS);
    for (int i = 0; i < count; ++i)
        if (isLinked (numbers[(size_t) i]))
        {
            // Taken as if made here, but not sent back: the pod has it already.
            m_nApplying.store (numbers[(size_t) i]);
            podApplyLinkedValue (numbers[(size_t) i], values[(size_t) i]);
            m_nApplying.store (-1);
        }
    checkPodRates();
}

void KaJucePodUser::podPrepare (double sampleRate)
{
    m_dSampleRate = sampleRate;
    m_nRateMismatchTicks = 0;
    if (m_pMember != nullptr)
        m_pApi->set_sample_rate (m_pMember, sampleRate, nullptr);
}

void KaJucePodUser::checkPodRates()
{
    // A session's new rate reaches its members one by one: only a difference that lasts is news.
    constexpr int lastingTicks = 30;  // housekeeping runs at 30 Hz: a second
    double other = 0.0;
    if (m_dSampleRate <= 0.0 || m_pApi->set_sample_rate (m_pMember, m_dSampleRate, &other) != 0)
        m_nRateMismatchTicks = 0;
    else if (++m_nRateMismatchTicks == lastingTicks)
        podWarning ("Pod \"" + m_strPodName + "\": this instance runs at " + juce::String (m_dSampleRate, 0) + " Hz and another member at "
                    + juce::String (other, 0) + " Hz. Channels pass only between members at the same rate.");
}

void KaJucePodUser::podSend (const float* const* channels, int numChannels, int numSamples, juce::int64 position) noexcept
{
    const int selector = getSendSelector();
    if (selector < 0 || selector == getPodMemberNumber())
        return;
    m_bInAudio.store (true);
    if (auto* member = m_pAudioMember.load())
        m_pApi->send (member, channels, numChannels, numSamples, position);
    m_bInAudio.store (false);
}

bool KaJucePodUser::podReceive (float* const* channels, int numChannels, int numSamples, juce::int64 position) noexcept
{
    if (! isPodReceiver())
        return false;
    int senders = 0;
    m_bInAudio.store (true);
    if (auto* member = m_pAudioMember.load())
        senders = m_pApi->receive_add (member, channels, numChannels, numSamples, position);
    m_bInAudio.store (false);
    return senders > 0;
}

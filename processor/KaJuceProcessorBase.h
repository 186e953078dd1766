#pragma once

#include "processor/KaJuceChannelUser.h"
#include "processor/KaParameterTable.h"

#include <juce_audio_processors/juce_audio_processors.h>

#include <array>
#include <atomic>

class KaHostParameter;

/** The reusable frame of a Kestro Audio plug-in: the parameter table and the host's view of
    it, the per-user settings, logging, host detection, the start-up states and the message
    thread housekeeping. The derived processor registers its parameters and owns the audio path.

    Parameter changes from the host arrive through setParameter (possibly on the audio thread);
    changes from inside the plug-in (editor, undo, presets, command line) through
    setParameterNotifyingHost on the message thread. Work that must not happen on the audio
    thread (logging, host notification, settings writes) is queued and done by the timer. */
class KaJuceProcessorBase : public juce::AudioProcessor,
                            public juce::Timer,
                            public juce::UndoManager,
                            public juce::ChangeBroadcaster,
                            public KaJuceChannelUser
{
public:
    explicit KaJuceProcessorBase (const BusesProperties& buses);
    ~KaJuceProcessorBase() override;

    // Plug-in type --------------------------------------------------------------------------
    int getPluginTypeNumber() const noexcept { return pluginTypeNumber; }
    const juce::String& getPluginTypeWord() const noexcept { return pluginTypeWord; }
    static juce::String pluginTypeWordFor (int typeNumber);
    static int pluginTypeNumberFor (juce::AudioProcessor::WrapperType type);

    // Host ----------------------------------------------------------------------------------
    int getHostNumber() const noexcept { return hostNumber; }
    const juce::String& getHostPath() const noexcept { return hostPath; }
    /** Tests and the command line may name the host program themselves. */
    void setHostPath (const juce::String& path);

    // Parameters ------------------------------------------------------------------------------
    KaParameterTable& getParameterTable() noexcept { return table; }
    const KaParameterTable& getParameterTable() const noexcept { return table; }

    /** The host's set: ignores numbers outside 0..numHost-1; never echoed back to the host.
        Any thread; no allocation. */
    void setParameter (int number, float value) noexcept;

    /** A change from inside the plug-in: stored, reacted to and announced to the host.
        Message thread. userChange marks it as the user's own (linking rules act on those). */
    void setParameterNotifyingHost (int number, float value, bool userChange = true);

    float getParameterValue (int number) const noexcept { return table.get (number); }
    juce::String getParameterKey (int number) const;
    juce::String getParameterDisplayName (int number) const;
    juce::String getParameterValueText (int number) const;

    /** The number of the last parameter changed (9999 when none), taken and reset by the editor. */
    int takeLastChangedParameter() noexcept { return lastChangedParameter.exchange (9999); }

    // Start-up and housekeeping ----------------------------------------------------------------
    /** 0 after construction, 1 after the first block, 2 after the next housekeeping. */
    int getStartupState() const noexcept { return startupState.load(); }

    /** The message-thread work of the timer; hosts without a message loop (the command line,
        tests) call it directly. */
    void runHousekeeping();

    static bool isAutomationLoggingOn() noexcept;
    static bool isTestFlagOn() noexcept;
    static void setAutomationLogging (bool on) noexcept;
    static void setTestFlag (bool on) noexcept;

    /** A warning for the user: logged, and shown in a message box when a display exists. */
    virtual void postWarning (const juce::String& title, const juce::String& text);
    int getNumWarningsPosted() const noexcept { return numWarningsPosted; }

    bool hasPersistentParamMapVersionChanged() const noexcept { return persistentMapVersionChanged; }

    // juce::AudioProcessor ------------------------------------------------------------------
    const juce::String getName() const override;
    bool acceptsMidi() const override { return false; }
    bool producesMidi() const override { return false; }
    bool isMidiEffect() const override { return false; }
    double getTailLengthSeconds() const override { return 0.0; }

protected:
    /** Registers the table, creates the host parameters and reads the persistent settings.
        Called once by the derived constructor. */
    void registerParameters (std::vector<KaParameterInfo> infos);

    /** The derived processor's reaction to a stored change. Runs on the thread of the change;
        reactions that need the message thread use deferToMessageThread(). */
    virtual void parameterChanged (int number, float value, bool userChange) = 0;

    /** Message-thread work the derived processor does in housekeeping. */
    virtual void onHousekeeping() {}
    /** The one-time set-up after the first block (start-up state 1 -> 2). */
    virtual void onFirstHousekeeping() {}

    void markStarted() noexcept;
    /** Queues a host notification of a parameter changed from the audio thread. */
    void queueHostNotification (int number) noexcept;

    static juce::String buildLine (const juce::String& typeWord, const juce::String& hostPath);

private:
    void timerCallback() override;
    void storeAndReact (int number, float value, bool userChange);
    void flushAutomationLog();

    KaParameterTable table;
    std::vector<KaHostParameter*> hostParameters;  // owned by juce::AudioProcessor

    int pluginTypeNumber = 0;
    juce::String pluginTypeWord;
    juce::String hostPath;
    int hostNumber = 0;
    bool persistentMapVersionChanged = false;
    int numWarningsPosted = 0;

    std::atomic<int> startupState { 0 };
    std::atomic<int> lastChangedParameter { 9999 };

    static constexpr int maxHostParameters = 256;
    std::array<std::atomic<bool>, maxHostParameters> pendingHostNotify {};

    // Automation log lines are queued lock-free on the audio thread and written by the timer.
    static constexpr int automationQueueSize = 256;
    struct AutomationEntry { int number; float value; };
    std::array<AutomationEntry, automationQueueSize> automationQueue {};
    std::atomic<int> automationWrite { 0 }, automationRead { 0 };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (KaJuceProcessorBase)
};

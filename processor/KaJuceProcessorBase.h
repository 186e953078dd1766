#pragma once

#include "processor/KaJuceChannelUser.h"
#include "processor/KaJucePresetNavUndoableAction.h"
#include "processor/KaParameterTable.h"
#include "processor/KaPreset.h"
#include "processor/KaPresetSlots.h"

#include <juce_audio_processors/juce_audio_processors.h>

#include <array>
#include <atomic>
#include <functional>

class KaHostParameter;
class KaProfiler;

/** A warning or question for the user, held until an editor shows it. */
struct KaNotice
{
    juce::String title, text;
    /** Set for an OK/Cancel question: runs on the message thread with the answer (true: OK),
        never after the processor has gone. */
    std::function<void (bool ok)> onAnswer;
};

/** The reusable frame of a Kestro Audio plug-in: the parameter table and the host's view of
    it, the per-user settings, logging, host detection, the start-up states and the message
    thread housekeeping. The derived processor registers its parameters and owns the audio path.

    Parameter changes from the host arrive through setParameter (possibly on the audio thread);
    changes from inside the plug-in (editor, undo, presets, command line) through
    setParameterNotifyingHost on the message thread. Work that must not happen on the audio
    thread (logging, host notification, settings writes) is queued and done by the timer.

    The base also keeps what an instance must never lose: the session state with its 46 program
    slots and parameter-map versions, the preset files and the default preset, and the undo
    history (it is its own undo manager) with the A/B comparison. All of that runs on the
    message thread. */
class KaJuceProcessorBase : public juce::AudioProcessor,
                            public juce::Timer,
                            public juce::UndoManager,  // itself the instance's juce::ChangeBroadcaster
                            public KaJuceChannelUser
{
public:
    explicit KaJuceProcessorBase (const BusesProperties& buses);
    ~KaJuceProcessorBase() override;

    // Plug-in type --------------------------------------------------------------------------
    int getPluginTypeNumber() const noexcept { return pluginTypeNumber; }
    const juce::String& getPluginTypeWord() const noexcept { return pluginTypeWord; }
    static juce::String pluginTypeWordFor (int typeNumber);
    /** The line that opens the log: product, version, format, system, build, host and user. */
    static juce::String buildLine (const juce::String& typeWord, const juce::String& hostPath);
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

    /** A warning for the user: logged at once and kept for the editor, which shows it inside
        its window when it is open or next opened. The processor never opens a window itself:
        hosts may have no display, or none that survives a window nobody asked for. Any thread
        but the audio thread. */
    virtual void postWarning (const juce::String& title, const juce::String& text);
    int getNumWarningsPosted() const noexcept { return numWarningsPosted.load(); }
    /** Message thread: the warnings and questions not yet shown, oldest first. */
    std::vector<KaNotice> takeNotices();
    static constexpr int maxPendingNotices = 8;

    // Editor ------------------------------------------------------------------------------------
    /** An editor's mouse gesture on a parameter: one host automation gesture and one undo step.
        Message thread. */
    void beginParameterGesture (int number);
    void endParameterGesture (int number);
    /** Whether a change of the parameter is announced in the editor's status line, and whether
        its name alone says it all (no ": value"). */
    virtual bool isAnnounced (int number) const;
    virtual bool isAnnouncedWithoutValue (int number) const { juce::ignoreUnused (number); return false; }
    /** True while the processor cannot run (the editor covers itself). */
    virtual bool isPluginDisabled() const noexcept { return false; }
    /** The editor's profiling overlay (the "ShowProfiling" control). */
    bool isProfilingShown() const noexcept;
    void setProfilingShown (bool shown);
    /** The timing table the profiling overlay reads, where the product has one. */
    virtual KaProfiler* getProfiler() noexcept { return nullptr; }

    /** What the host told the last block (the profiling overlay's host box). Any thread. */
    struct BlockInfo
    {
        std::atomic<int> blockSize { 0 };
        std::atomic<juce::int64> transportSamples { 0 };
        std::atomic<double> transportSeconds { 0.0 };
        std::atomic<double> processStartMs { 0.0 }, processMs { 0.0 };  // while profiling
    };
    const BlockInfo& getBlockInfo() const noexcept { return m_blockInfo; }

    bool hasPersistentParamMapVersionChanged() const noexcept { return persistentMapVersionChanged; }

    // Programs: the 46 slots kept in the session ---------------------------------------------
    int getNumPrograms() override { return KaPresetSlots::numSlots; }
    int getCurrentProgram() override { return m_presetSlots.getCurrent(); }
    /** Keeps the live values in the slot left and makes the chosen slot's values live. */
    void setCurrentProgram (int index) override;
    const juce::String getProgramName (int index) override { return m_presetSlots.getName (index); }
    void changeProgramName (int index, const juce::String& newName) override { m_presetSlots.setName (index, newName); }
    KaPresetSlots& getPresetSlots() noexcept { return m_presetSlots; }
    const KaPresetSlots& getPresetSlots() const noexcept { return m_presetSlots; }

    // Session state and parameter-map versions --------------------------------------------------
    void getStateInformation (juce::MemoryBlock& destData) override;
    void setStateInformation (const void* data, int sizeInBytes) override;

    /** Runs after a state or preset has been loaded: values saved by an earlier parameter map
        are carried forward one version at a time; a newer map is loaded as it stands and warned
        about once per process. Returns the version that was loaded. */
    int checkParamMapVersionCompatibility();
    static bool hasNewerVersionWarningBeenPosted() noexcept;

    /** The earlier-version question: posted once per instance when a session of an earlier
        map is loaded (presets are mapped silently: loading one changes no file). OK keeps the
        overwrite-on-save switch on and lets the next save replace the old state; Cancel turns
        it off and keeps the state as it was read, which every later save carries along in
        "LOADEDFROMPREV". */
    void askAboutEarlierVersion (const juce::String& earlierStateText);
    bool isOverwriteOnSaveOn() const noexcept { return m_bOverwriteOnSave; }
    const juce::String& getKeptEarlierState() const noexcept { return m_strKeptEarlierState; }
    void keepEarlierState (const juce::String& text) { m_strKeptEarlierState = text; }

    /** The instance-link attributes of the session document ("SENDSELECTOR" and friends). */
    virtual void writeInstanceLinkState (juce::XmlElement&) const {}
    virtual void readInstanceLinkState (const juce::XmlElement&) {}

    /** The host parameters' live values, and applying a complete set of them (as loads do:
        not a user change, announced to the host, remembered as the reference values). */
    std::vector<float> getHostValues() const;
    void applyHostValues (const std::vector<float>& values);
    /** Copies the live values into the current program slot. */
    void storeLiveValuesInCurrentSlot();

    // Presets -------------------------------------------------------------------------------------
    /** The preset the instance tracks: its file when one was loaded, saved or restored with the
        session, "Default" for the stored default preset; no file when none. */
    const KaPreset& getCurrentPreset() const noexcept { return m_currentPreset; }
    bool tracksPresetFile() const noexcept { return m_currentPreset.isSet(); }
    /** Starts tracking a preset without loading it (a restored session); names the current
        program after it. An empty file stops tracking. */
    void setTrackedPreset (const juce::String& folder, const juce::String& file);

    /** Loads a preset file, or the stored default (no folder, file "Default"), as one undo
        step. False when there is no such preset or it is not a preset file; nothing changes. */
    bool loadPreset (const juce::String& folder, const juce::String& file);
    bool loadPresetFile (const juce::File& file);
    /** Saves the live values as a preset under names as shown; starts tracking it. */
    bool savePreset (const juce::String& folderName, const juce::String& presetName);
    /** Steps to the next (+1) or previous (-1) preset of the current folder, wrapping. */
    bool stepPreset (int direction);
    /** Brings back the tracked preset's saved values. */
    bool resetToPreset();
    /** Removes one of the user's own presets (folder "User" only; factory and default presets
        stay). Deleting the tracked preset stops tracking it; the values heard stay. */
    bool deletePreset (const juce::String& folder, const juce::String& file);
    /** True when a value heard differs from the tracked preset's (the map version aside);
        false when no preset is tracked. */
    bool isPresetModified() const noexcept;
    /** The tracked preset is one of the user's own: saving replaces it, deleting removes it. */
    bool isUserPresetTracked() const noexcept;

    void saveDefaultPreset();
    bool hasDefaultPreset();
    void clearDefaultPreset();

    /** True once after anything replaced many values at once (preset, undo, A/B, program);
        the editor then redraws everything. */
    bool takeEditorRefresh() noexcept { return m_bEditorRefreshNeeded.exchange (false); }

    // Undo, redo and A/B ----------------------------------------------------------------------------
    /** The user's change from the editor, recorded for undo. Within a gesture (a mouse drag)
        all changes of one parameter make one undo step; outside one every change is a step. */
    void setParameterUndoable (int number, float value);
    void beginUndoGesture();
    void endUndoGesture();

    /** A/B: swaps the setting heard with the one kept for comparison (at first a copy of the
        setting heard). A to B: copies the setting heard into the other one. Both undoable. */
    void compareAB();
    void copyAToB();
    bool isComparingB() const noexcept { return m_bComparingB; }
    const std::vector<float>& getComparisonValues() const noexcept { return m_comparisonValues; }

    // Called by the undoable actions.
    bool goToPlace (const KaJucePresetNavUndoableAction::Place& place, const std::vector<float>* valuesAfter);
    void exchangeComparison (const std::vector<float>& audible, const std::vector<float>& kept);
    void replaceComparison (const std::vector<float>& kept);

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

    /** One step of carrying values of an earlier parameter map to the next version. */
    virtual void performParamMappingToNextVersion (int oldVersion) = 0;

    /** The product's factory presets, installed into "Installed" on first run. */
    virtual std::vector<KaPreset> createFactoryPresets() const { return {}; }

    /** Start-up of the preset side, at the end of the derived constructor: the preset folders,
        the factory presets, and the stored default preset applied to the parameters. */
    void restorePresetsAtStartup();

    /** An OK/Cancel question for the user: logged as a warning and kept for the editor like
        postWarning(); onAnswer (true for OK) runs on the message thread once answered, and
        never after the processor has gone. Unanswered, nothing changes. */
    virtual void postQuestion (const juce::String& title, const juce::String& text, std::function<void (bool ok)> onAnswer);

    /** Message-thread work the derived processor does in housekeeping. */
    virtual void onHousekeeping() {}
    /** The one-time set-up after the first block (start-up state 1 -> 2). */
    virtual void onFirstHousekeeping() {}

    /** The timer's housekeeping runs on the message thread, which in some formats (JUCE's LV2
        client) is a thread of its own, apart from the host's thread that constructs, prepares,
        restores and destroys the processor. So the timer starts only once the whole processor
        exists (the most derived constructor calls startHousekeeping() last), stops before any
        of it is destroyed (its destructor calls stopHousekeeping() first, which also waits for
        a tick in progress), and host-thread calls that rebuild what housekeeping reads hold
        getHousekeepingLock(); a tick that finds it held is skipped. */
    void startHousekeeping();
    void stopHousekeeping() noexcept;
    const juce::CriticalSection& getHousekeepingLock() const noexcept { return m_housekeepingLock; }

    void markStarted() noexcept;
    /** Audio thread; no allocation: notes the block size and the host's transport position. */
    void noteBlock (int numSamples) noexcept;
    /** Audio thread, at the end of a block that noteBlock() started, while profiling. */
    void noteBlockEnd() noexcept;
    /** Queues a host notification of a parameter changed from the audio thread. */
    void queueHostNotification (int number) noexcept;


private:
    void timerCallback() override;
    void storeAndReact (int number, float value, bool userChange);
    void flushAutomationLog();
    void runCommandControl (int number);
    void postNewerVersionWarning();
    void applyPreset (const KaPreset& preset);
    /** A preset's saved values: a file, or the stored default (no folder, file "Default"). */
    std::optional<KaPreset> readPreset (const juce::String& folder, const juce::String& file) const;
    void trackPreset (KaPreset preset);
    std::vector<float> getHostDefaults() const;
    bool recordPresetMove (const KaJucePresetNavUndoableAction::Place& to, int moveKind);
    KaJucePresetNavUndoableAction::Place currentPlace() const;
    void afterManyValuesChanged();

    KaParameterTable table;
    std::vector<KaHostParameter*> hostParameters;  // owned by juce::AudioProcessor

    int pluginTypeNumber = 0;
    juce::String pluginTypeWord;
    juce::String hostPath;
    int hostNumber = 0;
    bool persistentMapVersionChanged = false;
    std::atomic<int> numWarningsPosted { 0 };
    juce::CriticalSection m_noticeLock;
    std::vector<KaNotice> m_notices;  // guarded by m_noticeLock
    BlockInfo m_blockInfo;

    juce::CriticalSection m_housekeepingLock;
    bool m_bHousekeeping = false;  // guarded by m_housekeepingLock

    std::atomic<int> startupState { 0 };
    std::atomic<int> lastChangedParameter { 9999 };

    static constexpr int maxHostParameters = 256;
    std::array<std::atomic<bool>, maxHostParameters> pendingHostNotify {};

    KaPresetSlots m_presetSlots;
    KaPreset m_currentPreset;
    bool m_bOverwriteOnSave = true;
    bool m_bEarlierVersionQuestionAsked = false;
    juce::String m_strKeptEarlierState;
    bool m_bInUndoGesture = false;
    bool m_bComparingB = false;
    std::vector<float> m_comparisonValues;
    std::atomic<bool> m_bEditorRefreshNeeded { false };

    /** The transient controls that run a command (Undo, Redo, AB, AtoB, PresetNext,
        PresetPrev, ResetToPreset), found by key; -1 where the product has none. */
    enum Command { commandUndo, commandRedo, commandAB, commandAtoB, commandNext, commandPrevious, commandReset, numCommands };
    std::array<int, numCommands> m_commandNumbers {};
    int m_nShowProfilingNumber = -1;

    // Automation log lines are queued lock-free on the audio thread and written by the timer.
    static constexpr int automationQueueSize = 256;
    struct AutomationEntry { int number; float value; };
    std::array<AutomationEntry, automationQueueSize> automationQueue {};
    std::atomic<int> automationWrite { 0 }, automationRead { 0 };

    JUCE_DECLARE_WEAK_REFERENCEABLE (KaJuceProcessorBase)
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (KaJuceProcessorBase)
};

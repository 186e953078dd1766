#include "processor/KaJuceProcessorBase.h"
#include "processor/KaHostDetection.h"
#include "processor/KaHostParameter.h"
#include "processor/KaLog.h"
#include "processor/KaPaths.h"
#include "processor/KaSettingsStore.h"

#include <juce_gui_basics/juce_gui_basics.h>

namespace
{
    std::atomic<int> instanceCounter { 0 };
    std::atomic<bool> automationLogging { false };
    std::atomic<bool> testFlag { false };
}

KaJuceProcessorBase::KaJuceProcessorBase (const BusesProperties& buses)
    : juce::AudioProcessor (buses)
{
    // The wrapper has set wrapperType before constructing the processor.
    pluginTypeNumber = pluginTypeNumberFor (wrapperType);
    pluginTypeWord = pluginTypeWordFor (pluginTypeNumber);
    hostPath = KaHostDetection::currentHostPath();
    hostNumber = KaHostDetection::detectHost (hostPath);

    auto& store = KaSettingsStore::getInstance();
    const bool supportLog = store.getFloat ("ExportSupport").value_or (0.0f) > 0.0f;
    const auto line = buildLine (pluginTypeWord, hostPath);
    if (supportLog)
        KaLog::openSupportLog (line);

    if (instanceCounter.fetch_add (1) == 0)
    {
        KaLog::openMainLog (line);
        // The build line's type word follows the wrapper table, which has no entry for every
        // JUCE format; name the format as JUCE knows it too.
        KaLog::write ("KaJuceProcessorBase: wrapper " + juce::String (getWrapperTypeDescription (wrapperType)));
    }

    const auto storedMapVersion = store.getFloat ("PersistentParamMapVersion");
    persistentMapVersionChanged = storedMapVersion.has_value() && *storedMapVersion != 1.0f;
}

KaJuceProcessorBase::~KaJuceProcessorBase()
{
    stopHousekeeping();
    instanceCounter.fetch_sub (1);
}

void KaJuceProcessorBase::startHousekeeping()
{
    {
        const juce::ScopedLock lock (m_housekeepingLock);
        m_bHousekeeping = true;
    }
    startTimerHz (30);
}

void KaJuceProcessorBase::stopHousekeeping() noexcept
{
    stopTimer();
    // A tick already running on another thread finishes before this returns.
    const juce::ScopedLock lock (m_housekeepingLock);
    m_bHousekeeping = false;
}

juce::String KaJuceProcessorBase::pluginTypeWordFor (int typeNumber)
{
    switch (typeNumber)
    {
        case 1: return "VST";
        case 2: return "AU";
        case 3: return "RTAS";
        case 4: return "AAX";
        case 6: return "AS";
        case 7: return "VST3";
        default: return "UNDEFINED_PLUGIN_TYPE";
    }
}

int KaJuceProcessorBase::pluginTypeNumberFor (juce::AudioProcessor::WrapperType type)
{
    // The wrappers without a number of their own (LV2, Standalone, Unity, AUv3) count as 0.
    if (type == wrapperType_VST)
        return 1;
    if (type == wrapperType_AudioUnit)
        return 2;
    if (type == wrapperType_AAX)
        return 4;
    if (type == wrapperType_VST3)
        return 7;
    return 0;
}

juce::String KaJuceProcessorBase::buildLine (const juce::String& typeWord, const juce::String& path)
{
    const auto os = (juce::SystemStats::getOperatingSystemType() & juce::SystemStats::Windows) != 0 ? " Windows"
                    : (juce::SystemStats::getOperatingSystemType() & juce::SystemStats::MacOSX) != 0 ? " MacOSX"
                                                                                                  : " Linux";
   #if JUCE_DEBUG
    const char* build = " DEBUG";
   #else
    const char* build = " RELEASE";
   #endif
   #if JUCE_ARM
    const char* arch = " arm";
   #else
    const char* arch = " intel";
   #endif
    const auto hostName = juce::File::createFileWithoutCheckingPath (KaHostDetection::fileNameOf (path)).getFileNameWithoutExtension();
    return juce::String (KaPaths::productName) + " v" + ORRIN_VERSION_TEXT + " " + typeWord + os + build + arch
           + (sizeof (void*) == 8 ? " 64bit" : " 32bit") + ", host = '" + hostName + "'"
           + ", user = '" + juce::SystemStats::getLogonName() + "'";
}

void KaJuceProcessorBase::setHostPath (const juce::String& path)
{
    hostPath = path;
    hostNumber = KaHostDetection::detectHost (path);
}

const juce::String KaJuceProcessorBase::getName() const { return KaPaths::productName; }

void KaJuceProcessorBase::registerParameters (std::vector<KaParameterInfo> infos)
{
    table.registerParameters (std::move (infos));

    auto& store = KaSettingsStore::getInstance();
    for (int number : table.numbers())
    {
        const auto* info = table.info (number);
        if (number < KaParameterTable::firstPersistent)
        {
            auto* p = new KaHostParameter (*this, *info);
            hostParameters.push_back (p);
            addParameter (p);
        }
        else if (number < KaParameterTable::firstTransient)
        {
            // A stored value counts only when it is exactly one 4-byte float.
            if (const auto stored = store.getFloat (info->key))
                table.set (number, *stored);
        }
    }

    constexpr const char* commandKeys[numCommands] = { "Undo", "Redo", "AB", "AtoB", "PresetNext", "PresetPrev", "ResetToPreset" };
    for (int c = 0; c < numCommands; ++c)
    {
        const auto* info = table.findByKey (commandKeys[c]);
        m_commandNumbers[(size_t) c] = info != nullptr && info->number >= KaParameterTable::firstTransient ? info->number : -1;
    }
    if (const auto* info = table.findByKey ("ShowProfiling"))
        m_nShowProfilingNumber = info->number;

    m_presetSlots.reset (getHostValues());
}

void KaJuceProcessorBase::setParameter (int number, float value) noexcept
{
    if (number < 0 || number >= table.getNumHostParameters())
        return;

    if (automationLogging.load (std::memory_order_relaxed))
    {
        const int write = automationWrite.load (std::memory_order_relaxed);
        if (write - automationRead.load (std::memory_order_acquire) < automationQueueSize)
        {
            automationQueue[(size_t) (write % automationQueueSize)] = { number, value };
            automationWrite.store (write + 1, std::memory_order_release);
        }
    }

    auto* record = table.record (number);
    record->hostSet.store (true);
    if (table.set (number, value))
    {
        lastChangedParameter.store (number);
        parameterChanged (number, table.get (number), false);
    }
    record->hostSet.store (false);
}

void KaJuceProcessorBase::storeAndReact (int number, float value, bool userChange)
{
    auto* record = table.record (number);
    if (record == nullptr)
        return;

    record->userChanged.store (userChange);
    if (table.set (number, value))
    {
        lastChangedParameter.store (number);
        parameterChanged (number, table.get (number), userChange);

        // Persistent settings carry over to every later instance and session.
        if (number >= KaParameterTable::firstPersistent && number < KaParameterTable::firstTransient)
            KaSettingsStore::getInstance().setFloat (table.info (number)->key, table.get (number));
    }
    record->userChanged.store (false);

    if (number >= KaParameterTable::firstTransient && table.get (number) != 0.0f)
        runCommandControl (number);
}

void KaJuceProcessorBase::setParameterNotifyingHost (int number, float value, bool userChange)
{
    storeAndReact (number, value, userChange);
    if (number >= 0 && number < (int) hostParameters.size())
        hostParameters[(size_t) number]->sendValueChangedMessageToListeners (table.get (number));
}

void KaJuceProcessorBase::queueHostNotification (int number) noexcept
{
    if (number >= 0 && number < maxHostParameters)
        pendingHostNotify[(size_t) number].store (true, std::memory_order_release);
}

juce::String KaJuceProcessorBase::getParameterKey (int number) const
{
    const auto* info = table.info (number);
    return info != nullptr ? info->key : juce::String();
}

juce::String KaJuceProcessorBase::getParameterDisplayName (int number) const
{
    const auto* info = table.info (number);
    return info != nullptr ? info->name : juce::String();
}

juce::String KaJuceProcessorBase::getParameterValueText (int number) const
{
    const auto* info = table.info (number);
    return info != nullptr ? info->valueToText (table.get (number)) : juce::String();
}

bool KaJuceProcessorBase::isAutomationLoggingOn() noexcept { return automationLogging.load(); }
bool KaJuceProcessorBase::isTestFlagOn() noexcept { return testFlag.load(); }
void KaJuceProcessorBase::setAutomationLogging (bool on) noexcept { automationLogging.store (on); }
void KaJuceProcessorBase::setTestFlag (bool on) noexcept { testFlag.store (on); }

void KaJuceProcessorBase::markStarted() noexcept
{
    int expected = 0;
    startupState.compare_exchange_strong (expected, 1);
}

void KaJuceProcessorBase::flushAutomationLog()
{
    int read = automationRead.load (std::memory_order_relaxed);
    const int write = automationWrite.load (std::memory_order_acquire);
    for (; read < write; ++read)
    {
        const auto& e = automationQueue[(size_t) (read % automationQueueSize)];
        KaLog::write ("KaJuceProcessorBase::setParameter " + juce::String (e.number) + " = " + juce::String (e.value));
    }
    automationRead.store (read, std::memory_order_release);
}

void KaJuceProcessorBase::runHousekeeping()
{
    flushAutomationLog();

    for (int n = 0; n < (int) hostParameters.size(); ++n)
        if (pendingHostNotify[(size_t) n].exchange (false, std::memory_order_acq_rel))
            hostParameters[(size_t) n]->sendValueChangedMessageToListeners (table.get (n));

    onHousekeeping();

    int expected = 1;
    if (startupState.compare_exchange_strong (expected, 2))
        onFirstHousekeeping();
}

void KaJuceProcessorBase::timerCallback()
{
    const juce::ScopedTryLock lock (m_housekeepingLock);
    if (lock.isLocked() && m_bHousekeeping)
        runHousekeeping();
}

void KaJuceProcessorBase::postWarning (const juce::String& title, const juce::String& text)
{
    postQuestion (title, text, nullptr);
}

void KaJuceProcessorBase::postQuestion (const juce::String& title, const juce::String& text, std::function<void (bool)> onAnswer)
{
    ++numWarningsPosted;
    KaLog::write ("WARNING: " + text);

    KaNotice notice { title, text, {} };
    if (onAnswer != nullptr)
        notice.onAnswer = [safe = juce::WeakReference<KaJuceProcessorBase> (this), onAnswer = std::move (onAnswer)] (bool ok)
        {
            if (safe.get() != nullptr)
                onAnswer (ok);
        };
    const juce::ScopedLock lock (m_noticeLock);
    // A flood (a host fuzzing parameters) keeps the newest few.
    if ((int) m_notices.size() >= maxPendingNotices)
        m_notices.erase (m_notices.begin());
    m_notices.push_back (std::move (notice));
}

std::vector<KaNotice> KaJuceProcessorBase::takeNotices()
{
    const juce::ScopedLock lock (m_noticeLock);
    return std::exchange (m_notices, {});
}

void KaJuceProcessorBase::beginParameterGesture (int number)
{
    beginUndoGesture();
    if (number >= 0 && number < (int) hostParameters.size())
        hostParameters[(size_t) number]->beginChangeGesture();
}

void KaJuceProcessorBase::endParameterGesture (int number)
{
    if (number >= 0 && number < (int) hostParameters.size())
        hostParameters[(size_t) number]->endChangeGesture();
    endUndoGesture();
}

bool KaJuceProcessorBase::isAnnounced (int number) const
{
    // Host parameters and per-user settings; the editor's own buttons and views are not news.
    return table.contains (number) && number < KaParameterTable::firstTransient;
}

void KaJuceProcessorBase::noteBlock (int numSamples) noexcept
{
    m_blockInfo.blockSize.store (numSamples, std::memory_order_relaxed);
    m_blockInfo.processStartMs.store (juce::Time::getMillisecondCounterHiRes(), std::memory_order_relaxed);
    if (auto* head = getPlayHead())
        if (const auto position = head->getPosition())
        {
            if (const auto samples = position->getTimeInSamples())
                m_blockInfo.transportSamples.store (*samples, std::memory_order_relaxed);
            if (const auto seconds = position->getTimeInSeconds())
                m_blockInfo.transportSeconds.store (*seconds, std::memory_order_relaxed);
        }
}

void KaJuceProcessorBase::noteBlockEnd() noexcept
{
    const double start = m_blockInfo.processStartMs.load (std::memory_order_relaxed);
    m_blockInfo.processMs.store (juce::Time::getMillisecondCounterHiRes() - start, std::memory_order_relaxed);
}

bool KaJuceProcessorBase::isProfilingShown() const noexcept
{
    return m_nShowProfilingNumber >= 0 && table.isOn (m_nShowProfilingNumber);
}

void KaJuceProcessorBase::setProfilingShown (bool shown)
{
    if (m_nShowProfilingNumber >= 0)
        setParameterNotifyingHost (m_nShowProfilingNumber, shown ? 1.0f : 0.0f);
}

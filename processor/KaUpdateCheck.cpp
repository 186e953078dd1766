#include "processor/KaUpdateCheck.h"
#include "processor/KaLog.h"
#include "processor/KaPaths.h"
#include "processor/KaSettingsStore.h"

namespace
{
    constexpr const char* automaticKey = "UpdateCheck";
    constexpr const char* feedKey = "UpdateFeedUrl";
    constexpr const char* timeKey = "UpdateCheckTime";      // milliseconds since 1970, as text
    constexpr const char* statusKey = "UpdateCheckStatus";  // the last outcome's line
    constexpr const char* notesKey = "UpdateCheckNotes";    // a newer version's notes URL
    constexpr juce::int64 dayMs = 24 * 60 * 60 * 1000;
    constexpr int maxFeedBytes = 65536;

    /** JUCE's own HTTP client connects with a blocking connect(), which a firewall that drops
        packets holds for a couple of minutes whatever the time-out: the server (or the proxy
        the client would use) is reached first with a timed connect. */
    bool canConnect (const juce::String& url, int timeout)
    {
        const auto proxy = juce::SystemStats::getEnvironmentVariable ("http_proxy", {});
        const juce::URL target (proxy.startsWithIgnoreCase ("http://") ? proxy : url);
        const auto host = target.getDomain().upToFirstOccurrenceOf (":", false, false);
        juce::StreamingSocket socket;
        return host.isNotEmpty() && socket.connect (host, target.getPort() > 0 ? target.getPort() : 80, timeout);
    }

    KaUpdateCheck::Result failure (const juce::String& reason)
    {
        KaUpdateCheck::Result r;
        r.reason = reason;
        return r;
    }
}

namespace KaUpdateCheck
{
    juce::String Result::describe (const juce::String& thisVersion, bool forMenu) const
    {
        switch (status)
        {
            case Status::upToDate: return juce::String (KaPaths::productName) + " " + thisVersion + " is up to date";
            case Status::newer:
                return "Version " + version + " is available" + (date.isNotEmpty() ? " (" + date + ")" : juce::String())
                       + (notesUrl.isNotEmpty() && ! forMenu ? ": " + notesUrl : juce::String());
            case Status::failed: break;
        }
        return forMenu ? juce::String ("Update check failed (the log says why)") : "Update check failed: " + reason;
    }

    int compareVersions (const juce::String& a, const juce::String& b)
    {
        const auto pa = juce::StringArray::fromTokens (a.trim(), ".", ""), pb = juce::StringArray::fromTokens (b.trim(), ".", "");
        for (int i = 0; i < juce::jmax (pa.size(), pb.size()); ++i)
            if (const int x = pa[i].getIntValue(), y = pb[i].getIntValue(); x != y)
                return x < y ? -1 : 1;
        return 0;
    }

    Result parse (const juce::String& json, const juce::String& thisVersion)
    {
        const auto feed = juce::JSON::parse (json);
        const auto version = feed.getProperty ("version", {}).toString().trim();
        // A version is digits and dots, starting with a digit: "1.2.0".
        if (! feed.isObject() || version.isEmpty() || ! juce::CharacterFunctions::isDigit (version[0])
            || ! version.containsOnly ("0123456789."))
            return failure ("the feed is not a version feed");

        Result r;
        r.version = version;
        r.date = feed.getProperty ("date", {}).toString().substring (0, 32);
        const auto notes = feed.getProperty ("notes", {}).toString();
        if (notes.startsWithIgnoreCase ("http://") || notes.startsWithIgnoreCase ("https://"))
            r.notesUrl = notes.substring (0, 512);
        r.status = compareVersions (version, thisVersion) > 0 ? Result::Status::newer : Result::Status::upToDate;
        return r;
    }

    Result fetch (const juce::String& url, const juce::String& thisVersion, int timeout)
    {
        if (! url.startsWithIgnoreCase ("http://"))
            return failure ("'" + url + "' is not an http:// address (this build fetches plain http only)");

        if (! canConnect (url, timeout))
            return failure ("no answer from " + url);

        int statusCode = 0;
        const auto options = juce::URL::InputStreamOptions (juce::URL::ParameterHandling::inAddress)
                                 .withConnectionTimeoutMs (timeout)
                                 .withNumRedirectsToFollow (2)
                                 .withStatusCode (&statusCode);
        const auto stream = juce::URL (url).createInputStream (options);
        if (stream == nullptr)
            return failure ("no answer from " + url);
        if (statusCode != 200)
            return failure (url + " answered HTTP " + juce::String (statusCode));

        juce::MemoryBlock data;
        stream->readIntoMemoryBlock (data, maxFeedBytes);
        return parse (data.toString(), thisVersion);
    }

    juce::String feedUrl()
    {
        const auto url = KaSettingsStore::getInstance().getString (feedKey).value_or (juce::String()).trim();
        return url.isNotEmpty() ? url : juce::String (defaultFeedUrl);
    }
}

KaUpdateChecker::KaUpdateChecker()
    : juce::Thread ("KaUpdateChecker")
{
}

KaUpdateChecker::~KaUpdateChecker()
{
    // The fetch gives up after its short time-out; waiting a little longer than that is enough.
    stopThread (KaUpdateCheck::timeoutMs + 2000);
}

juce::String KaUpdateChecker::thisVersion() { return ORRIN_VERSION_TEXT; }

bool KaUpdateChecker::isAutomatic() const
{
    return KaSettingsStore::getInstance().getFloat (automaticKey).value_or (1.0f) > 0.0f;
}

void KaUpdateChecker::setAutomatic (bool on)
{
    KaSettingsStore::getInstance().setFloat (automaticKey, on ? 1.0f : 0.0f);
}

void KaUpdateChecker::checkIfDue()
{
    if (! isAutomatic() || isThreadRunning())
        return;
    auto& store = KaSettingsStore::getInstance();
    const auto last = store.getString (timeKey).value_or ("0").getLargeIntValue();
    const auto now = juce::Time::currentTimeMillis();
    // A clock set back counts as due, or the check could stay silent for a long time.
    if (now - last < dayMs && now >= last)
        return;
    checkNow();
}

void KaUpdateChecker::checkNow()
{
    if (isThreadRunning())
        return;
    // Noted before the fetch: another instance opening now does not check again.
    KaSettingsStore::getInstance().setString (timeKey, juce::String (juce::Time::currentTimeMillis()));
    startThread (juce::Thread::Priority::low);
}

void KaUpdateChecker::run()
{
    const auto url = KaUpdateCheck::feedUrl();
    // Kept even when the editor closed meanwhile: the day's check has been used up.
    const auto result = KaUpdateCheck::fetch (url, thisVersion());
    const bool newer = result.status == KaUpdateCheck::Result::Status::newer;
    KaSettingsStore::getInstance().apply ({ KaSettingsStore::stringChange (statusKey, result.describe (thisVersion(), true)),
                                            newer ? KaSettingsStore::stringChange (notesKey, result.notesUrl)
                                                  : KaSettingsStore::Change { notesKey, std::nullopt } });
    KaLog::write ("KaUpdateChecker::run: " + result.describe (thisVersion()));
}

juce::String KaUpdateChecker::getStatusLine() const
{
    return KaSettingsStore::getInstance().getString (statusKey).value_or (juce::String());
}

juce::String KaUpdateChecker::getNewerNotesUrl() const
{
    return KaSettingsStore::getInstance().getString (notesKey).value_or (juce::String());
}

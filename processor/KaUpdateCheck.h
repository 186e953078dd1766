#pragma once

#include <juce_core/juce_core.h>

/** The update check: fetches a small version feed and compares it with this build.

    The feed is JSON: { "version": "1.2.0", "date": "2026-12-01", "notes": "http://..." }. Its
    URL is the per-user setting "UpdateFeedUrl" (default: the company's site). JUCE is built
    without libcurl (JUCE_USE_CURL=0), and its own Linux HTTP client speaks plain http:// only,
    so the feed is http://; it carries a version and a link to read, nothing is downloaded or
    run from it.

    fetch() blocks for up to about the time-out (plus a name look-up, which fails at once on a
    machine without a network): call it off the message and audio threads (KaUpdateChecker does),
    or from a command line. */
namespace KaUpdateCheck
{
    inline constexpr const char* defaultFeedUrl = "http://kestro.audio/updates/orrin-upmix.json";
    inline constexpr int timeoutMs = 3000;

    struct Result
    {
        enum class Status { upToDate, newer, failed };
        Status status = Status::failed;
        juce::String version, date, notesUrl;  // from the feed
        juce::String reason;                   // why it failed

        /** One line for a person: "Orrin Upmix 1.0.0 is up to date", "Version 1.2.0 is
            available (2026-12-01): http://...", "Update check failed: ...". Shorter for a menu:
            no URL (the menu opens the notes itself) and no reason (the log has it). */
        juce::String describe (const juce::String& thisVersion, bool forMenu = false) const;
    };

    /** Compares dotted version numbers part by part ("1.10" > "1.9", "1.0" == "1.0.0"):
        negative, zero or positive. */
    int compareVersions (const juce::String& a, const juce::String& b);

    /** Reads a feed's text. */
    Result parse (const juce::String& json, const juce::String& thisVersion);

    /** Fetches and reads the feed at url. Blocking; never on the audio thread. */
    Result fetch (const juce::String& url, const juce::String& thisVersion, int timeout = timeoutMs);

    /** The feed URL from the per-user settings, or the default. */
    juce::String feedUrl();
}

/** Runs the update check in the background at most once a day, while the automatic check is
    on (the per-user setting "UpdateCheck", on unless set to 0), and keeps the last outcome in
    the per-user settings, where every instance and process finds it. Failures stay quiet: they
    are only what the status line says.

    One per process while an editor exists (a juce::SharedResourcePointer); the message thread
    calls it, the fetch runs on its own thread. */
class KaUpdateChecker : private juce::Thread
{
public:
    KaUpdateChecker();
    ~KaUpdateChecker() override;

    /** Starts a check when the automatic check is on and the last one is a day old or more. */
    void checkIfDue();
    /** Starts a check now (the user asked), unless one is running; it counts as the day's. */
    void checkNow();

    bool isAutomatic() const;
    void setAutomatic (bool on);

    /** The last outcome in a line, or an empty string before the first check. */
    juce::String getStatusLine() const;
    /** The notes URL of a newer version from the last check, else empty. */
    juce::String getNewerNotesUrl() const;

    /** The version this build reports. */
    static juce::String thisVersion();

private:
    void run() override;
};

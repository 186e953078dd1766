// The update check against a feed server on 127.0.0.1 started by the test (the feed URL in the
// test run's own per-user settings):
//  - `orrin-upmix --version --check` prints one line for a newer and for the same version, and
//    one error line for a malformed feed, a missing feed and a port nobody listens on;
//  - the background check runs at most once a day (a check the user asks for runs at once),
//    keeps its outcome for the menu, and does not run at all with the daily check switched off.
#include "processor/KaSettingsStore.h"
#include "processor/KaUpdateCheck.h"
#include "support/CliRunner.h"

#include <gtest/gtest.h>

#include <map>

namespace
{
    /** A small HTTP server: answers GET of a known path with its body, anything else with 404,
        and counts the GET requests. */
    class FeedServer : private juce::Thread
    {
    public:
        explicit FeedServer (std::map<juce::String, juce::String> pathBodies)
            : juce::Thread ("FeedServer"), bodies (std::move (pathBodies))
        {
            listener.createListener (0, "127.0.0.1");
            startThread();
        }

        ~FeedServer() override
        {
            signalThreadShouldExit();
            listener.close();
            stopThread (4000);
        }

        juce::String url (const juce::String& path) const { return "http://127.0.0.1:" + juce::String (listener.getBoundPort()) + path; }
        std::atomic<int> requests { 0 };

    private:
        void run() override
        {
            while (! threadShouldExit())
            {
                std::unique_ptr<juce::StreamingSocket> client (listener.waitForNextConnection());
                if (client == nullptr || threadShouldExit())
                    return;
                juce::String request;
                char buffer[1024];
                while (! request.contains ("\r\n\r\n") && client->waitUntilReady (true, 2000) > 0)
                {
                    const int n = client->read (buffer, (int) sizeof (buffer), false);
                    if (n <= 0)
                        break;
                    request += juce::String::fromUTF8 (buffer, n);
                }
                // A connection that asks nothing is the client's reachability probe.
                if (! request.startsWith ("GET "))
                    continue;
                ++requests;
                const auto path = request.fromFirstOccurrenceOf ("GET ", false, false).upToFirstOccurrenceOf (" ", false, false);
                const auto found = bodies.find (path);
                const auto body = found != bodies.end() ? found->second : juce::String ("not here");
                const auto response = juce::String (found != bodies.end() ? "HTTP/1.1 200 OK" : "HTTP/1.1 404 Not Found")
                                      + "\r\nContent-Type: application/json\r\nContent-Length: " + juce::String (body.getNumBytesAsUTF8())
                                      + "\r\nConnection: close\r\n\r\n" + body;
                client->write (response.toRawUTF8(), (int) response.getNumBytesAsUTF8());
            }
        }

        juce::StreamingSocket listener;
        std::map<juce::String, juce::String> bodies;
    };

    const std::map<juce::String, juce::String> feeds {
        { "/newer", R"({ "version": "9.1.0", "date": "2027-01-05", "notes": "http://127.0.0.1/notes/9.1.0" })" },
        { "/same", juce::String (R"({ "version": ")") + ORRIN_VERSION_TEXT + R"(", "date": "2026-11-01" })" },
        { "/malformed", R"({ "version": "soon" )" },
    };

    void useFeed (const juce::String& url) { KaSettingsStore::getInstance().setString ("UpdateFeedUrl", url); }

    int closedPort()
    {
        juce::StreamingSocket s;
        s.createListener (0, "127.0.0.1");
        return s.getBoundPort();  // closed again when s goes
    }
}

TEST (UpdateCheck, CommandLineSaysInOneLineWhatTheFeedSays)
{
    FeedServer server (feeds);
    struct Row
    {
        juce::String url;
        int exitCode;
        const char* words;
    };
    const Row rows[] = {
        { server.url ("/newer"), 0, "Version 9.1.0 is available (2027-01-05): http://127.0.0.1/notes/9.1.0" },
        { server.url ("/same"), 0, "Orrin Upmix " ORRIN_VERSION_TEXT " is up to date" },
        { server.url ("/malformed"), 1, "orrin-upmix: error: Update check failed: the feed is not a version feed" },
        { server.url ("/gone"), 1, "answered HTTP 404" },
        { "http://127.0.0.1:" + juce::String (closedPort()) + "/newer", 1, "no answer from" },
    };
    for (const auto& row : rows)
    {
        useFeed (row.url);
        const auto run = CliRunner::run ({ "--version", "--check" });
        EXPECT_EQ (run.exitCode, row.exitCode) << row.url;
        const auto lines = juce::StringArray::fromLines (run.output.trim());
        ASSERT_EQ (lines.size(), 2) << run.output;
        EXPECT_TRUE (lines.joinIntoString ("\n").contains (row.words)) << run.output;
    }
    EXPECT_EQ (server.requests.load(), 4);
}

TEST (UpdateCheck, BackgroundCheckRunsOncePerDayUnlessSwitchedOff)
{
    FeedServer server (feeds);
    useFeed (server.url ("/newer"));
    auto& store = KaSettingsStore::getInstance();
    store.remove ("UpdateCheckTime");
    store.remove ("UpdateCheckStatus");

    auto checkTwice = []
    {
        KaUpdateChecker checker;
        checker.checkIfDue();
        checker.checkIfDue();
        // The destructor waits for a check still running.
    };
    {
        KaUpdateChecker checker;
        checker.setAutomatic (true);
    }
    checkTwice();
    EXPECT_EQ (server.requests.load(), 1);
    KaUpdateChecker reader;
    EXPECT_EQ (reader.getStatusLine(), "Version 9.1.0 is available (2027-01-05)");
    EXPECT_EQ (reader.getNewerNotesUrl(), "http://127.0.0.1/notes/9.1.0");

    checkTwice();  // within the day
    EXPECT_EQ (server.requests.load(), 1);
    {
        KaUpdateChecker checker;
        checker.checkNow();  // the user asks: within the day too
    }
    EXPECT_EQ (server.requests.load(), 2);

    store.remove ("UpdateCheckTime");
    reader.setAutomatic (false);
    checkTwice();
    EXPECT_EQ (server.requests.load(), 2);
    reader.setAutomatic (true);
}

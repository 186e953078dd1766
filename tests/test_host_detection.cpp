// Host detection: order-sensitive cases of the host table, file name versus full path, the
// case-sensitive tests, and the separate Nuendo check.
#include "processor/KaHostDetection.h"

#include <gtest/gtest.h>

TEST (HostDetection, TableOrderPathRulesAndCase)
{
    const std::pair<const char*, int> rows[] = {
        { "C:\\Program Files\\Steinberg\\Cubase7.exe", 20 },
        { "C:\\Program Files\\Steinberg\\Cubase.exe", 18 },
        { "C:\\Program Files\\Ableton\\Live 8.2\\Live 8.2.exe", 3 },
        { "/Applications/Live 10 Suite.app", 4 },
        { "C:\\Cakewalk\\SONAR 8\\SONARPDR.exe", 8 },  // the full-path test comes first
        { "C:\\Cakewalk\\SONAR X1\\SONARPDR.exe", 9 },
        { "C:\\Program Files\\Wavelab 6\\WaveLab.exe", 23 },  // "Wavelab" needs that case
        { "C:\\Program Files\\Steinberg\\Wavelab.exe", 25 },
        { "/usr/bin/reaper", 12 },
        { "C:\\REAPER\\REAPER.exe", 0 },  // case-sensitive on purpose
        { "C:\\Program Files\\nuendo.exe", 21 },
        { "C:\\Program Files\\PreSonus\\Studio One 5\\app.exe", 31 },  // only the folder names it
        { "/usr/bin/ardour8", 0 },
        { "", 0 },
        { "C:\\Steinberg\\Nuendo 12.exe", 0 },  // Nuendo has its own check
    };
    for (const auto& [path, host] : rows)
        EXPECT_EQ (KaHostDetection::detectHost (path), host) << path;
    EXPECT_EQ (KaHostDetection::fileNameOf ("C:\\a/b\\Cubase5.exe"), "Cubase5.exe");
    EXPECT_TRUE (KaHostDetection::isNuendo ("C:\\Steinberg\\Nuendo 12.exe"));
    EXPECT_FALSE (KaHostDetection::isNuendo ("C:\\Steinberg\\nuendo.exe"));
}

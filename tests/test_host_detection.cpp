// Host detection: order-sensitive cases of the host table, file name versus full path, the
// lower-case tests, and the separate Nuendo check.
#include "processor/KaHostDetection.h"

#include <gtest/gtest.h>

using KaHostDetection::detectHost;

TEST (HostDetection, TableOrderDecides)
{
    EXPECT_EQ (detectHost ("C:\\Program Files\\Steinberg\\Cubase7.exe"), 20);
    EXPECT_EQ (detectHost ("C:\\Program Files\\Steinberg\\Cubase.exe"), 18);
    EXPECT_EQ (detectHost ("C:\\Program Files\\Ableton\\Live 8.2\\Live 8.2.exe"), 3);
    EXPECT_EQ (detectHost ("/Applications/Live 10 Suite.app"), 4);
    EXPECT_EQ (detectHost ("C:\\Cakewalk\\SONAR 8\\SONARPDR.exe"), 8);   // full-path test comes first
    EXPECT_EQ (detectHost ("C:\\Cakewalk\\SONAR X1\\SONARPDR.exe"), 9);
    EXPECT_EQ (detectHost ("C:\\Program Files\\Wavelab 6\\WaveLab.exe"), 23);  // "Wavelab" needs that case
    EXPECT_EQ (detectHost ("C:\\Program Files\\Steinberg\\Wavelab.exe"), 25);
    EXPECT_EQ (detectHost ("C:\\Program Files\\Digidesign\\ProTools.exe"), 10);
    EXPECT_EQ (detectHost ("/usr/bin/reaper"), 12);
    EXPECT_EQ (detectHost ("C:\\REAPER\\REAPER.exe"), 0);   // case-sensitive on purpose
    EXPECT_EQ (detectHost ("C:\\Program Files\\nuendo.exe"), 21);
    EXPECT_EQ (detectHost ("C:\\Image-Line\\FL Studio\\FL64.exe"), 28);
    EXPECT_EQ (detectHost ("C:\\Sound\\Samplitude.exe"), 27);
}

TEST (HostDetection, FullPathOnlyRulesAndNoMatch)
{
    // "Studio One" appears only in the folder: the full-path rule finds it.
    EXPECT_EQ (detectHost ("C:\\Program Files\\PreSonus\\Studio One 5\\app.exe"), 31);
    EXPECT_EQ (detectHost ("C:\\Program Files\\Tracktion 3\\Waveform.exe"), 13);
    EXPECT_EQ (detectHost ("/usr/bin/ardour8"), 0);
    EXPECT_EQ (detectHost (""), 0);
    EXPECT_EQ (KaHostDetection::fileNameOf ("C:\\a/b\\Cubase5.exe"), "Cubase5.exe");
}

TEST (HostDetection, NuendoCheckIsCaseSensitiveAndSeparate)
{
    EXPECT_TRUE (KaHostDetection::isNuendo ("C:\\Steinberg\\Nuendo 12.exe"));
    EXPECT_FALSE (KaHostDetection::isNuendo ("C:\\Steinberg\\nuendo.exe"));
    EXPECT_EQ (detectHost ("C:\\Steinberg\\Nuendo 12.exe"), 0);
}

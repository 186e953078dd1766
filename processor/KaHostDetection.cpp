#include "processor/KaHostDetection.h"

namespace KaHostDetection
{
    namespace
    {
        enum class Against { fileName, fullPath };
        enum class Test { contains, beginsWith };

        struct Rule
        {
            Test test;
            const char* text;
            Against against;
            int host;
        };

        constexpr Rule rules[] = {
            { Test::contains, "Live 6.", Against::fileName, 1 },
            { Test::contains, "Live 7.", Against::fileName, 2 },
            { Test::contains, "Live 8.", Against::fileName, 3 },
            { Test::contains, "Live ", Against::fileName, 4 },
            { Test::contains, "Adobe Audition", Against::fileName, 5 },
            { Test::contains, "Adobe Premiere", Against::fileName, 6 },
            { Test::contains, "ProTools", Against::fileName, 10 },
            { Test::contains, "SONAR 8", Against::fullPath, 8 },
            { Test::contains, "SONAR", Against::fileName, 9 },
            { Test::contains, "Logic", Against::fileName, 11 },
            { Test::contains, "Tracktion 3", Against::fullPath, 13 },
            { Test::contains, "Tracktion", Against::fileName, 14 },
            { Test::contains, "reaper", Against::fileName, 12 },
            { Test::contains, "Cubase4", Against::fileName, 15 },
            { Test::contains, "Cubase5", Against::fileName, 16 },
            { Test::contains, "Cubase6", Against::fileName, 19 },
            { Test::contains, "Cubase7", Against::fileName, 20 },
            { Test::contains, "Cubase", Against::fileName, 18 },
            { Test::contains, "VSTBridgeApp", Against::fileName, 17 },
            { Test::contains, "Wavelab 5", Against::fullPath, 22 },
            { Test::contains, "Wavelab 6", Against::fullPath, 23 },
            { Test::contains, "Wavelab 7", Against::fullPath, 24 },
            { Test::contains, "Wavelab", Against::fileName, 25 },
            { Test::contains, "rm-host", Against::fileName, 26 },
            { Test::beginsWith, "Sam", Against::fileName, 27 },
            { Test::beginsWith, "FL", Against::fileName, 28 },
            { Test::contains, "Studio One", Against::fullPath, 31 },
            { Test::contains, "nuendo", Against::fileName, 21 },
        };
    }

    juce::String fileNameOf (const juce::String& hostPath)
    {
        const int cut = juce::jmax (hostPath.lastIndexOfChar ('\\'), hostPath.lastIndexOfChar ('/'));
        return hostPath.substring (cut + 1);
    }

    int detectHost (const juce::String& hostPath)
    {
        const auto fileName = fileNameOf (hostPath);
        for (const auto& rule : rules)
        {
            const auto& subject = rule.against == Against::fileName ? fileName : hostPath;
            const bool match = rule.test == Test::contains ? subject.contains (rule.text) : subject.startsWith (rule.text);
            if (match)
                return rule.host;
        }
        return 0;
    }

    juce::String currentHostPath()
    {
        return juce::File::getSpecialLocation (juce::File::hostApplicationPath).getFullPathName();
    }

    bool isNuendo (const juce::String& hostPath) { return fileNameOf (hostPath).contains ("Nuendo"); }
}

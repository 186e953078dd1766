#include "processor/KaPaths.h"

namespace KaPaths
{
    static juce::File overrideFolder()
    {
        const auto value = juce::SystemStats::getEnvironmentVariable ("KESTRO_AUDIO_DIR", {});
        return value.isNotEmpty() && juce::File::isAbsolutePath (value) ? juce::File (value) : juce::File();
    }

    juce::File companyFolder()
    {
        const auto custom = overrideFolder();
        if (custom != juce::File())
            return custom;
        return juce::File::getSpecialLocation (juce::File::userApplicationDataDirectory).getChildFile (companyFolderName);
    }

    juce::File settingsFolder() { return companyFolder().getChildFile (settingsName); }

    juce::File presetRoot() { return companyFolder().getChildFile ("Presets").getChildFile (settingsName); }

    juce::File mainLogFile() { return companyFolder().getChildFile ("KaLog.log"); }

    juce::File supportLogFile()
    {
        const auto custom = overrideFolder();
        const auto base = custom != juce::File()
                              ? custom
                              : juce::File::getSpecialLocation (juce::File::userDocumentsDirectory).getChildFile (companyFolderName);
        return base.getChildFile (productName).getChildFile ("KaSupportLog.log");
    }

    juce::Array<juce::File> manualCandidates()
    {
        const auto relative = "resources/manual/index.html";
        const auto shared = juce::String ("share/orrin-upmix/") + relative;
        // The running binary: the command line or Standalone, or inside a plug-in the bundle's
        // shared library.
        const auto binary = juce::File::getSpecialLocation (juce::File::currentExecutableFile);
        // scripts/install's place for one user, where the plug-ins find it too.
        const auto userShare = juce::File::getSpecialLocation (juce::File::userHomeDirectory).getChildFile (".local/share");
        // Installed, the programs live in PREFIX/lib/orrin-upmix (linked from PREFIX/bin).
        const auto folder = binary.getParentDirectory();
        return { binary.getSiblingFile (relative), folder.getSiblingFile (shared), folder.getParentDirectory().getSiblingFile (shared),
                 userShare.getChildFile ("orrin-upmix").getChildFile (relative), juce::File ("/usr/local").getChildFile (shared),
                 juce::File ("/usr").getChildFile (shared) };
    }

    juce::File manualFile()
    {
        for (const auto& candidate : manualCandidates())
            if (candidate.existsAsFile())
                return candidate;
        return {};
    }
}

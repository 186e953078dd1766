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
}

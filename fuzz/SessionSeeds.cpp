#include "SessionSeeds.h"
#include "processor/UpmixerParameters.h"
#include "processor/UpmixerProcessor.h"

namespace SessionSeeds
{
    namespace
    {
        void save (juce::AudioProcessor& p, const juce::File& file)
        {
            juce::MemoryBlock block;
            p.getStateInformation (block);
            file.replaceWithData (block.getData(), block.getSize());
        }

        void saveDocument (const juce::String& text, const juce::File& file)
        {
            juce::MemoryBlock block;
            juce::AudioProcessor::copyXmlToBinary (*juce::parseXML (text), block);
            file.replaceWithData (block.getData(), block.getSize());
        }
    }

    void write (const juce::File& folder)
    {
        folder.createDirectory();
        {
            UpmixerProcessor fresh;
            save (fresh, folder.getChildFile ("fresh.state"));
        }

        UpmixerProcessor busy;
        juce::Random random (1);
        for (int slot : { 0, 5, 45 })
        {
            busy.setCurrentProgram (slot);
            for (int n = 0; n < UpmixerParam::numHostParameters; ++n)
                if (n != UpmixerParam::ParamMapVersion)
                    busy.setParameterNotifyingHost (n, random.nextFloat(), false);
        }
        busy.changeProgramName (5, "Scene (Night) & \"Rain\"");
        busy.setSendSelector (3);
        busy.setTrackedPreset ("User", "Mix 5.1 &28Film&29");
        busy.keepEarlierState ("<MYPLUGINSETTINGS CURRENTPRESET=\"0\"><PRESET0 ParamMapVersion=\"0.001\"/></MYPLUGINSETTINGS>");
        save (busy, folder.getChildFile ("busy.state"));

        saveDocument ("<MYPLUGINSETTINGS CURRENTPRESET=\"0\" SENDSELECTOR=\"-1\"><PRESET0 PRESETNAME=\"Old\" ParamMapVersion=\"0.001\" "
                      "ExcludeC=\"1\" ExcludeLfe=\"1\" Divergence=\"0.25\"/></MYPLUGINSETTINGS>",
                      folder.getChildFile ("version1.state"));
        saveDocument ("<MYPLUGINSETTINGS CURRENTPRESET=\"2\"><PRESET2 PRESETNAME=\"New\" ParamMapVersion=\"0.004\" FutureKey=\"0.5\"/>"
                      "</MYPLUGINSETTINGS>",
                      folder.getChildFile ("newer.state"));
        saveDocument ("<MYPLUGINSETTINGS CURRENTPRESET=\"0\"><PRESETDATA FOLDERNAME=\"\" FILENAME=\"Default\"/>"
                      "<PRESET0 PRESETNAME=\"Default\" Diffusion=\"1e-7\" FadeFS=\"-0\"/></MYPLUGINSETTINGS>",
                      folder.getChildFile ("default-preset.state"));
    }
}

// make-factory-presets OUTPUT_FOLDER
//
// Writes Orrin Upmix's factory presets as ".nap" files into OUTPUT_FOLDER, built from the
// parameter table, and removes any other ".nap" file there, so that the folder holds exactly
// the current set. Fails without writing anything when a design names a key or a value the
// table does not know.
#include "processor/KaPresetFile.h"
#include "processor/UpmixerFactoryPresets.h"
#include "processor/UpmixerParameters.h"

#include <cstdio>

int main (int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf (stderr, "usage: make-factory-presets OUTPUT_FOLDER\n");
        return 2;
    }

    KaParameterTable table;
    table.registerParameters (UpmixerParam::createParameterInfos());

    juce::StringArray problems;
    const auto presets = UpmixerFactoryPresets::create (table, &problems);
    if (! problems.isEmpty())
    {
        for (const auto& p : problems)
            std::fprintf (stderr, "make-factory-presets: error: %s\n", p.toRawUTF8());
        return 1;
    }

    const auto folder = juce::File::getCurrentWorkingDirectory().getChildFile (juce::String (argv[1]));
    if (! folder.createDirectory())
    {
        std::fprintf (stderr, "make-factory-presets: error: cannot create '%s'\n", folder.getFullPathName().toRawUTF8());
        return 1;
    }

    juce::StringArray written;
    for (const auto& preset : presets)
    {
        const auto file = folder.getChildFile (preset.file + KaPresetFile::extension);
        if (! KaPresetFile::save (preset, table, file))
        {
            std::fprintf (stderr, "make-factory-presets: error: cannot write '%s'\n", file.getFullPathName().toRawUTF8());
            return 1;
        }
        written.add (file.getFileName());
        std::printf ("%s\n", file.getFullPathName().toRawUTF8());
    }

    for (const auto& stale : folder.findChildFiles (juce::File::findFiles, false, juce::String ("*") + KaPresetFile::extension))
        if (! written.contains (stale.getFileName()))
            stale.deleteFile();
    return 0;
}

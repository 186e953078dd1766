#pragma once

#include <juce_core/juce_core.h>

#include <cstdlib>
#include <string>

/** A new, empty folder in the temporary directory, named after name plus a random suffix.
    CTest runs test processes in parallel, so the folder is made by mkdtemp: two processes that
    start at the same moment never share (or delete) each other's files, as they could with a
    check for a free name followed by a create. */
inline juce::File makeTempFolder (const juce::String& name)
{
    const auto tmp = juce::File::getSpecialLocation (juce::File::tempDirectory);
    std::string pattern = tmp.getChildFile (name + "-XXXXXX").getFullPathName().toStdString();
    if (mkdtemp (pattern.data()) == nullptr)
        std::abort();
    return juce::File (juce::String (pattern));
}

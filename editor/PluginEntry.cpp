// The plug-in formats' entry point. It lives with the editor so that only the formats link the
// editor: the command line and the tests build the processor without it.
#include "editor/UpmixerEditor.h"
#include "processor/UpmixerOutputLayouts.h"
#include "processor/UpmixerProcessor.h"

#include <juce_audio_processors/juce_audio_processors.h>

// The format wrappers pick one of the binary's plug-ins (UpmixerOutputLayouts) before they call here.
juce::AudioProcessor* JUCE_CALLTYPE createPluginFilter()
{
    UpmixerProcessor::editorFactory = [] (UpmixerProcessor& p) -> juce::AudioProcessorEditor* { return new UpmixerEditor (p); };
    return new UpmixerProcessor (UpmixerOutputLayouts::fixedOutput (UpmixerOutputLayouts::chosenPlugin()));
}

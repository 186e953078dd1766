// The plug-in formats' entry point. It lives with the editor so that only the formats link the
// editor: the command line and the tests build the processor without it.
#include "processor/UpmixerProcessor.h"

#include <juce_audio_processors/juce_audio_processors.h>

juce::AudioProcessor* JUCE_CALLTYPE createPluginFilter()
{
    // Until the OpenGL editor lands, the formats show JUCE's generic editor: every parameter
    // with its name, value text and a control.
    UpmixerProcessor::editorFactory = [] (UpmixerProcessor& p) -> juce::AudioProcessorEditor*
    { return new juce::GenericAudioProcessorEditor (p); };
    return new UpmixerProcessor();
}

// The editor's cost, each against a baseline run alongside (see bench/README.md):
// - the message thread's work per GUI tick (the editor's timer: observers read, controls,
//   meters, field and haze updated, the draw list kept), against the audio work of the same
//   tick (1/30 s of programme through the processor), with the processor running between ticks;
// - the render thread's work per frame in a real window (needs a display: run under xvfb-run),
//   against the frame period of the GUI timer.
#include "BenchRig.h"
#include "editor/UpmixerEditor.h"

#include <benchmark/benchmark.h>

#include "XWindowGrab.h"

namespace
{
    using namespace BenchRig;

    /** A processor for stereo in and `numOutputs` out, its editor, and the audio of one tick. */
    struct EditorRig
    {
        explicit EditorRig (int numOutputs)
            : processor (makeProcessor (numOutputs, false)), editor (std::make_unique<UpmixerEditor> (*processor)),
              block (numOutputs, blockSize)
        {
        }

        /** The audio of one GUI tick: 3 blocks of 512 samples (32 ms at 48 kHz). */
        void playTick()
        {
            for (int i = 0; i < 3; ++i)
            {
                block.clear();
                fillStereo (block, blockSize, random);
                processor->processBlock (block, midi);
            }
        }

        std::unique_ptr<UpmixerProcessor> processor;
        std::unique_ptr<UpmixerEditor> editor;
        juce::AudioBuffer<float> block;
        juce::MidiBuffer midi;
        juce::Random random { 2 };
    };

    const char* layoutName (int numOutputs) { return numOutputs == 6 ? "5.1" : "7.1.4"; }
}

// Argument: output channels (6, 12); page (0 Main with the surround field, 2 I/O with the meters).
static void BM_EditorGuiTick (benchmark::State& state)
{
    EditorRig rig ((int) state.range (0));
    rig.editor->showPage ((int) state.range (1));
    for (auto _ : state)
    {
        state.PauseTiming();
        rig.playTick();
        state.ResumeTiming();
        rig.editor->timerCallback();
    }
    state.SetLabel (layoutName ((int) state.range (0)));
}
BENCHMARK (BM_EditorGuiTick)->ArgsProduct ({ { 6, 12 }, { 0, 2 } })->ArgNames ({ "outputs", "page" })->Unit (benchmark::kMicrosecond);

// The baseline of the tick: the audio that one tick spans.
static void BM_EditorTickAudioBaseline (benchmark::State& state)
{
    EditorRig rig ((int) state.range (0));
    for (auto _ : state)
        rig.playTick();
    state.SetLabel (layoutName ((int) state.range (0)));
}
BENCHMARK (BM_EditorTickAudioBaseline)->Arg (6)->Arg (12)->ArgName ("outputs")->Unit (benchmark::kMicrosecond);

// One frame on the render thread, as the frame itself times it (with the profiling overlay
// shown, which the timing needs: an upper bound). Its baseline is the frame period, 33.3 ms.
static void BM_EditorRenderFrame (benchmark::State& state)
{
    if (juce::SystemStats::getEnvironmentVariable ("DISPLAY", {}).isEmpty())
    {
        state.SkipWithError ("needs an X display (run under xvfb-run)");
        return;
    }
    XWindowGrab::tolerateXErrors();
    EditorRig rig ((int) state.range (0));
    rig.editor->showPage ((int) state.range (1));
    rig.processor->setProfilingShown (true);
    rig.editor->addToDesktop (0);
    rig.editor->setVisible (true);
    auto& frame = rig.editor->getOglComponent();
    auto nextFrame = [&]
    {
        rig.playTick();
        const int frames = frame.getNumFramesRendered();
        rig.editor->timerCallback();
        for (int i = 0; i < 500 && frame.getNumFramesRendered() == frames; ++i)
            juce::MessageManager::getInstance()->runDispatchLoopUntil (1);
    };
    for (int i = 0; i < 30; ++i)  // textures uploaded, the field's haze under way
        nextFrame();
    for (auto _ : state)
    {
        nextFrame();
        state.SetIterationTime (frame.getLastFrameMs() * 0.001);
    }
    rig.processor->setProfilingShown (false);
    state.counters["share of 33 ms"] = benchmark::Counter (frame.getLastFrameMs() / (1000.0 / KaJuceEditorBase::guiTimerHz));
    state.SetLabel (layoutName ((int) state.range (0)));
}
BENCHMARK (BM_EditorRenderFrame)->ArgsProduct ({ { 6, 12 }, { 0, 2 } })->ArgNames ({ "outputs", "page" })->UseManualTime()->Unit (benchmark::kMicrosecond)->Iterations (200);

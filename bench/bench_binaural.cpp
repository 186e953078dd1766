// Headphone monitoring's cost: the binaural renderer rendering the 7.1.4 upmix (eleven
// loudspeakers and the LFE) against the engine making that upmix, block for block, timed in the
// same loop so that both see the same machine load. The figure is their ratio; see
// bench/README.md and docs/headphones.md.
#include "BenchRig.h"
#include "engine/UpmixerAlgo.h"
#include "engine/UpmixerBinauralRenderer.h"
#include "processor/UpmixerDefaultHost.h"

#include <benchmark/benchmark.h>

#include <chrono>

// Argument: the block size (512 is whole partitions of 128; 64 and 1000 make the renderer
// transform partial partitions, 64 twice per partition).
static void BM_BinauralRendererAgainstEngine (benchmark::State& state)
{
    using Clock = std::chrono::steady_clock;
    const int block = (int) state.range (0);
    UpmixerDefaultHost host;
    UpmixerAlgo engine;
    engine.prepare (&host, (float) BenchRig::sampleRate);
    engine.setOutputLayout (25);  // 7.1.4 in the routing the renderer's kinds follow
    engine.setNumOutputChannels (12);
    engine.setNumOverheadChannels (4);

    std::string error;
    const auto set = UpmixerHrirSet::load (UpmixerHrirSet::defaultPath, error);
    if (set == nullptr)
    {
        state.SkipWithError (error.c_str());
        return;
    }
    UpmixerBinauralRenderer renderer;
    std::vector<UpmixerBinauralRenderer::Source> sources;
    for (float azimuth : { -30.0f, 30.0f, 0.0f, 0.0f, -100.0f, 100.0f, -145.0f, 145.0f })
        sources.push_back ({ azimuth, 0.0f, sources.size() == 3 });
    for (float azimuth : { -45.0f, 45.0f, -135.0f, 135.0f })
        sources.push_back ({ azimuth, 45.0f, false });
    renderer.prepare (*set, sources, BenchRig::sampleRate);

    juce::AudioBuffer<float> buffer (UpmixerAlgo::maxChannels, block), ears (2, block);
    juce::Random random (1);
    double engineSeconds = 0.0, rendererSeconds = 0.0;
    for (auto _ : state)
    {
        buffer.clear();
        BenchRig::fillStereo (buffer, block, random);
        const auto t0 = Clock::now();
        engine.process (buffer.getArrayOfWritePointers(), UpmixerAlgo::maxChannels, block);
        const auto t1 = Clock::now();
        // The block's channels in its own order: which loudspeaker each is does not change the cost.
        renderer.process (buffer.getArrayOfReadPointers(), ears.getWritePointer (0), ears.getWritePointer (1), block);
        const auto t2 = Clock::now();
        engineSeconds += std::chrono::duration<double> (t1 - t0).count();
        rendererSeconds += std::chrono::duration<double> (t2 - t1).count();
        benchmark::DoNotOptimize (ears.getReadPointer (0));
    }
    const double blocks = (double) state.iterations();
    state.counters["engine_us"] = engineSeconds / blocks * 1.0e6;
    state.counters["renderer_us"] = rendererSeconds / blocks * 1.0e6;
    state.counters["renderer/engine"] = rendererSeconds / engineSeconds;
    state.counters["partitions"] = renderer.getNumPartitions();
}
BENCHMARK (BM_BinauralRendererAgainstEngine)->Arg (512)->Arg (64)->Arg (1000)->ArgName ("block");

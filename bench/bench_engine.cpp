// Upmix engine benchmarks: the realtime factor (audio seconds per CPU second, one thread) of the
// whole processor and of the engine alone for 5.1, 7.1 and 7.1.2 with dialogue isolation off and
// on; one frame of the frequency-domain stage split into its FFTs, the dialogue network and the
// rest; and the resident memory one more processor adds. Figures are reported, never asserted; see
// bench/README.md for the numbers and where the time goes.
#include "BenchRig.h"
#include "dsp/BlockOverlaper.h"
#include "engine/KaProfiler.h"
#include "engine/UpmixerAlgo.h"
#include "engine/UpmixerDialogFeatures.h"
#include "engine/UpmixerDialogNetwork.h"
#include "engine/UpmixerFrequencyDomainAlgo.h"
#include "processor/KaParameterTable.h"
#include "processor/UpmixerDefaultHost.h"
#include "processor/UpmixerParameters.h"
#include "processor/UpmixerProcessor.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <vector>

namespace
{
    using namespace BenchRig;

    /** The benchmark loop of the realtime factors: ten seconds of programme prepared up front
        (copying a block in costs next to nothing), each iteration one block of it copied into
        the first two channels of block and processed. */
    template <typename Process>
    void runProgramme (benchmark::State& state, juce::AudioBuffer<float>& block, Process process)
    {
        const int length = 10 * (int) sampleRate;
        juce::AudioBuffer<float> programme (2, length);
        juce::Random random (1);
        fillStereo (programme, length, random);
        int position = 0;
        for (auto _ : state)
        {
            block.clear();
            block.copyFrom (0, 0, programme, 0, position, blockSize);
            block.copyFrom (1, 0, programme, 1, position, blockSize);
            position = (position + blockSize) % (length - blockSize);
            process();
            benchmark::DoNotOptimize (block.getReadPointer (0));
        }
    }

    long residentBytes()
    {
        std::ifstream statm ("/proc/self/statm");
        long size = 0, resident = 0;
        statm >> size >> resident;
        return resident * sysconf (_SC_PAGESIZE);
    }
}

// The whole processor, stereo in, 512-sample blocks of programme-like noise.
// Arguments: output channels (6, 8, 10), dialogue isolation (0, 1).
static void BM_ProcessorRealtimeFactor (benchmark::State& state)
{
    const int numOutputs = (int) state.range (0);
    auto processor = makeProcessor (numOutputs, state.range (1) != 0);
    juce::AudioBuffer<float> buffer (numOutputs, blockSize);
    juce::MidiBuffer midi;
    runProgramme (state, buffer, [&] { processor->processBlock (buffer, midi); });
    state.counters["realtime"] = benchmark::Counter ((double) state.iterations() * blockSize / sampleRate, benchmark::Counter::kIsRate);
    state.SetLabel (numOutputs == 6 ? "5.1" : numOutputs == 8 ? "7.1" : "7.1.2");
}
BENCHMARK (BM_ProcessorRealtimeFactor)->ArgsProduct ({ { 6, 8, 10 }, { 0, 1 } })->ArgNames ({ "outputs", "isolation" });

// The engine alone (no processor around it: no trims, routing copies, downmix, Listen or meters),
// stereo in, 512-sample blocks. Arguments as above.
static void BM_EngineRealtimeFactor (benchmark::State& state)
{
    const int numOutputs = (int) state.range (0);
    UpmixerDefaultHost host;
    host.table.set (UpmixerParam::DialogIsolate, state.range (1) != 0 ? 1.0f : 0.0f);
    UpmixerAlgo engine;
    engine.prepare (&host, (float) sampleRate);
    engine.setOutputLayout (numOutputs == 6 ? 1 : numOutputs == 8 ? 4 : 16);  // L R C LFE Ls Rs (Lsr Rsr Lts Rts)
    engine.setNumOutputChannels (numOutputs);
    engine.setNumOverheadChannels (numOutputs - 8 > 0 ? numOutputs - 8 : 0);

    juce::AudioBuffer<float> block (UpmixerAlgo::maxChannels, blockSize);
    runProgramme (state, block, [&] { engine.process (block.getArrayOfWritePointers(), UpmixerAlgo::maxChannels, blockSize); });
    state.counters["realtime"] = benchmark::Counter ((double) state.iterations() * blockSize / sampleRate, benchmark::Counter::kIsRate);
    state.SetLabel (numOutputs == 6 ? "5.1" : numOutputs == 8 ? "7.1" : "7.1.2");
}
BENCHMARK (BM_EngineRealtimeFactor)->ArgsProduct ({ { 6, 8, 10 }, { 0, 1 } })->ArgNames ({ "outputs", "isolation" });

// One frame's FFTs: the overlapper fed one hop (7 forward and 7 inverse transforms and the
// overlap-add), with a callback that does nothing.
static void BM_FrameFfts (benchmark::State& state)
{
    class Idle : public FftFilterCallBack
    {
    public:
        void processFrame (FreqDataStore<Complex>::Ptr) noexcept override {}
    };
    BlockOverlaper overlaper (1024, new Idle, 7, 2);
    std::vector<float> hop (BlockOverlaper::hopSize, 0.1f);
    std::vector<std::vector<float>> out (7, std::vector<float> (BlockOverlaper::hopSize));
    std::vector<const float*> in (7, hop.data());
    std::vector<float*> outs;
    for (auto& ch : out)
        outs.push_back (ch.data());

    for (auto _ : state)
    {
        overlaper.processBlock (in.data(), outs.data(), 7, BlockOverlaper::hopSize);
        benchmark::DoNotOptimize (outs[0]);
    }
}
BENCHMARK (BM_FrameFfts);

// One frame's network work: the input vectors of the 513 bins and 513 runs of the network.
static void BM_FrameNetwork (benchmark::State& state)
{
    namespace F = UpmixerDialogFeatures;
    UpmixerDialogNetwork network;
    if (! network.isLoaded())
    {
        state.SkipWithError ("no dialog.net found");
        return;
    }

    juce::Random random (2);
    std::vector<std::vector<float>> level (F::numHistoryFrames, std::vector<float> (F::frameStride));
    std::vector<std::vector<float>> diff (F::numHistoryFrames, std::vector<float> (F::frameStride));
    const float* levels[F::numHistoryFrames];
    const float* diffs[F::numHistoryFrames];
    for (int j = 0; j < F::numHistoryFrames; ++j)
    {
        for (int k = 0; k < F::frameStride; ++k)
        {
            level[(size_t) j][(size_t) k] = 100.0f * random.nextFloat();
            diff[(size_t) j][(size_t) k] = 100.0f * random.nextFloat();
        }
        levels[j] = level[(size_t) j].data();
        diffs[j] = diff[(size_t) j].data();
    }

    std::vector<float> inputs ((size_t) F::numBins * F::numInputs), probabilities ((size_t) F::numBins);
    for (auto _ : state)
    {
        F::computeDialogFeatures (levels, diffs, inputs.data());
        network.runFrame (inputs.data(), F::numBins, probabilities.data());
        benchmark::DoNotOptimize (probabilities.data());
    }
}
BENCHMARK (BM_FrameNetwork);

// The rest of one frame: the frequency-domain stage's frame steps with the network skipped
// (isolation off): level features, mask and extraction, phase agreement, smoothing,
// coefficients and distribution.
static void BM_FrameRest (benchmark::State& state)
{
    UpmixerFrequencyDomainAlgo algo;
    algo.prepare (UpmixerFrequencyDomainAlgo::defaultFftSize);
    algo.settings.dialogAmount = 0.0f;

    FreqDataStore<Complex> frame (7, 1024);
    juce::Random random (3);
    // 64 different frames in turn: the same frame over and over would let the branch predictor
    // learn its bins by heart.
    constexpr int numFrames = 64;
    const size_t frameBins = (size_t) 2 * UpmixerFrequencyDomainAlgo::numBins;
    std::vector<Complex> input ((size_t) numFrames * frameBins);
    for (auto& bin : input)
        bin = { random.nextDouble() - 0.5, random.nextDouble() - 0.5 };
    size_t next = 0;

    for (auto _ : state)
    {
        std::copy_n (input.begin() + (long) (next * frameBins), frameBins, frame.getData());
        next = (next + 1) % numFrames;
        algo.processFrame (frame);
        benchmark::DoNotOptimize (frame.getData());
    }
}
BENCHMARK (BM_FrameRest);

// Resident memory one more processor adds, prepared at 48 kHz for 7.1.2 and run for a second
// (so that every buffer it uses has been touched). A first processor is built and run before and
// kept, so the process-wide parts (FFT plans, the shared network, JUCE) and the allocator's
// first arenas are not counted.
static void BM_ProcessorResidentMemory (benchmark::State& state)
{
    auto runOneSecond = [] (UpmixerProcessor& processor) {
        juce::AudioBuffer<float> buffer (10, blockSize);
        juce::MidiBuffer midi;
        juce::Random random (4);
        for (int i = 0; i < (int) sampleRate / blockSize; ++i)
        {
            buffer.clear();
            fillStereo (buffer, blockSize, random);
            processor.processBlock (buffer, midi);
        }
    };
    auto first = makeProcessor (10, true);
    runOneSecond (*first);

    double added = 0.0;
    for (auto _ : state)
    {
        const long before = residentBytes();
        auto another = makeProcessor (10, true);
        runOneSecond (*another);
        added = (double) (residentBytes() - before);
        benchmark::DoNotOptimize (another.get());
    }
    state.counters["added_MB"] = added / (1024.0 * 1024.0);
}
BENCHMARK (BM_ProcessorResidentMemory)->Iterations (1);

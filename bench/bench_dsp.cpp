// DSP building-block benchmarks: a 1024-point FFT pair, the overlap-add framing per hop, a biquad
// per sample and the cross-faded delay per sample. Figures are reported, never asserted; see
// bench/README.md for the numbers and the machine.
#include "dsp/BlockOverlaper.h"
#include "dsp/CDelayDoubleBufferFilter.h"
#include "dsp/CRecursiveFilter.h"
#include "dsp/DenormalNoise.h"
#include "dsp/FreqDomainOperator.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

namespace
{
std::vector<float> testSignal (int n)
{
    std::vector<float> v ((size_t) n);
    for (int i = 0; i < n; ++i)
        v[(size_t) i] = (float) (0.5 * std::sin (0.013 * i) + 0.25 * std::sin (0.31 * i));
    return v;
}

class IdentityCallBack : public FftFilterCallBack
{
public:
    void processFrame (FreqDataStore<Complex>::Ptr frame) noexcept override { benchmark::DoNotOptimize (frame->getData()); }
};
} // namespace

// One forward and one inverse 1024-point transform, float in and out, through the shared plans.
static void BM_Fft1024ForwardInversePair (benchmark::State& state)
{
    FreqDomainOperator fft (1024);
    const auto input = testSignal (1024);
    std::vector<Complex> spectrum (513);
    std::vector<float> output (1024);

    for (auto _ : state)
    {
        fft.forwardTransform (1024, spectrum.data(), input.data());
        fft.inverseTransform (1024, spectrum.data(), output.data());
        benchmark::DoNotOptimize (output.data());
    }
}
BENCHMARK (BM_Fft1024ForwardInversePair);

// BlockOverlaper, 7 channels, identity callback, fed one 512-sample hop per iteration: one frame
// (7 forward and 7 inverse transforms) and the FIFO traffic around it.
static void BM_BlockOverlaperPerHop7Channels (benchmark::State& state)
{
    BlockOverlaper overlaper (1024, new IdentityCallBack, 7, 2);
    const auto signal = testSignal (512);
    std::vector<std::vector<float>> output (7, std::vector<float> (512));
    std::vector<const float*> in (7, signal.data());
    std::vector<float*> out;
    for (auto& ch : output)
        out.push_back (ch.data());

    for (auto _ : state)
    {
        overlaper.processBlock (in.data(), out.data(), 7, 512);
        benchmark::DoNotOptimize (out[6]);
    }
    state.SetItemsProcessed (state.iterations() * 512);
}
BENCHMARK (BM_BlockOverlaperPerHop7Channels);

// A float biquad (low-pass) with the guard noise added, per sample, over 4096-sample blocks.
static void BM_BiquadPerSample (benchmark::State& state)
{
    CRecursiveFilterBiquadLowPass<float> filter;
    filter.setParameters (7000.0f, 1.0f, 48000.0f, 1.0f);
    auto block = testSignal (4096);

    for (auto _ : state)
    {
        DenormalNoise noise (DenormalNoise::side);
        for (auto& x : block)
            x = filter.process (x + noise.next());
        benchmark::DoNotOptimize (block.data());
    }
    state.SetItemsProcessed (state.iterations() * (int64_t) block.size());
}
BENCHMARK (BM_BiquadPerSample);

// The cross-faded delay per sample over 4096-sample blocks, with a fade always running.
static void BM_CrossFadedDelayPerSample (benchmark::State& state)
{
    CDelayDoubleBufferFilter<float> line (2500, 0.0f);
    auto block = testSignal (4096);
    int request = 0;

    for (auto _ : state)
    {
        line.setPendingDelay (1000 + (request++ % 2) * 1000);
        line.updateDelay();
        line.processInPlace (block.data(), (int) block.size());
        benchmark::DoNotOptimize (block.data());
    }
    state.SetItemsProcessed (state.iterations() * (int64_t) block.size());
}
BENCHMARK (BM_CrossFadedDelayPerSample);

#include "engine/UpmixerBinauralRenderer.h"
#include "dsp/FftPlans.h"

#include <fftw3.h>

#include <algorithm>
#include <cstring>

namespace
{
    Complex* allocateBins() { return reinterpret_cast<Complex*> (fftw_alloc_complex (UpmixerBinauralRenderer::numBins)); }

    void clearBins (Complex* bins) noexcept { std::fill (bins, bins + UpmixerBinauralRenderer::numBins, Complex {}); }

    /** sum += a * b, bin by bin. */
    void multiplyAdd (Complex* sum, const Complex* a, const Complex* b) noexcept
    {
        for (int k = 0; k < UpmixerBinauralRenderer::numBins; ++k)
        {
            sum[k].re += a[k].re * b[k].re - a[k].im * b[k].im;
            sum[k].im += a[k].re * b[k].im + a[k].im * b[k].re;
        }
    }
}

UpmixerBinauralRenderer::~UpmixerBinauralRenderer()
{
    release();
}

void UpmixerBinauralRenderer::release() noexcept
{
    for (auto& s : m_sources)
    {
        fftw_free (s.history);
        fftw_free (s.spectrum);
        for (auto& ear : s.responses)
            for (auto* bins : ear)
                fftw_free (bins);
        for (auto* bins : s.past)
            fftw_free (bins);
    }
    m_sources.clear();
    for (auto*& bins : m_tail)
    {
        fftw_free (bins);
        bins = nullptr;
    }
    fftw_free (m_sum);
    fftw_free (m_time);
    m_sum = nullptr;
    m_time = nullptr;
    m_nPartitions = 0;
}

void UpmixerBinauralRenderer::prepare (const UpmixerHrirSet& set, const std::vector<Source>& sources, double sampleRate)
{
    release();
    FftPlans::prepare (fftSize);

    std::vector<UpmixerHrirSet::Pair> pairs;
    size_t longest = 1;
    for (const auto& source : sources)
    {
        pairs.push_back (set.responseFor (source.azimuth, source.elevation, sampleRate));
        longest = std::max ({ longest, pairs.back().left.size(), pairs.back().right.size() });
    }
    m_nPartitions = (int) ((longest + partitionSize - 1) / partitionSize);

    m_time = fftw_alloc_real (fftSize);
    m_sum = allocateBins();
    for (auto*& bins : m_tail)
        bins = allocateBins();

    m_sources.resize (sources.size());
    for (size_t i = 0; i < sources.size(); ++i)
    {
        auto& s = m_sources[i];
        s.source = sources[i];
        s.history = fftw_alloc_real (fftSize);
        s.spectrum = allocateBins();
        for (int ear = 0; ear < 2; ++ear)
        {
            const auto& ir = ear == 0 ? pairs[i].left : pairs[i].right;
            for (int p = 0; p < m_nPartitions; ++p)
            {
                // One partition of the response, zero-padded to the transform; the inverse
                // transform's scale (1 / fftSize) is folded in here.
                std::fill (m_time, m_time + fftSize, 0.0);
                for (int n = 0; n < partitionSize; ++n)
                    if (const size_t at = (size_t) (p * partitionSize + n); at < ir.size())
                        m_time[n] = ir[at] / (double) fftSize;
                Complex* bins = allocateBins();
                FftPlans::get().forward (fftSize, m_time, bins);
                s.responses[ear].push_back (bins);
            }
        }
        for (int p = 0; p < m_nPartitions; ++p)
            s.past.push_back (allocateBins());
        s.pastLive.assign ((size_t) m_nPartitions, 0);
        for (auto& filter : s.lowPass)
            filter.setParameters (lfeCutoffHz, 0.70710677f, (float) sampleRate, 1.0f);
    }
    reset();
}

void UpmixerBinauralRenderer::reset() noexcept
{
    for (auto& s : m_sources)
    {
        std::fill (s.history, s.history + fftSize, 0.0);
        std::fill (s.pastLive.begin(), s.pastLive.end(), 0);
        s.liveFor = 0;
        for (auto& filter : s.lowPass)
            filter.reset();
    }
    for (auto* bins : m_tail)
        if (bins != nullptr)
            clearBins (bins);
    m_nPosition = 0;
    m_nRing = 0;
}

void UpmixerBinauralRenderer::process (const float* const* inputs, float* left, float* right, int numSamples) noexcept
{
    if (m_nPartitions == 0)
    {
        std::fill (left, left + numSamples, 0.0f);
        std::fill (right, right + numSamples, 0.0f);
        return;
    }
    const auto& plans = FftPlans::get();
    for (int done = 0; done < numSamples;)
    {
        const int n = std::min (numSamples - done, partitionSize - m_nPosition);
        for (size_t i = 0; i < m_sources.size(); ++i)
        {
            auto& s = m_sources[i];
            if (const float* in = inputs[i])
            {
                // Live for this partition and the next, whose transform still spans this one.
                s.liveFor = 2;
                double* dst = s.history + partitionSize + m_nPosition;
                for (int k = 0; k < n; ++k)
                {
                    float x = in[done + k];
                    if (s.source.lowPassed)
                        x = s.lowPass[1].process (s.lowPass[0].process (x));
                    dst[k] = x;
                }
            }
            if (s.liveFor > 0)
                plans.forward (fftSize, s.history, s.spectrum);
        }

        for (int ear = 0; ear < 2; ++ear)
        {
            std::memcpy (m_sum, m_tail[(size_t) ear], sizeof (Complex) * numBins);
            for (auto& s : m_sources)
                if (s.liveFor > 0)
                    multiplyAdd (m_sum, s.responses[ear][0], s.spectrum);
            plans.inverse (fftSize, m_sum, m_time);
            float* out = (ear == 0 ? left : right) + done;
            const double* y = m_time + partitionSize + m_nPosition;
            for (int k = 0; k < n; ++k)
                out[k] = (float) y[k];
        }

        m_nPosition += n;
        done += n;
        if (m_nPosition == partitionSize)
            completePartition();
    }
}

void UpmixerBinauralRenderer::completePartition() noexcept
{
    // The partition's spectrum (its last transform saw all of it) joins the delay line, the
    // history moves on by one partition, and the earlier partitions' share of the next output
    // partition is summed now, once.
    for (auto& s : m_sources)
    {
        const bool live = s.liveFor > 0;
        s.pastLive[(size_t) m_nRing] = live ? 1 : 0;
        if (live)
        {
            std::memcpy (s.past[(size_t) m_nRing], s.spectrum, sizeof (Complex) * numBins);
            std::memcpy (s.history, s.history + partitionSize, sizeof (double) * partitionSize);
            std::fill (s.history + partitionSize, s.history + fftSize, 0.0);
            --s.liveFor;
        }
    }

    for (int ear = 0; ear < 2; ++ear)
    {
        Complex* tail = m_tail[(size_t) ear];
        clearBins (tail);
        for (auto& s : m_sources)
            for (int p = 1; p < m_nPartitions; ++p)
            {
                const int entry = (m_nRing - (p - 1) + m_nPartitions) % m_nPartitions;
                if (s.pastLive[(size_t) entry])
                    multiplyAdd (tail, s.responses[ear][(size_t) p], s.past[(size_t) entry]);
            }
    }
    m_nRing = (m_nRing + 1) % m_nPartitions;
    m_nPosition = 0;
}

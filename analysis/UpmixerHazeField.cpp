#include "analysis/UpmixerHazeField.h"
#include "analysis/UpmixerSpeakerAngles.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace
{
    // |X| of a full-scale sine's bin under a 256-point Hann window: the window's sum (128) / 2.
    constexpr double fullScaleBinEnergy = 64.0 * 64.0;

    /** Whether a new copy holds a frame other than the previous one (the analyser has run). */
    bool isNewFrame (const SpectraSnapshot& now, const SpectraSnapshot& before)
    {
        return now.values.size() != before.values.size()
            || std::memcmp (now.values.data(), before.values.data(), now.values.size() * sizeof (Complex)) != 0;
    }
}

void UpmixerHazeField::prepareBands (double sampleRate, int fftSize)
{
    if (m_pBands != nullptr && sampleRate == m_dBandsRate && fftSize == m_nBandsFftSize)
        return;
    m_pBands = std::make_unique<SpatialBands> (sampleRate, fftSize, numBands, 100.0, std::min (20000.0, sampleRate * 0.5));
    m_dBandsRate = sampleRate;
    m_nBandsFftSize = fftSize;
    const auto n = (size_t) m_pBands->size();
    m_channelEnergy.assign (n, {});
    m_cross.assign (n, {});
    m_bands.assign (n, {});
    for (size_t b = 0; b < n; ++b)
        m_bands[b].centreHz = m_pBands->getBands()[b].centreHz;
}

bool UpmixerHazeField::update (const UpmixerObservers& observers, int routing, int numOutputs)
{
    const bool gotUpmix = observers.getUpmixHaze()->tryReadSnapshot (m_upmix);
    const bool gotStereo = observers.getCoherence()->tryReadSnapshot (m_stereo);
    if (! gotUpmix && ! gotStereo)
        return false;

    const int fftSize = std::max (2, m_upmix.numBins * 2 - 2);
    prepareBands (observers.getSampleRate(), gotUpmix ? fftSize : UpmixerObservers::analyserFftSize);

    if (gotUpmix)
    {
        takeUpmixFrame (isNewFrame (m_upmix, m_upmixPrevious), routing, numOutputs);
        std::swap (m_upmix, m_upmixPrevious);
    }
    if (gotStereo)
    {
        takeCoherenceFrame (isNewFrame (m_stereo, m_stereoPrevious));
        std::swap (m_stereo, m_stereoPrevious);
    }
    return true;
}

float UpmixerHazeField::levelOf (double energy, int numBins) noexcept
{
    const double perBin = energy / (double) std::max (1, numBins) / fullScaleBinEnergy;
    const float db = perBin > 1.0e-12 ? (float) (10.0 * std::log10 (perBin)) : -120.0f;
    return std::clamp ((db - levelFloorDb) / (levelTopDb - levelFloorDb), 0.0f, 1.0f);
}

void UpmixerHazeField::takeUpmixFrame (bool fresh, int routing, int numOutputs)
{
    m_azimuths = UpmixerSpeakerAngles::forUpmixHaze (routing, numOutputs);
    const int channels = std::min (m_upmix.numChannels, (int) m_azimuths.size());
    const auto& bands = m_pBands->getBands();
    for (size_t b = 0; b < m_channelEnergy.size(); ++b)
    {
        const int first = bands[b].firstBin, end = std::min (bands[b].endBin, m_upmix.numBins);
        EnergyVector vector;
        double total = 0.0;
        auto& out = m_bands[b];
        for (int c = 0; c < (int) m_azimuths.size(); ++c)
        {
            // A stale copy counts as silence, so the haze fades when the audio stops.
            double e = 0.0;
            if (fresh && c < channels && ! std::isnan (m_azimuths[(size_t) c]))
                for (int k = first; k < end; ++k)
                    e += m_upmix.energy (c, k);
            auto& smoothed = m_channelEnergy[b][(size_t) c];
            smoothed = (float) (smoothing * smoothed + (1.0 - smoothing) * e);
            out.channelLevel[(size_t) c] = std::isnan (m_azimuths[(size_t) c]) ? 0.0f : levelOf (smoothed, end - first);
            if (smoothed > 0.0f && ! std::isnan (m_azimuths[(size_t) c]))
                vector.add (smoothed, m_azimuths[(size_t) c]);
            total += smoothed;
        }
        out.level = levelOf (total, end - first);
        out.x = vector.energy > 0.0 ? (float) (vector.x / vector.energy) : 0.0f;
        out.y = vector.energy > 0.0 ? (float) (vector.y / vector.energy) : 0.0f;
    }
}

void UpmixerHazeField::takeCoherenceFrame (bool fresh)
{
    if (! fresh || m_stereo.numChannels < 2)
        return;  // a stopped source keeps its last coherence; the level fades the band anyway
    const auto& bands = m_pBands->getBands();
    for (size_t b = 0; b < m_cross.size(); ++b)
    {
        Cross frame;
        for (int k = bands[b].firstBin; k < std::min (bands[b].endBin, m_stereo.numBins); ++k)
        {
            const auto& l = m_stereo.channel (0)[k];
            const auto& r = m_stereo.channel (1)[k];
            frame.re += l.re * r.re + l.im * r.im;  // l times the conjugate of r
            frame.im += l.im * r.re - l.re * r.im;
            frame.xx += l.re * l.re + l.im * l.im;
            frame.yy += r.re * r.re + r.im * r.im;
        }
        auto& c = m_cross[b];
        c.re = smoothing * c.re + (1.0 - smoothing) * frame.re;
        c.im = smoothing * c.im + (1.0 - smoothing) * frame.im;
        c.xx = smoothing * c.xx + (1.0 - smoothing) * frame.xx;
        c.yy = smoothing * c.yy + (1.0 - smoothing) * frame.yy;
        const double power = c.xx * c.yy;
        m_bands[b].coherence = power > 1.0e-30 ? (float) std::clamp ((c.re * c.re + c.im * c.im) / power, 0.0, 1.0) : 0.0f;
    }
}

float UpmixerHazeField::getPeakLevel() const noexcept
{
    float peak = 0.0f;
    for (const auto& b : m_bands)
        peak = std::max (peak, b.level);
    return peak;
}

#include "analysis/UpmixerHazeField.h"
#include "analysis/SpatialPosition.h"
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
    m_smoothed.assign (n, {});
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

void UpmixerHazeField::takeUpmixFrame (bool fresh, int routing, int numOutputs)
{
    // A stale copy counts as silence, so the haze fades when the audio stops.
    m_frame.assign (m_smoothed.size(), {});
    if (fresh)
    {
        const auto azimuths = UpmixerSpeakerAngles::forUpmixHaze (routing, numOutputs);
        SpatialPosition::accumulate (m_upmix, azimuths.data(), (int) azimuths.size(), *m_pBands, m_frame);
    }

    const auto& bands = m_pBands->getBands();
    for (size_t b = 0; b < m_smoothed.size(); ++b)
    {
        auto& s = m_smoothed[b];
        const auto& f = m_frame[b];
        s.energy = smoothing * s.energy + (1.0 - smoothing) * f.energy;
        s.x = smoothing * s.x + (1.0 - smoothing) * f.x;
        s.y = smoothing * s.y + (1.0 - smoothing) * f.y;

        auto& out = m_bands[b];
        const double perBin = s.energy / (double) std::max (1, bands[b].endBin - bands[b].firstBin) / fullScaleBinEnergy;
        const float db = perBin > 1.0e-12 ? (float) (10.0 * std::log10 (perBin)) : -120.0f;
        out.level = std::clamp ((db - levelFloorDb) / (levelTopDb - levelFloorDb), 0.0f, 1.0f);
        out.x = s.energy > 0.0 ? (float) (s.x / s.energy) : 0.0f;
        out.y = s.energy > 0.0 ? (float) (s.y / s.energy) : 0.0f;
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

#pragma once

#include "analysis/EnergyVector.h"
#include "analysis/SpatialBands.h"
#include "analysis/SpectraSnapshot.h"
#include "analysis/UpmixerObservers.h"

#include <array>
#include <memory>
#include <vector>

/** The spatial haze as the surround field shows it: per frequency band, how loud the band is on
    each loudspeaker of the upmix (from the upmix analyser's spectra), where in the field its
    energy sits as a whole (the direction and length of its energy vector over the loudspeaker
    azimuths), how loud the band is, and how coherent the source's left and right are in it (the
    squared coherence |Sxy|^2 / (Sxx Syy) of the stereo analyser's pair: 1 for a panned source,
    near 0 for ambience).

    Each reading smooths with a one-pole average per update, so the haze moves with the music
    rather than with single 5 ms frames; when no new frame has arrived since the previous update
    (the host stopped calling the plug-in) the energy decays towards silence, so the haze fades.

    Message thread (the editor's GUI timer): reads the observers with try-locks only and skips a
    reading whose guard is busy; allocates when the band layout or the analysers' size changes. */
class UpmixerHazeField
{
public:
    struct Band
    {
        float centreHz = 0.0f;
        float x = 0.0f, y = 0.0f;     // the energy vector over the energy: x right, y front, length <= 1
        float level = 0.0f;           // 0 at levelFloorDb and below, 1 at levelTopDb
        float coherence = 0.0f;       // 0..1
        /** Per analyser channel (UpmixerObservers::upmixHazeKinds), its level in the band on the
            same scale as `level`; 0 for a channel the layout lacks. */
        std::array<float, UpmixerObservers::numUpmixHazeChannels> channelLevel {};
    };

    using PerChannel = std::array<float, UpmixerObservers::numUpmixHazeChannels>;

    static constexpr int numBands = 16;
    /** The per-update weight of the past (30 updates a second: a time constant of about 0.15 s). */
    static constexpr double smoothing = 0.8;
    /** Band level, mean energy per bin re a full-scale sine's bin (|X| = 64 under the analysers'
        256-point Hann window), mapped from these dB to 0..1. */
    static constexpr float levelFloorDb = -70.0f, levelTopDb = -6.0f;

    /** Message thread: one reading of the observers for a layout (routing, engine outputs).
        Returns false when both guards were busy and nothing changed. */
    bool update (const UpmixerObservers& observers, int routing, int numOutputs);

    const std::vector<Band>& getBands() const noexcept { return m_bands; }
    /** The azimuth of each analyser channel under the layout of the last update (NaN: none). */
    const PerChannel& getAzimuths() const noexcept { return m_azimuths; }
    /** The loudest band's level (0 when the haze has faded out). */
    float getPeakLevel() const noexcept;

private:
    struct Cross
    {
        double re = 0.0, im = 0.0, xx = 0.0, yy = 0.0;
    };

    void prepareBands (double sampleRate, int fftSize);
    void takeUpmixFrame (bool fresh, int routing, int numOutputs);
    void takeCoherenceFrame (bool fresh);

    std::unique_ptr<SpatialBands> m_pBands;
    double m_dBandsRate = 0.0;
    int m_nBandsFftSize = 0;
    SpectraSnapshot m_upmix, m_upmixPrevious, m_stereo, m_stereoPrevious;
    static float levelOf (double energy, int numBins) noexcept;

    std::vector<PerChannel> m_channelEnergy;  // per band and channel, smoothed
    PerChannel m_azimuths {};
    std::vector<Cross> m_cross;
    std::vector<Band> m_bands;
};

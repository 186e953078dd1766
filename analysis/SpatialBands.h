#pragma once

#include <vector>

/** Frequency bands over the bins of one FFT size, for the displays that show a spectrum band by
    band: the band edges are equally spaced on a logarithmic frequency axis (f = exp (ln fLow +
    (ln fHigh - ln fLow) p) for p = 0, 1/n, .. 1), bin k (centred on k * sampleRate / fftSize)
    belongs to the band its centre falls in, and a band too narrow to hold a bin is merged into
    the next, so every band holds at least one bin. The DC bin is never used. */
class SpatialBands
{
public:
    struct Band
    {
        int firstBin = 0;   // first bin of the band
        int endBin = 0;     // one past its last bin
        float lowHz = 0.0f;   // lower edge of the first bin
        float highHz = 0.0f;  // upper edge of the last bin
        float centreHz = 0.0f;  // geometric mean of the edges
    };

    /** Any thread but the audio thread; allocates. At most numBands bands covering lowHz to
        highHz, limited to the bins the FFT size has. */
    SpatialBands (double sampleRate, int fftSize, int numBands, double lowHz = 100.0, double highHz = 20000.0);

    /** Any thread, no allocation: the bands from low to high. */
    const std::vector<Band>& getBands() const noexcept { return bands; }
    int size() const noexcept { return (int) bands.size(); }

private:
    std::vector<Band> bands;
};

#include "analysis/SpatialBands.h"

#include <algorithm>
#include <cmath>

SpatialBands::SpatialBands (double sampleRate, int fftSize, int numBands, double lowHz, double highHz)
{
    if (sampleRate <= 0.0 || fftSize < 2 || numBands < 1 || lowHz <= 0.0 || highHz <= lowHz)
        return;

    const double binHz = sampleRate / fftSize;
    const int lastBin = fftSize / 2;
    auto firstBinAbove = [&] (double hz) { return std::clamp ((int) std::ceil (hz / binHz), 1, lastBin + 1); };

    int first = firstBinAbove (lowHz);
    for (int b = 1; b <= numBands; ++b)
    {
        const double edge = std::exp (std::log (lowHz) + (std::log (highHz) - std::log (lowHz)) * b / numBands);
        const int end = firstBinAbove (edge);
        if (end <= first)
            continue;  // no bin centre in this band: its range goes to the next

        Band band;
        band.firstBin = first;
        band.endBin = end;
        band.lowHz = (float) ((first - 0.5) * binHz);
        band.highHz = (float) ((end - 0.5) * binHz);
        band.centreHz = std::sqrt (band.lowHz * band.highHz);
        bands.push_back (band);
        first = end;
    }
}

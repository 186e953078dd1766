#include "analysis/SpatialPosition.h"

#include <algorithm>

void SpatialPosition::accumulate (const SpectraSnapshot& snapshot, const float* azimuths, int numAzimuths,
                                  const SpatialBands& bands, std::vector<EnergyVector>& out)
{
    out.resize ((size_t) bands.size());
    const int channels = std::min (snapshot.numChannels, numAzimuths);
    for (int c = 0; c < channels; ++c)
    {
        if (std::isnan (azimuths[c]))
            continue;
        for (int b = 0; b < bands.size(); ++b)
        {
            const auto& band = bands.getBands()[(size_t) b];
            double e = 0.0;
            for (int k = band.firstBin; k < std::min (band.endBin, snapshot.numBins); ++k)
                e += snapshot.energy (c, k);
            if (e > 0.0)
                out[(size_t) b].add (e, azimuths[c]);
        }
    }
}

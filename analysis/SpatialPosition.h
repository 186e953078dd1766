#pragma once

#include "analysis/EnergyVector.h"
#include "analysis/SpatialBands.h"
#include "analysis/SpectraSnapshot.h"

#include <vector>

/** Where in the surround field each frequency band's energy sits, from one snapshot of the
    channels' spectra and the azimuth of each channel's loudspeaker: per band, every channel's
    energy over the band's bins (the sum of |X|^2) is placed at its speaker's azimuth and summed
    into an energy vector, whose direction and spread a display draws. */
namespace SpatialPosition
{
    /** Reader's thread; allocates only to size `out` to the bands. Adds each band's vector to
        out[band], so that calls over successive snapshots gather a time span. Channels whose
        azimuth is NaN (no loudspeaker: the LFE, a kind the layout lacks) and channels beyond the
        snapshot or the azimuths are left out. */
    void accumulate (const SpectraSnapshot& snapshot, const float* azimuths, int numAzimuths, const SpatialBands& bands,
                     std::vector<EnergyVector>& out);
}

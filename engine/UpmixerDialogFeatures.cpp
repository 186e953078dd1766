#include "engine/UpmixerDialogFeatures.h"

#include <array>

namespace UpmixerDialogFeatures
{
    namespace
    {
        // Input 36 of every bin, computed when the program loads. Bin 0 has no logarithm; the
        // limit to 0 ... 1 gives it 0.
        const std::array<float, numBins> binPositions = [] {
            std::array<float, numBins> positions {};
            const double lo = std::log (10.0), hi = std::log (24000.0);
            for (int k = 1; k < numBins; ++k)
                positions[(size_t) k] = (float) std::clamp ((std::log (k * 48000.0 / 1024.0) - lo) / (hi - lo), 0.0, 1.0);
            return positions;
        }();
    }

    void computeDialogFeatures (const float* const levelDb[numHistoryFrames], const float* const diffDb[numHistoryFrames],
                                float* inputs) noexcept
    {
        float lo = std::max (levelDb[0][frameMeanIndex], levelFloorDb);
        float hi = lo;
        for (int j = 1; j < numHistoryFrames; ++j)
        {
            const float frameLevel = std::max (levelDb[j][frameMeanIndex], levelFloorDb);
            lo = std::min (lo, frameLevel);
            hi = std::max (hi, frameLevel);
        }
        const float scale = 1.0f / std::max (hi - lo, minimumSpanDb);
        auto normalise = [lo, scale] (float x) noexcept {
            return std::clamp ((std::max (x, levelFloorDb) - lo) * scale, -inputLimit, inputLimit);
        };

        // Each bin's value is normalised once and placed in the three rows that see it: as the
        // centre of its own bin, the upper neighbour of the bin below, the lower of the bin above.
        for (int j = 0; j < numHistoryFrames; ++j)
            for (int k = 0; k < numBins; ++k)
            {
                const float level = normalise (levelDb[j][k]);
                const float diff = normalise (diffDb[j][k]);
                float* row = inputs + k * numInputs;
                row[levelInput (j, 1)] = level;
                row[diffInput (j, 1)] = diff;
                if (k + 1 < numBins)
                {
                    row[numInputs + levelInput (j, 0)] = level;
                    row[numInputs + diffInput (j, 0)] = diff;
                }
                if (k > 0)
                {
                    row[-numInputs + levelInput (j, 2)] = level;
                    row[-numInputs + diffInput (j, 2)] = diff;
                }
            }

        for (int k = 0; k < numBins; ++k)
        {
            float* row = inputs + k * numInputs;
            row[frequencyInput] = binPositions[(size_t) k];
            // The edge bins repeat themselves as their missing neighbour.
            if (k == 0)
                for (int j = 0; j < numHistoryFrames; ++j)
                {
                    row[levelInput (j, 0)] = row[levelInput (j, 1)];
                    row[diffInput (j, 0)] = row[diffInput (j, 1)];
                }
            if (k == numBins - 1)
                for (int j = 0; j < numHistoryFrames; ++j)
                {
                    row[levelInput (j, 2)] = row[levelInput (j, 1)];
                    row[diffInput (j, 2)] = row[diffInput (j, 1)];
                }
        }
    }
}

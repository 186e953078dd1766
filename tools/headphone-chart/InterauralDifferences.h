#pragma once

#include <cmath>
#include <vector>

/** The interaural differences of a pair of head-related responses, measured one way for the
    chart and the tests. */
namespace InterauralDifferences
{
    /** Lag (samples) of the right ear behind the left at the cross-correlation's peak, within
        1 ms: positive when the left ear hears first. */
    inline int lag (const std::vector<float>& left, const std::vector<float>& right, double sampleRate)
    {
        const int maxLag = (int) (0.001 * sampleRate);
        int best = 0;
        double bestValue = -1.0e30;
        for (int l = -maxLag; l <= maxLag; ++l)
        {
            double sum = 0.0;
            for (int n = 0; n < (int) left.size(); ++n)
                if (const int m = n + l; m >= 0 && m < (int) right.size())
                    sum += (double) left[(size_t) n] * right[(size_t) m];
            if (sum > bestValue)
                bestValue = sum, best = l;
        }
        return best;
    }

    /** Broadband energy in dB. */
    inline double energyDb (const std::vector<float>& x)
    {
        double sum = 1.0e-20;
        for (float v : x)
            sum += (double) v * v;
        return 10.0 * std::log10 (sum);
    }
}

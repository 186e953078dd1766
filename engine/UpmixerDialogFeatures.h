#pragma once

#include <algorithm>
#include <cmath>

/** What the dialogue network sees: the level features of a frame and the network's input vector
    for one bin. The engine and the tools that build and train "dialog.net" share these functions,
    so a network is always trained on exactly the inputs it gets at run time. Free of JUCE and of
    the engine's types; any thread, no allocation.

    Level features of a frame (1024-point FFT, bins 0 to 512), in "power dB": 20 log10 of a POWER,
    twice the usual dB figure. The scale is deliberate and fixed: networks are trained on it.
        levelDb[k] = 20 log10 max (|L_k|^2, |R_k|^2)      diffDb[k] = 20 log10 |L_k - R_k|^2
    with -1e10 for an argument below 1e-10; entry 513 of each holds the same conversion of the
    mean over the bins of max (|L_k|^2, |R_k|^2) (levelDb) and of |L_k - R_k|^2 (diffDb).

    Network input for bin k, 37 floats (the arrangement a trained network depends on):
        for each of the six history frames j = 0 (newest) ... 5 (oldest), six inputs at 6 j:
            6 j + 0, 1, 2   levelDb of bins k - 1, k, k + 1
            6 j + 3, 4, 5   diffDb  of bins k - 1, k, k + 1
        (a neighbour past either end of the spectrum repeats bin k), each normalised as
            (max (x, -300) - lo) / max (hi - lo, 20), then limited to -4 ... 4,
        where lo and hi are the lowest and highest frame level (entry 513 of levelDb, floored at
        -300 as well) among the six frames. So 0 is the quietest frame's mean level and 1 the
        loudest's; the floor keeps silent bins (-1e10) finite and the minimum span (10 dB in this
        scale) keeps a steady programme from blowing small differences up.
        36  the bin's place on a logarithmic frequency axis from 10 Hz to 24 kHz,
            (ln (k 48000 / 1024) - ln 10) / (ln 24000 - ln 10), limited to 0 ... 1 (bin 0 gives 0).
            The bin frequency is always taken at 48 kHz, whatever the sample rate in use: a
            network sees the same axis everywhere, and it stays so on purpose.
*/
namespace UpmixerDialogFeatures
{
    inline constexpr int numBins = 513;
    /** Entries per frame of levelDb and diffDb: the bins, the frame mean, spare room. */
    inline constexpr int frameStride = 516;
    inline constexpr int frameMeanIndex = numBins;
    inline constexpr int numHistoryFrames = 6;
    inline constexpr int inputsPerFrame = 6;
    inline constexpr int numInputs = 37;
    inline constexpr int frequencyInput = 36;

    inline constexpr float silentDb = -1.0e10f;
    inline constexpr float levelFloorDb = -300.0f;
    inline constexpr float minimumSpanDb = 20.0f;
    inline constexpr float inputLimit = 4.0f;

    /** Index in the input vector of frame j's levelDb of bin k - 1 + neighbour (0, 1 or 2). */
    constexpr int levelInput (int frame, int neighbour) noexcept { return frame * inputsPerFrame + neighbour; }

    /** Index in the input vector of frame j's diffDb of bin k - 1 + neighbour (0, 1 or 2). */
    constexpr int diffInput (int frame, int neighbour) noexcept { return frame * inputsPerFrame + 3 + neighbour; }

    /** 20 log10 of a power (see above), -1e10 below 1e-10. */
    inline float powerDb (double power) noexcept
    {
        return power < 1.0e-10 ? silentDb : 20.0f * std::log10 ((float) power);
    }

    /** Fills levelDb and diffDb (frameStride entries each) from the two spectra of a frame.
        ComplexType is anything with double members re and im (the engine's Complex). */
    template <typename ComplexType>
    void computeFrameLevels (const ComplexType* left, const ComplexType* right, float* levelDb, float* diffDb) noexcept
    {
        double levelSum = 0.0, diffSum = 0.0;
        for (int k = 0; k < numBins; ++k)
        {
            const double pl = left[k].re * left[k].re + left[k].im * left[k].im;
            const double pr = right[k].re * right[k].re + right[k].im * right[k].im;
            const double dr = left[k].re - right[k].re, di = left[k].im - right[k].im;
            const double pd = dr * dr + di * di;
            const double level = std::max (pl, pr);
            levelDb[k] = powerDb (level);
            diffDb[k] = powerDb (pd);
            levelSum += level;
            diffSum += pd;
        }
        levelDb[frameMeanIndex] = powerDb (levelSum / numBins);
        diffDb[frameMeanIndex] = powerDb (diffSum / numBins);
    }

    /** Writes the 37 network inputs of every bin of a frame, bin after bin (inputs[k * 37 + i]),
        from the level features of the six history frames, newest first. */
    void computeDialogFeatures (const float* const levelDb[numHistoryFrames], const float* const diffDb[numHistoryFrames],
                                float* inputs) noexcept;
}

#pragma once

#include "dsp/FftFilter.h"

#include <array>

/** Short-time Fourier framing at 50 % overlap with windowed overlap-add: the upmix engine's
    frequency-domain stage runs on it.

    The framing is fixed: frames of 1024 samples, 7 channels, overlap 2 (hop 512), whatever the
    constructor is given. Each frame is taken without consuming it, then the hop is consumed;
    it is windowed by the analysis window (rectangular unless setWindowType() says otherwise),
    transformed, handed to the callback, transformed back, multiplied by the synthesis window
    (a periodic Hann of length 1024, whose copies at the hop sum to 1) and added onto the tail
    that the previous frame left in the output FIFO. The output FIFO started with 1024 samples of
    silence, so with a callback that leaves the spectra alone the output is the input delayed by
    exactly 1024 samples, the first 512 of them faded in by the rising half of the window.
*/
class BlockOverlaper : public FftFilter
{
public:
    using Ptr = juce::ReferenceCountedObjectPtr<BlockOverlaper>;

    static constexpr int frameSize = 1024;
    static constexpr int fixedNumChannels = 7;
    static constexpr int fixedOverlap = 2;
    static constexpr int hopSize = frameSize / fixedOverlap;

    /** Not the audio thread; allocates. fftSize, numChannels and overlap are not used: the
        framing is always 1024 / 7 / 2. */
    BlockOverlaper (int fftSize, FftFilterCallBack::Ptr callback, int numChannels, int overlap);

    /** Audio thread; allocates only in the first call with a larger block size than before.
        Delivers numSamples samples on each of the first min(numChannels, 7) output channels. */
    virtual void processBlock (const float* const* input, float** output, int numChannels, int numSamples) noexcept;

    /** Any thread, no allocation: the synthesis window, 2048 entries (the second 1024 repeat the first). */
    const float* getSynthesisWindow() const noexcept { return synthesisWindow.data(); }

private:
    std::array<float, 2 * frameSize> synthesisWindow;
    const int overlap = fixedOverlap;
};

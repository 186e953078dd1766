#include "dsp/BlockOverlaper.h"

BlockOverlaper::BlockOverlaper (int, FftFilterCallBack::Ptr callbackIn, int, int)
    : FftFilter (frameSize, std::move (callbackIn), fixedNumChannels)
{
    // Periodic Hann, evaluated in single precision on the rising half and mirrored about entry
    // 512 (which is exactly 1), scaled by 2 / overlap so that overlapped copies sum to 1.
    const float pi = juce::MathConstants<float>::pi;
    const float step = 1.0f / 512.0f;

    auto hann = [&] (int i) { return (0.5f - 0.5f * std::cos ((float) i * step * pi)) * 2.0f / (float) overlap; };

    for (int i = 0; i < 512; ++i)
        synthesisWindow[(size_t) i] = hann (i);
    for (int i = 512; i < frameSize; ++i)
        synthesisWindow[(size_t) i] = hann (frameSize - i);
    for (int i = frameSize; i < 2 * frameSize; ++i)
        synthesisWindow[(size_t) i] = synthesisWindow[(size_t) (i - frameSize)];
}

void BlockOverlaper::processBlock (const float* const* input, float** output, int numChannelsIn, int numSamples) noexcept
{
    const FFTWindow& analysisWindow = currentWindow();
    const int channels = std::clamp (numChannelsIn, 0, numChannels);
    const int hop = frameSize / overlap;

    reserveFor (numSamples);
    inputBuffer.write (input, channels, numSamples, true);

    while (inputBuffer.getNumReady() >= frameSize)
    {
        inputBuffer.peek (frameBuffer, frameSize);
        inputBuffer.consume (hop);

        analysisWindow.applyTo (frameBuffer);
        transformFrame (true);

        for (int ch = 0; ch < numChannels; ++ch)
            juce::FloatVectorOperations::multiply (frameBuffer.getWritePointer (ch), synthesisWindow.data(), frameSize);

        outputBuffer.add (frameBuffer, false);
        outputBuffer.advanceWrite (hop);
    }

    outputBuffer.read (output, channels, numSamples);
}

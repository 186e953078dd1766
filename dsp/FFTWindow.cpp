#include "dsp/FFTWindow.h"

#include <algorithm>
#include <cmath>

namespace
{
// Cosine-sum coefficients a0 - a1 cos x + a2 cos 2x - a3 cos 3x, written as floats on purpose:
// the tables are built from the single-precision constants widened to double.
struct CosineSum
{
    float a0, a1, a2, a3;
};

constexpr CosineSum shapes[] = {
    { 1.0f, 0.0f, 0.0f, 0.0f },                    // rectangular
    { 0.53836f, 0.46164f, 0.0f, 0.0f },            // Hamming
    { 0.5f, 0.5f, 0.0f, 0.0f },                    // Hann
    { 0.42f, 0.5f, 0.08f, 0.0f },                  // Blackman
    { 0.35875f, 0.48829f, 0.14128f, 0.01168f },    // Blackman-Harris, 4 terms
};
} // namespace

FFTWindow::FFTWindow (int sizeIn, int typeIn)
    : table ((size_t) std::max (0, sizeIn), 0.0f), size (std::max (0, sizeIn)), type (typeIn)
{
    if (type < 0 || type >= (int) std::size (shapes))
        return;

    const CosineSum& s = shapes[type];
    const double a0 = s.a0, a1 = s.a1, a2 = s.a2, a3 = s.a3;
    // A one-sample window has no period; its single coefficient is taken at x = 0.
    const double step = size > 1 ? 2.0 * juce::MathConstants<double>::pi / (double) (size - 1) : 0.0;

    for (int n = 0; n < size; ++n)
    {
        const double x = (double) n * step;
        table[(size_t) n] = (float) (a0 - a1 * std::cos (x) + a2 * std::cos (2.0 * x) - a3 * std::cos (3.0 * x));
    }
}

void FFTWindow::applyTo (juce::AudioSampleBuffer& frame) const noexcept
{
    const int n = std::min (size, frame.getNumSamples());
    for (int ch = 0; ch < frame.getNumChannels(); ++ch)
        juce::FloatVectorOperations::multiply (frame.getWritePointer (ch), table.data(), n);
}

#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

#include <vector>

/** A table of window coefficients of one length and shape.

    Every shape is the symmetric form: with x = n * 2 pi / (size - 1),
      0 rectangular      1
      1 Hamming          0.53836 - 0.46164 cos x   (the 0.53836 variant, not 0.54 / 0.46)
      2 Hann             0.5 - 0.5 cos x
      3 Blackman         0.42 - 0.5 cos x + 0.08 cos 2x
      4 Blackman-Harris  0.35875 - 0.48829 cos x + 0.14128 cos 2x - 0.01168 cos 3x  (4-term)
    and any other type is all zeros. The coefficient sets are single-precision constants widened
    to double; each value is computed in double and stored as float.
*/
class FFTWindow : public juce::ReferenceCountedObject
{
public:
    using Ptr = juce::ReferenceCountedObjectPtr<FFTWindow>;

    /** Not the audio thread; allocates the table. */
    FFTWindow (int size, int type);

    /** Audio thread, no allocation: multiplies sample n (n < window size) of every channel by the
        window's coefficient n. */
    void applyTo (juce::AudioSampleBuffer& frame) const noexcept;

    /** Any thread, no allocation. */
    const float* getTable() const noexcept { return table.data(); }

    /** Any thread, no allocation. */
    int getSize() const noexcept { return size; }

    /** Any thread, no allocation. */
    int getType() const noexcept { return type; }

private:
    std::vector<float> table;
    int size;
    int type;
};

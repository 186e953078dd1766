#pragma once

#include <juce_core/juce_core.h>

#include <vector>

/** One complex number: real then imaginary part, two 64-bit floats (16 bytes, the same layout as
    FFTW's fftw_complex and std::complex<double>). */
struct Complex
{
    double re = 0.0;
    double im = 0.0;
};

static_assert (sizeof (Complex) == 16, "spectra are exchanged as pairs of doubles");

/** One frame of complex spectra for several channels: channel c's fftSize / 2 + 1 bins start at
    element c * numBins. Reference-counted so a frame can be handed to callbacks and observers.

    Storage is allocated and zeroed once at construction; filling it allocates nothing. The FFT
    size a store belongs to is numBins * 2 - 2, which consumers compare to notice a change of
    frame size.
*/
template <typename ComplexType>
class FreqDataStore : public juce::ReferenceCountedObject
{
public:
    using Ptr = juce::ReferenceCountedObjectPtr<FreqDataStore>;

    /** Any thread, allocates: a zeroed frame; a size with no bins (fftSize / 2 + 1 <= 0) has no storage. */
    FreqDataStore (int numChannelsIn, int fftSize)
        : numBins (std::max (0, fftSize / 2 + 1)),
          numChannels (std::max (0, numChannelsIn)),
          storage ((size_t) numBins * (size_t) numChannels)
    {
    }

    /** Any thread, no allocation: the first bin of channel c (0 <= c < getNumChannels()). */
    ComplexType* getChannel (int c) noexcept
    {
        jassert (c >= 0 && c < numChannels);
        return storage.data() + (size_t) c * (size_t) numBins;
    }

    /** Any thread, no allocation: the first bin of channel c (0 <= c < getNumChannels()). */
    const ComplexType* getChannel (int c) const noexcept
    {
        jassert (c >= 0 && c < numChannels);
        return storage.data() + (size_t) c * (size_t) numBins;
    }

    /** Any thread, no allocation: all channels, channel after channel. */
    ComplexType* getData() noexcept { return storage.data(); }

    /** Any thread, no allocation: all channels, channel after channel. */
    const ComplexType* getData() const noexcept { return storage.data(); }

    /** Any thread, no allocation: bins per channel. */
    int getNumBins() const noexcept { return numBins; }

    /** Any thread, no allocation. */
    int getNumChannels() const noexcept { return numChannels; }

    /** Any thread, no allocation: the FFT size this frame belongs to, numBins * 2 - 2. */
    int getFftSize() const noexcept { return numBins * 2 - 2; }

private:
    int numBins;
    int numChannels;
    std::vector<ComplexType> storage;
};

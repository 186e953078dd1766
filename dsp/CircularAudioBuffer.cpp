#include "dsp/CircularAudioBuffer.h"

#include <algorithm>

CircularAudioBuffer::CircularAudioBuffer (int numChannels)
    : buffer (std::max (0, numChannels), 1)
{
    buffer.clear();
}

void CircularAudioBuffer::setNumChannels (int n)
{
    buffer.setSize (std::max (0, n), buffer.getNumSamples(), true, true, false);
}

void CircularAudioBuffer::setSize (int n)
{
    if (n <= getBufferSize())
        return;

    juce::AudioSampleBuffer grown (getNumChannels(), n);
    grown.clear();
    if (numReady > 0)
        peek (grown, numReady);

    writePosition = numReady;
    readPosition = 0;
    buffer = std::move (grown);
}

void CircularAudioBuffer::advanceWrite (int n) noexcept
{
    jassert (n >= 0);
    n = std::max (0, n);
    numReady += n;
    writePosition = (writePosition + n) % getBufferSize();
}

void CircularAudioBuffer::advanceRead (int n) noexcept
{
    jassert (n >= 0);
    n = std::max (0, n);
    numReady = std::max (0, numReady - n);
    readPosition = (readPosition + n) % getBufferSize();
}

bool CircularAudioBuffer::transfer (const float* const* data, int numChannels, int numSamples,
                                    bool advance, bool accumulate)
{
    numSamples = std::max (0, numSamples);
    const int channels = std::min (numChannels, getNumChannels());

    setSize (numSamples + numReady);

    const int first = std::min (numSamples, getBufferSize() - writePosition);
    const int second = numSamples - first;

    for (int ch = 0; ch < channels; ++ch)
    {
        float* storage = buffer.getWritePointer (ch);
        const float* source = data[ch];

        if (accumulate)
        {
            juce::FloatVectorOperations::add (storage + writePosition, source, first);
            if (second > 0)
                juce::FloatVectorOperations::add (storage, source + first, second);
        }
        else
        {
            juce::FloatVectorOperations::copy (storage + writePosition, source, first);
            if (second > 0)
                juce::FloatVectorOperations::copy (storage, source + first, second);
        }
    }

    if (advance)
        advanceWrite (numSamples);

    return numChannels == getNumChannels();
}

bool CircularAudioBuffer::write (const float* const* data, int numChannels, int numSamples, bool advance)
{
    return transfer (data, numChannels, numSamples, advance, false);
}

bool CircularAudioBuffer::write (const juce::AudioSampleBuffer& source, bool advance)
{
    return write (source.getArrayOfReadPointers(), source.getNumChannels(), source.getNumSamples(), advance);
}

bool CircularAudioBuffer::add (const float* const* data, int numChannels, int numSamples, bool advance)
{
    return transfer (data, numChannels, numSamples, advance, true);
}

bool CircularAudioBuffer::add (const juce::AudioSampleBuffer& source, bool advance)
{
    return add (source.getArrayOfReadPointers(), source.getNumChannels(), source.getNumSamples(), advance);
}

void CircularAudioBuffer::writeSilence (int numSamples)
{
    numSamples = std::max (0, numSamples);
    setSize (numSamples + numReady);

    const int first = std::min (numSamples, getBufferSize() - writePosition);
    const int second = numSamples - first;

    for (int ch = 0; ch < getNumChannels(); ++ch)
    {
        buffer.clear (ch, writePosition, first);
        if (second > 0)
            buffer.clear (ch, 0, second);
    }

    advanceWrite (numSamples);
}

int CircularAudioBuffer::read (float** dest, int numChannels, int numSamples) noexcept
{
    // Refers to the caller's channels; up to 32 channel pointers fit the buffer's own
    // preallocated table, so wrapping does not allocate.
    juce::AudioSampleBuffer view (dest, std::max (0, numChannels), std::max (0, numSamples));
    return read (view, numSamples);
}

int CircularAudioBuffer::read (juce::AudioSampleBuffer& dest, int numSamples) noexcept
{
    const int n = peek (dest, numSamples);
    consume (n);
    return n;
}

int CircularAudioBuffer::peek (float** dest, int numChannels, int numSamples) noexcept
{
    juce::AudioSampleBuffer view (dest, std::max (0, numChannels), std::max (0, numSamples));
    return peek (view, numSamples);
}

int CircularAudioBuffer::peek (juce::AudioSampleBuffer& dest, int numSamples) noexcept
{
    const int channels = std::min (dest.getNumChannels(), getNumChannels());
    const int n = std::clamp (numSamples, 0, numReady);
    const int first = std::min (n, getBufferSize() - readPosition);
    const int second = n - first;

    for (int ch = 0; ch < channels; ++ch)
    {
        const float* storage = buffer.getReadPointer (ch);
        float* target = dest.getWritePointer (ch);
        juce::FloatVectorOperations::copy (target, storage + readPosition, first);
        if (second > 0)
            juce::FloatVectorOperations::copy (target + first, storage, second);
    }

    return n;
}

int CircularAudioBuffer::consume (int n) noexcept
{
    const int m = std::clamp (n, 0, getNumReady());
    clearReady (m);
    advanceRead (m);
    return m;
}

void CircularAudioBuffer::clearReady (int n) noexcept
{
    const int m = std::clamp (n, 0, numReady);
    const int first = std::min (m, getBufferSize() - readPosition);
    const int second = m - first;

    for (int ch = 0; ch < getNumChannels(); ++ch)
    {
        buffer.clear (ch, readPosition, first);
        if (second > 0)
            buffer.clear (ch, 0, second);
    }
}

void CircularAudioBuffer::clearAllReady() noexcept
{
    clearReady (getNumReady());
}

int CircularAudioBuffer::getNumReady() const noexcept
{
    return numReady;
}

int CircularAudioBuffer::getBufferSize() const noexcept
{
    return buffer.getNumSamples();
}

int CircularAudioBuffer::getNumChannels() const noexcept
{
    return buffer.getNumChannels();
}

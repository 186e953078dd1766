#include "dsp/OverlapAddBuffer.h"

void OverlapAddBuffer::setSize (int n)
{
    const int capacity = getBufferSize();
    if (n <= capacity)
        return;

    // The ring from the read position onwards: ready samples, then the tail, then silence
    // (consumption zeroes what it frees), so copying all of it in order loses nothing.
    juce::AudioSampleBuffer grown (getNumChannels(), n);
    grown.clear();
    const int first = capacity - readPosition;

    for (int ch = 0; ch < getNumChannels(); ++ch)
    {
        grown.copyFrom (ch, 0, buffer, ch, readPosition, first);
        if (readPosition > 0)
            grown.copyFrom (ch, first, buffer, ch, 0, readPosition);
    }

    writePosition = numReady;
    readPosition = 0;
    buffer = std::move (grown);
}

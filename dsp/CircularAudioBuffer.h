#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

/** Grow-only multichannel FIFO of float samples between host blocks of any length and
    fixed-length frames.

    All channels share one fill level (`numReady`) and two positions. The ready samples are the
    `numReady` samples from `readPosition` on, wrapping at the capacity. Samples past the ready
    region may already hold data that an overlap-add put there ahead of time; consumption zeroes
    what it consumes so that such additions always start from silence.

    Before every write the buffer grows to hold what is waiting plus what is written; it never
    shrinks. Growth keeps only the ready samples (a pending overlap-add tail is dropped).

    Every operation reaches the others through the virtual calls below (the declaration order is
    the slot order), so a derived class can change one rule by overriding one of them, as
    OverlapAddBuffer does for growth. There is deliberately no virtual destructor: owners hold
    these by value.

    Not thread-safe: an instance belongs to one processing object on the audio thread. Growth
    allocates; owners size it with setSize() up front so that steady-state use does not.
*/
class CircularAudioBuffer
{
public:
    /** Any thread, allocates: numChannels channels, a capacity of one sample, nothing ready. */
    explicit CircularAudioBuffer (int numChannels);

    CircularAudioBuffer (const CircularAudioBuffer&) = default;
    CircularAudioBuffer& operator= (const CircularAudioBuffer&) = default;

    /** Owner's thread, allocates: changes the channel count, keeping content, zeroing new channels. */
    virtual void setNumChannels (int n);

    /** Owner's thread; allocates when n exceeds the capacity, then keeps only the ready samples,
        moved to index 0. Does nothing when n is not larger than the capacity. */
    virtual void setSize (int n);

    /** Audio thread, no allocation: marks n more samples ready (no upper clamp). */
    virtual void advanceWrite (int n) noexcept;

    /** Audio thread, no allocation: drops n ready samples (the fill level stops at 0 but the read
        position moves by the full n). */
    virtual void advanceRead (int n) noexcept;

    /** Audio thread; allocates only to grow. Copies numSamples samples of the common channels in
        at the write position; returns whether the channel counts matched. */
    virtual bool write (const float* const* data, int numChannels, int numSamples, bool advance);

    /** Audio thread; allocates only to grow. write() of a whole buffer. */
    virtual bool write (const juce::AudioSampleBuffer& source, bool advance);

    /** Audio thread; allocates only to grow. Like write() but adds to what the storage holds:
        with advance false and a later advanceWrite (hop) this is overlap-add. */
    virtual bool add (const float* const* data, int numChannels, int numSamples, bool advance);

    /** Audio thread; allocates only to grow. add() of a whole buffer. */
    virtual bool add (const juce::AudioSampleBuffer& source, bool advance);

    /** Audio thread; allocates only to grow. Appends numSamples zeros on every channel. */
    virtual void writeSilence (int numSamples);

    /** Audio thread, no allocation (up to 32 channels): peek() then consume(); returns the
        samples delivered. */
    virtual int read (float** dest, int numChannels, int numSamples) noexcept;

    /** Audio thread, no allocation: peek() then consume(); returns the samples delivered. */
    virtual int read (juce::AudioSampleBuffer& dest, int numSamples) noexcept;

    /** Audio thread, no allocation (up to 32 channels): copies up to numSamples of the oldest
        ready samples to dest without consuming them; returns how many. Samples of dest past that
        count are left as they were. */
    virtual int peek (float** dest, int numChannels, int numSamples) noexcept;

    /** Audio thread, no allocation: the buffer form of peek(). */
    virtual int peek (juce::AudioSampleBuffer& dest, int numSamples) noexcept;

    /** Audio thread, no allocation: zeroes and drops up to n ready samples; returns how many. */
    virtual int consume (int n) noexcept;

    /** Audio thread, no allocation: zeroes up to n of the oldest ready samples (counters unchanged). */
    virtual void clearReady (int n) noexcept;

    /** Audio thread, no allocation: zeroes every ready sample (counters unchanged). */
    virtual void clearAllReady() noexcept;

    /** Any thread that owns the buffer, no allocation: samples written and not yet consumed. */
    virtual int getNumReady() const noexcept;

    /** Any thread that owns the buffer, no allocation: the capacity in samples. */
    virtual int getBufferSize() const noexcept;

    /** Any thread that owns the buffer, no allocation. */
    virtual int getNumChannels() const noexcept;

    /** Any thread that owns the buffer, no allocation: where the next write starts. */
    int getWritePosition() const noexcept { return writePosition; }

    /** Any thread that owns the buffer, no allocation: index of the oldest ready sample. */
    int getReadPosition() const noexcept { return readPosition; }

protected:
    /** Adds (or copies) a run of samples into the storage at the write position, split at the wrap. */
    bool transfer (const float* const* data, int numChannels, int numSamples, bool advance, bool accumulate);

    juce::AudioSampleBuffer buffer;
    int numReady = 0;
    int writePosition = 0;
    int readPosition = 0;
};

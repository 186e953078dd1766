#pragma once

#include "dsp/CircularAudioBuffer.h"
#include "dsp/FFTWindow.h"
#include "dsp/FreqDomainOperator.h"
#include "dsp/OverlapAddBuffer.h"

#include <array>
#include <atomic>
#include <mutex>

/** What an FftFilter does with each frame: reads, and may rewrite in place, the frame's spectra. */
class FftFilterCallBack : public juce::ReferenceCountedObject
{
public:
    using Ptr = juce::ReferenceCountedObjectPtr<FftFilterCallBack>;

    ~FftFilterCallBack() override = default;

    /** Audio thread; must not allocate or block. The store is reused for every frame: keep copies,
        not the pointer, of anything needed after the call. */
    virtual void processFrame (FreqDataStore<Complex>::Ptr frame) noexcept = 0;
};

/** Short-time Fourier framing with back-to-back frames of the full FFT length.

    Host blocks of any length go into an input FIFO; every complete frame is windowed by the
    analysis window (rectangular unless setWindowType() says otherwise), transformed, handed to
    the callback, transformed back and appended to an output FIFO that started with fftSize
    samples of silence. So with a callback that leaves the spectra alone, process() returns the
    input delayed by exactly fftSize samples, whatever the block sizes. analyse() runs the same
    framing up to the callback and changes nothing.

    Steady state allocates nothing: the frame buffer, spectra, windows and FFT arrays are built
    once, and the FIFOs grow at most once per new, larger host block size (in that block's call).
*/
class FftFilter : public FreqDomainOperator
{
public:
    using Ptr = juce::ReferenceCountedObjectPtr<FftFilter>;

    /** Not the audio thread; allocates. */
    FftFilter (int fftSize, FftFilterCallBack::Ptr callback, int numChannels);

    ~FftFilter() override = default;

    /** Audio thread; allocates only in the first call with a larger block size than before.
        Filters the buffer in place; returns the number of samples delivered (all of them). */
    virtual int process (juce::AudioSampleBuffer& buffer) noexcept;

    /** Audio thread; allocates only in the first call with a larger block size than before.
        Frames, transforms and calls the callback; leaves the buffer and the output alone. */
    virtual void analyse (const juce::AudioSampleBuffer& buffer) noexcept;

    /** Any thread, no allocation: the delay of process(), the FFT size. */
    virtual int getLatencySamples() const noexcept;

    /** Any thread but the audio thread; allocates the first time a window shape is asked for.
        The running frame keeps the window it started with; windows live as long as the filter,
        so the audio thread never frees one. */
    virtual void setWindowType (int type);

    /** Any thread, no allocation. */
    int getNumChannels() const noexcept { return numChannels; }

protected:
    /** Audio thread, no allocation: the window to use for the frames of one call. */
    const FFTWindow& currentWindow() const noexcept { return *window.load (std::memory_order_acquire); }

    /** Audio thread; allocates only for a larger block size than before. Makes sure neither FIFO
        grows inside the frame loop of a call of numSamples samples. */
    void reserveFor (int numSamples) noexcept;

    /** Audio thread, no allocation: forward transform of every channel of the frame, then the
        callback, then (if resynthesise) the inverse transform back into the frame. */
    void transformFrame (bool resynthesise) noexcept;

    const int numChannels;
    CircularAudioBuffer inputBuffer;
    OverlapAddBuffer outputBuffer;
    juce::AudioSampleBuffer frameBuffer;
    FreqDataStore<Complex>::Ptr spectra;
    FftFilterCallBack::Ptr callback;

private:
    // One slot per distinct shape: types 0 to 4, then one for every other (all-zero) type.
    static constexpr int numWindowSlots = 6;
    std::array<FFTWindow::Ptr, numWindowSlots> windows;
    std::atomic<const FFTWindow*> window { nullptr };
    std::mutex windowMutex;
};

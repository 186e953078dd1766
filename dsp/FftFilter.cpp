#include "dsp/FftFilter.h"
#include "dsp/FftPlans.h"

#include <algorithm>

FftFilter::FftFilter (int fftSizeIn, FftFilterCallBack::Ptr callbackIn, int numChannelsIn)
    : FreqDomainOperator (fftSizeIn),
      numChannels (std::max (0, numChannelsIn)),
      inputBuffer (numChannels),
      outputBuffer (numChannels),
      frameBuffer (numChannels, std::max (1, fftSizeIn)),
      spectra (new FreqDataStore<Complex> (numChannels, fftSizeIn)),
      callback (std::move (callbackIn))
{
    frameBuffer.clear();
    windows[0] = new FFTWindow (getFftSize(), 0);
    window.store (windows[0].get(), std::memory_order_release);

    inputBuffer.setSize (getFftSize());
    outputBuffer.setSize (getFftSize());
    outputBuffer.writeSilence (getLatencySamples());
}

int FftFilter::getLatencySamples() const noexcept
{
    return getFftSize();
}

void FftFilter::setWindowType (int type)
{
    const std::lock_guard<std::mutex> windowLock (windowMutex);
    const int slot = (type >= 0 && type < numWindowSlots - 1) ? type : numWindowSlots - 1;

    if (windows[(size_t) slot] == nullptr)
        windows[(size_t) slot] = new FFTWindow (getFftSize(), type);

    window.store (windows[(size_t) slot].get(), std::memory_order_release);
}

void FftFilter::reserveFor (int numSamples) noexcept
{
    // Worst cases of the frame loop: the input holds less than a frame plus the block, and the
    // output never holds more than the block plus a frame when a frame arrives (its ready count
    // and the input's always add up to the frame length between calls).
    const int frameLength = frameBuffer.getNumSamples();
    inputBuffer.setSize (numSamples + frameLength);
    outputBuffer.setSize (numSamples + frameLength);
}

namespace
{
    template <typename T>
    bool isAllZero (const T* values, int count) noexcept
    {
        return std::all_of (values, values + count, [] (const T& v) { return v == T {}; });
    }

    bool isAllZero (const Complex* bins, int count) noexcept
    {
        return std::all_of (bins, bins + count, [] (const Complex& c) { return c.re == 0.0 && c.im == 0.0; });
    }
}

void FftFilter::transformFrame (bool resynthesise) noexcept
{
    const int n = frameBuffer.getNumSamples();
    const int numBins = spectra->getNumBins();

    // A silent channel's transform is silence: skipping it gives the same frame for a fraction
    // of the cost (the engine feeds two live inputs and five silent ones, the analysers often
    // have speakers the layout lacks).
    for (int ch = 0; ch < numChannels; ++ch)
    {
        if (isAllZero (frameBuffer.getReadPointer (ch), n) && FftPlans::isSupportedSize (n))
            std::fill_n (spectra->getChannel (ch), numBins, Complex {});
        else
            forwardTransform (n, spectra->getChannel (ch), frameBuffer.getReadPointer (ch));
    }

    if (callback != nullptr)
        callback->processFrame (spectra);

    if (resynthesise)
        for (int ch = 0; ch < numChannels; ++ch)
        {
            if (isAllZero (spectra->getChannel (ch), numBins) && FftPlans::isSupportedSize (n))
                juce::FloatVectorOperations::clear (frameBuffer.getWritePointer (ch), n);
            else
                inverseTransform (n, spectra->getChannel (ch), frameBuffer.getWritePointer (ch));
        }
}

int FftFilter::process (juce::AudioSampleBuffer& buffer) noexcept
{
    const FFTWindow& analysisWindow = currentWindow();
    const int frameLength = frameBuffer.getNumSamples();

    reserveFor (buffer.getNumSamples());
    inputBuffer.write (buffer, true);

    while (inputBuffer.getNumReady() >= frameLength)
    {
        inputBuffer.read (frameBuffer, frameLength);
        analysisWindow.applyTo (frameBuffer);
        transformFrame (true);
        outputBuffer.write (frameBuffer, true);
    }

    return outputBuffer.read (buffer, buffer.getNumSamples());
}

void FftFilter::analyse (const juce::AudioSampleBuffer& buffer) noexcept
{
    const FFTWindow& analysisWindow = currentWindow();
    const int frameLength = frameBuffer.getNumSamples();

    inputBuffer.setSize (buffer.getNumSamples() + frameLength);
    inputBuffer.write (buffer, true);

    while (inputBuffer.getNumReady() >= frameLength)
    {
        inputBuffer.read (frameBuffer, frameLength);
        analysisWindow.applyTo (frameBuffer);
        transformFrame (false);
    }
}

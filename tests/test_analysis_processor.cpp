// The observers as the real processor feeds them:
// - the four rows of twelve level meters, each measuring its index;
// - the source meters see the host input after the input trims; PanelIO resets them;
// - each upmix meter reads the peak of its output channel, the downmix meters that of the
//   downmix (heard through Listen Downmix);
// - nine pair correlation meters are fed below 9 outputs, sixteen from 10 on;
// - the haze analysers see the upmix in kind order and the stereo signals; the coherence
//   observer keeps the source pair; a hard-left source stays on the left of the field;
// - feeding allocates nothing and waits on no lock once prepared, whatever block sizes up to
//   the prepared one;
// - a second thread reads every observer without pause while the processor runs. Run this one
//   under ThreadSanitizer too (a separate build; the normal build only checks the readings):
//     flock /tmp/orrin-build.lock cmake -S . -B build-tsan -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORRIN_TSAN=ON
//     flock /tmp/orrin-build.lock ninja -C build-tsan orrin_tests
//     build-tsan/tests/orrin_tests --gtest_filter='AnalysisProcessor.ReadersRaceTheRunningProcessor'
//   ThreadSanitizer reports any data race between the feeding and the readers and makes the
//   run fail.
#include "analysis/SpatialPosition.h"
#include "analysis/UpmixerSpeakerAngles.h"
#include "processor/UpmixerParameters.h"
#include "support/AllocationCounter.h"
#include "support/ProcessorHarness.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace UpmixerParam;

namespace
{
    double peakDb (const juce::AudioBuffer<float>& b, int channel)
    {
        const float peak = b.getMagnitude (channel, 0, b.getNumSamples());
        return peak < 1.0e-10f ? -1.0e10 : 20.0 * std::log10 (peak);
    }

    float trimValue (float db) { return (db + 70.0f) / 82.0f; }
}

TEST (AnalysisProcessor, FourRowsOfTwelveMeters)
{
    ProcessorHarness h (2, 6);
    const auto& observers = h.processor->getObservers();
    for (int row = 0; row < UpmixerObservers::numRows; ++row)
        for (int i = 0; i < UpmixerObservers::metersPerRow; ++i)
            EXPECT_EQ (observers.getLevelMeter ((UpmixerObservers::Row) row, i)->getSource(), i) << row;
    EXPECT_EQ (observers.getLevelMeter (UpmixerObservers::rowSource, 12), nullptr);
}

TEST (AnalysisProcessor, SourceMetersSeeTheTrimmedInputAndPanelIOResetsThem)
{
    ProcessorHarness h (2, 6);
    h.set (TrimSource0, trimValue (-6.0f));
    auto input = TestSignals::sine (2, 512, 1000.0, 48000.0, 0.5f);
    h.run (input);  // the trim ramps in over the first block
    auto left = h.processor->getObservers().getLevelMeter (UpmixerObservers::rowSource, 0);
    auto right = h.processor->getObservers().getLevelMeter (UpmixerObservers::rowSource, 1);
    left->getLevelDb();
    right->getLevelDb();

    h.run (input);
    left->getLevelDb();
    right->getLevelDb();
    const double inputPeak = peakDb (input, 0);
    EXPECT_NEAR (left->getLastPeakDb(), inputPeak - 6.0, 0.01);
    EXPECT_NEAR (right->getLastPeakDb(), inputPeak, 0.01);
    // No third input channel: its meter saw nothing.
    EXPECT_LT (h.processor->getObservers().getLevelMeter (UpmixerObservers::rowSource, 2)->getLastPeakDb(), -1000.0f);

    h.set (PanelIO, 1.0f);
    EXPECT_LT (left->getLastPeakDb(), -1000.0f);
    EXPECT_LT (right->getLastPeakDb(), -1000.0f);
}

TEST (AnalysisProcessor, UpmixAndDownmixMetersReadTheirChannels)
{
    // Past the latency (the outputs carry sound), meters 0 .. count - 1 of the row read the peaks
    // of the next block's first count outputs.
    auto expectMetersReadTheOutputs = [] (ProcessorHarness& h, UpmixerObservers::Row row, int count, int seed)
    {
        const auto& observers = h.processor->getObservers();
        const auto noise = TestSignals::noise (2, 512, seed);
        for (int i = 0; i < 8; ++i)
            h.run (noise);
        for (int ch = 0; ch < count; ++ch)
            observers.getLevelMeter (row, ch)->getLevelDb();
        const auto out = h.run (noise);
        for (int ch = 0; ch < count; ++ch)
        {
            auto meter = observers.getLevelMeter (row, ch);
            meter->getLevelDb();
            EXPECT_NEAR (meter->getLastPeakDb(), peakDb (out, ch), 1.0e-3) << h.numOutputs << " outputs, row " << row << ", channel " << ch;
        }
        EXPECT_GT (observers.getLevelMeter (row, 0)->getLastPeakDb(), -40.0f);
    };

    for (int outputs : { 6, 12 })
    {
        ProcessorHarness h (2, outputs);
        expectMetersReadTheOutputs (h, UpmixerObservers::rowUpmix, outputs, 4);
    }

    // Listen Downmix plays the downmix on the first two outputs.
    ProcessorHarness h (2, 8);
    h.set (MonitorDownmix, 1.0f);
    expectMetersReadTheOutputs (h, UpmixerObservers::rowDownmix, 2, 5);
}

TEST (AnalysisProcessor, NineOrSixteenPairCorrelationsAndTheirReadings)
{
    for (int outputs : { 6, 8, 10, 12 })
    {
        ProcessorHarness h (2, outputs);
        h.run (TestSignals::noise (2, 8192, 6));
        const auto& observers = h.processor->getObservers();
        EXPECT_EQ (observers.getNumPairsFed(), outputs < 9 ? 9 : 16) << outputs;
        // Stereo noise: the source pair is uncorrelated, its histogram has been hit.
        EXPECT_NEAR (observers.getSourceCorrelation()->getSmoothedCorrelation(), 0.0f, 0.2f);
        float hits = 0.0f;
        for (int bin = 0; bin < KaJuceObserverCorrelation::numHistogramBins; ++bin)
            hits += observers.getSourceCorrelation()->getHistogramBin (bin);
        EXPECT_GT (hits, 0.0f);
    }

    // A mono source copied to L and R is fully correlated at the source.
    ProcessorHarness mono (1, 6);
    mono.run (TestSignals::noise (1, 8192, 6));
    EXPECT_NEAR (mono.processor->getObservers().getSourceCorrelation()->getCorrelation(), 1.0f, 1.0e-4f);
}

TEST (AnalysisProcessor, AnalysersSeeTheUpmixAndTheStereoSignals)
{
    ProcessorHarness h (2, 12);
    auto input = TestSignals::noise (2, 16384, 8);
    input.clear (1, 0, input.getNumSamples());  // hard left
    h.run (input);
    const auto& observers = h.processor->getObservers();

    SpectraSnapshot stereo;
    ASSERT_TRUE (observers.getStereoHaze()->readSnapshot (stereo));
    ASSERT_EQ (stereo.numChannels, UpmixerObservers::numStereoHazeChannels);
    double sourceLeft = 0.0, sourceRight = 0.0;
    for (int k = 1; k < stereo.numBins; ++k)
    {
        sourceLeft += stereo.energy (0, k);
        sourceRight += stereo.energy (1, k);
    }
    EXPECT_GT (sourceLeft, 1.0);
    EXPECT_EQ (sourceRight, 0.0);

    SpectraSnapshot coherence;
    ASSERT_TRUE (observers.getCoherence()->readSnapshot (coherence));
    ASSERT_EQ (coherence.numChannels, 2);
    for (int k = 0; k < coherence.numBins; ++k)
        ASSERT_EQ (coherence.energy (0, k), stereo.energy (0, k)) << "the same frame's source pair";

    SpectraSnapshot upmix;
    ASSERT_TRUE (observers.getUpmixHaze()->readSnapshot (upmix));
    ASSERT_EQ (upmix.numChannels, UpmixerObservers::numUpmixHazeChannels);
    const int routing = h.processor->getCurrentRouting();
    const auto azimuths = UpmixerSpeakerAngles::forUpmixHaze (routing, 12);
    const SpatialBands bands (48000.0, UpmixerObservers::analyserFftSize, 16);
    std::vector<EnergyVector> field;
    SpatialPosition::accumulate (upmix, azimuths.data(), (int) azimuths.size(), bands, field);
    EnergyVector total;
    for (const auto& band : field)
        total.add (band);
    ASSERT_GT (total.energy, 0.0);
    EXPECT_LT (total.azimuthDegrees(), -15.0) << "a hard-left source stays on the left";
}

TEST (AnalysisProcessor, FeedingAllocatesNothingOncePrepared)
{
    struct Layout : KaJuceChannelUser
    {
        int getCurrentRouting() const noexcept override { return 25; }
    } layout;
    UpmixerObservers observers (layout);
    observers.prepare (48000.0, 512);

    juce::AudioBuffer<float> upmix (12, 512), source (12, 512), downmix (2, 512), delta (2, 512);
    for (auto* b : { &upmix, &source, &downmix, &delta })
    {
        b->clear();
        b->copyFrom (0, 0, TestSignals::noise (1, 512, 9), 0, 0, 512);
    }
    UpmixerObservers::Signals s { upmix.getArrayOfWritePointers(), 12, source.getArrayOfWritePointers(), 12,
                                  downmix.getArrayOfWritePointers(), delta.getArrayOfWritePointers(), 25 };

    AllocationCounter::ScopedAllocationCheck check;
    for (int size : { 7, 64, 512, 300, 512, 1 })
    {
        observers.feedSource (upmix.getArrayOfWritePointers(), 2, size);
        observers.feedOutputs (s, size);
    }
    EXPECT_EQ (check.allocations(), 0u);
    EXPECT_EQ (check.blockingLocks(), 0u);  // the observers take their guards with try-locks only
}

TEST (AnalysisProcessor, ReadersRaceTheRunningProcessor)
{
    ProcessorHarness h (2, 12, 48000.0, 256);
    const auto& observers = h.processor->getObservers();
    std::atomic<bool> running { true };
    std::atomic<int> readings { 0 };
    double heardEnergy = 0.0;

    std::thread reader ([&] {
        SpectraSnapshot haze, stereo, coherence;
        const SpatialBands bands (48000.0, UpmixerObservers::analyserFftSize, 16);
        std::vector<EnergyVector> field;
        while (running.load())
        {
            for (int row = 0; row < UpmixerObservers::numRows; ++row)
                for (int i = 0; i < UpmixerObservers::metersPerRow; ++i)
                {
                    auto meter = observers.getLevelMeter ((UpmixerObservers::Row) row, i);
                    meter->getLevelDb();
                    meter->getLastPeakDb();
                }
            for (int pair = 0; pair < UpmixerObservers::numPairs; ++pair)
                observers.getPairCorrelation (pair)->getSmoothedCorrelation();
            for (int bin = 0; bin < KaJuceObserverCorrelation::numHistogramBins; ++bin)
                observers.getSourceCorrelation()->getHistogramBin (bin);
            if (const auto downmix = observers.getDownmixCorrelation())
                downmix->getCorrelation();
            observers.getStereoHaze()->readSnapshot (stereo);
            observers.getCoherence()->readSnapshot (coherence);
            if (observers.getUpmixHaze()->readSnapshot (haze))
            {
                const auto azimuths = UpmixerSpeakerAngles::forUpmixHaze (25, 12);
                field.clear();
                SpatialPosition::accumulate (haze, azimuths.data(), (int) azimuths.size(), bands, field);
                for (const auto& band : field)
                    heardEnergy += band.energy;
            }
            readings.fetch_add (1);
        }
    });

    // The audio side: blocks of the real processor, with the source meters' reset (a message
    // thread's doing) in between.
    const auto noise = TestSignals::noise (2, 256, 10);
    for (int i = 0; i < 2000; ++i)
    {
        h.run (noise);
        if (i == 1000)
            h.set (PanelIO, 1.0f);
    }
    // Keep the audio side going until the reader has been round at least a few times.
    while (readings.load() < 5)
        h.run (noise);
    running = false;
    reader.join();

    EXPECT_GE (readings.load(), 5);
    EXPECT_GT (heardEnergy, 0.0);
}

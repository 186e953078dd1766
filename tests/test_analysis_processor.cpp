// The observers as the real processor feeds them:
// - source meters see the input after the trims, PanelIO resets them; upmix meters read their
//   output channel's peak, downmix meters the downmix's (heard through Listen Downmix);
// - nine pair correlations are fed below 9 outputs, sixteen from 10 on; the source pair's;
// - the stereo analyser sees the source pair, the coherence the same frames (where the upmix
//   haze puts a hard-left source is read end to end by the command line's report);
// - a second thread reads every observer without pause while the processor runs (also run
//   under ThreadSanitizer: configure build-tsan with -DORRIN_TSAN=ON, build orrin_tests there
//   under the build lock, and run this case; any data race fails the run).
#include "analysis/SpatialPosition.h"
#include "analysis/UpmixerSpeakerAngles.h"
#include "processor/UpmixerParameters.h"
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

TEST (AnalysisProcessor, SourceMetersSeeTheTrimmedInputAndPanelIOResetsThem)
{
    ProcessorHarness h (2, 6);
    h.set (TrimSource0, trimValue (-6.0f));
    const auto input = TestSignals::sine (2, 512, 1000.0, 48000.0, 0.5f);
    auto meter = [&] (int i) { return h.processor->getObservers().getLevelMeter (UpmixerObservers::rowSource, i); };
    for (int round = 0; round < 2; ++round)  // the trim ramps in over the first block
    {
        h.run (input);
        for (int i = 0; i < 3; ++i)
            meter (i)->getLevelDb();
    }
    EXPECT_NEAR (meter (0)->getLastPeakDb(), peakDb (input, 0) - 6.0, 0.01);
    EXPECT_NEAR (meter (1)->getLastPeakDb(), peakDb (input, 0), 0.01);
    EXPECT_LT (meter (2)->getLastPeakDb(), -1000.0f);  // no third input channel
    EXPECT_EQ (meter (12), nullptr);

    h.set (PanelIO, 1.0f);
    EXPECT_LT (meter (0)->getLastPeakDb(), -1000.0f);
    EXPECT_LT (meter (1)->getLastPeakDb(), -1000.0f);
}

TEST (AnalysisProcessor, UpmixAndDownmixMetersReadTheirChannelsAndThePairsAreFed)
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

    for (int outputs : { 6, 8, 10, 12 })
    {
        ProcessorHarness h (2, outputs);
        expectMetersReadTheOutputs (h, UpmixerObservers::rowUpmix, outputs, 4);
        // Nine pair correlations are fed below 9 outputs, sixteen from 10 on.
        const auto& observers = h.processor->getObservers();
        EXPECT_EQ (observers.getNumPairsFed(), outputs < 9 ? 9 : 16) << outputs;
        // Stereo noise: the source pair is uncorrelated, its histogram has been hit.
        EXPECT_NEAR (observers.getSourceCorrelation()->getSmoothedCorrelation(), 0.0f, 0.2f);
        float hits = 0.0f;
        for (int bin = 0; bin < KaJuceObserverCorrelation::numHistogramBins; ++bin)
            hits += observers.getSourceCorrelation()->getHistogramBin (bin);
        EXPECT_GT (hits, 0.0f);
    }
    ProcessorHarness h (2, 8);  // Listen Downmix plays the downmix on the first two outputs
    expectMetersReadTheOutputs (h.with ({ { MonitorDownmix, 1.0f } }), UpmixerObservers::rowDownmix, 2, 5);

    // A mono source copied to L and R is fully correlated at the source.
    ProcessorHarness mono (1, 6);
    mono.run (TestSignals::noise (1, 8192, 6));
    EXPECT_NEAR (mono.processor->getObservers().getSourceCorrelation()->getCorrelation(), 1.0f, 1.0e-4f);
}

TEST (AnalysisProcessor, AnalysersSeeTheStereoSignalsAndTheCoherenceItsFrames)
{
    ProcessorHarness h (2, 12);
    auto input = TestSignals::noise (2, 16384, 8);
    input.clear (1, 0, input.getNumSamples());  // hard left
    h.run (input);
    const auto& observers = h.processor->getObservers();

    SpectraSnapshot stereo;
    ASSERT_TRUE (observers.getStereoHaze()->readSnapshot (stereo));
    ASSERT_EQ (stereo.numChannels, UpmixerObservers::numStereoHazeChannels);
    double sourceEnergy[2] = {};
    for (int ch = 0; ch < 2; ++ch)
        for (int k = 1; k < stereo.numBins; ++k)
            sourceEnergy[ch] += stereo.energy (ch, k);
    EXPECT_GT (sourceEnergy[0], 1.0);
    EXPECT_EQ (sourceEnergy[1], 0.0);

    SpectraSnapshot coherence;
    ASSERT_TRUE (observers.getCoherence()->readSnapshot (coherence));
    ASSERT_EQ (coherence.numChannels, 2);
    for (int k = 0; k < coherence.numBins; ++k)
        ASSERT_EQ (coherence.energy (0, k), stereo.energy (0, k)) << "the same frame's source pair";

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

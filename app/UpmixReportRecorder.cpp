#include "app/UpmixReportRecorder.h"
#include "analysis/SpatialPosition.h"
#include "analysis/UpmixerSpeakerAngles.h"
#include "processor/KaChannelRouting.h"
#include "processor/UpmixerProcessor.h"

#include <cmath>

UpmixReportRecorder::UpmixReportRecorder (double slotSecondsIn) : slotSeconds (slotSecondsIn > 0.0 ? slotSecondsIn : 0.05) {}

void UpmixReportRecorder::start (const UpmixerProcessor& processor)
{
    routing = processor.getCurrentRouting();
    numOutputs = processor.getEngineOutputCount();
    // Bands from 100 Hz up: below that a 256-point frame has no bin but DC.
    bands = std::make_unique<SpatialBands> (processor.getObservers().getSampleRate(), UpmixerObservers::analyserFftSize, numBands);

    for (int i = 0; i < processor.getTotalNumInputChannels() && i < UpmixerObservers::metersPerRow; ++i)
    {
        const auto name = processor.getTotalNumInputChannels() == 2 ? juce::String (i == 0 ? "L" : "R") : juce::String (i + 1);
        inputPeaks.push_back ({ name });
    }
    for (int i = 0; i < numOutputs && i < UpmixerObservers::metersPerRow; ++i)
        upmixPeaks.push_back ({ KaChannelRouting::channelName (routing, i) });
    downmixPeaks = { { "L" }, { "R" } };
}

void UpmixReportRecorder::afterBlock (const UpmixerProcessor& processor, double outputSeconds)
{
    if (bands == nullptr)
        start (processor);
    // The meters also saw the warm-up before the file; those readings are dropped.
    readPeaks (processor, outputSeconds > 0.0);
    if (outputSeconds < 0.0 || ! processor.getObservers().getUpmixHaze()->readSnapshot (snapshot))
        return;

    const auto slot = (size_t) (outputSeconds / slotSeconds);
    if (slot >= slots.size())
        slots.resize (slot + 1);
    const auto azimuths = UpmixerSpeakerAngles::forUpmixHaze (routing, numOutputs);
    SpatialPosition::accumulate (snapshot, azimuths.data(), (int) azimuths.size(), *bands, slots[slot]);
}

void UpmixReportRecorder::takeFilePeaks (const std::vector<UpmixRenderer::ChannelStats>& channels)
{
    for (auto& peak : upmixPeaks)
        for (const auto& c : channels)
            if (c.name == peak.name)
                peak.db = c.peakDb <= -200.0 ? -1.0e10f : (float) c.peakDb;
}

void UpmixReportRecorder::readPeaks (const UpmixerProcessor& processor, bool keep)
{
    const auto& observers = processor.getObservers();
    auto read = [&] (UpmixerObservers::Row row, std::vector<Peak>& peaks) {
        for (size_t i = 0; i < peaks.size(); ++i)
        {
            // Each reading takes the peak since the previous one; the maximum of them all is
            // the peak of the render.
            auto meter = observers.getLevelMeter (row, (int) i);
            meter->getLevelDb();
            if (keep)
                peaks[i].db = std::max (peaks[i].db, meter->getLastPeakDb());
        }
    };
    read (UpmixerObservers::rowSource, inputPeaks);
    read (UpmixerObservers::rowUpmix, upmixPeaks);
    read (UpmixerObservers::rowDownmix, downmixPeaks);
}

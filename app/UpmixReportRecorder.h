#pragma once

#include "analysis/EnergyVector.h"
#include "app/UpmixRenderer.h"
#include "analysis/SpatialBands.h"
#include "analysis/SpectraSnapshot.h"

#include <juce_core/juce_core.h>

#include <memory>
#include <vector>

class UpmixerProcessor;

/** Gathers, while the command line renders, what its report picture shows. After every block
    it reads the processor's observers as a display would: the upmix haze snapshot becomes one
    energy vector per frequency band (where in the surround field the band's energy sat),
    summed into time slots of a fixed length, and each level meter's peak is kept at its
    maximum over the file's span. The upmix peaks are then replaced by the written file's own:
    a meter reading cannot part the block in which the file begins. */
class UpmixReportRecorder
{
public:
    struct Peak
    {
        juce::String name;
        float db = -1.0e10f;
    };

    static constexpr int numBands = 24;

    /** slotSeconds: the time each slot gathers. */
    explicit UpmixReportRecorder (double slotSeconds = 0.05);

    /** Called after each rendered block; outputSeconds is where the block's end falls in the
        output file (negative during the processor's latency, which is not recorded). */
    void afterBlock (const UpmixerProcessor& processor, double outputSeconds);

    /** Takes the written file's exact per-channel peaks for the upmix (matched by name). */
    void takeFilePeaks (const std::vector<UpmixRenderer::ChannelStats>& channels);

    /** Per slot, per band: the energy vectors gathered. */
    const std::vector<std::vector<EnergyVector>>& getSlots() const noexcept { return slots; }
    double getSlotSeconds() const noexcept { return slotSeconds; }
    /** Null before the first block. */
    const SpatialBands* getBands() const noexcept { return bands.get(); }

    const std::vector<Peak>& getInputPeaks() const noexcept { return inputPeaks; }
    const std::vector<Peak>& getUpmixPeaks() const noexcept { return upmixPeaks; }
    const std::vector<Peak>& getDownmixPeaks() const noexcept { return downmixPeaks; }

    /** The layout the upmix was made in: the routing and the number of outputs. */
    int getRouting() const noexcept { return routing; }
    int getNumOutputs() const noexcept { return numOutputs; }

private:
    void start (const UpmixerProcessor& processor);
    void readPeaks (const UpmixerProcessor& processor, bool keep);

    const double slotSeconds;
    std::unique_ptr<SpatialBands> bands;
    std::vector<std::vector<EnergyVector>> slots;
    SpectraSnapshot snapshot;
    std::vector<Peak> inputPeaks, upmixPeaks, downmixPeaks;
    int routing = 0;
    int numOutputs = 0;
};

// Headphone monitoring in the processor:
//  - on, the ears' energy follows that of the loudspeaker feeds they render within 2 dB (stereo
//    noise, at 5.1, 7.1.4 and third-order Ambisonic, whose engine runs as 7.1), and every output
//    past the first two is silent;
//  - a soloed channel and a pair mode are heard from their loudspeakers: Ls soloed is louder in
//    the left ear, Listen R Rs in the right;
//  - switching on and off mid-stream does not click: around each switch the largest step from
//    one sample to the next stays within four times the steady parts' (the 10 ms fade's slope at
//    its middle adds about two; a hard switch between the loudspeaker and the ear signals of a
//    100 Hz sine jumps by a good part of its amplitude, 70 to 100 steady steps);
//  - a missing SOFA file leaves the option unavailable with a message naming the file, and the
//    outputs those of an instance without the option.
#include "processor/UpmixerParameters.h"
#include "support/ProcessorHarness.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace UpmixerParam;

namespace
{
double energy (const juce::AudioBuffer<float>& b, int ch, int start)
{
    const double r = TestSignals::rms (b, ch, start);
    return r * r;
}

double db (double ratio) { return 10.0 * std::log10 (std::max (ratio, 1.0e-30)); }
}

TEST (Headphones, EnergyFollowsTheLoudspeakersAndOtherOutputsAreSilent)
{
    const auto input = TestSignals::noise (2, 96000, 21);
    const int from = 24000;  // past the latency and the engine's settling
    for (int outputs : { 6, 12, 16 })
    {
        const int speakers = outputs == 16 ? 8 : outputs;
        const auto feeds = ProcessorHarness (2, speakers).run (input);
        double speakerEnergy = 0.0;
        for (int ch = 0; ch < speakers; ++ch)
            speakerEnergy += energy (feeds, ch, from);

        ProcessorHarness h (2, outputs);
        ASSERT_TRUE (h.processor->getHeadphones().isAvailable());
        h.processor->getHeadphones().setEnabled (true);
        const auto out = h.run (input);
        ASSERT_TRUE (TestSignals::allFinite (out));
        EXPECT_NEAR (db ((energy (out, 0, from) + energy (out, 1, from)) / speakerEnergy), 0.0, 2.0) << outputs << " outputs";
        for (int ch = 2; ch < outputs; ++ch)
            EXPECT_EQ (TestSignals::rms (out, ch, from), 0.0) << outputs << " outputs, channel " << ch;
    }
}

TEST (Headphones, ListenedChannelsComeFromTheirLoudspeakers)
{
    const auto input = TestSignals::noise (2, 48000, 4);
    struct Case { int parameter; bool leftLouder; };
    for (const auto& c : { Case { Solo0 + 4, true }, Case { MonitorRRs, false } })  // Ls soloed; Listen R Rs
    {
        ProcessorHarness h (2, 6);
        h.set (c.parameter, 1.0f);
        h.processor->getHeadphones().setEnabled (true);
        const auto out = h.run (input);
        const double leftOverRight = db (energy (out, 0, 12000) / energy (out, 1, 12000));
        EXPECT_GT (c.leftLouder ? leftOverRight : -leftOverRight, 3.0) << "parameter " << c.parameter;
    }
}

TEST (Headphones, SwitchingMidStreamDoesNotClick)
{
    ProcessorHarness h (2, 6, 48000.0, 480);
    const auto input = TestSignals::sine (2, 48000 * 2, 100.0, 48000.0, 0.5f);
    const int block = 480, onAt = 40 * block, offAt = 120 * block;
    juce::AudioBuffer<float> out (6, input.getNumSamples()), buffer (6, block);
    juce::MidiBuffer midi;
    for (int pos = 0; pos < input.getNumSamples(); pos += block)
    {
        h.processor->getHeadphones().setEnabled (pos >= onAt && pos < offAt);
        buffer.clear();
        for (int ch = 0; ch < 2; ++ch)
            buffer.copyFrom (ch, 0, input, ch, pos, block);
        h.processor->processBlock (buffer, midi);
        for (int ch = 0; ch < 6; ++ch)
            out.copyFrom (ch, pos, buffer, ch, 0, block);
    }
    for (int ch : { 0, 1 })
    {
        auto largestStep = [&] (int start, int end)
        {
            float step = 0.0f;
            for (int n = start + 1; n < end; ++n)
                step = std::max (step, std::abs (out.getSample (ch, n) - out.getSample (ch, n - 1)));
            return step;
        };
        const float steady = std::max ({ largestStep (onAt - 10 * block, onAt), largestStep (offAt - 10 * block, offAt),
                                         largestStep (offAt + 10 * block, offAt + 20 * block) });
        ASSERT_GT (steady, 1.0e-4f);
        EXPECT_LT (largestStep (onAt - 2, onAt + 2 * block), 4.0f * steady) << "switching on, channel " << ch;
        EXPECT_LT (largestStep (offAt - 2, offAt + 2 * block), 4.0f * steady) << "switching off, channel " << ch;
    }
}

TEST (Headphones, MissingSetLeavesTheOptionUnavailable)
{
    UpmixerHeadphones::setPath ("/nonexistent/orrin-heads.sofa");
    ProcessorHarness without (2, 6);
    UpmixerHeadphones::setPath (UpmixerHrirSet::defaultPath);
    auto& phones = without.processor->getHeadphones();
    EXPECT_FALSE (phones.isAvailable());
    EXPECT_TRUE (phones.getMessage().contains ("/nonexistent/orrin-heads.sofa") && phones.getMessage().contains ("unavailable"))
        << phones.getMessage();

    phones.setEnabled (true);
    ProcessorHarness plain (2, 6);
    const auto input = TestSignals::noise (2, 24000, 8);
    const auto a = without.run (input), b = plain.run (input);
    for (int ch = 0; ch < 6; ++ch)
        for (int n = 0; n < a.getNumSamples(); n += 7)
            ASSERT_NEAR (a.getSample (ch, n), b.getSample (ch, n), 1.0e-6f) << "channel " << ch << ", sample " << n;
}

// The I/O page's channel strips on a real processor and editor:
// - meters follow audio: a tone on the left input only, the left output soloed; after real
//   blocks and one updateGui() the left source, left output and left downmix meters rise and
//   every other meter stays at silence; when the blocks stop, the meters fall;
// - the strips' switches set the solo or mute of their channel's kind (the host position is
//   not the kind at 7.1.4) in one undo step, and swap when the per-user settings say so;
// - a linked pair's trims move by the same step (undone together), an unlinked one alone;
// - the strips follow a layout change (source and output counts, channel names; the Centre &
//   LFE page's LFE strip), and an Ambisonic bus shows a meter per Ambisonic channel, named in
//   the host's order of its format, which W's meter rises on.
#include "editor/UpmixerEditor.h"
#include "processor/KaChannelRouting.h"
#include "processor/UpmixerParameters.h"
#include "processor/UpmixerProcessor.h"

#include <gtest/gtest.h>

#include <cmath>

#include "EditorTestSupport.h"

using namespace UpmixerParam;

namespace
{
    using EditorTestSupport::click;
    using EditorTestSupport::setLayout;

    constexpr float silentDb = KaJuceLevelMeterDisplay::floorDb;
}

TEST (EditorIOPage, MetersRiseOnlyOnTheChannelThatCarriesSound)
{
    UpmixerProcessor processor;
    ASSERT_TRUE (setLayout (processor, juce::AudioChannelSet::stereo(), juce::AudioChannelSet::create7point1point4()));
    constexpr double rate = 48000.0;
    constexpr int block = 512;
    processor.setRateAndBufferSizeDetails (rate, block);
    processor.prepareToPlay (rate, block);
    processor.setParameterNotifyingHost (Solo0 + (int) KaChannelRouting::kindL, 1.0f, false);

    UpmixerEditor editor (processor);
    editor.showPage (2);
    auto& page = editor.getIOPage();
    editor.updateGui();  // the meters start from silence

    juce::AudioBuffer<float> buffer (processor.getTotalNumOutputChannels(), block);
    juce::MidiBuffer midi;
    for (int b = 0; b < 60; ++b)  // 0.64 s: well past the 1536-sample latency
    {
        buffer.clear();
        for (int i = 0; i < block; ++i)
            buffer.setSample (0, i, 0.5f * (float) std::sin (2.0 * juce::MathConstants<double>::pi * 440.0 * (b * block + i) / rate));
        processor.processBlock (buffer, midi);
    }
    editor.updateGui();

    const int left = KaChannelRouting::hostPositionOfKind (processor.getCurrentRouting(), KaChannelRouting::kindL);
    ASSERT_EQ (page.getNumSourceStrips(), 2);
    ASSERT_EQ (page.getNumOutputStrips(), 12);
    EXPECT_GT (page.getSourceStrip (0).getMeter().getLevelDb(), -10.0f);
    EXPECT_LT (page.getSourceStrip (1).getMeter().getLevelDb(), silentDb);
    for (int p = 0; p < page.getNumOutputStrips(); ++p)
    {
        const float db = page.getOutputStrip (p).getMeter().getLevelDb();
        if (p == left)
            EXPECT_GT (db, -30.0f) << p;
        else
            EXPECT_LT (db, silentDb) << p;
    }
    EXPECT_GT (page.getDownmixStrip (0).getMeter().getLevelDb(), -30.0f);
    EXPECT_LT (page.getDownmixStrip (1).getMeter().getLevelDb(), silentDb);
    EXPECT_GT (page.getSourceStrip (0).getMeter().getMaxPeakDb(), -7.0f);  // 0.5 is -6 dB

    // The audio stops: the meters fall at the release rate rather than hold the last peak.
    const float playing = page.getSourceStrip (0).getMeter().getLevelDb();
    juce::Thread::sleep (400);
    editor.updateGui();
    EXPECT_LT (page.getSourceStrip (0).getMeter().getLevelDb(), playing - 4.0f);
}

TEST (EditorIOPage, SwitchesSetTheirKindsSoloOrMuteInOneUndoStep)
{
    UpmixerProcessor processor;
    ASSERT_TRUE (setLayout (processor, juce::AudioChannelSet::stereo(), juce::AudioChannelSet::create7point1point4()));
    UpmixerEditor editor (processor);
    editor.showPage (2);
    editor.updateGui();
    auto& page = editor.getIOPage();

    // JUCE's 7.1.4 puts the heights before the rear surrounds: position and kind differ.
    const int kind = (int) KaChannelRouting::kindLsr;
    const int position = KaChannelRouting::hostPositionOfKind (processor.getCurrentRouting(), kind);
    ASSERT_NE (position, kind);
    auto& strip = page.getOutputStrip (position);
    EXPECT_EQ (strip.getChannelName(), "Lsr");

    struct Case { float primary, secondary; int first, second; };
    const Case cases[] = {
        { 0.0f, 0.001f, Solo0, Mute0 },    // the defaults: solo, then mute
        { 0.001f, 0.0f, Mute0, Solo0 },    // swapped
        { 0.001f, 0.001f, Mute0, -1 },     // both mute: one switch
    };
    for (const auto& c : cases)
    {
        processor.setParameterNotifyingHost (PrimarySoloOrMute, c.primary, false);
        processor.setParameterNotifyingHost (SecondarySoloOrMute, c.secondary, false);
        editor.updateGui();
        const int numbers[] = { c.first, c.second };
        for (int i = 0; i < 2; ++i)
        {
            auto& button = strip.getSwitch (i);
            if (numbers[i] < 0)
            {
                EXPECT_FALSE (button.isVisible());
                continue;
            }
            const int number = numbers[i] + kind;
            processor.clearUndoHistory();
            const auto before = processor.getHostValues();
            click (button);
            EXPECT_EQ (processor.getParameterValue (number), 1.0f) << number;
            auto after = processor.getHostValues();
            after[(size_t) number] = before[(size_t) number];
            EXPECT_EQ (after, before) << "only " << number << " changed";
            processor.undo();
            EXPECT_EQ (processor.getParameterValue (number), 0.0f) << number;
            EXPECT_FALSE (processor.canUndo());
        }
    }
    // Per-user settings outlive the processor: the next tests get the defaults back.
    processor.setParameterNotifyingHost (PrimarySoloOrMute, 0.0f, false);
    processor.setParameterNotifyingHost (SecondarySoloOrMute, 0.001f, false);
}

TEST (EditorIOPage, StripsFollowTheLayout)
{
    UpmixerProcessor processor;
    UpmixerEditor editor (processor);
    auto& page = editor.getIOPage();

    struct Case { juce::AudioChannelSet in, out; int sources, outputs; const char* lastOutput; int ambisonic = 0; float fuma = 0.0f; const char* second = ""; };
    const Case cases[] = {
        { juce::AudioChannelSet::stereo(), juce::AudioChannelSet::create5point1(), 2, 6, "Rs" },
        { juce::AudioChannelSet::stereo(), juce::AudioChannelSet::create7point1point4(), 2, 12, "Rsr" },
        { juce::AudioChannelSet::mono(), juce::AudioChannelSet::create7point1(), 1, 8, "Rsr" },
        { juce::AudioChannelSet::discreteChannels (10), juce::AudioChannelSet::create7point1point2(), 10, 10, "Rts" },
        { juce::AudioChannelSet::stereo(), juce::AudioChannelSet::ambisonic (3), 2, 8, "LFE", 16, 0.0f, "Y" },  // the 7.1 it encodes
        { juce::AudioChannelSet::stereo(), juce::AudioChannelSet::ambisonic (1), 2, 8, "LFE", 4, KaParameterTable::valueOfChoice (1), "X" },
    };
    for (const auto& c : cases)
    {
        ASSERT_TRUE (setLayout (processor, c.in, c.out));
        processor.setParameterNotifyingHost (AmbisonicFormat, c.fuma, false);
        editor.updateGui();
        EXPECT_EQ (page.getNumAmbisonicMeters(), c.ambisonic);
        if (c.ambisonic > 0)
        {
            constexpr int block = 512;
            processor.prepareToPlay (48000.0, block);
            juce::AudioBuffer<float> buffer (processor.getTotalNumOutputChannels(), block);
            juce::MidiBuffer midi;
            for (int b = 0; b < 8; ++b)
            {
                for (int i = 0; i < block; ++i)
                    buffer.setSample (0, i, 0.5f * (float) std::sin (0.05 * (b * block + i)));
                processor.processBlock (buffer, midi);
            }
            editor.showPage (2);
            editor.updateGui();
            EXPECT_GT (page.getAmbisonicMeter (0).getLevelDb(), -40.0f);
            EXPECT_TRUE (page.getAmbisonicMeter (c.ambisonic - 1).isVisible());
            EXPECT_EQ (page.getAmbisonicName (1), c.second);
        }
        EXPECT_EQ (page.getNumSourceStrips(), c.sources);
        EXPECT_EQ (page.getNumOutputStrips(), c.outputs);
        for (int i = 0; i < UpmixerIOPage::maxSources; ++i)
            EXPECT_EQ (page.getSourceStrip (i).isVisible(), i < c.sources) << i;
        for (int p = 0; p < numOutputs; ++p)
            EXPECT_EQ (page.getOutputStrip (p).isVisible(), p < c.outputs) << p;
        EXPECT_EQ (page.getOutputStrip (c.outputs - 1).getChannelName(), c.lastOutput);
        // The Centre & LFE page's LFE strip finds its channel wherever the layout puts it.
        auto& lfe = editor.getCentreLfePage().getStrip (3);
        EXPECT_EQ (lfe.getChannelName(), "LFE");
        EXPECT_EQ (lfe.getTrim().getParameterIndex(), Trim0 + (int) KaChannelRouting::kindLfe);
    }
}

TEST (EditorIOPage, LinkedPairTrimsMoveTogetherInOneUndoStep)
{
    UpmixerProcessor processor;
    ASSERT_TRUE (setLayout (processor, juce::AudioChannelSet::stereo(), juce::AudioChannelSet::create5point1()));
    UpmixerEditor editor (processor);
    editor.updateGui();
    auto& page = editor.getIOPage();
    const int routing = processor.getCurrentRouting();
    auto outputTrim = [&] (int kind) -> KaJuceDragControl& { return page.getOutputStrip (KaChannelRouting::hostPositionOfKind (routing, kind)).getTrim(); };

    struct Case { KaJuceDragControl& trim; int number, partner, link; };
    const Case cases[] = {
        { page.getSourceStrip (1).getTrim(), TrimSource1, TrimSource0, LinkSourceLR },
        { outputTrim (KaChannelRouting::kindL), Trim0, Trim0 + 1, LinkLR },
        { outputTrim (KaChannelRouting::kindRs), Trim0 + 5, Trim0 + 4, LinkLsRs },
    };
    for (const auto& c : cases)
        for (const bool linked : { true, false })
        {
            processor.setParameterNotifyingHost (c.link, linked ? 1.0f : 0.0f, false);
            processor.setParameterNotifyingHost (c.partner, 0.5f, false);  // a pair out of balance keeps its offset
            processor.clearUndoHistory();
            const float start = processor.getParameterValue (c.number);
            c.trim.setValue (start - 0.1f, true);
            EXPECT_NEAR (processor.getParameterValue (c.partner), linked ? 0.4f : 0.5f, 1e-5f) << c.number;
            processor.undo();
            EXPECT_NEAR (processor.getParameterValue (c.number), start, 1e-5f);
            EXPECT_NEAR (processor.getParameterValue (c.partner), 0.5f, 1e-5f) << c.number;
        }
    processor.setParameterNotifyingHost (LinkSourceLR, 1.0f, false);  // per-user: back to the defaults
    processor.setParameterNotifyingHost (LinkLR, 1.0f, false);
    processor.setParameterNotifyingHost (LinkLsRs, 1.0f, false);
}

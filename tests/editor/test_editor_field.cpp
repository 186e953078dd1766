// The Main page's surround field, dialogue meter and Listen group on real components:
// - one circle per output channel for 5.1, 7.1, 7.1.2 and 7.1.4 (heights on the inner ring, the
//   Listen switches of missing channels hidden), followed as the same processor changes layout;
//   the headphone switch below the Listen group turns the processor's monitoring on and off;
// - dragging each field point changes its parameters with one host gesture per parameter and
//   one undo step, and the status line announces the value;
// - a centred programme through the running processor lights the haze in front and the front
//   circles, the dialogue meter sees a programme; the circles fall when blocks stop coming and
//   silence fades the haze out.
#include "editor/UpmixerEditor.h"
#include "processor/KaChannelRouting.h"
#include "processor/UpmixerParameters.h"
#include "processor/UpmixerProcessor.h"

#include <gtest/gtest.h>

#include "EditorTestSupport.h"

using namespace UpmixerParam;
using namespace KaChannelRouting;

namespace
{
    using Set = juce::AudioChannelSet;

    void setLayout (UpmixerProcessor& p, const Set& out)
    {
        p.releaseResources();
        EditorTestSupport::setLayout (p, Set::stereo(), out);
        p.setRateAndBufferSizeDetails (48000.0, 512);
        p.prepareToPlay (48000.0, 512);
        p.runHousekeeping();
    }

    /** Processes blocks of 512 samples: a mono programme in both inputs (noise through a
        gentle low-pass, like speech and music in the centre), or silence. */
    void play (UpmixerProcessor& p, int numOutputs, int blocks, bool programme, juce::Random& random)
    {
        juce::AudioBuffer<float> buffer (numOutputs, 512);
        juce::MidiBuffer midi;
        float state = 0.0f;
        for (int b = 0; b < blocks; ++b)
        {
            buffer.clear();
            if (programme)
                for (int i = 0; i < 512; ++i)
                {
                    state = 0.7f * state + 0.3f * (random.nextFloat() * 2.0f - 1.0f);
                    buffer.setSample (0, i, 0.5f * state);
                    buffer.setSample (1, i, 0.5f * state);
                }
            p.processBlock (buffer, midi);
        }
    }

    /** Drags a point of the overlay from where it sits to a target, in ten steps. */
    void dragPoint (UpmixerGraphOverlay& overlay, int point, juce::Point<float> target)
    {
        EditorTestSupport::drag (overlay, overlay.positionOfPoint (point), target, 10);
    }

    using EditorTestSupport::click;
}

TEST (SurroundField, OneCirclePerChannelForEachLayoutFollowingLayoutChanges)
{
    struct Case
    {
        Set outputs;
        std::vector<int> kinds;
        bool rears, heights;
    };
    const Case cases[] = {
        { Set::create5point1(), { kindL, kindR, kindC, kindLfe, kindLs, kindRs }, false, false },
        { Set::create7point1(), { kindL, kindR, kindC, kindLfe, kindLs, kindRs, kindLsr, kindRsr }, true, false },
        { Set::create7point1point2(), { kindL, kindR, kindC, kindLfe, kindLs, kindRs, kindLsr, kindRsr, kindLts, kindRts }, true, true },
        { Set::create7point1point4(), { kindL, kindR, kindC, kindLfe, kindLs, kindRs, kindLsr, kindRsr, kindLts, kindRts, kindTrl, kindTrr }, true, true },
    };

    UpmixerProcessor processor;
    UpmixerEditor editor (processor);
    auto& field = editor.getSurroundField();
    for (const auto& c : cases)
    {
        SCOPED_TRACE (c.outputs.getDescription());
        setLayout (processor, c.outputs);
        editor.updateGui();
        EXPECT_EQ (field.getNumCirclesShown(), (int) c.kinds.size());
        for (int kind : c.kinds)
            EXPECT_TRUE (field.getCircle (kind).isVisible()) << kind;

        // Overheads nearer the centre than any ear-level speaker; every circle inside the field.
        const auto centre = field.getHazeDisplay().getBounds().toFloat().getCentre();
        auto distance = [&] (int kind) { return field.getCircle (kind).getBounds().toFloat().getCentre().getDistanceFrom (centre); };
        if (c.heights)
        {
            EXPECT_LT (distance (kindLts), 0.7f * distance (kindLs));
        }
        for (int kind : c.kinds)
            EXPECT_TRUE (field.getLocalBounds().contains (field.getCircle (kind).getBounds())) << kind;

        // Listen follows: rear and height pairs only where the layout has them.
        EXPECT_EQ (editor.findControl (MonitorLbRb)->isVisible(), c.rears);
        EXPECT_EQ (editor.findControl (MonitorLtsRts)->isVisible(), c.heights);
        EXPECT_TRUE (editor.findControl (MonitorLsRs)->isVisible());
        EXPECT_EQ (editor.getListenPanel().getHeardParameter(), MonitorUpmix);
    }

    auto& phones = editor.getListenPanel().getHeadphonesButton();
    EXPECT_TRUE (phones.isVisible() && phones.isEnabled());
    EXPECT_TRUE (editor.getListenPanel().getLocalBounds().contains (phones.getBounds()));
    for (bool on : { true, false })
    {
        click (phones);
        EXPECT_EQ (processor.getHeadphones().isEnabled(), on);
        editor.updateGui();
        EXPECT_EQ (phones.isOn(), on);
    }

    // Nothing on the Main page overlaps or leaves the page.
    std::vector<juce::Rectangle<int>> panels;
    for (auto* child : field.getParentComponent()->getChildren())
        if (child->isVisible())
        {
            for (const auto& other : panels)
                EXPECT_FALSE (other.intersects (child->getBounds())) << child->getName();
            EXPECT_TRUE (field.getParentComponent()->getLocalBounds().contains (child->getBounds())) << child->getName();
            panels.push_back (child->getBounds());
        }
}

TEST (SurroundField, DraggingAPointChangesItsParametersInOneGestureAndOneUndoStep)
{
    struct Case
    {
        int point;
        std::vector<int> parameters;
        juce::Point<float> target;  // in field units: x right, y front
    };
    const Case cases[] = {
        { UpmixerGraphOverlay::pointDivergence, { Divergence }, { 0.45f, 0.9f } },    // wider than it starts
        { UpmixerGraphOverlay::pointFade, { FadeFS }, { 0.7f, 0.7f } },               // towards the front
        { UpmixerGraphOverlay::pointFadeRears, { FadeSB }, { 0.95f, -0.3f } },        // towards the sides
        { UpmixerGraphOverlay::pointDiffuse, { UpmixPsdWidth, Diffusion }, { 0.2f, -0.7f } },
    };

    UpmixerProcessor processor;
    setLayout (processor, Set::create7point1point4());
    EditorTestSupport::GestureCounter gestures;
    processor.addListener (&gestures);
    {
        UpmixerEditor editor (processor);
        auto& overlay = editor.getSurroundField().getOverlay();
        for (const auto& c : cases)
        {
            SCOPED_TRACE (c.point);
            std::vector<float> before;
            for (int number : c.parameters)
                before.push_back (processor.getParameterValue (number));
            processor.clearUndoHistory();
            gestures.begun.clear();
            gestures.ended.clear();

            dragPoint (overlay, c.point, overlay.getGeometry().atXY (c.target.x, c.target.y));
            for (size_t i = 0; i < c.parameters.size(); ++i)
                EXPECT_GT (std::abs (processor.getParameterValue (c.parameters[i]) - before[i]), 0.05f) << c.parameters[i];
            EXPECT_EQ (gestures.begun, c.parameters);
            EXPECT_EQ (gestures.ended, c.parameters);
            editor.updateGui();
            EXPECT_TRUE (editor.getStatusText().startsWith (processor.getParameterDisplayName (c.parameters.back()) + ": ")) << editor.getStatusText();

            processor.undo();  // the whole drag is one step
            for (size_t i = 0; i < c.parameters.size(); ++i)
                EXPECT_EQ (processor.getParameterValue (c.parameters[i]), before[i]);
            EXPECT_FALSE (processor.canUndo());
        }
    }
    processor.removeListener (&gestures);
}

TEST (SurroundField, HazeAndLevelsFollowTheAudioAndFadeWhenItStops)
{
    UpmixerProcessor processor;
    setLayout (processor, Set::create7point1point4());
    UpmixerEditor editor (processor);
    auto& field = editor.getSurroundField();
    juce::Random random (7);

    for (int tick = 0; tick < 30; ++tick)
    {
        play (processor, 12, 4, true, random);
        editor.updateGui();
    }
    const auto& bands = field.getHazeField().getBands();
    ASSERT_FALSE (bands.empty());
    EXPECT_GT (field.getHazeField().getPeakLevel(), 0.3f);
    int inFront = 0, lit = 0;
    for (const auto& band : bands)
        if (band.level > 0.2f)
        {
            ++lit;
            inFront += band.y > 0.5f && std::abs (band.x) < 0.3f ? 1 : 0;
            EXPECT_GT (band.coherence, 0.9f);  // one signal in both inputs
        }
    EXPECT_GT (lit, 4);
    EXPECT_EQ (inFront, lit);
    EXPECT_FALSE (field.getHazeDisplay().getTracks().empty());
    EXPECT_GT (field.getCircle (kindC).getLevel() + field.getCircle (kindL).getLevel(), 0.5f);
    EXPECT_GT (field.getCircle (kindL).getLevel(), field.getCircle (kindTrr).getLevel());
    EXPECT_TRUE (editor.getDialogueActivity().hasProgramme());

    // The host stops calling the plug-in: the circles fall at the meters' release (13.3 dB/s)
    // instead of holding the last peak.
    const float heldDb = field.getCircle (kindL).getLevelDb();
    juce::Thread::sleep (400);
    editor.updateGui();
    EXPECT_LT (field.getCircle (kindL).getLevelDb(), heldDb - 4.0f);

    for (int tick = 0; tick < 60; ++tick)  // 2 s of GUI ticks over silence
    {
        play (processor, 12, 4, false, random);
        editor.updateGui();
    }
    EXPECT_EQ (field.getHazeField().getPeakLevel(), 0.0f);
    EXPECT_TRUE (field.getHazeDisplay().getTracks().empty());
    EXPECT_FALSE (editor.getDialogueActivity().hasProgramme());
}

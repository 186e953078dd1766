#include "editor/UpmixerStripBinding.h"
#include "editor/KaJuceColourParamUser.h"
#include "processor/KaChannelRouting.h"
#include "processor/UpmixerParameters.h"

using namespace UpmixerParam;
namespace Routing_ = KaChannelRouting;

namespace UpmixerStripBinding
{
    namespace
    {
        // A block within this long means the audio runs; after it the meters fall to silence.
        constexpr double audioStoppedMs = 250.0;
        constexpr float silenceDb = -1.0e10f;

        juce::Colour hue (const KaParameterTable& table, int number, float saturation, float brightness)
        {
            return KaJuceColourParamUser::colourForValue (colourValue (table, number), saturation, brightness);
        }
    }

    void attach (UpmixerChannelStrip& strip, KaJuceEditorBase& editor)
    {
        for (KaJuceControl* c : { (KaJuceControl*) &strip.getTrim(), (KaJuceControl*) &strip.getSwitch (0), (KaJuceControl*) &strip.getSwitch (1) })
            editor.registerControl (*c);
        if (const auto* info = editor.getProcessorBase().getParameterTable().info (Trim0))
            strip.getTrim().m_fnpConvertParamToString = [info] (float v) { return juce::String (info->toUnit (v), 1); };
    }

    float colourValue (const KaParameterTable& table, int number)
    {
        if (table.isOn (LockColors))
        {
            if (number >= ColC && number <= ColMeterPeak)
                return table.get (LockColC + number - ColC);
            if (number >= Col0LM && number <= Col4LM)
                return table.get (LockCol0LM + number - Col0LM);
            if (number >= Split1LM && number <= Split4LM)
                return table.get (LinkSplit1LM + number - Split1LM);
        }
        return table.get (number);
    }

    KaJuceLevelMeterDisplay::Style meterStyle (const KaParameterTable& table)
    {
        KaJuceLevelMeterDisplay::Style style;
        for (int i = 0; i < 4; ++i)
            if (const auto* info = table.info (Split1LM + i))
                style.splitsDb[(size_t) i] = info->toUnit (colourValue (table, Split1LM + i));
        // Col0LM colours the quietest zone up to Col3LM for the overs, Col4LM the over lamp; the
        // louder zones are drawn brighter, so that they read as warnings whatever their hue.
        style.colours = { hue (table, Col3LM, 0.85f, 1.0f), hue (table, Col2LM, 0.8f, 0.95f), hue (table, Col1LM, 0.7f, 0.85f),
                          hue (table, Col0LM, 0.6f, 0.7f), hue (table, Col4LM, 0.9f, 1.0f) };
        style.hold = hue (table, ColMeterPeak, 0.5f, 1.0f);
        return style;
    }

    juce::Colour channelColour (const KaParameterTable& table, int kind)
    {
        int number = ColLR;
        switch (kind)
        {
            case Routing_::kindC: number = ColC; break;
            case Routing_::kindLfe: number = ColLfe; break;
            case Routing_::kindLs: case Routing_::kindRs: number = ColLsRs; break;
            case Routing_::kindLsr: case Routing_::kindRsr: number = ColLbRb; break;
            case Routing_::kindLts: case Routing_::kindRts: case Routing_::kindTrl: case Routing_::kindTrr: number = ColLtsRts; break;
            default: break;
        }
        return hue (table, number, 0.55f, 1.0f);
    }

    void showOutput (UpmixerChannelStrip& strip, const KaParameterTable& table, int routing, int position)
    {
        using Switch = UpmixerChannelStrip::Switch;
        const int kind = juce::jlimit (0, numOutputs - 1, Routing_::kindAtPosition (routing, position));
        strip.setChannel (Routing_::channelName (routing, position), channelColour (table, kind));
        strip.bindTrim (Trim0 + kind, table.get (Trim0 + kind));
        const auto first = table.getChoice (PrimarySoloOrMute) == 1 ? Switch::mute : Switch::solo;
        const auto second = table.getChoice (SecondarySoloOrMute) == 1 ? Switch::mute : Switch::solo;
        auto numberOf = [kind] (Switch s) { return (s == Switch::mute ? Mute0 : Solo0) + kind; };
        strip.bindSwitch (0, first, numberOf (first), table.get (numberOf (first)));
        strip.bindSwitch (1, second == first ? Switch::none : second, numberOf (second), table.get (numberOf (second)));
    }

    void showDownmix (UpmixerChannelStrip& strip, const KaParameterTable& table, int side)
    {
        const int mute = side == 0 ? MuteDownmix0 : MuteDownmix1;
        strip.setChannel (side == 0 ? "Lo" : "Ro", KaJuceTheme::text);
        strip.bindTrim (KaJuceControl::noParameter, 0.0f);
        strip.bindSwitch (0, UpmixerChannelStrip::Switch::mute, mute, table.get (mute));
        strip.bindSwitch (1, UpmixerChannelStrip::Switch::none, KaJuceControl::noParameter, 0.0f);
    }

    bool isAudioRunning (const KaJuceProcessorBase& processor, double nowMs)
    {
        const double lastBlock = processor.getBlockInfo().processStartMs.load (std::memory_order_relaxed);
        return lastBlock > 0.0 && nowMs - lastBlock < audioStoppedMs;
    }

    void tick (KaJuceLevelMeterDisplay& display, KaJuceObserverLevelMeter* meter, bool running, double nowMs)
    {
        if (! running || meter == nullptr)
            return display.tick (silenceDb, silenceDb, nowMs);
        const float level = meter->getLevelDb();  // first: it takes the peak getLastPeakDb() reports
        display.tick (level, meter->getLastPeakDb(), nowMs);
    }
}

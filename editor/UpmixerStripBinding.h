#pragma once

#include "analysis/KaJuceObserverLevelMeter.h"
#include "editor/UpmixerChannelStrip.h"
#include "editor/KaJuceEditorBase.h"
#include "processor/KaJuceProcessorBase.h"

/** What the pages with channel strips share: which parameters an output or downmix strip
    stands for, the meters' colours and splits from the parameters (or their per-user copies
    while colours are locked), and the meters' tick from the level observers. Message thread,
    inside the editor's updateGui(). */
namespace UpmixerStripBinding
{
    /** Registers a new strip's controls with the editor and gives its trim the short value
        text of a strip ("-3.0"; typed entry takes the unit or not). */
    void attach (UpmixerChannelStrip& strip, KaJuceEditorBase& editor);

    /** A colour or meter-split parameter's value, or its per-user copy while LockColors is on. */
    float colourValue (const KaParameterTable& table, int number);
    KaJuceLevelMeterDisplay::Style meterStyle (const KaParameterTable& table);
    /** The colour of a channel kind's family (ColLR, ColC, ColLfe, ColLsRs, ColLbRb, ColLtsRts). */
    juce::Colour channelColour (const KaParameterTable& table, int kind);

    /** Binds a strip to the output at host position `position` under `routing`: its name and
        colour, Trim/Mute/Solo of the kind there, and the switches PrimarySoloOrMute and
        SecondarySoloOrMute ask for (one switch when both ask for the same). */
    void showOutput (UpmixerChannelStrip& strip, const KaParameterTable& table, int routing, int position);
    /** Binds a strip to a side of the downmix (0 Lo, 1 Ro) and its mute. */
    void showDownmix (UpmixerChannelStrip& strip, const KaParameterTable& table, int side);

    /** Whether blocks are arriving: one started within the last 250 ms. */
    bool isAudioRunning (const KaJuceProcessorBase& processor, double nowMs);
    /** One meter tick from its observer; silence when the audio is not running or there is none. */
    void tick (KaJuceLevelMeterDisplay& display, KaJuceObserverLevelMeter* meter, bool running, double nowMs);
    inline void tick (UpmixerChannelStrip& strip, KaJuceObserverLevelMeter* meter, bool running, double nowMs)
    {
        tick (strip.getMeter(), meter, running, nowMs);
    }
}

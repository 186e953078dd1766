#pragma once

#include "processor/KaParameterTable.h"

/** Numbers of Orrin Upmix's parameters (host parameters 0..138, persistent settings 9000..9036,
    transient editor controls 9100..9120). Keys, names and defaults are in UpmixerParameters.cpp. */
namespace UpmixerParam
{
    enum : int
    {
        Routing = 0, TimecodeFramerate, ParamMapVersion, AudioThru, DialogIsolate,
        DialogExtractionAggression, DialogAttack, DialogRelease, DialogMixInC, DE_RampS,
        DE_Stability, DDGate0, DDGate1, DDGate2, DialogExtractionActive,
        DialogExtractionStrength, UpmixPsdWidth, ShelfFreq, ShelfGain, ShelfEnable,
        Lfe, LfeFreq, LfeSplit, LfeGain, Divergence,
        FadeFS, FadeSB, Diffusion, BackBoost, DivergeLfcEnable,
        DivergeLfcAmount, DivergeLfcFreq, DownmixC, DownmixS, DownmixB,
        DownmixLfe, DownmixExact, Bypass, MonitorSource, MonitorUpmix,
        MonitorCLF, MonitorLsRs, MonitorC, MonitorLfe, MonitorLLs,
        MonitorRRs, MonitorLC, MonitorCR, MonitorLbRb, MonitorLsLb,
        MonitorLLb, MonitorDownmix, MonitorDelta, TrimSource0, TrimSource1,
        Trim0 = 55,
        MuteSource0 = 67, MuteSource1,
        Mute0 = 69,
        MuteDownmix0 = 81, MuteDownmix1,
        Solo0 = 83,
        ArcLink = 95, MixType, ColC, ColLR, ColLsRs,
        ColLbRb, ColLtsRts, ColLfe, ColDiffusion, ColText,
        ColButtonOn, ColButtonOff, ColMeterPeak, Split1LM, Split2LM,
        Split3LM, Split4LM, Col0LM, Col1LM, Col2LM,
        Col3LM, Col4LM, VerticalOnPhase, VerticalOffPhase, VerticalExcludeC,
        VerticalExcludeLfe, VerticalShelfFreq, VerticalShelfGain, VerticalShelfEnable, VerticalLink,
        MonitorLtsRts, MonitorLLts, MonitorLsLts, MonitorLbLts, MuteSourceMulti0,
        MuteSourceMulti1, MuteSourceMulti2, InputMixType, ExcludeC, ExcludeLfe,
        ExcludeLfeGain, AmbisonicFormat, ExtendedVerticalParamRange, SwitchedMultiInputFadeAlgo,
        numHostParameters  // 139
    };

    enum : int
    {
        RoutingDefault = 9000, RoutingDefault_7_1, RoutingDefault_7_1_2, TimecodeFramerateDefault,
        PersistentParamMapVersion, ExportSupport, PrimarySoloOrMute, SecondarySoloOrMute,
        LinkSourceLR, LinkLR, LinkLsRs, LinkLbRb, LinkLtsRts, LinkTrlTrr, LockColors,
        LockColC, LockColLR, LockColLsRs, LockColLbRb, LockColLtsRts, LockColLfe, LockColDiffusion,
        LockColText, LockColButtonOn, LockColButtonOff, LockColMeterPeak,
        LinkSplit1LM, LinkSplit2LM, LinkSplit3LM, LinkSplit4LM,
        LockCol0LM, LockCol1LM, LockCol2LM, LockCol3LM, LockCol4LM,
        ColorsExpert, ShowExtraOutputOptions  // 9036
    };

    enum : int
    {
        ShowBaseMenu = 9100, Undo, Redo, AB, AtoB, PresetNext, PresetPrev,
        ShowProfiling = 9108, ResetToPreset, DummyTransient, SettingsPopup, DebugPopup,
        CorrelationMeters, Test, DialogDetectForce, PanelMain, PanelCenter, PanelIO,
        AutomationLogging, DebugLatencyAdd  // 9120
    };

    inline constexpr int numOutputs = 12;
    inline constexpr int noParameter = 9999;

    /** The parameter map version this program writes. */
    inline constexpr int paramMapVersion = 3;

    /** The parameter that holds what the editor shows for a colour or meter split (ColC ..
        ColMeterPeak, Split1LM .. Split4LM, Col0LM .. Col4LM): its per-user copy while
        LockColors is on, so a user's scheme survives other sessions and presets; any other
        number as it is. */
    int shownColourParameter (const KaParameterTable& table, int number) noexcept;

    /** Every parameter of the program, in registration order. */
    std::vector<KaParameterInfo> createParameterInfos();

    /** Choice lists shared with the command line and the editor. */
    juce::StringArray routingChoices();
    juce::StringArray mixTypeChoices();
    juce::StringArray inputMixTypeChoices();
}

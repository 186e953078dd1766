#include "processor/UpmixerParameters.h"
#include "processor/KaChannelRouting.h"

#include <cmath>

namespace UpmixerParam
{
    namespace
    {
        KaParameterInfo make (int number, const juce::String& key, const juce::String& name, float def, KaParamKind kind,
                              float low = 0.0f, float high = 1.0f, juce::StringArray choices = {})
        {
            KaParameterInfo i;
            i.number = number;
            i.key = key;
            i.name = name;
            i.defaultValue = def;
            i.kind = kind;
            i.low = low;
            i.high = high;
            i.choices = std::move (choices);
            return i;
        }

        using Text = const juce::String&;
        KaParameterInfo amount (int n, Text key, Text name, float def) { return make (n, key, name, def, KaParamKind::plain); }
        KaParameterInfo toggle (int n, Text key, Text name, float def) { return make (n, key, name, def, KaParamKind::toggle); }
        KaParameterInfo level (int n, Text key, Text name, float def, float lowDb, float highDb) { return make (n, key, name, def, KaParamKind::level, lowDb, highDb); }
        KaParameterInfo sweep (int n, Text key, Text name, float def, float lowHz, float highHz) { return make (n, key, name, def, KaParamKind::logFrequency, lowHz, highHz); }
        KaParameterInfo choice (int n, Text key, Text name, int defChoice, juce::StringArray texts)
        {
            return make (n, key, name, KaParameterTable::valueOfChoice (defChoice), KaParamKind::choice, 0.0f, 1.0f, std::move (texts));
        }

        /** Level of 0 dB on a range, as a normalised default. */
        float zeroDbOn (float lowDb, float highDb) { return (0.0f - lowDb) / (highDb - lowDb); }

        const juce::StringArray downmixCoefficients { "0 dB", "-3 dB", "-6 dB", "Off" };
        const juce::StringArray onOffChoices { "Solo", "Mute" };
        const juce::StringArray framerates { "23.976 fps", "24 fps", "25 fps", "29.97 fps drop", "29.97 fps", "30 fps drop", "30 fps", "48 fps", "50 fps", "59.94 fps", "60 fps" };
        const juce::StringArray mapVersions { "0", "1", "2", "3" };

        constexpr const char* colourKeys[] = { "ColC", "ColLR", "ColLsRs", "ColLbRb", "ColLtsRts", "ColLfe", "ColDiffusion", "ColText", "ColButtonOn", "ColButtonOff", "ColMeterPeak" };
        constexpr const char* colourNames[] = { "Col C", "Col LR", "Col LsRs", "Col LbRb", "Col LtsRts", "Col Lfe", "Col Diffusion", "Col Text", "Col Button On", "Col Button Off", "Col Meter Peak" };
        constexpr float colourDefaults[] = { 0.328f, 0.328f, 0.4f, 0.436f, 0.479f, 0.328f, 0.328f, 0.328f, 0.328f, 0.323f, 0.201f };
        constexpr float splitLowDb = -100.0f, splitHighDb = 12.0f;
        constexpr float splitDefaultsDb[] = { 0.0f, -8.0f, -60.0f, -100.0f };
        constexpr float meterColourDefaults[] = { 0.276f, 0.342f, 0.107f, 0.107f, 0.107f };
        constexpr float trimLowDb = -70.0f, trimHighDb = 12.0f;

        juce::String outputName (int index) { return KaChannelRouting::kindName (index, 0); }

        /** Twelve parameters numbered from `first`, one per output channel: keys word + index,
            names word + " " + the channel's name. */
        void addOutputFamily (std::vector<KaParameterInfo>& p, int first, const juce::String& word, KaParameterInfo prototype)
        {
            for (int i = 0; i < numOutputs; ++i)
            {
                prototype.number = first + i;
                prototype.key = word + juce::String (i);
                prototype.name = word + " " + outputName (i);
                p.push_back (prototype);
            }
        }

        /** The level meter's four split points ("LM Split1" ..), keyed prefix + "Split1LM" .. */
        void addMeterSplits (std::vector<KaParameterInfo>& p, int first, const juce::String& keyPrefix)
        {
            for (int i = 0; i < 4; ++i)
                p.push_back (level (first + i, keyPrefix + "Split" + juce::String (i + 1) + "LM", "LM Split" + juce::String (i + 1),
                                    (splitDefaultsDb[i] - splitLowDb) / (splitHighDb - splitLowDb), splitLowDb, splitHighDb));
        }

        /** The level meter's five colours ("LM Col0" ..), keyed prefix + "Col0LM" .. */
        void addMeterColours (std::vector<KaParameterInfo>& p, int first, const juce::String& keyPrefix)
        {
            for (int i = 0; i < 5; ++i)
                p.push_back (amount (first + i, keyPrefix + "Col" + juce::String (i) + "LM", "LM Col" + juce::String (i), meterColourDefaults[i]));
        }
    }

    int shownColourParameter (const KaParameterTable& table, int number) noexcept
    {
        if (! table.isOn (LockColors))
            return number;
        if (number >= ColC && number <= ColMeterPeak)
            return LockColC + (number - ColC);
        if (number >= Split1LM && number <= Split4LM)
            return LinkSplit1LM + (number - Split1LM);
        if (number >= Col0LM && number <= Col4LM)
            return LockCol0LM + (number - Col0LM);
        return number;
    }

    juce::StringArray routingChoices()
    {
        juce::StringArray texts;
        for (int r = 0; r <= KaChannelRouting::routingByDefault; ++r)
        {
            if (r < 31)
            {
                juce::StringArray names;
                for (int p = 0; p < KaChannelRouting::rowSize (r); ++p)
                    names.add (KaChannelRouting::channelName (r, p));
                texts.add (names.joinIntoString (" "));
            }
            else if (r < KaChannelRouting::numRoutings)
                texts.add ("Reserved");
            else if (r == KaChannelRouting::routingFromHost)
                texts.add ("Host order");
            else if (r == KaChannelRouting::routingByDefault)
                texts.add ("Default");
            else
                texts.add ({});
        }
        return texts;
    }

    juce::StringArray mixTypeChoices()
    {
        return { "L C R Ls Rs LFE", "L R C LFE Ls Rs", "L R Ls Rs C LFE", "L C R Ls Rs Lsr Rsr LFE",
                 "L R C LFE Ls Rs Lsr Rsr", "L Lsr C Rsr R Ls Rs LFE", "L R C LFE Lsr Rsr Ls Rs",
                 "7.1.2 L C R Ls Rs Lsr Rsr LFE Lts Rts", "7.1.4 L R C LFE Ls Rs Lsr Rsr Tfl Tfr Trl Trr",
                 "Host order", "7.1.2" };
    }

    juce::StringArray inputMixTypeChoices()
    {
        return { "Auto", "L R C LFE Ls Rs", "L C R Ls Rs LFE", "L R Ls Rs C LFE" };
    }

    std::vector<KaParameterInfo> createParameterInfos()
    {
        std::vector<KaParameterInfo> p;
        p.reserve (200);

        p.push_back (choice (Routing, "Routing", "Channel Routing", KaChannelRouting::routingByDefault, routingChoices()));
        p.push_back (choice (TimecodeFramerate, "TimecodeFramerate", "Timecode Frame Rate", 6, framerates));
        p.push_back (choice (ParamMapVersion, "ParamMapVersion", "Mapped Param Version", std::min (paramMapVersion, 1000), mapVersions));
        p.push_back (toggle (AudioThru, "AudioThru", "Audio Thru", 1.0f));
        p.push_back (amount (DialogIsolate, "DialogIsolate", "Dialog Isolate", 0.0f));
        p.push_back (amount (DialogExtractionAggression, "DialogExtractionAggression", "Dialog Aggress.", 0.5f));
        p.push_back (amount (DialogAttack, "DialogAttack", "Dialog Attack", 0.3f));
        p.push_back (amount (DialogRelease, "DialogRelease", "Dialog Release", 0.75f));
        p.push_back (amount (DialogMixInC, "DialogMixInC", "Dialog Mix In", 0.0f));
        p.push_back (amount (DE_RampS, "DE_RampS", "DE RampS", 0.5f));
        p.push_back (amount (DE_Stability, "DE_Stability", "DE Stability", 0.0f));
        p.push_back (amount (DDGate0, "DDGate0", "DD Gate 1", 0.4f));
        p.push_back (amount (DDGate1, "DDGate1", "DD Gate 2", 0.3f));
        p.push_back (amount (DDGate2, "DDGate2", "DD Gate 3", 0.3f));
        p.push_back (toggle (DialogExtractionActive, "DialogExtractionActive", "Dialog Extraction", 0.0f));
        p.push_back (amount (DialogExtractionStrength, "DialogExtractionStrength", "DE Strength", 0.75f));
        p.push_back (amount (UpmixPsdWidth, "UpmixPsdWidth", "Space", 0.8f));
        p.push_back (sweep (ShelfFreq, "ShelfFreq", "Shelf Freq", 0.8155f, 1000.0f, 22000.0f));
        p.push_back (level (ShelfGain, "ShelfGain", "Shelf Gain", 0.475f, -10.0f, 10.0f));
        p.push_back (toggle (ShelfEnable, "ShelfEnable", "Rear Shelf Filter", 1.0f));
        p.push_back (toggle (Lfe, "Lfe", "LFE", 1.0f));
        p.push_back (sweep (LfeFreq, "LfeFreq", "LFE Freq", 0.75f, 10.0f, 200.0f));
        p.push_back (amount (LfeSplit, "LfeSplit", "LFE Split", 0.0f));
        p.push_back (level (LfeGain, "LfeGain", "LFE Gain", 3.0f / 11.0f, -45.0f, 10.0f));
        p.push_back (amount (Divergence, "Divergence", "Divergence", 0.5f));
        p.push_back (amount (FadeFS, "FadeFS", "Fade", 0.3f));
        p.push_back (amount (FadeSB, "FadeSB", "Fade Rears", 0.2f));
        p.push_back (amount (Diffusion, "Diffusion", "Diffusion", 0.2f));
        p.push_back (toggle (BackBoost, "BackBoost", "Back Boost", 1.0f));
        p.push_back (toggle (DivergeLfcEnable, "DivergeLfcEnable", "C LF Split", 0.0f));
        p.push_back (amount (DivergeLfcAmount, "DivergeLfcAmount", "LF Divergence", 1.0f));
        p.push_back (sweep (DivergeLfcFreq, "DivergeLfcFreq", "C LF Freq",
                            (float) ((std::log (80.0) - std::log (40.0)) / (std::log (1000.0) - std::log (40.0))), 40.0f, 1000.0f));
        p.push_back (choice (DownmixC, "DownmixC", "Downmix C Coeff", 1, downmixCoefficients));
        p.push_back (choice (DownmixS, "DownmixS", "Downmix LsRs Coeff", 1, downmixCoefficients));
        p.push_back (choice (DownmixB, "DownmixB", "Downmix LsrRsr Coeff", 1, downmixCoefficients));
        p.push_back (choice (DownmixLfe, "DownmixLfe", "Downmix Lfe Coeff", 3, downmixCoefficients));
        p.push_back (toggle (DownmixExact, "DownmixExact", "Downmix Exact", 0.0f));
        p.push_back (toggle (Bypass, "Bypass", "Bypass", 0.0f));
        p.push_back (toggle (MonitorSource, "MonitorSource", "Listen Source", 0.0f));
        p.push_back (toggle (MonitorUpmix, "MonitorUpmix", "Listen Upmix", 1.0f));
        p.push_back (toggle (MonitorCLF, "MonitorCLF", "Listen C LF", 0.0f));
        p.push_back (toggle (MonitorLsRs, "MonitorLsRs", "Listen LsRs", 0.0f));
        p.push_back (toggle (MonitorC, "MonitorC", "Listen C", 0.0f));
        p.push_back (toggle (MonitorLfe, "MonitorLfe", "Listen Lfe", 0.0f));
        p.push_back (toggle (MonitorLLs, "MonitorLLs", "Listen LLs", 0.0f));
        p.push_back (toggle (MonitorRRs, "MonitorRRs", "Listen RRs", 0.0f));
        p.push_back (toggle (MonitorLC, "MonitorLC", "Listen LC", 0.0f));
        p.push_back (toggle (MonitorCR, "MonitorCR", "Listen CR", 0.0f));
        p.push_back (toggle (MonitorLbRb, "MonitorLbRb", "Listen LbRb", 0.0f));
        p.push_back (toggle (MonitorLsLb, "MonitorLsLb", "Listen LsLb", 0.0f));
        p.push_back (toggle (MonitorLLb, "MonitorLLb", "Listen LLb", 0.0f));
        p.push_back (toggle (MonitorDownmix, "MonitorDownmix", "Listen Downmix", 0.0f));
        p.push_back (toggle (MonitorDelta, "MonitorDelta", "Listen Delta", 0.0f));
        p.push_back (level (TrimSource0, "TrimSource0", "Trim Source L", zeroDbOn (trimLowDb, trimHighDb), trimLowDb, trimHighDb));
        p.push_back (level (TrimSource1, "TrimSource1", "Trim Source R", zeroDbOn (trimLowDb, trimHighDb), trimLowDb, trimHighDb));

        // The twelve output families follow the engine's output channel order.
        addOutputFamily (p, Trim0, "Trim", level (0, {}, {}, zeroDbOn (trimLowDb, trimHighDb), trimLowDb, trimHighDb));
        p.push_back (toggle (MuteSource0, "MuteSource0", "Mute Source L", 0.0f));
        p.push_back (toggle (MuteSource1, "MuteSource1", "Mute Source R", 0.0f));
        addOutputFamily (p, Mute0, "Mute", toggle (0, {}, {}, 0.0f));
        p.push_back (toggle (MuteDownmix0, "MuteDownmix0", "Mute Downmix L", 0.0f));
        p.push_back (toggle (MuteDownmix1, "MuteDownmix1", "Mute Downmix R", 0.0f));
        addOutputFamily (p, Solo0, "Solo", toggle (0, {}, {}, 0.0f));

        p.push_back (toggle (ArcLink, "ArcLink", "Arc Link", 0.0f));
        p.push_back (choice (MixType, "MixType", "Mix Type", 9, mixTypeChoices()));
        for (int i = 0; i < 11; ++i)
            p.push_back (amount (ColC + i, colourKeys[i], colourNames[i], colourDefaults[i]));
        addMeterSplits (p, Split1LM, {});
        addMeterColours (p, Col0LM, {});
        p.push_back (amount (VerticalOnPhase, "VerticalOnPhase", "Vert. On Phase", 0.3f));
        p.push_back (amount (VerticalOffPhase, "VerticalOffPhase", "Vert. Off Phase", 0.5f));
        p.push_back (toggle (VerticalExcludeC, "VerticalExcludeC", "V. Exclude C", 0.0f));
        p.push_back (toggle (VerticalExcludeLfe, "VerticalExcludeLfe", "V. Exclude LFE", 0.0f));
        p.push_back (sweep (VerticalShelfFreq, "VerticalShelfFreq", "V. Shelf Freq", 0.8155f, 1000.0f, 22000.0f));
        p.push_back (level (VerticalShelfGain, "VerticalShelfGain", "V. Shelf Gain", 0.475f, -10.0f, 10.0f));
        p.push_back (toggle (VerticalShelfEnable, "VerticalShelfEnable", "V. Shelf Filter", 1.0f));
        p.push_back (toggle (VerticalLink, "VerticalLink", "Vert. Link", 0.0f));
        p.push_back (toggle (MonitorLtsRts, "MonitorLtsRts", "Listen LtsRts", 0.0f));
        p.push_back (toggle (MonitorLLts, "MonitorLLts", "Listen LLts", 0.0f));
        p.push_back (toggle (MonitorLsLts, "MonitorLsLts", "Listen LsLts", 0.0f));
        p.push_back (toggle (MonitorLbLts, "MonitorLbLts", "Listen LbLts", 0.0f));
        p.push_back (toggle (MuteSourceMulti0, "MuteSourceMulti0", "Mute Source M1", 0.0f));
        p.push_back (toggle (MuteSourceMulti1, "MuteSourceMulti1", "Mute Source M2", 0.0f));
        p.push_back (toggle (MuteSourceMulti2, "MuteSourceMulti2", "Mute Source M3", 0.0f));
        p.push_back (choice (InputMixType, "InputMixType", "Input Mix Type", 0, inputMixTypeChoices()));
        p.push_back (toggle (ExcludeC, "ExcludeC", "Exclude C", 1.0f));
        p.push_back (toggle (ExcludeLfe, "ExcludeLfe", "Exclude LFE", 1.0f));
        p.push_back (level (ExcludeLfeGain, "ExcludeLfeGain", "Exc. LFE Gain", zeroDbOn (-45.0f, 10.0f), -45.0f, 10.0f));
        p.push_back (choice (AmbisonicFormat, "AmbisonicFormat", "Ambisonic ", 0, { "ACN / SN3D", "FuMa" }));
        p.push_back (toggle (ExtendedVerticalParamRange, "ExtendedVerticalParamRange", "Extended Vertical Param Range", 1.0f));
        p.push_back (toggle (SwitchedMultiInputFadeAlgo, "SwitchedMultiInputFadeAlgo", "Switched Multi Input Fade Algo", 1.0f));
        jassert ((int) p.size() == numHostParameters);

        // Persistent per-user settings.
        p.push_back (choice (RoutingDefault, "RoutingDefault", "Default Channel Routing", KaChannelRouting::routingByDefault, routingChoices()));
        p.push_back (choice (RoutingDefault_7_1, "RoutingDefault_7_1", "Default Channel Routing 7.1", KaChannelRouting::routingByDefault, routingChoices()));
        p.push_back (choice (RoutingDefault_7_1_2, "RoutingDefault_7_1_2", "Default Channel Routing 7.1.2", KaChannelRouting::routingByDefault, routingChoices()));
        p.push_back (choice (TimecodeFramerateDefault, "TimecodeFramerateDefault", "Default Timecode Frame Rate", 6, framerates));
        p.push_back (choice (PersistentParamMapVersion, "PersistentParamMapVersion", "Mapped Persistent Param Version", 1, mapVersions));
        p.push_back (toggle (ExportSupport, "ExportSupport", "Export Support", 0.0f));
        p.push_back (choice (PrimarySoloOrMute, "PrimarySoloOrMute", "Primary Solo Or Mute", 0, onOffChoices));
        p.push_back (choice (SecondarySoloOrMute, "SecondarySoloOrMute", "Secondary Solo Or Mute", 1, onOffChoices));
        p.push_back (toggle (LinkSourceLR, "LinkSourceLR", "Link SourceLR", 1.0f));
        p.push_back (toggle (LinkLR, "LinkLR", "Link LR", 1.0f));
        p.push_back (toggle (LinkLsRs, "LinkLsRs", "Link LsRs", 1.0f));
        p.push_back (toggle (LinkLbRb, "LinkLbRb", "Link LsrRsr", 1.0f));
        p.push_back (toggle (LinkLtsRts, "LinkLtsRts", "Link LtsRts", 1.0f));
        p.push_back (toggle (LinkTrlTrr, "LinkTrlTrr", "Link TrlTrr", 1.0f));
        p.push_back (toggle (LockColors, "LockColors", "Lock Colours", 0.0f));
        for (int i = 0; i < 11; ++i)
            p.push_back (amount (LockColC + i, "Lock" + juce::String (colourKeys[i]), colourNames[i], colourDefaults[i]));
        addMeterSplits (p, LinkSplit1LM, "Link");
        addMeterColours (p, LockCol0LM, "Lock");
        p.push_back (toggle (ColorsExpert, "ColorsExpert", "Colors Expert", 0.0f));
        p.push_back (toggle (ShowExtraOutputOptions, "ShowExtraOutputOptions", "Show Extra Output Options", 0.0f));

        // Transient editor controls.
        p.push_back (toggle (ShowBaseMenu, "ShowBaseMenu", "Show Menu", 0.0f));
        p.push_back (toggle (Undo, "Undo", "Undo", 0.0f));
        p.push_back (toggle (Redo, "Redo", "Redo", 0.0f));
        p.push_back (toggle (AB, "AB", "A/B", 0.0f));
        p.push_back (toggle (AtoB, "AtoB", "A to B", 0.0f));
        p.push_back (toggle (PresetNext, "PresetNext", "Next Preset", 0.0f));
        p.push_back (toggle (PresetPrev, "PresetPrev", "Previous Preset", 0.0f));
        p.push_back (toggle (ShowProfiling, "ShowProfiling", "Profiling", 0.0f));
        p.push_back (toggle (ResetToPreset, "ResetToPreset", "Reset To Preset", 0.0f));
        p.push_back (toggle (DummyTransient, "DummyTransient", "Dummy", 0.0f));
        p.push_back (toggle (SettingsPopup, "SettingsPopup", "Settings Popup", 0.0f));
        p.push_back (toggle (DebugPopup, "DebugPopup", "DebugPopup", 0.0f));
        p.push_back (toggle (CorrelationMeters, "CorrelationMeters", "CorrelationMeters", 0.0f));
        p.push_back (toggle (Test, "Test", "Test", 0.0f));
        p.push_back (toggle (DialogDetectForce, "DialogDetectForce", "DialogDetectForce", 0.0f));
        p.push_back (toggle (PanelMain, "PanelMain", "Panel Main", 0.0f));
        p.push_back (toggle (PanelCenter, "PanelCenter", "Panel Center", 0.0f));
        p.push_back (toggle (PanelIO, "PanelIO", "Panel I/O", 0.0f));
        p.push_back (toggle (AutomationLogging, "AutomationLogging", "Automation Logging", 0.0f));
        p.push_back (amount (DebugLatencyAdd, "DebugLatencyAdd", "DebugLatencyAdd", 0.5f));
        return p;
    }
}

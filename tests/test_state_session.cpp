// Session state ("MYPLUGINSETTINGS") and parameter-map versions:
//  - every program slot's values, names, the current program and the send selector survive a
//    save and load bit for bit (a routing other than its mix type's too), and save again alike;
//  - bad blocks (empty, unframed, not XML, another root, truncated, not UTF-8, too deep, a DTD,
//    an instruction followed by text, which hangs JUCE's reader) change nothing; values clamp,
//    non-numbers and missing ones take defaults;
//  - map versions 1 and 2 turn off the switches they predate, logging each step; a newer map
//    loads as it stands and warns once per process;
//  - the earlier-version question: Cancel keeps the state read in "LOADEDFROMPREV", OK drops it;
//  - "PRESETDATA" names the stored default only with "Default"; 46 named programs.
#include "processor/KaPresetSlots.h"
#include "processor/UpmixerParameters.h"
#include "support/StateTestSupport.h"

#include <gtest/gtest.h>

using namespace UpmixerParam;
using namespace StateTestSupport;

namespace
{
    /** The document of a fresh processor with one slot attribute replaced, framed as a block. */
    juce::MemoryBlock stateWith (const std::function<void (juce::XmlElement&)>& edit)
    {
        UpmixerProcessor source;
        auto xml = juce::AudioProcessor::getXmlFromBinary (stateOf (source).getData(), (int) stateOf (source).getSize());
        edit (*xml);
        return frame (xml->toString());
    }

    juce::MemoryBlock stateWithMapVersion (float version, float excludeValue)
    {
        return stateWith ([=] (juce::XmlElement& root)
        {
            auto* slot = root.getChildByName ("PRESET0");
            slot->setAttribute ("ParamMapVersion", (double) version);
            for (const auto* key : { "ExcludeC", "ExcludeLfe", "ExtendedVerticalParamRange", "SwitchedMultiInputFadeAlgo" })
                slot->setAttribute (key, (double) excludeValue);
            slot->setAttribute ("KeyFromTheFuture", 0.5);
        });
    }

    void load (juce::AudioProcessor& p, const juce::MemoryBlock& block) { p.setStateInformation (block.getData(), (int) block.getSize()); }

    /** Records the earlier-version question instead of showing it. */
    struct QuestionedProcessor : UpmixerProcessor
    {
        void postQuestion (const juce::String& title, const juce::String& text, std::function<void (bool)> onAnswer) override
        {
            titles.add (title);
            texts.add (text);
            answer = std::move (onAnswer);
        }
        juce::StringArray titles, texts;
        std::function<void (bool)> answer;
    };
}

TEST (SessionState, EverySlotRoundTripsBitForBit)
{
    UpmixerProcessor first;
    setAll (first, awkwardValues (first.getParameterTable(), 1));
    // A routing other than the one the mix type derives, as host automation may leave it.
    first.setParameterNotifyingHost (Routing, 0.004f, false);
    ASSERT_NE (UpmixerProcessor::routingForMixType (first.getParameterTable().getChoice (MixType), first.getPluginTypeNumber()), 4);
    const auto live0 = first.getHostValues();
    first.setCurrentProgram (7);
    const auto values7 = awkwardValues (first.getParameterTable(), 2);
    setAll (first, values7);
    first.changeProgramName (7, "Scene (Night) / Rain");
    first.setSendSelector (3);
    const auto live7 = first.getHostValues();

    const auto block = stateOf (first);
    UpmixerProcessor second;
    load (second, block);

    EXPECT_EQ (second.getCurrentProgram(), 7);
    EXPECT_EQ (second.getProgramName (7), "Scene (Night) / Rain");
    EXPECT_EQ (second.getSendSelector(), 3);
    const auto& slots = second.getPresetSlots();
    for (int n = 0; n < second.getParameterTable().getNumHostParameters(); ++n)
    {
        const auto key = second.getParameterKey (n).toStdString();
        EXPECT_EQ (bitsOf (second.getParameterValue (n)), bitsOf (live7[(size_t) n])) << key;
        EXPECT_EQ (bitsOf (slots.getValue (0, n)), bitsOf (live0[(size_t) n])) << key;
    }

    second.setCurrentProgram (0);
    for (int n = 0; n < second.getParameterTable().getNumHostParameters(); ++n)
        EXPECT_EQ (bitsOf (second.getParameterValue (n)), bitsOf (live0[(size_t) n])) << second.getParameterKey (n);

    second.setCurrentProgram (7);
    EXPECT_EQ (stateOf (second), block);
}

TEST (SessionState, BadBlocksChangeNothing)
{
    UpmixerProcessor p;
    setAll (p, awkwardValues (p.getParameterTable(), 3));
    p.setSendSelector (2);
    const auto before = stateOf (p);
    const auto document = documentOf (before);

    juce::MemoryBlock random (5000);
    juce::Random (7).fillBitsRandomly (random.getData(), random.getSize());
    juce::String deep;
    for (int i = 0; i < 200000; ++i)
        deep << "<a>";
    const char brokenUtf8[] = { '<', 'M', 'Y', '\xF0', '\x28', '\x8C', '/', '>' };

    std::vector<juce::MemoryBlock> blocks = {
        {},
        random,
        juce::MemoryBlock (document.toRawUTF8(), document.getNumBytesAsUTF8()),  // not framed
        frame ("this is not XML"),
        frame ("<OTHERROOT CURRENTPRESET=\"3\"><PRESET0 Divergence=\"0.9\"/></OTHERROOT>"),
        frame (document.substring (0, document.length() / 2)),
        frame ("<MYPLUGINSETTINGS>" + deep),
        frame (juce::String::fromUTF8 (brokenUtf8, sizeof (brokenUtf8))),
        // JUCE's reader loops for ever on a processing instruction followed by text.
        frame ("<MYPLUGINSETTINGS><?pi?>text<PRESET0 Divergence=\"0.9\"/></MYPLUGINSETTINGS>"),
        frame ("<!DOCTYPE x [<!ENTITY a \"<b/>\">]><MYPLUGINSETTINGS>&a;</MYPLUGINSETTINGS>"),
    };
    auto truncatedFrame = before;
    truncatedFrame.setSize (before.getSize() / 3);
    blocks.push_back (truncatedFrame);
    juce::MemoryBlock badUtf8 = frame ("<MYPLUGINSETTINGS CURRENTPRESET=\"0\"/>");
    static_cast<char*> (badUtf8.getData())[12] = '\xFF';
    blocks.push_back (badUtf8);

    for (const auto& block : blocks)
    {
        load (p, block);
        p.setStateInformation (nullptr, 100);
        EXPECT_EQ (stateOf (p), before);
    }
}

TEST (SessionState, OutOfRangeClampsAndNonNumbersTakeDefaults)
{
    const std::pair<int, const char*> attributes[] = { { Divergence, "5" }, { FadeFS, "-3" }, { Diffusion, "abc" }, { LfeSplit, "nan" },
                                                       { UpmixPsdWidth, "1e40" }, { ShelfGain, " 0.25 " }, { DialogRelease, nullptr } };
    const auto table = makeTable();
    const auto block = stateWith ([&] (juce::XmlElement& root)
    {
        for (const auto& [n, text] : attributes)
            text != nullptr ? root.getChildByName ("PRESET0")->setAttribute (table.info (n)->key, text)
                            : root.getChildByName ("PRESET0")->removeAttribute (table.info (n)->key);
        root.setAttribute ("CURRENTPRESET", 99);
    });

    UpmixerProcessor p;
    setAll (p, awkwardValues (p.getParameterTable(), 4));
    load (p, block);
    const auto& t = p.getParameterTable();
    EXPECT_EQ (p.getCurrentProgram(), 0);
    const float expected[] = { 1.0f, 0.0f, t.getDefault (Diffusion), t.getDefault (LfeSplit), 1.0f, 0.25f, t.getDefault (DialogRelease) };
    for (size_t i = 0; i < std::size (attributes); ++i)
        EXPECT_EQ (t.get (attributes[i].first), expected[i]) << p.getParameterKey (attributes[i].first);
}

TEST (SessionState, OlderMapsTurnOffTheSwitchesTheyPredate)
{
    // Version 1 predates all four switches; version 2 had the exclude switches already.
    for (const int version : { 1, 2 })
    {
        UpmixerProcessor p;
        load (p, stateWithMapVersion (0.001f * (float) version, 1.0f));
        const auto& t = p.getParameterTable();
        const float exclude = version == 1 ? 0.0f : 1.0f;
        EXPECT_EQ (t.get (ExcludeC), exclude) << version;
        EXPECT_EQ (t.get (ExcludeLfe), exclude) << version;
        EXPECT_EQ (t.get (ExtendedVerticalParamRange), 0.0f) << version;
        EXPECT_EQ (t.get (SwitchedMultiInputFadeAlgo), 0.0f) << version;
        EXPECT_EQ (t.get (ParamMapVersion), 0.003f) << version;
        EXPECT_TRUE (logContains ("KaJuceEditorBase::checkParamMapVersionCompatibility: nLoadingInVersion=" + juce::String (version)
                                  + ", nCodeVersion=3"));

        // The mapped state is saved as the current version.
        UpmixerProcessor again;
        load (again, stateOf (p));
        EXPECT_EQ (again.getParameterTable().get (ExcludeC), exclude);
        EXPECT_EQ (again.getParameterTable().get (ParamMapVersion), 0.003f);
    }
    EXPECT_TRUE (logContains ("UpmixerProcessor::performParamMappingToNextVersion: nOldPluginVersion=1"));
    EXPECT_TRUE (logContains ("UpmixerProcessor::performParamMappingToNextVersion: nOldPluginVersion=2"));
}

TEST (SessionState, NewerMapLoadsAsItStandsAndWarnsOncePerProcess)
{
    const bool postedBefore = KaJuceProcessorBase::hasNewerVersionWarningBeenPosted();
    const auto block = stateWithMapVersion (0.004f, 1.0f);

    UpmixerProcessor a, b;
    load (a, block);
    load (b, block);
    load (a, block);

    EXPECT_TRUE (KaJuceProcessorBase::hasNewerVersionWarningBeenPosted());
    EXPECT_EQ (a.getNumWarningsPosted() + b.getNumWarningsPosted(), postedBefore ? 0 : 1);
    EXPECT_EQ (a.getParameterTable().get (ParamMapVersion), 0.004f);
    EXPECT_EQ (a.getParameterTable().get (ExtendedVerticalParamRange), 1.0f);
    EXPECT_TRUE (logContains ("nLoadingInVersion=4, nCodeVersion=3"));
}

TEST (SessionState, CancelKeepsTheEarlierStateThroughSavesAndLoads)
{
    const auto block = stateWithMapVersion (0.001f, 1.0f);
    const auto earlierText = [&] { auto xml = juce::AudioProcessor::getXmlFromBinary (block.getData(), (int) block.getSize());
                                   return xml->toString (juce::XmlElement::TextFormat().singleLine().withoutHeader()); }();

    QuestionedProcessor p;
    load (p, block);
    load (p, block);
    ASSERT_EQ (p.texts.size(), 1);
    EXPECT_EQ (p.titles[0], "Orrin Upmix Warning Info");
    EXPECT_TRUE (p.texts[0].startsWith ("This session or preset was saved with an earlier version of Orrin Upmix.\n")) << p.texts[0];
    EXPECT_TRUE (p.isOverwriteOnSaveOn());
    EXPECT_FALSE (documentOf (stateOf (p)).contains ("LOADEDFROMPREV"));

    p.answer (false);
    EXPECT_FALSE (p.isOverwriteOnSaveOn());
    EXPECT_EQ (p.getKeptEarlierState(), earlierText);

    UpmixerProcessor later;
    load (later, stateOf (p));
    EXPECT_EQ (later.getKeptEarlierState(), earlierText);
    const auto kept = juce::AudioProcessor::getXmlFromBinary (stateOf (later).getData(), (int) stateOf (later).getSize());
    EXPECT_EQ (kept->getStringAttribute ("LOADEDFROMPREV"), earlierText);

    QuestionedProcessor agreeing;
    load (agreeing, block);
    agreeing.answer (true);
    EXPECT_TRUE (agreeing.isOverwriteOnSaveOn());
    EXPECT_TRUE (agreeing.getKeptEarlierState().isEmpty());
    EXPECT_FALSE (documentOf (stateOf (agreeing)).contains ("LOADEDFROMPREV"));
}

TEST (SessionState, PresetDataDefaultRule)
{
    auto withPresetData = [] (const juce::String& folder, const juce::String& file)
    {
        return stateWith ([=] (juce::XmlElement& root)
        {
            auto* data = root.createNewChildElement ("PRESETDATA");
            data->setAttribute ("FOLDERNAME", folder);
            data->setAttribute ("FILENAME", file);
            root.getChildByName ("PRESET0")->removeAttribute ("PRESETNAME");
        });
    };

    UpmixerProcessor p;
    load (p, withPresetData ({}, "Default"));
    EXPECT_TRUE (p.tracksPresetFile());
    EXPECT_TRUE (p.getCurrentPreset().isStoredDefault());
    EXPECT_EQ (p.getProgramName (0), "Default");

    load (p, withPresetData ({}, "Film"));
    EXPECT_FALSE (p.tracksPresetFile());

    load (p, withPresetData ("User", "Mix 5.1 &28Film&29"));
    EXPECT_EQ (p.getCurrentPreset().folder, "User");
    EXPECT_EQ (p.getProgramName (0), "Mix 5.1 (Film)");

    UpmixerProcessor q;
    load (q, stateOf (p));
    EXPECT_EQ (q.getCurrentPreset().folder, "User");
    EXPECT_EQ (q.getCurrentPreset().file, "Mix 5.1 &28Film&29");
}

TEST (SessionState, ProgramsAreNamedAndOutOfRangeAddressesTheFirst)
{
    UpmixerProcessor p;
    ASSERT_EQ (p.getNumPrograms(), 46);
    for (int i = 0; i < p.getNumPrograms(); ++i)
        EXPECT_TRUE (p.getProgramName (i).isNotEmpty()) << i;
    p.changeProgramName (3, "  ");
    EXPECT_EQ (p.getProgramName (3), "Program 4");

    // Outside the range addresses slot 0 (switching slots keeps their values: see above).
    p.setParameterNotifyingHost (Divergence, 0.9f, false);
    p.setCurrentProgram (5);
    p.setCurrentProgram (KaPresetSlots::numSlots + 4);
    EXPECT_EQ (p.getCurrentProgram(), 0);
    EXPECT_EQ (p.getParameterValue (Divergence), 0.9f);
}

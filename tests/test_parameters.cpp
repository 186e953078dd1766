// Parameter table:
// - every value starts at its default, Routing's "Default" choice too (it resolves afresh per
//   layout), in every program and output layout; choices round-trip through n / 1000; value
//   texts and unit parsing;
// - persistent settings start from the settings store and go back to it;
// - setParameter ignores numbers outside the host range and NaN, and clamps;
// - ArcLink and VerticalLink carry a user's change to the linked controls (same offset), only
//   while a control is available, and never for host automation;
// - MixType re-derives the routing; the restart warning only for the user's own change.
#include "processor/KaChannelRouting.h"
#include "processor/KaSettingsStore.h"
#include "processor/UpmixerParameters.h"
#include "processor/UpmixerProcessor.h"
#include "support/ProcessorHarness.h"

#include <gtest/gtest.h>

using namespace UpmixerParam;

TEST (Parameters, DefaultsChoicesValueTextsAndUnits)
{
    UpmixerProcessor p;
    const auto& t = p.getParameterTable();
    for (int n = 0; n <= 1000; ++n)
        EXPECT_EQ (KaParameterTable::choiceOf (KaParameterTable::valueOfChoice (n)), n);

    // Typed text to a normalised value (none where out of range or of the wrong unit); LfeFreq
    // read back in Hz.
    struct Row
    {
        int parameter;
        const char* text;
        std::optional<float> expected;
    };
    const Row rows[] = {
        { LfeFreq, "120Hz", 120.0f }, { LfeFreq, "0.12 kHz", 120.0f }, { LfeFreq, "500Hz", {} }, { LfeFreq, "-3dB", {} },
        { ShelfGain, "-3dB", 0.35f }, { ShelfGain, "12dB", {} }, { ShelfGain, "abc", {} }, { DownmixC, "-6 dB", 0.002f },
        { DownmixC, "3", 0.003f }, { Bypass, "On", 1.0f }, { Divergence, "25%", 0.25f }, { Divergence, "0.4", 0.4f },
        { Divergence, "1.5", {} },
    };
    for (const auto& row : rows)
    {
        const auto* info = t.info (row.parameter);
        const auto value = info->textToValue (row.text);
        ASSERT_EQ (value.has_value(), row.expected.has_value()) << info->key << " " << row.text;
        EXPECT_NEAR (value && row.parameter == LfeFreq ? info->toUnit (*value) : value.value_or (0.0f), row.expected.value_or (0.0f),
                     1.0e-4f * std::max (1.0f, row.expected.value_or (0.0f))) << info->key << " " << row.text;
    }
    EXPECT_EQ (t.info (ShelfGain)->valueToText (0.35f), "-3.0 dB");
    EXPECT_EQ (t.info (DownmixC)->valueToText (0.001f), "-3 dB");
    EXPECT_EQ (p.getParameterValueText (Lfe), "On");
}

TEST (Parameters, AFreshInstanceHoldsTheDefaultsInEveryProgramAndLayout)
{
    // Routing's "Default" choice was once replaced by the routing it resolved to: a VST3 host
    // read 0.001 against a declared default of 0.1, so "reset to default" changed the routing,
    // and program 1 held 0.1 while program 0 held 0.001.
    for (const int outputs : { 6, 8, 10, 12 })
    {
        SCOPED_TRACE (testing::Message() << outputs << " outputs");
        ProcessorHarness h (2, outputs);
        auto& p = *h.processor;
        h.run (TestSignals::noise (2, 1024, 3));
        const int resolved = p.getCurrentRouting();
        for (const int program : { 0, 1, KaPresetSlots::numSlots - 1, 0 })
        {
            p.setCurrentProgram (program);
            h.run (TestSignals::noise (2, 1024, 3));
            for (auto* parameter : p.getParameters())
                EXPECT_EQ (parameter->getValue(), parameter->getDefaultValue()) << "program " << program << ": " << parameter->getName (64);
            EXPECT_EQ (p.getCurrentRouting(), resolved) << "program " << program;
        }
    }
}

TEST (Parameters, PersistentSettingsStartFromTheStore)
{
    // Only a stored value of four bytes is a float (the store's own test): a wrong-sized one
    // leaves the default.
    auto& store = KaSettingsStore::getInstance();
    store.setFloat ("RoutingDefault", 0.004f);
    store.setBinary ("RoutingDefault_7_1", juce::MemoryBlock ("abc", 3));

    UpmixerProcessor p;
    const auto& t = p.getParameterTable();
    EXPECT_FLOAT_EQ (t.get (RoutingDefault), 0.004f);
    EXPECT_FLOAT_EQ (t.get (RoutingDefault_7_1), t.getDefault (RoutingDefault_7_1));

    // A change of a persistent setting goes back to the store.
    p.setParameterNotifyingHost (ColorsExpert, 1.0f);
    EXPECT_EQ (store.getFloat ("ColorsExpert").value_or (-1.0f), 1.0f);
    for (auto k : { "RoutingDefault", "RoutingDefault_7_1", "ColorsExpert" })
        store.remove (k);
}

TEST (Parameters, SetParameterBounds)
{
    UpmixerProcessor p;
    auto& t = p.getParameterTable();
    EXPECT_EQ (p.getParameters().size(), t.getNumHostParameters());
    p.setParameter (-1, 0.5f);
    p.setParameter (t.getNumHostParameters(), 0.5f);
    p.setParameter (9000, 0.9f);
    EXPECT_FLOAT_EQ (t.get (RoutingDefault), t.getDefault (RoutingDefault));

    p.setParameter (Divergence, 2.0f);  // clamped
    EXPECT_FLOAT_EQ (t.get (Divergence), 1.0f);
    p.setParameter (Divergence, std::numeric_limits<float>::quiet_NaN());  // ignored
    EXPECT_FLOAT_EQ (t.get (Divergence), 1.0f);
    EXPECT_EQ (p.takeLastChangedParameter(), Divergence);
    EXPECT_EQ (p.takeLastChangedParameter(), 9999);

    // The host's parameter object reads and writes the same table.
    p.getParameters()[Diffusion]->setValue (0.65f);
    EXPECT_FLOAT_EQ (t.get (Diffusion), 0.65f);
}

TEST (Parameters, ArcLinkCarriesUserChangesWithTheSameOffset)
{
    ProcessorHarness h (2, 6);  // 5.1: no rears, so FadeSB is not available
    auto& p = *h.processor;
    auto& t = p.getParameterTable();
    t.set (DivergeLfcEnable, 1.0f);
    p.setParameterNotifyingHost (ArcLink, 1.0f);  // snapshot: 0.5, 0.3, 0.2, 1.0

    p.setParameterNotifyingHost (Divergence, 0.6f);
    EXPECT_NEAR (t.get (FadeFS), 0.4f, 1.0e-6f);
    EXPECT_NEAR (t.get (FadeSB), 0.2f, 1.0e-6f);              // unavailable at 5.1: unchanged
    EXPECT_NEAR (t.get (DivergeLfcAmount), 1.0f, 1.0e-6f);    // clamped at the top

    p.setParameter (FadeFS, 0.9f);  // host automation of a linked control is not carried
    EXPECT_NEAR (t.get (Divergence), 0.6f, 1.0e-6f);

    // With the LF split off its amount is not available either.
    t.set (DivergeLfcEnable, 0.0f);
    p.setParameterNotifyingHost (FadeFS, 0.1f);  // offset -0.2 from its snapshot
    EXPECT_NEAR (t.get (Divergence), 0.3f, 1.0e-6f);
    EXPECT_NEAR (t.get (DivergeLfcAmount), 1.0f, 1.0e-6f);

    ProcessorHarness wide (2, 8);  // 7.1: the rears exist
    wide.with ({ { ArcLink, 1.0f } });
    wide.processor->setParameterNotifyingHost (FadeFS, 0.4f);
    EXPECT_NEAR (wide.processor->getParameterTable().get (FadeSB), 0.3f, 1.0e-6f);
}

TEST (Parameters, VerticalLinkAndOtherReactions)
{
    UpmixerProcessor p;
    auto& t = p.getParameterTable();
    p.setParameterNotifyingHost (VerticalLink, 1.0f);
    p.setParameterNotifyingHost (VerticalOnPhase, 0.5f);
    EXPECT_NEAR (t.get (VerticalOffPhase), 0.7f, 1.0e-6f);

    // MixType 10 derives routing 16 (15 only under the Pro Tools formats).
    p.setParameterNotifyingHost (MixType, KaParameterTable::valueOfChoice (10));
    EXPECT_EQ (t.getChoice (Routing), 16);
    EXPECT_EQ (UpmixerProcessor::routingForMixType (10, KaChannelRouting::typeAax), 15);

    const int before = p.getNumWarningsPosted();
    p.setParameter (ShowExtraOutputOptions, 1.0f);  // not a host parameter: ignored
    p.setParameterNotifyingHost (ShowExtraOutputOptions, 1.0f, false);
    EXPECT_EQ (p.getNumWarningsPosted(), before);
    p.setParameterNotifyingHost (ShowExtraOutputOptions, 0.0f, true);
    EXPECT_EQ (p.getNumWarningsPosted(), before + 1);
    KaSettingsStore::getInstance().remove ("ShowExtraOutputOptions");
}

// Parameter table:
// - registration order and the groups' numbers; keys, names and defaults of telling entries
//   (the bare key "Lfe", controls named by output channel), every value at its default;
// - choices round-trip through n / 1000; value texts and unit parsing;
// - persistent settings start from the settings store only when the stored value is 4 bytes;
// - setParameter ignores numbers outside the host range;
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

TEST (Parameters, RegistrationOrderAndGroups)
{
    UpmixerProcessor p;
    const auto& t = p.getParameterTable();
    EXPECT_EQ (t.getNumHostParameters(), 139);
    EXPECT_EQ (p.getParameters().size(), 139);

    std::vector<int> expected;
    for (int n = 0; n <= 138; ++n) expected.push_back (n);
    for (int n = 9000; n <= 9036; ++n) expected.push_back (n);
    for (int n = 9100; n <= 9120; ++n)
        if (n != 9107)
            expected.push_back (n);
    EXPECT_EQ (t.numbers(), expected);
}

TEST (Parameters, KeysNamesAndDefaults)
{
    UpmixerProcessor p;
    const auto& t = p.getParameterTable();
    auto key = [&] (int n) { return t.info (n)->key; };
    auto name = [&] (int n) { return t.info (n)->name; };

    // Display names the host sees (LFE, Trim L, Solo Trr, the blank of "Ambisonic ") are read
    // through the built plug-ins by the host tests.
    EXPECT_EQ (key (Lfe), "Lfe");
    EXPECT_EQ (name (UpmixPsdWidth), "Space");
    EXPECT_EQ (key (Trim0), "Trim0");
    EXPECT_EQ (name (Trim0 + 3), "Trim LFE");
    EXPECT_EQ (name (Mute0 + 6), "Mute Lsr");
    EXPECT_EQ (key (LockColLbRb), "LockColLbRb");
    EXPECT_EQ (name (LockColLbRb), "Col LbRb");
    EXPECT_EQ (name (LinkLbRb), "Link LsrRsr");

    EXPECT_FLOAT_EQ (t.getDefault (Routing), 0.1f);
    EXPECT_FLOAT_EQ (t.getDefault (ParamMapVersion), 0.003f);
    EXPECT_FLOAT_EQ (t.getDefault (TrimSource0), 70.0f / 82.0f);  // 0 dB
    EXPECT_NEAR (t.info (DivergeLfcFreq)->toUnit (t.getDefault (DivergeLfcFreq)), 80.0f, 1.0e-3f);
    // Everything starts at its default, but Routing: its default choice (100) is no routing, so
    // the processor resolves one and stores it back.
    for (int n : t.numbers())
    {
        if (n != Routing)
        {
            EXPECT_FLOAT_EQ (t.get (n), t.getDefault (n)) << t.info (n)->key;
        }
    }
    EXPECT_EQ (t.getChoice (Routing), 1);
}

TEST (Parameters, ChoicesValueTextsAndUnits)
{
    for (int n = 0; n <= 1000; ++n)
        EXPECT_EQ (KaParameterTable::choiceOf (KaParameterTable::valueOfChoice (n)), n);

    UpmixerProcessor p;
    const auto& t = p.getParameterTable();
    const auto* lfeFreq = t.info (LfeFreq);
    EXPECT_NEAR (lfeFreq->toUnit (*lfeFreq->textToValue ("120Hz")), 120.0f, 0.01f);
    EXPECT_NEAR (lfeFreq->toUnit (*lfeFreq->textToValue ("0.12 kHz")), 120.0f, 0.01f);
    EXPECT_FALSE (lfeFreq->textToValue ("500Hz").has_value());  // above 200 Hz
    EXPECT_FALSE (lfeFreq->textToValue ("-3dB").has_value());   // wrong unit

    const auto* shelf = t.info (ShelfGain);
    EXPECT_NEAR (*shelf->textToValue ("-3dB"), 0.35f, 1.0e-6f);
    EXPECT_EQ (shelf->valueToText (0.35f), "-3.0 dB");
    EXPECT_FALSE (shelf->textToValue ("12dB").has_value());
    EXPECT_FALSE (shelf->textToValue ("abc").has_value());

    const auto* downmix = t.info (DownmixC);
    EXPECT_FLOAT_EQ (*downmix->textToValue ("-6 dB"), 0.002f);
    EXPECT_FLOAT_EQ (*downmix->textToValue ("3"), 0.003f);
    EXPECT_EQ (downmix->valueToText (0.001f), "-3 dB");

    EXPECT_FLOAT_EQ (*t.info (Bypass)->textToValue ("On"), 1.0f);
    EXPECT_FLOAT_EQ (*t.info (Divergence)->textToValue ("25%"), 0.25f);
    EXPECT_FLOAT_EQ (*t.info (Divergence)->textToValue ("0.4"), 0.4f);
    EXPECT_FALSE (t.info (Divergence)->textToValue ("1.5").has_value());
    EXPECT_EQ (p.getParameterValueText (Lfe), "On");
}

TEST (Parameters, PersistentSettingsNeedExactlyFourBytes)
{
    auto& store = KaSettingsStore::getInstance();
    const float stored = 0.004f;
    store.setFloat ("RoutingDefault", stored);
    store.setBinary ("RoutingDefault_7_1", juce::MemoryBlock ("abc", 3));
    store.setBinary ("RoutingDefault_7_1_2", juce::MemoryBlock ("abcdefgh", 8));

    UpmixerProcessor p;
    const auto& t = p.getParameterTable();
    EXPECT_FLOAT_EQ (t.get (RoutingDefault), stored);
    EXPECT_FLOAT_EQ (t.get (RoutingDefault_7_1), t.getDefault (RoutingDefault_7_1));
    EXPECT_FLOAT_EQ (t.get (RoutingDefault_7_1_2), t.getDefault (RoutingDefault_7_1_2));

    // A change of a persistent setting goes back to the store.
    p.setParameterNotifyingHost (ColorsExpert, 1.0f);
    EXPECT_EQ (store.getFloat ("ColorsExpert").value_or (-1.0f), 1.0f);

    for (auto k : { "RoutingDefault", "RoutingDefault_7_1", "RoutingDefault_7_1_2", "ColorsExpert" })
        store.remove (k);
}

TEST (Parameters, SetParameterBounds)
{
    UpmixerProcessor p;
    auto& t = p.getParameterTable();
    p.setParameter (-1, 0.5f);
    p.setParameter (139, 0.5f);
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
    EXPECT_EQ (p.getParameters()[Diffusion]->getName (100), "Diffusion");
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

    // Host automation of a linked control is not carried.
    p.setParameter (FadeFS, 0.9f);
    EXPECT_NEAR (t.get (Divergence), 0.6f, 1.0e-6f);

    // With the LF split off its amount is not available either.
    t.set (DivergeLfcEnable, 0.0f);
    p.setParameterNotifyingHost (FadeFS, 0.1f);  // offset -0.2 from its snapshot
    EXPECT_NEAR (t.get (Divergence), 0.3f, 1.0e-6f);
    EXPECT_NEAR (t.get (DivergeLfcAmount), 1.0f, 1.0e-6f);

    ProcessorHarness wide (2, 8);  // 7.1: the rears exist
    auto& w = *wide.processor;
    w.setParameterNotifyingHost (ArcLink, 1.0f);
    w.setParameterNotifyingHost (FadeFS, 0.4f);
    EXPECT_NEAR (w.getParameterTable().get (FadeSB), 0.3f, 1.0e-6f);
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

// Offline rendering through a temporary WAV file:
// - the analysis pass stores the path and channel count; the render pass replaces the host's
//   input with the analysed audio from its start, block after block;
// - a missing temporary file is not an error: the settings are cleared and the host's own
//   input is rendered.
#include "processor/KaSettingsStore.h"
#include "processor/UpmixerParameters.h"
#include "support/ProcessorHarness.h"

#include <gtest/gtest.h>

TEST (OfflineRender, RenderPassReadsWhatTheAnalysisPassWrote)
{
    ProcessorHarness h (2, 6, 48000.0, 256);
    auto& p = *h.processor;
    h.set (UpmixerParam::MonitorSource, 1.0f);

    const auto clip = TestSignals::sine (2, 4096, 440.0, 48000.0, 0.5f);
    p.offlineAnalysisBegin (2);
    EXPECT_TRUE (p.getOfflineRender().isAnalysing());
    for (int pos = 0; pos < clip.getNumSamples(); pos += 256)
    {
        juce::AudioBuffer<float> block (2, 256);
        for (int ch = 0; ch < 2; ++ch)
            block.copyFrom (ch, 0, clip, ch, pos, 256);
        p.offlineAnalysisBlock (block);
    }
    p.offlineAnalysisEnd();

    auto& store = KaSettingsStore::getInstance();
    const auto path = store.getString ("OrrinUpmixOfflineTemporaryFile").value_or (juce::String());
    EXPECT_TRUE (juce::File (path).existsAsFile());
    EXPECT_EQ (store.getFloat ("OrrinUpmixOfflineNumInputChannels").value_or (0.0f), 2.0f);

    p.offlineRenderBegin();
    EXPECT_TRUE (p.getOfflineRender().isRendering());
    EXPECT_TRUE (p.getOfflineRender().hasReader());
    juce::AudioBuffer<float> rendered (6, 4096 + 1536);
    for (int pos = 0; pos < rendered.getNumSamples(); pos += 256)
    {
        juce::AudioBuffer<float> block (6, 256);
        block.clear();  // the host passes silence: the file's audio must replace it
        p.offlineRenderBlock (block);
        for (int ch = 0; ch < 6; ++ch)
            rendered.copyFrom (ch, pos, block, ch, 0, std::min (256, rendered.getNumSamples() - pos));
    }
    p.offlineRenderEnd();
    EXPECT_FALSE (p.getOfflineRender().isRendering());

    for (int i = 0; i < 4096; i += 97)
        EXPECT_NEAR (rendered.getSample (0, i + 1536), clip.getSample (0, i), 1.0e-6f) << i;
    juce::File (path).deleteFile();
}

TEST (OfflineRender, MissingFileFallsBackToTheHostInput)
{
    auto& store = KaSettingsStore::getInstance();
    store.setString ("OrrinUpmixOfflineTemporaryFile", "/nonexistent/orrin-offline.wav");
    store.setFloat ("OrrinUpmixOfflineNumInputChannels", 2.0f);

    ProcessorHarness h (2, 6, 48000.0, 512);
    auto& p = *h.processor;
    h.set (UpmixerParam::MonitorSource, 1.0f);
    p.offlineRenderBegin();
    EXPECT_FALSE (p.getOfflineRender().hasReader());
    EXPECT_EQ (store.getString ("OrrinUpmixOfflineTemporaryFile").value_or ("x"), "");
    EXPECT_EQ (store.getFloat ("OrrinUpmixOfflineNumInputChannels").value_or (-1.0f), 0.0f);

    juce::AudioBuffer<float> block (6, 512);
    for (int round = 0; round < 4; ++round)
    {
        block.clear();
        for (int ch = 0; ch < 2; ++ch)
            juce::FloatVectorOperations::fill (block.getWritePointer (ch), 0.25f, 512);
        p.offlineRenderBlock (block);
    }
    EXPECT_NEAR (block.getSample (0, 511), 0.25f, 1.0e-6f);
    p.offlineRenderEnd();
}

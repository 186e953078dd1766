// The dialogue detector: its network file, its inputs, and dialogue moving to the centre:
//  - files missing, not a network or of the wrong shape are refused with a reason; the places
//    looked in ("Install Folder" last);
//  - the frame-wide run equals fann_run bit for bit for the shipped network and networks of
//    other shapes, activations, shortcuts and scaled inputs;
//  - the inputs: neighbour bins at their places, edges repeated, silence finite, frequency;
//  - isolation switched on mid-stream catches up with an engine that had it on within a few
//    frames (what it moves into the centre is measured on speech by the dialogue tools' test).
#include "engine/UpmixerDialogFeatures.h"
#include "engine/UpmixerDialogNetwork.h"
#include "processor/KaSettingsStore.h"
#include "processor/UpmixerParameters.h"
#include "support/EngineTestRig.h"

#include <fann.h>
#include <gtest/gtest.h>


#include <cmath>
#include <cstdlib>
#include <vector>

using namespace UpmixerParam;
using namespace EngineSignals;
using namespace KaChannelRouting;
namespace F = UpmixerDialogFeatures;

namespace
{
juce::File shippedNetwork() { return juce::File (ORRIN_SOURCE_DIR).getChildFile ("resources/dialog.net"); }

juce::File tempFile (const juce::String& name)
{
    // Inside the test process's own settings folder, which is removed when the run ends.
    return juce::File (std::getenv ("KESTRO_AUDIO_DIR")).getNonexistentChildFile (name, ".net", false);
}

/** Six frames of per-bin levels and differences, and the network inputs computed from them. */
struct History
{
    std::vector<std::vector<float>> level = std::vector<std::vector<float>> (F::numHistoryFrames, std::vector<float> (F::frameStride));
    std::vector<std::vector<float>> diff = level;
    std::vector<float> inputs = std::vector<float> ((size_t) F::numBins * F::numInputs);

    void compute()
    {
        const float* levels[F::numHistoryFrames];
        const float* diffs[F::numHistoryFrames];
        for (int j = 0; j < F::numHistoryFrames; ++j)
            levels[j] = level[(size_t) j].data(), diffs[j] = diff[(size_t) j].data();
        F::computeDialogFeatures (levels, diffs, inputs.data());
    }
};

/** Input vectors of a frame from six frames of made-up spectra (tones over noise). */
std::vector<float> someInputs (int seed)
{
    juce::Random random (seed);
    History history;
    for (int j = 0; j < F::numHistoryFrames; ++j)
    {
        std::vector<Complex> left (F::numBins), right (F::numBins);
        for (int k = 0; k < F::numBins; ++k)
        {
            const double scale = k % 17 == 0 ? 100.0 : 0.1;
            left[(size_t) k] = { scale * (random.nextDouble() - 0.5), scale * (random.nextDouble() - 0.5) };
            right[(size_t) k] = k % 34 == 0 ? left[(size_t) k] : Complex { scale * (random.nextDouble() - 0.5), 0.0 };
        }
        F::computeFrameLevels (left.data(), right.data(), history.level[(size_t) j].data(), history.diff[(size_t) j].data());
    }
    history.compute();
    return history.inputs;
}

/** Asserts that the frame-wide run of the network in file equals fann_run on every bin. */
void expectSameAsFannRun (const juce::File& file, int seed)
{
    juce::String error;
    fann* reference = UpmixerDialogNetwork::loadFile (file, error);
    ASSERT_NE (reference, nullptr) << error;
    UpmixerDialogNetwork network (file);
    ASSERT_TRUE (network.isLoaded());

    auto inputs = someInputs (seed);
    auto referenceInputs = inputs;
    std::vector<float> probabilities ((size_t) F::numBins);
    network.runFrame (inputs.data(), F::numBins, probabilities.data());

    const bool scaled = reference->scale_mean_in != nullptr;
    for (int k = 0; k < F::numBins; ++k)
    {
        float* row = referenceInputs.data() + k * F::numInputs;
        if (scaled)
            fann_scale_input (reference, row);
        const float expected = std::clamp (fann_run (reference, row)[0], 0.0f, 1.0f);
        ASSERT_EQ (probabilities[(size_t) k], expected) << file.getFileName() << " bin " << k;
    }
    fann_destroy (reference);
}

juce::File saveNetwork (fann* net, const juce::String& name)
{
    const auto file = tempFile (name);
    EXPECT_EQ (fann_save (net, file.getFullPathName().toRawUTF8()), 0);
    fann_destroy (net);
    return file;
}

/** A centred tone over independent noise per side (seeds seed and seed + 1). */
juce::AudioBuffer<float> voiceOverNoise (double f, float gain, float noiseGain, int seed, int length)
{
    auto input = byKind (length);
    std::vector<float> voice ((size_t) length);
    sine (voice.data(), length, f, 48000.0, gain);
    for (int kind : { kindL, kindR })
    {
        noise (input.getWritePointer (kind), length, seed + kind, noiseGain);
        juce::FloatVectorOperations::add (input.getWritePointer (kind), voice.data(), length);
    }
    return input;
}

/** A network of 37 inputs with seeded random weights. */
fann* randomNetwork (bool shortcut, fann_activationfunc_enum hidden, fann_activationfunc_enum output, unsigned int seed)
{
    fann* net = shortcut ? fann_create_shortcut (3, 37, 5, 1) : fann_create_standard (4, 37, 7, 5, 1);
    fann_set_activation_function_hidden (net, hidden);
    fann_set_activation_function_output (net, output);
    fann_set_activation_steepness_hidden (net, 0.7f);
    srand (seed);
    fann_randomize_weights (net, -0.4f, 0.4f);
    return net;
}
}

TEST (EngineDialogNetwork, RefusesFilesThatAreNotItsNetwork)
{
    const auto notANetwork = tempFile ("garbage");
    notANetwork.replaceWithText ("FANN_FLO_2.1\nthis is not a network\n");
    const std::pair<juce::File, const char*> rows[] = { { tempFile ("missing"), "no file" }, { notANetwork, "cannot read" },
                                                        { saveNetwork (fann_create_standard (3, 10, 4, 1), "ten-inputs"), "10 inputs" } };
    for (const auto& [file, reason] : rows)
    {
        juce::String error;
        EXPECT_EQ (UpmixerDialogNetwork::loadFile (file, error), nullptr) << reason;
        EXPECT_TRUE (error.contains (reason)) << error;
        EXPECT_FALSE (UpmixerDialogNetwork (file).isLoaded()) << reason;
    }
    EXPECT_TRUE (UpmixerDialogNetwork().isLoaded()) << "the engine's own copy of the shared network";
}

TEST (EngineDialogNetwork, LooksBesideTheBinaryThenInTheSourceTreeThenTheInstallFolder)
{
    auto& settings = KaSettingsStore::getInstance();
    settings.remove ("Install Folder");
    const auto withoutInstall = UpmixerDialogNetwork::candidateFiles();
    ASSERT_GE (withoutInstall.size(), 3);
    const auto binaryFolder = juce::File::getSpecialLocation (juce::File::currentExecutableFile).getParentDirectory();
    EXPECT_EQ (withoutInstall[0], binaryFolder.getChildFile ("dialog.net"));
    EXPECT_EQ (withoutInstall[1], binaryFolder.getParentDirectory().getChildFile ("Resources/dialog.net"));
    EXPECT_EQ (withoutInstall.getLast(), shippedNetwork());

    const auto install = juce::File::getSpecialLocation (juce::File::tempDirectory).getChildFile ("orrin-install");
    settings.setString ("Install Folder", install.getFullPathName());
    const auto withInstall = UpmixerDialogNetwork::candidateFiles();
    settings.remove ("Install Folder");
    ASSERT_EQ (withInstall.size(), withoutInstall.size() + 1);
    EXPECT_EQ (withInstall.getLast(), install.getChildFile ("Resources/dialog.net"));
}

TEST (EngineDialogNetwork, FrameRunMatchesFannRunBitForBit)
{
    expectSameAsFannRun (shippedNetwork(), 1);

    struct Row
    {
        bool shortcut, scaled;
        fann_activationfunc_enum hidden, output;
    };
    const Row rows[] = {
        { false, false, FANN_SIGMOID, FANN_SIGMOID },
        { false, false, FANN_SIGMOID_SYMMETRIC, FANN_SIGMOID },
        { false, false, FANN_SIGMOID_SYMMETRIC_STEPWISE, FANN_SIGMOID_STEPWISE },
        { false, false, FANN_ELLIOT_SYMMETRIC, FANN_ELLIOT },
        { false, false, FANN_GAUSSIAN, FANN_LINEAR_PIECE },
        { true, false, FANN_SIGMOID_SYMMETRIC, FANN_SIGMOID },
        { false, true, FANN_SIGMOID, FANN_SIGMOID },  // scaling stored in the file is applied first
    };
    unsigned int seed = 10;
    for (const auto& row : rows)
    {
        fann* net = randomNetwork (row.shortcut, row.hidden, row.output, ++seed);
        if (row.scaled)
        {
            fann_train_data* data = fann_create_train (4, 37, 1);
            for (unsigned int i = 0; i < 4; ++i)
            {
                for (unsigned int j = 0; j < 37; ++j)
                    data->input[i][j] = (float) (i * 3 + j % 5) - 4.0f;
                data->output[i][0] = (float) i / 4.0f;
            }
            fann_set_input_scaling_params (net, data, -1.0f, 1.0f);
            fann_destroy_train (data);
        }
        expectSameAsFannRun (saveNetwork (net, "random"), (int) seed);
    }
}

TEST (EngineDialogFeatures, ArrangesNeighboursFramesAndFrequency)
{
    // Frame j holds level 10 j at every bin, 50 + 10 j at bin 100 (frame levels 0 ... 50: span
    // 50); diff 5 below level.
    History h;
    for (int j = 0; j < F::numHistoryFrames; ++j)
        for (int k = 0; k <= F::frameMeanIndex; ++k)
        {
            h.level[(size_t) j][(size_t) k] = 10.0f * j + (k == 100 ? 50.0f : 0.0f);
            h.diff[(size_t) j][(size_t) k] = h.level[(size_t) j][(size_t) k] - 5.0f;
        }
    h.compute();
    auto at = [&] (int bin, int index) { return h.inputs[(size_t) (bin * F::numInputs + index)]; };

    for (int j = 0; j < F::numHistoryFrames; ++j)
    {
        const float plain = 10.0f * j / 50.0f, peak = (10.0f * j + 50.0f) / 50.0f;
        EXPECT_FLOAT_EQ (at (100, F::levelInput (j, 1)), peak);
        EXPECT_FLOAT_EQ (at (99, F::levelInput (j, 2)), peak);   // bin 100 is bin 99's upper neighbour
        EXPECT_FLOAT_EQ (at (101, F::levelInput (j, 0)), peak);  // and bin 101's lower one
        EXPECT_FLOAT_EQ (at (100, F::levelInput (j, 0)), plain);
        EXPECT_FLOAT_EQ (at (100, F::diffInput (j, 1)), peak - 0.1f);
        EXPECT_FLOAT_EQ (at (0, F::levelInput (j, 0)), at (0, F::levelInput (j, 1)));
        EXPECT_FLOAT_EQ (at (512, F::diffInput (j, 2)), at (512, F::diffInput (j, 1)));
    }
    EXPECT_EQ (at (0, F::frequencyInput), 0.0f);  // the frequency input spans the bins
    EXPECT_EQ (at (512, F::frequencyInput), 1.0f);

    // Silence everywhere, but for one loud frame: finite inputs.
    for (auto* rows : { &h.level, &h.diff })
        for (auto& row : *rows)
            std::fill (row.begin(), row.end(), F::silentDb);
    h.level[2][F::frameMeanIndex] = 40.0f;
    h.compute();
    for (float x : h.inputs)
        ASSERT_TRUE (std::isfinite (x) && std::abs (x) <= F::inputLimit);
}

TEST (EngineDialogIsolation, SwitchedOnMidStreamCatchesUpWithinAFewFrames)
{
    const int block = 512, switchAt = 188 * block;  // about 2 s in, on a block start
    const auto input = voiceOverNoise (300.0, 0.2f, 0.1f, 3, 4 * 48000);

    // One frame per 512-sample block: the energy moved by each engine, frame by frame.
    std::vector<float> always, switched;
    EngineRig a (1, 6), b (1, 6);
    a.set (DialogIsolate, 1.0f);
    a.run (input, block, 12, [&] (int start) {
        if (start > 0)
            always.push_back (a.engine->getFrequencyDomainAlgo().dialogEnergy.load());
    });
    b.run (input, block, 12, [&] (int start) {
        if (start == switchAt)
            b.set (DialogIsolate, 1.0f);
        if (start > 0)
            switched.push_back (b.engine->getFrequencyDomainAlgo().dialogEnergy.load());
    });
    ASSERT_EQ (always.size(), switched.size());

    const size_t firstOn = (size_t) (switchAt / block);  // the frame of the block after the switch
    EXPECT_GT (always[firstOn - 1], 0.0f);  // the network finds the centred tone
    EXPECT_EQ (switched[firstOn - 1], 0.0f);
    EXPECT_LT (switched[firstOn + 1], 0.9f * always[firstOn + 1]);  // builds up through the attack, not at once
    for (size_t frame = firstOn + 12; frame < always.size(); ++frame)
        EXPECT_NEAR (switched[frame], always[frame], 0.03f * always[frame]) << "frame " << frame;
}

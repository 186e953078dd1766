// make-placeholder-net OUTPUT
//
// Writes a small 37-8-1 FANN network that stands in for the trained dialogue detector until it
// exists. It is not trained: its weights are set by hand, so the file is the same on every run.
// It answers "centred and in the voice band" (logistic below: FANN's stepwise approximation of it):
//   hidden 0 to 5  one per history frame j: logistic (8 (c_j - 0.5)), c_j the mean over bins
//                  k - 1, k, k + 1 of (level - diff) in the normalised units of the feature
//                  arrangement; a bin whose difference signal lies well below its level is centred.
//   hidden 6, 7    the band edges on the frequency input (100 Hz and 4 kHz, slope 20 per unit).
//   output         logistic (1.5 sum (hidden 0..5) + 8 hidden 6 + 8 hidden 7 - 22): near 1 only
//                  for bins centred over most of the six frames inside the band, below the
//                  engine's -30 dB floor (0.0316) for bins centred in no frame or out of the band.
// After writing, it prints the network's answer for a few made-up frames as a check.
#include "engine/UpmixerDialogFeatures.h"

#include <fann.h>

#include <locale.h>

#include <cmath>
#include <cstdio>
#include <vector>

namespace
{
    namespace F = UpmixerDialogFeatures;

    constexpr int numHidden = 8;

    // FANN numbers neurons across the layers, each layer followed by its bias neuron.
    constexpr int biasIn = F::numInputs;
    constexpr int hidden (int h) { return F::numInputs + 1 + h; }
    constexpr int biasHidden = F::numInputs + 1 + numHidden;
    constexpr int output = F::numInputs + 2 + numHidden;

    double bandPosition (double hz) { return (std::log (hz) - std::log (10.0)) / (std::log (24000.0) - std::log (10.0)); }

    fann* build()
    {
        fann* net = fann_create_standard (3, F::numInputs, numHidden, 1);
        // The stepwise sigmoid is FANN's piecewise-linear form of 1 / (1 + exp (-2 s x)): no exp
        // per neuron, which would cost more than the weights (513 runs a frame). Steepness 0.5
        // makes it the plain logistic.
        fann_set_activation_function_hidden (net, FANN_SIGMOID_STEPWISE);
        fann_set_activation_function_output (net, FANN_SIGMOID_STEPWISE);
        fann_set_activation_steepness_hidden (net, 0.5f);
        fann_set_activation_steepness_output (net, 0.5f);

        std::vector<fann_connection> connections (fann_get_total_connections (net));
        fann_get_connection_array (net, connections.data());
        for (auto& c : connections)
            c.weight = 0.0f;
        fann_set_weight_array (net, connections.data(), (unsigned int) connections.size());

        constexpr float centredSteepness = 8.0f;
        for (int j = 0; j < F::numHistoryFrames; ++j)
        {
            for (int n = 0; n < 3; ++n)
            {
                fann_set_weight (net, F::levelInput (j, n), hidden (j), centredSteepness / 3.0f);
                fann_set_weight (net, F::diffInput (j, n), hidden (j), -centredSteepness / 3.0f);
            }
            fann_set_weight (net, biasIn, hidden (j), -centredSteepness * 0.5f);
            fann_set_weight (net, hidden (j), output, 1.5f);
        }

        constexpr float edgeSteepness = 20.0f;
        fann_set_weight (net, F::frequencyInput, hidden (6), edgeSteepness);
        fann_set_weight (net, biasIn, hidden (6), (float) (-edgeSteepness * bandPosition (100.0)));
        fann_set_weight (net, F::frequencyInput, hidden (7), -edgeSteepness);
        fann_set_weight (net, biasIn, hidden (7), (float) (edgeSteepness * bandPosition (4000.0)));
        fann_set_weight (net, hidden (6), output, 8.0f);
        fann_set_weight (net, hidden (7), output, 8.0f);
        fann_set_weight (net, biasHidden, output, -22.0f);
        return net;
    }

    struct Bin
    {
        double re = 0.0, im = 0.0;
    };

    // The network's answer at bin k for six identical frames holding one tone at bin k, with
    // the right channel's copy of it scaled by rightGain and turned by rightTurn radians.
    float probe (fann* net, int k, double rightGain, double rightTurn)
    {
        std::vector<Bin> left (F::numBins), right (F::numBins);
        for (int b = 0; b < F::numBins; ++b)
        {
            left[(size_t) b] = { 1.0e-3, 0.0 };  // a low noise floor, unrelated between the sides
            right[(size_t) b] = { 0.0, 1.0e-3 };
        }
        left[(size_t) k] = { 100.0, 0.0 };
        right[(size_t) k] = { 100.0 * rightGain * std::cos (rightTurn), 100.0 * rightGain * std::sin (rightTurn) };

        std::vector<float> level (F::frameStride), diff (F::frameStride);
        F::computeFrameLevels (left.data(), right.data(), level.data(), diff.data());
        const float* levels[F::numHistoryFrames];
        const float* diffs[F::numHistoryFrames];
        for (int j = 0; j < F::numHistoryFrames; ++j)
        {
            levels[j] = level.data();
            diffs[j] = diff.data();
        }
        std::vector<float> inputs ((size_t) F::numBins * F::numInputs);
        F::computeDialogFeatures (levels, diffs, inputs.data());
        return fann_run (net, inputs.data() + k * F::numInputs)[0];
    }
}

int main (int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf (stderr, "usage: make-placeholder-net OUTPUT\n");
        return 2;
    }

    fann* net = build();

    // fann_save writes numbers in the locale's format: write them in the C locale's.
    const locale_t cLocale = newlocale (LC_NUMERIC_MASK, "C", (locale_t) 0);
    const locale_t previous = uselocale (cLocale);
    const int saved = fann_save (net, argv[1]);
    uselocale (previous);
    freelocale (cLocale);

    if (saved != 0)
    {
        std::fprintf (stderr, "make-placeholder-net: cannot write %s\n", argv[1]);
        fann_destroy (net);
        return 1;
    }

    const int voiceBin = 21;  // about 1 kHz
    std::printf ("wrote %s\n", argv[1]);
    std::printf ("1 kHz, L = R (centred):     %.3f\n", probe (net, voiceBin, 1.0, 0.0));
    std::printf ("1 kHz, R at -12 dB:         %.3f\n", probe (net, voiceBin, 0.25, 0.0));
    std::printf ("1 kHz, L = -R:              %.3f\n", probe (net, voiceBin, 1.0, 3.14159265));
    std::printf ("1 kHz, R a quarter turn on: %.3f\n", probe (net, voiceBin, 1.0, 1.5707963));
    std::printf ("12 kHz, L = R:              %.3f\n", probe (net, 256, 1.0, 0.0));
    fann_destroy (net);
    return 0;
}

// dialog-train --data DIR [options]   (--help lists them)
//
// Trains the dialogue detector "dialog.net" from the mixes that tools/dialog-data made, with
// FANN's training API, and writes it with its credits.
//
//   1. Samples: every mix of DIR/mixes.tsv goes through the engine's framing (BlockOverlaper);
//      each frame's network inputs come from the engine's own feature functions
//      (UpmixerDialogFeatures, through DialogToolkit::FeatureHistory). A bin's label is 1 when
//      the speech's mid power exceeds the background's by --margin-db (3 dB) in that frame (the
//      newest of the six the inputs see, which is the frame the engine applies the resulting
//      mask to), else 0. The margin matters because the engine's mask spreads each bin's gain up
//      the spectrum and holds it over frames: an ideal mask of "speech dominates by 3 dB" gains
//      about 1 dB of ratio over "speech dominates" through those steps, at a tenth of a dB of
//      speech. Bins more than 30 dB below the frame's loudest are skipped; of the rest, a few
//      per frame are drawn (seeded) in proportion to their level (--sampling-power 1), so the
//      network learns most where the energy, and so the measured ratio, is. Validation mixes
//      use validation files only and are never trained on.
//   2. Candidates: 37-H-1 networks (symmetric sigmoid hidden, sigmoid output), H from --hidden,
//      trained with RPROP on the training samples from seeded weights; each keeps the network
//      of its best validation error.
//   3. Cost: each candidate's per-frame time is measured through the engine's run path
//      (UpmixerDialogNetwork::runFrame, 513 bins), median of many frames.
//   4. Choice: the cheapest candidate whose validation accuracy is within --tolerance points of
//      the most accurate one.
//   5. Calibration (see calibrate()): on training mixes at 0 dB, the output's scale and shift
//      before its sigmoid are chosen for the engine's mask, folded into the output neuron. The
//      network is written to --out under the C numeric locale, the credits to --credits, the
//      comparison to DIR/train-report.md and to standard output.
// Deterministic: the same data and options give the same network, whatever the thread count.
#include "engine/UpmixerDialogNetwork.h"
#include "tools/dialog-common/DialogToolkit.h"

#include <fann.h>

#include <locale.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <thread>

namespace
{
namespace F = UpmixerDialogFeatures;
namespace T = DialogToolkit;

struct Options
{
    juce::File data { "/work/dialog-data" };
    juce::File out { juce::File (ORRIN_SOURCE_DIR).getChildFile ("resources/dialog.net") };
    juce::File credits { juce::File (ORRIN_SOURCE_DIR).getChildFile ("resources/dialog-credits.txt") };
    std::vector<int> hidden { 4, 8, 16 };
    int epochs = 300;
    int binsPerFrame = 4;
    int threads = 2;
    unsigned int seed = 5;
    double tolerance = 0.5;     // accuracy points
    double skipBelowDb = 30.0;
    double marginDb = 3.0;      // a bin is speech when the speech's mid power exceeds the background's by this much
    double samplingPower = 1.0; // bins are drawn in proportion to their level to this power (0: uniformly)
    juce::File candidates, report; // default: DIR/candidates, DIR/train-report.md
    int maxTrainMixes = 100000;
    int calibrationMixes = 40;
    double keptLimitDb = 2.5;   // the calibration loses at most this much of the speech (dB, on training mixes)
};

struct Samples
{
    std::vector<float> inputs;  // 37 per sample
    std::vector<float> labels;
    size_t size() const { return labels.size(); }
    void append (const Samples& other)
    {
        inputs.insert (inputs.end(), other.inputs.begin(), other.inputs.end());
        labels.insert (labels.end(), other.labels.begin(), other.labels.end());
    }
};

struct Mix
{
    juce::String name, split, kind;
};

std::vector<Mix> readMixes (const juce::File& data)
{
    std::vector<Mix> mixes;
    juce::StringArray lines;
    data.getChildFile ("mixes.tsv").readLines (lines);
    for (int i = 1; i < lines.size(); ++i)
    {
        const auto fields = juce::StringArray::fromTokens (lines[i], "\t", "");
        if (fields.size() >= 3)
            mixes.push_back ({ fields[0], fields[1], fields[2] });
    }
    return mixes;
}

/** The samples of one mix: a few eligible bins of every frame, drawn with the mix's own seed. */
Samples samplesOf (const Options& options, const Mix& mix, size_t mixIndex)
{
    Samples samples;
    T::Stems stems;
    juce::String error;
    const auto folder = options.data.getChildFile ("mixes");
    if (! T::readStems (folder.getChildFile (mix.name + "-speech.wav"), folder.getChildFile (mix.name + "-background.wav"), stems, error))
    {
        std::fprintf (stderr, "dialog-train: %s\n", error.toRawUTF8());
        return samples;
    }

    std::mt19937_64 random (options.seed * 1000003ull + mixIndex * 7919ull + (mix.split == "val" ? 1 : 0));
    const double skipBelow = std::pow (10.0, -options.skipBelowDb / 10.0);
    const double margin = std::pow (10.0, options.marginDb / 10.0);
    T::FeatureHistory history;
    std::vector<float> inputs ((size_t) F::numBins * F::numInputs);
    std::vector<int> eligible;
    std::vector<double> weights;

    T::FrameRunner runner ([&] (FreqDataStore<Complex>& frame) {
        const Complex* l = frame.getChannel (0);
        const Complex* r = frame.getChannel (1);
        history.push (l, r);
        history.features (inputs.data());

        double loudest = 0.0;
        std::array<double, F::numBins> level;
        for (int k = 0; k < F::numBins; ++k)
        {
            level[(size_t) k] = std::max (l[k].re * l[k].re + l[k].im * l[k].im, r[k].re * r[k].re + r[k].im * r[k].im);
            loudest = std::max (loudest, level[(size_t) k]);
        }
        if (loudest < 1.0e-10)
            return;
        eligible.clear();
        for (int k = 0; k < F::numBins; ++k)
            if (level[(size_t) k] >= loudest * skipBelow)
                eligible.push_back (k);

        const Complex* sl = frame.getChannel (2);
        const Complex* sr = frame.getChannel (3);
        const Complex* bl = frame.getChannel (4);
        const Complex* br = frame.getChannel (5);
        weights.clear();
        for (int k : eligible)
            weights.push_back (std::pow (level[(size_t) k] / loudest, options.samplingPower));
        for (int n = 0; n < options.binsPerFrame && ! eligible.empty(); ++n)
        {
            size_t pick = 0;
            if (options.samplingPower == 0.0)
                pick = (size_t) (random() % eligible.size());
            else
            {
                double total = 0.0;
                for (double w : weights)
                    total += w;
                double at = std::uniform_real_distribution<double> (0.0, total) (random);
                while (pick + 1 < weights.size() && (at -= weights[pick]) > 0.0)
                    ++pick;
            }
            const int k = eligible[pick];
            eligible[pick] = eligible.back();
            eligible.pop_back();
            weights[pick] = weights.back();
            weights.pop_back();
            const double smr = (sl[k].re + sr[k].re) / 2.0, smi = (sl[k].im + sr[k].im) / 2.0;
            const double bmr = (bl[k].re + br[k].re) / 2.0, bmi = (bl[k].im + br[k].im) / 2.0;
            const double ps = smr * smr + smi * smi, pb = bmr * bmr + bmi * bmi;
            const float* row = inputs.data() + k * F::numInputs;
            samples.inputs.insert (samples.inputs.end(), row, row + F::numInputs);
            samples.labels.push_back (ps > pb * margin ? 1.0f : 0.0f);
        }
    });

    const int n = stems.numSamples();
    std::vector<float> mixL ((size_t) n), mixR ((size_t) n);
    for (int i = 0; i < n; ++i)
    {
        mixL[(size_t) i] = stems.speechL[(size_t) i] + stems.backgroundL[(size_t) i];
        mixR[(size_t) i] = stems.speechR[(size_t) i] + stems.backgroundR[(size_t) i];
    }
    for (int at = 0; at + T::hop <= n; at += T::hop)
    {
        const float* in[7] = { mixL.data() + at, mixR.data() + at, stems.speechL.data() + at, stems.speechR.data() + at,
                               stems.backgroundL.data() + at, stems.backgroundR.data() + at, nullptr };
        runner.processHop (in, nullptr);
    }
    return samples;
}

/** Every mix of a split, two threads at most; the result is in mix order whatever the threads. */
Samples collect (const Options& options, const std::vector<Mix>& mixes, const juce::String& split)
{
    std::vector<std::pair<size_t, const Mix*>> chosen;
    for (size_t i = 0; i < mixes.size(); ++i)
        if (mixes[i].split == split && (split != "train" || (int) chosen.size() < options.maxTrainMixes))
            chosen.push_back ({ i, &mixes[i] });

    std::vector<Samples> perMix (chosen.size());
    std::atomic<size_t> next { 0 };
    auto work = [&] {
        for (size_t i; (i = next++) < chosen.size();)
            perMix[i] = samplesOf (options, *chosen[i].second, chosen[i].first);
    };
    std::vector<std::thread> workers;
    for (int t = 0; t < options.threads; ++t)
        workers.emplace_back (work);
    for (auto& w : workers)
        w.join();

    Samples all;
    for (const auto& s : perMix)
        all.append (s);
    return all;
}

fann_train_data* toFann (const Samples& samples)
{
    fann_train_data* data = fann_create_train ((unsigned int) samples.size(), F::numInputs, 1);
    for (size_t i = 0; i < samples.size(); ++i)
    {
        std::copy_n (samples.inputs.data() + i * F::numInputs, F::numInputs, data->input[i]);
        data->output[i][0] = samples.labels[i];
    }
    return data;
}

struct Score
{
    double mse = 1.0, accuracy = 0.0, speechRecall = 0.0, backgroundRecall = 0.0;
};

Score score (fann* net, const Samples& samples)
{
    Score s;
    double squared = 0.0;
    size_t right = 0, speech = 0, speechRight = 0, backgroundRight = 0;
    for (size_t i = 0; i < samples.size(); ++i)
    {
        const float y = fann_run (net, const_cast<float*> (samples.inputs.data() + i * F::numInputs))[0];
        const float t = samples.labels[i];
        squared += (double) (y - t) * (y - t);
        const bool hit = (y > 0.5f) == (t > 0.5f);
        right += hit ? 1 : 0;
        speech += t > 0.5f ? 1 : 0;
        (t > 0.5f ? speechRight : backgroundRight) += hit ? 1 : 0;
    }
    const double n = (double) std::max<size_t> (samples.size(), 1);
    s.mse = squared / n;
    s.accuracy = 100.0 * (double) right / n;
    s.speechRecall = 100.0 * (double) speechRight / (double) std::max<size_t> (speech, 1);
    s.backgroundRecall = 100.0 * (double) backgroundRight / (double) std::max<size_t> (samples.size() - speech, 1);
    return s;
}

struct Candidate
{
    int hidden = 0;
    fann* best = nullptr;
    Score validation, training;
    int bestEpoch = 0;
    double seconds = 0.0;
    double frameMicroseconds = 0.0;
    juce::File file;
};

/** Seeded weights, uniform within +-1 / sqrt (inputs of the neuron) (FANN's own uses rand()). */
void seedWeights (fann* net, unsigned int seed)
{
    std::mt19937 random (seed);
    std::vector<fann_connection> connections (fann_get_total_connections (net));
    fann_get_connection_array (net, connections.data());
    std::map<unsigned int, int> fanIn;
    for (const auto& c : connections)
        ++fanIn[c.to_neuron];
    for (auto& c : connections)
    {
        const float limit = 1.0f / std::sqrt ((float) fanIn[c.to_neuron]);
        c.weight = std::uniform_real_distribution<float> (-limit, limit) (random);
    }
    fann_set_weight_array (net, connections.data(), (unsigned int) connections.size());
}

void train (const Options& options, Candidate& candidate, fann_train_data* data, const Samples& training, const Samples& validation, std::mutex& printLock)
{
    const auto start = std::chrono::steady_clock::now();
    fann* net = fann_create_standard (3, F::numInputs, candidate.hidden, 1);
    fann_set_activation_function_hidden (net, FANN_SIGMOID_SYMMETRIC);
    fann_set_activation_function_output (net, FANN_SIGMOID);
    fann_set_training_algorithm (net, FANN_TRAIN_RPROP);
    fann_set_train_error_function (net, FANN_ERRORFUNC_LINEAR);
    seedWeights (net, options.seed * 131u + (unsigned int) candidate.hidden);

    constexpr int every = 5;
    for (int epoch = 1; epoch <= options.epochs; ++epoch)
    {
        const float trainMse = fann_train_epoch (net, data);
        if (epoch % every != 0 && epoch != options.epochs)
            continue;
        const Score v = score (net, validation);
        if (candidate.best == nullptr || v.mse < candidate.validation.mse)
        {
            if (candidate.best != nullptr)
                fann_destroy (candidate.best);
            candidate.best = fann_copy (net);
            candidate.validation = v;
            candidate.bestEpoch = epoch;
        }
        const std::lock_guard<std::mutex> lock (printLock);
        std::printf ("  37-%d-1 epoch %3d: training MSE %.4f, validation MSE %.4f, accuracy %.2f %%\n", candidate.hidden, epoch,
                     (double) trainMse, v.mse, v.accuracy);
        std::fflush (stdout);
    }
    fann_destroy (net);
    candidate.training = score (candidate.best, training);
    candidate.seconds = std::chrono::duration<double> (std::chrono::steady_clock::now() - start).count();
}

/** What the calibration needs of one training mix at 0 dB: per frame and bin, the output
    neuron's value before its sigmoid, and the mids' powers of speech and background; and the
    same for the background alone. */
struct CalibrationMix
{
    std::vector<float> value, speech, background;  // frames x 513
    std::vector<float> leakValue, leakBackground;
};

/** The network with a linear output: fann_run then gives the output neuron's value (steepness
    times its sum), which its sigmoid would turn into 1 / (1 + exp (-2 value)). */
fann* linearOutput (fann* net)
{
    fann* copy = fann_copy (net);
    fann_set_activation_function_output (copy, FANN_LINEAR);
    return copy;
}

void runForCalibration (fann* linear, const std::vector<float>* in[6], std::vector<float>& value, std::vector<float>* speech,
                        std::vector<float>& background)
{
    T::FeatureHistory history;
    std::vector<float> inputs ((size_t) F::numBins * F::numInputs);
    T::FrameRunner runner ([&] (FreqDataStore<Complex>& frame) {
        history.push (frame.getChannel (0), frame.getChannel (1));
        history.features (inputs.data());
        for (int k = 0; k < F::numBins; ++k)
        {
            value.push_back (fann_run (linear, inputs.data() + k * F::numInputs)[0]);
            auto midPower = [&frame, k] (int a, int b) {
                const double re = (frame.getChannel (a)[k].re + frame.getChannel (b)[k].re) / 2.0;
                const double im = (frame.getChannel (a)[k].im + frame.getChannel (b)[k].im) / 2.0;
                return (float) (re * re + im * im);
            };
            if (speech != nullptr)
                speech->push_back (midPower (2, 3));
            background.push_back (midPower (4, 5));
        }
    });
    const size_t n = in[0]->size();
    for (size_t at = 0; at + T::hop <= n; at += T::hop)
    {
        const float* p[7];
        for (int c = 0; c < 6; ++c)
            p[c] = in[c] != nullptr ? in[c]->data() + at : nullptr;
        p[6] = nullptr;
        runner.processHop (p, nullptr);
    }
}

struct Calibration
{
    double scale = 1.0, shift = 0.0;
    double deltaSbr = 0.0, kept = 0.0, leakage = 0.0;
};

/** The mask the engine would make from calibrated outputs, measured in the frames' spectra. */
Calibration measureCalibration (const std::vector<CalibrationMix>& mixes, double scale, double shift,
                                const UpmixerFrequencyDomainAlgo::Settings& settings, double idealMargin = 0.0)
{
    const bool ideal = idealMargin > 0.0;
    Calibration c { scale, shift };
    std::vector<float> probability (F::numBins);
    const std::vector<float>* speech = nullptr;
    const std::vector<float>* background = nullptr;
    auto probabilities = [&] (const std::vector<float>& value, size_t frame) {
        for (int k = 0; k < F::numBins; ++k)
        {
            const size_t i = frame * F::numBins + (size_t) k;
            if (ideal)  // the truth instead of the network: 1 where the speech dominates
                probability[(size_t) k] = speech != nullptr && (*speech)[i] > (*background)[i] * idealMargin ? 1.0f : 0.0f;
            else
                probability[(size_t) k] = (float) (1.0 / (1.0 + std::exp (-2.0 * (scale * value[i] + shift))));
        }
    };
    // The mask run over one signal's frames: the masked and the plain energy of each given part
    // (its power per bin and frame; the second part may be absent).
    struct Energies
    {
        double masked[2] {}, plain[2] {};
    };
    auto energies = [&] (const std::vector<float>& value, const std::vector<float>* first, const std::vector<float>* second) {
        Energies e;
        const std::vector<float>* parts[2] = { first, second };
        std::array<float, F::numBins> mask {};
        for (size_t frame = 0; frame * F::numBins < value.size(); ++frame)
        {
            probabilities (value, frame);
            const auto g = T::maskGains (settings, probability.data(), mask);
            for (int k = 0; k < F::numBins; ++k)
            {
                const size_t i = frame * F::numBins + (size_t) k;
                for (int p = 0; p < 2; ++p)
                    if (parts[p] != nullptr)
                    {
                        e.masked[p] += g[(size_t) k] * g[(size_t) k] * (*parts[p])[i];
                        e.plain[p] += (*parts[p])[i];
                    }
            }
        }
        return e;
    };
    for (const auto& mix : mixes)
    {
        speech = &mix.speech;
        background = &mix.background;
        const auto m = energies (mix.value, &mix.speech, &mix.background);
        c.deltaSbr += T::ratioDb (m.masked[0], m.masked[1]) - T::ratioDb (m.plain[0], m.plain[1]);
        c.kept += T::ratioDb (m.masked[0], m.plain[0]);

        speech = nullptr;
        const auto leak = energies (mix.leakValue, &mix.leakBackground, nullptr);
        c.leakage += T::ratioDb (leak.masked[0], leak.plain[0]);
    }
    const double n = (double) std::max<size_t> (mixes.size(), 1);
    c.deltaSbr /= n;
    c.kept /= n;
    c.leakage /= n;
    return c;
}

/** The output's calibration to the engine's mask, chosen on training mixes (never validation):
    the network's output value v becomes scale x v + shift before its sigmoid. The engine maps a
    probability x to a mask target 2 (x - 0.0316), so an output of 0.3 on an uncertain bin
    already moves more than half of it; scale and shift choose how sure the network must be.
    Chosen: the largest dSBR at 0 dB among those that lose at most keptLimitDb of the speech.
    The limit (2.5 dB) is looser than the 2 dB the detector is held to, because the network
    loses more speech on the training mixes than on unseen ones (about 0.5 dB more, measured). */
Calibration calibrate (const Options& options, const std::vector<Mix>& mixes, fann* net, juce::String& report)
{
    fann* linear = linearOutput (net);
    std::vector<CalibrationMix> data;
    const auto folder = options.data.getChildFile ("mixes");
    for (const auto& mix : mixes)
    {
        if ((int) data.size() >= options.calibrationMixes)
            break;
        if (mix.split != "train" || mix.kind != "both")
            continue;
        T::Stems stems;
        juce::String error;
        if (! T::readStems (folder.getChildFile (mix.name + "-speech.wav"), folder.getChildFile (mix.name + "-background.wav"), stems, error))
            continue;
        double ps = 0.0, pb = 0.0;
        for (size_t i = 0; i < stems.speechL.size(); ++i)
        {
            ps += std::pow (0.5 * (stems.speechL[i] + stems.speechR[i]), 2.0);
            pb += std::pow (0.5 * (stems.backgroundL[i] + stems.backgroundR[i]), 2.0);
        }
        const float gain = (float) std::sqrt (ps / std::max (pb, 1.0e-20));  // 0 dB on the mid
        std::vector<float> mixL (stems.speechL.size()), mixR (stems.speechL.size());
        for (size_t i = 0; i < mixL.size(); ++i)
        {
            stems.backgroundL[i] *= gain;
            stems.backgroundR[i] *= gain;
            mixL[i] = stems.speechL[i] + stems.backgroundL[i];
            mixR[i] = stems.speechR[i] + stems.backgroundR[i];
        }
        CalibrationMix c;
        const std::vector<float>* both[6] = { &mixL, &mixR, &stems.speechL, &stems.speechR, &stems.backgroundL, &stems.backgroundR };
        runForCalibration (linear, both, c.value, &c.speech, c.background);
        const std::vector<float>* alone[6] = { &stems.backgroundL, &stems.backgroundR, nullptr, nullptr, &stems.backgroundL, &stems.backgroundR };
        runForCalibration (linear, alone, c.leakValue, nullptr, c.leakBackground);
        data.push_back (std::move (c));
    }
    fann_destroy (linear);

    const auto settings = T::engineSettings (true);
    Calibration chosen = measureCalibration (data, 1.0, 0.0, settings);
    const Calibration plain = chosen;
    bool found = chosen.kept >= -options.keptLimitDb;
    for (double scale : { 1.0, 1.5, 2.0, 3.0, 4.0, 6.0, 8.0, 12.0, 16.0, 24.0 })
        for (double shift = 3.0; shift >= -6.0; shift -= 0.25)
        {
            const auto c = measureCalibration (data, scale, shift, settings);
            const bool ok = c.kept >= -options.keptLimitDb;
            if ((ok && (! found || c.deltaSbr > chosen.deltaSbr)) || (! ok && ! found && c.kept > chosen.kept))
            {
                chosen = c;
                found = found || ok;
            }
        }
    auto line = [] (const char* what, const Calibration& c) {
        return juce::String (what) + ": scale " + juce::String (c.scale, 1) + ", shift " + juce::String (c.shift, 1) + ": dSBR "
               + juce::String (c.deltaSbr, 1) + " dB, speech kept " + juce::String (c.kept, 1) + " dB, background-only leakage "
               + juce::String (c.leakage, 1) + " dB";
    };
    report << "Calibration on " << (int) data.size() << " training mixes at 0 dB (frame spectra, the engine's mask steps):\n- "
           << line ("as trained", plain) << "\n- " << line ("chosen", chosen) << "\n- "
           << line ("the ideal mask through the same steps", measureCalibration (data, 1.0, 0.0, settings, std::pow (10.0, options.marginDb / 10.0))) << "\n";
    return chosen;
}

/** Folds the calibration into the output neuron: its value scale x v + shift comes from
    scaling its incoming weights (bias included) and adding shift / steepness to the bias. */
void applyCalibration (fann* net, const Calibration& c)
{
    std::vector<fann_connection> connections (fann_get_total_connections (net));
    fann_get_connection_array (net, connections.data());
    unsigned int output = 0;
    for (const auto& k : connections)
        output = std::max (output, k.to_neuron);
    const float steepness = fann_get_activation_steepness (net, (int) fann_get_num_layers (net) - 1, 0);
    for (auto& k : connections)
        if (k.to_neuron == output)
        {
            k.weight = (float) (k.weight * c.scale);
            if (k.from_neuron == output - 1)  // the bias neuron of the layer below
                k.weight += (float) (c.shift / steepness);
        }
    fann_set_weight_array (net, connections.data(), (unsigned int) connections.size());
}

/** Saves under the C numeric locale on this thread (fann_save follows the locale). */
bool save (fann* net, const juce::File& file)
{
    file.getParentDirectory().createDirectory();
    const locale_t cLocale = newlocale (LC_NUMERIC_MASK, "C", (locale_t) 0);
    const locale_t previous = uselocale (cLocale);
    const int result = fann_save (net, file.getFullPathName().toRawUTF8());
    uselocale (previous);
    freelocale (cLocale);
    return result == 0;
}

/** Median time of one frame (513 bins) through the engine's run path, in microseconds. */
double frameCost (const juce::File& file, const Samples& validation)
{
    UpmixerDialogNetwork network (file);
    if (! network.isLoaded())
        return -1.0;
    std::vector<float> inputs ((size_t) F::numBins * F::numInputs), work (inputs.size()), out (F::numBins);
    for (int k = 0; k < F::numBins; ++k)
        std::copy_n (validation.inputs.data() + ((size_t) k * 97 % validation.size()) * F::numInputs, F::numInputs, inputs.data() + k * F::numInputs);
    std::vector<double> times;
    for (int run = 0; run < 400; ++run)
    {
        work = inputs;
        const auto t0 = std::chrono::steady_clock::now();
        network.runFrame (work.data(), F::numBins, out.data());
        const auto t1 = std::chrono::steady_clock::now();
        if (run >= 50)
            times.push_back (std::chrono::duration<double, std::micro> (t1 - t0).count());
    }
    std::nth_element (times.begin(), times.begin() + (long) times.size() / 2, times.end());
    return times[times.size() / 2];
}

/** A package's copyright file: in the unpacked package, else the installed one. */
juce::File copyrightFile (const juce::File& data, const juce::String& package)
{
    const auto unpacked = data.getChildFile ("pkgs/" + package + "/usr/share/doc/" + package + "/copyright");
    return unpacked.existsAsFile() ? unpacked : juce::File ("/usr/share/doc/" + package + "/copyright");
}

/** A package's version: from its fetched .deb, else from dpkg. */
juce::String packageVersion (const juce::File& data, const juce::String& package)
{
    for (const auto& deb : data.getChildFile ("debs").findChildFiles (juce::File::findFiles, false, package + "_*.deb"))
        return juce::URL::removeEscapeChars (deb.getFileName().fromFirstOccurrenceOf ("_", false, false).upToFirstOccurrenceOf ("_", false, false));
    juce::ChildProcess query;
    if (query.start (juce::StringArray { "dpkg-query", "-W", "-f=${Version}", package }))
        return query.readAllProcessOutput().trim();
    return "unknown";
}

/** The credits' summary of one copyright file: for a machine-readable one the upstream, source,
    the first stanza's holders and every licence named; for another, its lines that name a
    copyright or a licence. */
juce::String copyrightSummary (const juce::File& file)
{
    juce::StringArray lines;
    file.readLines (lines);
    juce::String text;
    if (lines.size() > 0 && lines[0].startsWith ("Format:"))
    {
        juce::String upstream, source;
        juce::StringArray licences, holders;
        bool firstStanza = true, inCopyright = false;
        for (const auto& line : lines)
        {
            if (line.startsWith ("Upstream-Name:"))
                upstream = line.fromFirstOccurrenceOf (":", false, false).trim();
            else if (line.startsWith ("Source:") && source.isEmpty())
                source = line.fromFirstOccurrenceOf (":", false, false).trim();
            if (line.startsWith ("License:"))
            {
                licences.addIfNotAlreadyThere (line.fromFirstOccurrenceOf (":", false, false).trim());
                if (holders.size() > 0)
                    firstStanza = false;
            }
            if (line.startsWith ("Copyright:") && firstStanza)
            {
                inCopyright = true;
                holders.add (line.fromFirstOccurrenceOf (":", false, false).trim());
            }
            else if (inCopyright && line.startsWith (" ") && holders.size() < 4)
                holders.add (line.trim());
            else
                inCopyright = false;
        }
        holders.removeEmptyStrings();
        licences.removeEmptyStrings();
        if (upstream.isNotEmpty())
            text << "  upstream: " << upstream << "\n";
        if (source.isNotEmpty())
            text << "  source: " << source << "\n";
        if (holders.size() > 0)
            text << "  copyright: " << holders.joinIntoString ("; ") << "\n";
        text << "  licences: " << licences.joinIntoString (", ") << "\n";
        return text;
    }
    int kept = 0;
    for (const auto& line : lines)
        if (kept < 10 && (line.containsIgnoreCase ("copyright") || line.containsIgnoreCase ("licen") || line.contains ("GPL")
                          || line.containsIgnoreCase ("public domain")))
        {
            text << "  | " << line.trim() << "\n";
            ++kept;
        }
    return text;
}

void writeCredits (const Options& options, const juce::File& target)
{
    // Package -> how its files were used, from the manifest; plus the packages that generated
    // material without a file of their own in it.
    std::map<juce::String, std::map<juce::String, int>> uses;
    juce::StringArray lines;
    options.data.getChildFile ("manifest.tsv").readLines (lines);
    for (int i = 1; i < lines.size(); ++i)
    {
        const auto f = juce::StringArray::fromTokens (lines[i], "\t", "");
        if (f.size() >= 5)
            ++uses[f[0]][f[4]];
    }
    uses["fortunes"]["sentences read by the speech synthesisers"];
    uses["festvox-us-slt-hts"]["festival's voice"];
    uses["fluidsynth"]["MIDI renderer"];

    juce::String text;
    text << "dialog.net, the dialogue detector of Orrin Upmix, was trained by tools/dialog-train on mixes made by\n"
         << "tools/dialog-data from the following Debian 12 packages. The network holds only weights learnt from\n"
         << "that material; no audio or text of it is distributed with Orrin Upmix. The files used are listed in\n"
         << "resources/dialog-data-manifest.tsv. For each package, a summary of its /usr/share/doc/PACKAGE/copyright:\n\n";
    for (const auto& [package, roles] : uses)
    {
        text << package << " " << packageVersion (options.data, package) << "\n  used:";
        juce::StringArray parts;
        for (const auto& [role, count] : roles)
            parts.add (count > 0 ? juce::String (count) + " files as " + role : role);
        text << " " << parts.joinIntoString (", ") << "\n" << copyrightSummary (copyrightFile (options.data, package)) << "\n";
    }
    target.replaceWithText (text);
}

std::vector<int> parseList (const juce::String& text)
{
    std::vector<int> values;
    for (const auto& t : juce::StringArray::fromTokens (text, ",", ""))
        if (t.getIntValue() > 0)
            values.push_back (t.getIntValue());
    return values;
}
}

int main (int argc, char** argv)
{
    Options options;
    bool creditsOnly = false;
    juce::File calibrateOnly;
    for (int i = 1; i + 1 < argc; i += 2)
    {
        const juce::String key (argv[i]), value (argv[i + 1]);
        if (key == "--data") options.data = juce::File (juce::File::getCurrentWorkingDirectory().getChildFile (value));
        else if (key == "--out") options.out = juce::File::getCurrentWorkingDirectory().getChildFile (value);
        else if (key == "--credits") options.credits = juce::File::getCurrentWorkingDirectory().getChildFile (value);
        else if (key == "--hidden") options.hidden = parseList (value);
        else if (key == "--epochs") options.epochs = value.getIntValue();
        else if (key == "--bins-per-frame") options.binsPerFrame = value.getIntValue();
        else if (key == "--threads") options.threads = std::clamp (value.getIntValue(), 1, 2);
        else if (key == "--seed") options.seed = (unsigned int) value.getLargeIntValue();
        else if (key == "--tolerance") options.tolerance = value.getDoubleValue();
        else if (key == "--max-train-mixes") options.maxTrainMixes = value.getIntValue();
        else if (key == "--skip-below-db") options.skipBelowDb = value.getDoubleValue();
        else if (key == "--margin-db") options.marginDb = value.getDoubleValue();
        else if (key == "--candidates") options.candidates = juce::File::getCurrentWorkingDirectory().getChildFile (value);
        else if (key == "--report") options.report = juce::File::getCurrentWorkingDirectory().getChildFile (value);
        else if (key == "--sampling-power") options.samplingPower = value.getDoubleValue();
        else if (key == "--calibration-mixes") options.calibrationMixes = value.getIntValue();
        else if (key == "--kept-limit-db") options.keptLimitDb = value.getDoubleValue();
        else if (key == "--credits-only") creditsOnly = value == "1";
        else if (key == "--calibrate-only") calibrateOnly = juce::File::getCurrentWorkingDirectory().getChildFile (value);
        else
        {
            std::fprintf (stderr, "dialog-train: unknown option %s\n", argv[i]);
            return 2;
        }
    }
    if (argc % 2 == 0 || options.hidden.empty())
    {
        std::fprintf (stderr, "usage: dialog-train --data DIR [--out FILE] [--credits FILE] [--hidden 4,8,16] [--epochs N]\n"
                              "                    [--bins-per-frame N] [--threads 1|2] [--seed N] [--tolerance POINTS] [--max-train-mixes N]\n"
                              "                    [--skip-below-db DB] [--margin-db DB] [--sampling-power P] [--calibration-mixes N]\n"
                              "                    [--kept-limit-db DB] [--candidates DIR] [--report FILE] [--credits-only 1]\n"
                              "                    [--calibrate-only CANDIDATE.net]\n");
        return 2;
    }

    if (creditsOnly)
    {
        writeCredits (options, options.credits);
        return 0;
    }

    const auto mixes = readMixes (options.data);
    if (mixes.empty())
    {
        std::fprintf (stderr, "dialog-train: no mixes in %s (run tools/dialog-data first)\n", options.data.getFullPathName().toRawUTF8());
        return 1;
    }

    // Calibrates a candidate that an earlier run left in DIR/candidates, and ships it.
    if (calibrateOnly != juce::File())
    {
        juce::String error;
        fann* net = UpmixerDialogNetwork::loadFile (calibrateOnly, error);
        if (net == nullptr)
        {
            std::fprintf (stderr, "dialog-train: %s\n", error.toRawUTF8());
            return 1;
        }
        juce::String calibrationReport;
        applyCalibration (net, calibrate (options, mixes, net, calibrationReport));
        std::printf ("%s\n", calibrationReport.toRawUTF8());
        const bool saved = save (net, options.out);
        fann_destroy (net);
        return saved ? 0 : 1;
    }
    const auto t0 = std::chrono::steady_clock::now();
    const Samples training = collect (options, mixes, "train");
    const Samples validation = collect (options, mixes, "val");
    auto share = [] (const Samples& s) {
        return 100.0 * (double) std::count_if (s.labels.begin(), s.labels.end(), [] (float t) { return t > 0.5f; }) / (double) std::max<size_t> (s.size(), 1);
    };
    std::printf ("samples: %zu training (%.1f %% speech), %zu validation (%.1f %% speech), %.0f s\n", training.size(), share (training),
                 validation.size(), share (validation), std::chrono::duration<double> (std::chrono::steady_clock::now() - t0).count());
    std::fflush (stdout);
    if (training.size() == 0 || validation.size() == 0)
        return 1;

    fann_train_data* data = toFann (training);
    std::vector<Candidate> candidates;
    for (int h : options.hidden)
    {
        Candidate c;
        c.hidden = h;
        candidates.push_back (c);
    }

    std::mutex printLock;
    std::atomic<size_t> next { 0 };
    std::vector<std::thread> workers;
    for (int t = 0; t < std::min<int> (options.threads, (int) candidates.size()); ++t)
        workers.emplace_back ([&] {
            for (size_t i; (i = next++) < candidates.size();)
                train (options, candidates[i], data, training, validation, printLock);
        });
    for (auto& w : workers)
        w.join();
    fann_destroy_train (data);

    // Cost through the engine's run path, one candidate after the other (nothing else running).
    const auto folder = options.candidates != juce::File() ? options.candidates : options.data.getChildFile ("candidates");
    folder.createDirectory();
    for (auto& c : candidates)
    {
        c.file = folder.getChildFile ("dialog-37-" + juce::String (c.hidden) + "-1.net");
        if (! save (c.best, c.file))
        {
            std::fprintf (stderr, "dialog-train: cannot write %s\n", c.file.getFullPathName().toRawUTF8());
            return 1;
        }
        c.frameMicroseconds = frameCost (c.file, validation);
    }

    double bestAccuracy = 0.0;
    for (const auto& c : candidates)
        bestAccuracy = std::max (bestAccuracy, c.validation.accuracy);
    const Candidate* chosen = nullptr;
    for (const auto& c : candidates)
        if (c.validation.accuracy >= bestAccuracy - options.tolerance && (chosen == nullptr || c.frameMicroseconds < chosen->frameMicroseconds))
            chosen = &c;

    juce::String report;
    report << "| network | validation accuracy | speech bins found | background bins found | validation MSE | training accuracy | best epoch | "
              "µs per frame (513 bins) | share of a 512-sample frame at 48 kHz |\n|---|---|---|---|---|---|---|---|---|\n";
    for (const auto& c : candidates)
        report << "| 37-" << c.hidden << "-1" << (&c == chosen ? " (shipped)" : "") << " | " << juce::String (c.validation.accuracy, 2) << " % | "
               << juce::String (c.validation.speechRecall, 1) << " % | " << juce::String (c.validation.backgroundRecall, 1) << " % | "
               << juce::String (c.validation.mse, 4) << " | " << juce::String (c.training.accuracy, 2) << " % | " << c.bestEpoch << " | "
               << juce::String (c.frameMicroseconds, 1) << " | " << juce::String (100.0 * c.frameMicroseconds / (512.0 / 48000.0 * 1.0e6), 2)
               << " % |\n";
    report << "\nSamples: " << (int) training.size() << " training, " << (int) validation.size() << " validation; "
           << options.epochs << " RPROP epochs per candidate; seed " << (int) options.seed << "; chosen: the cheapest within "
           << juce::String (options.tolerance, 1) << " points of the best validation accuracy.\n";
    const auto reportFile = options.report != juce::File() ? options.report : options.data.getChildFile ("train-report.md");
    reportFile.replaceWithText (report);
    std::printf ("\n%s\n", report.toRawUTF8());

    juce::String calibrationReport;
    const auto calibration = calibrate (options, mixes, chosen->best, calibrationReport);
    applyCalibration (chosen->best, calibration);
    std::printf ("%s\n", calibrationReport.toRawUTF8());
    reportFile.appendText ("\n" + calibrationReport);

    if (! save (chosen->best, options.out))
    {
        std::fprintf (stderr, "dialog-train: cannot write %s\n", options.out.getFullPathName().toRawUTF8());
        return 1;
    }
    writeCredits (options, options.credits);
    std::printf ("wrote %s (37-%d-1) and %s in %.0f s\n", options.out.getFullPathName().toRawUTF8(), chosen->hidden,
                 options.credits.getFullPathName().toRawUTF8(), std::chrono::duration<double> (std::chrono::steady_clock::now() - t0).count());
    for (auto& c : candidates)
        fann_destroy (c.best);
    return 0;
}

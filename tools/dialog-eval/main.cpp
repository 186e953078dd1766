// dialog-eval --data DIR [--mixes N] [--markdown FILE] [--chart FILE.png] [--threads 1|2] [--split val|train] [--levels DB,DB,...]
//
// Measures the dialogue detector on the validation mixes of tools/dialog-data (files never used in
// training), through the engine's own frequency-domain frame steps with the network the engine
// loads (resources/dialog.net of the source tree unless one lies beside this binary).
//
// For each input speech-to-background ratio (-10, -5, 0, +5, +10, +20 dB, set on the mid
// (L + R) / 2 over the whole mix by scaling the background stem) and each validation mix with
// speech and background, DialogToolkit::CentreSplitter splits the centre into its speech and its
// background part exactly. Per path it reports, as the mean over the mixes:
//   - dSBR: the centre's speech-to-background ratio minus the input mid's;
//   - speech kept: the centre's speech level relative to the speech's mid (0 dB: all of it, at
//     the pan law's level);
// and, on each validation background stem alone, the background's level in the centre relative
// to its mid (leakage). Paths:
//   network        DialogIsolate on, other parameters at their defaults: the dialogue extraction's
//                  centre alone (the phase split's centre part left out: centre threshold 1)
//   centre         DialogIsolate on, every other parameter at its default: the stage's whole
//                  centre, the phase split's correlated part included
//   isolation off  DialogIsolate off, defaults: the phase split's centre alone
//   ideal mask     1 where the true speech's mid power exceeds the background's, applied directly
//   ideal, mask steps  the same ideal mask taken as the network's output, through the stage's
//                  mask steps (attack, release, the running sum up the bins): what a perfect
//                  detector of that label would reach in the engine
//   no extraction  the whole mid
// --chart draws the first two measures against the input ratio, one line per path.
#include "EvalChart.h"
#include "engine/UpmixerDialogNetwork.h"
#include "tools/dialog-common/DialogToolkit.h"

#include <fann.h>

#include <array>
#include <atomic>
#include <set>
#include <cstdio>
#include <thread>

namespace
{
namespace T = DialogToolkit;

std::vector<double> levels { -10.0, -5.0, 0.0, 5.0, 10.0, 20.0 };  // --levels chooses others
const char* const pathNames[] = { "network", "centre", "isolation off", "ideal mask", "ideal, mask steps", "no extraction" };
constexpr int numPaths = 6;
constexpr int nonePath = numPaths - 1;

struct Measure
{
    double deltaSbr[numPaths] {}, kept[numPaths] {};
};

struct Leak
{
    double leakage[numPaths] {};
};

double midEnergy (const std::vector<float>& l, const std::vector<float>& r)
{
    double e = 0.0;
    for (size_t i = 0; i < l.size(); ++i)
    {
        const double m = 0.5 * ((double) l[i] + r[i]);
        e += m * m;
    }
    return e;
}

std::vector<UpmixerFrequencyDomainAlgo::Settings> pathSettings()
{
    auto network = T::engineSettings (true);
    network.centreThreshold = 1.0f;  // no phase-split centre: the extraction's centre alone
    return { network, T::engineSettings (true), T::engineSettings (false) };
}

/** Energies of each path's speech and background parts, in path order (the splitter's three
    stage paths, then ideal and none). */
void energies (const T::CentreSplitter::Result& r, double speech[numPaths], double background[numPaths])
{
    for (int p = 0; p < 3; ++p)
    {
        speech[p] = T::energy (r.paths[(size_t) p].speech);
        background[p] = T::energy (r.paths[(size_t) p].background);
    }
    speech[3] = T::energy (r.ideal.speech);
    background[3] = T::energy (r.ideal.background);
    speech[4] = T::energy (r.idealSteps.speech);
    background[4] = T::energy (r.idealSteps.background);
    speech[nonePath] = T::energy (r.none.speech);
    background[nonePath] = T::energy (r.none.background);
}
}

int main (int argc, char** argv)
{
    juce::File data ("/work/dialog-data"), markdown, chart;
    int maxMixes = 100, threads = 2;
    juce::String split = "val";
    for (int i = 1; i + 1 < argc; i += 2)
    {
        const juce::String key (argv[i]), value (argv[i + 1]);
        if (key == "--data") data = juce::File::getCurrentWorkingDirectory().getChildFile (value);
        else if (key == "--mixes") maxMixes = value.getIntValue();
        else if (key == "--markdown") markdown = juce::File::getCurrentWorkingDirectory().getChildFile (value);
        else if (key == "--chart") chart = juce::File::getCurrentWorkingDirectory().getChildFile (value);
        else if (key == "--threads") threads = std::clamp (value.getIntValue(), 1, 2);
        else if (key == "--split") split = value;
        else if (key == "--levels")
        {
            levels.clear();
            for (const auto& t : juce::StringArray::fromTokens (value, ",", ""))
                levels.push_back (t.getDoubleValue());
        }
        else
        {
            std::fprintf (stderr, "usage: dialog-eval --data DIR [--mixes N] [--markdown FILE] [--chart FILE.png] [--threads 1|2] [--split val|train]\n                   [--levels -10,-5,0,5,10,20]\n");
            return 2;
        }
    }

    juce::StringArray lines;
    data.getChildFile ("mixes.tsv").readLines (lines);
    std::vector<juce::String> withSpeech, withBackground, speechKinds, backgroundKinds;  // kinds: the background's sort
    for (int i = 1; i < lines.size(); ++i)
    {
        const auto f = juce::StringArray::fromTokens (lines[i], "\t", "");
        if (f.size() < 5 || f[1] != split)
            continue;
        if (f[2] == "both" && (int) withSpeech.size() < maxMixes)
        {
            withSpeech.push_back (f[0]);
            speechKinds.push_back (f[4]);
        }
        if (f[2] != "speech-only" && (int) withBackground.size() < maxMixes)
        {
            withBackground.push_back (f[0]);
            backgroundKinds.push_back (f[4]);
        }
    }
    if (withSpeech.empty())
    {
        std::fprintf (stderr, "dialog-eval: no validation mixes in %s\n", data.getFullPathName().toRawUTF8());
        return 1;
    }

    juce::String loaded = "none";
    for (const auto& file : UpmixerDialogNetwork::candidateFiles())
    {
        juce::String error;
        if (fann* net = UpmixerDialogNetwork::loadFile (file, error))
        {
            std::vector<unsigned int> layers (fann_get_num_layers (net));
            fann_get_layer_array (net, layers.data());
            juce::StringArray shape;
            for (auto n : layers)
                shape.add (juce::String (n));
            loaded = file.getFullPathName() + " (" + shape.joinIntoString ("-") + ")";
            fann_destroy (net);
            break;
        }
    }
    std::printf ("network: %s\nmixes: %zu with speech, %zu backgrounds\n", loaded.toRawUTF8(), withSpeech.size(), withBackground.size());
    std::fflush (stdout);

    const auto settings = pathSettings();
    const auto folder = data.getChildFile ("mixes");
    const size_t numLevels = levels.size();
    const size_t numJobs = withSpeech.size() * numLevels + withBackground.size();
    std::vector<Measure> measures (withSpeech.size() * numLevels);
    std::vector<Leak> leaks (withBackground.size());
    std::atomic<size_t> next { 0 };
    std::atomic<bool> failed { false };
    std::vector<double> worstMixError (2, 0.0);

    auto work = [&] (int worker) {
        T::CentreSplitter splitter (settings);
        if (! splitter.hasNetwork())
        {
            failed = true;
            return;
        }
        for (size_t job; (job = next++) < numJobs;)
        {
            const bool isLeak = job >= measures.size();
            const auto& name = isLeak ? withBackground[job - measures.size()] : withSpeech[job / numLevels];
            T::Stems stems;
            juce::String error;
            if (! T::readStems (folder.getChildFile (name + "-speech.wav"), folder.getChildFile (name + "-background.wav"), stems, error))
            {
                std::fprintf (stderr, "dialog-eval: %s\n", error.toRawUTF8());
                failed = true;
                return;
            }
            if (isLeak)
                std::fill (stems.speechL.begin(), stems.speechL.end(), 0.0f), std::fill (stems.speechR.begin(), stems.speechR.end(), 0.0f);
            else
            {
                const double level = levels[job % numLevels];
                const double gain = std::sqrt (midEnergy (stems.speechL, stems.speechR) / midEnergy (stems.backgroundL, stems.backgroundR)
                                               / std::pow (10.0, level / 10.0));
                for (auto* v : { &stems.backgroundL, &stems.backgroundR })
                    for (auto& x : *v)
                        x = (float) (x * gain);
            }

            const auto result = splitter.run (stems);
            worstMixError[(size_t) worker] = std::max (worstMixError[(size_t) worker], result.mixError);
            double s[numPaths], b[numPaths];
            energies (result, s, b);
            if (isLeak)
                for (int p = 0; p < numPaths; ++p)
                    leaks[job - measures.size()].leakage[p] = T::ratioDb (b[p], b[nonePath]);
            else
                for (int p = 0; p < numPaths; ++p)
                {
                    measures[job].deltaSbr[p] = T::ratioDb (s[p], b[p]) - T::ratioDb (s[nonePath], b[nonePath]);
                    measures[job].kept[p] = T::ratioDb (s[p], s[nonePath]);
                }
        }
    };
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t)
        workers.emplace_back (work, t);
    for (auto& w : workers)
        w.join();
    if (failed)
    {
        std::fprintf (stderr, "dialog-eval: failed (no network, or a mix could not be read)\n");
        return 1;
    }

    // Means over the mixes, per level and path.
    std::vector<std::array<double, numPaths>> meanDelta (numLevels), meanKept (numLevels);
    for (size_t l = 0; l < numLevels; ++l)
        for (int p = 0; p < numPaths; ++p)
        {
            double delta = 0.0, kept = 0.0;
            for (size_t m = 0; m < withSpeech.size(); ++m)
            {
                delta += measures[m * numLevels + l].deltaSbr[p];
                kept += measures[m * numLevels + l].kept[p];
            }
            meanDelta[l][(size_t) p] = delta / (double) withSpeech.size();
            meanKept[l][(size_t) p] = kept / (double) withSpeech.size();
        }

    juce::String table;
    auto columns = [] {
        juce::String names, rule ("|---|");
        for (int p = 0; p < numPaths; ++p)
        {
            names << (p > 0 ? " | " : "") << pathNames[p];
            rule << "---|";
        }
        return names + " |\n" + rule;
    };
    auto header = [&table, &columns] (const char* what) {
        table << "| input SBR | " << what << ": " << columns() << "\n";
    };
    auto cell = [] (double x) { return (x >= 0 ? "+" : "") + juce::String (x, 1) + " dB"; };
    for (const auto* what : { "ΔSBR", "speech kept" })
    {
        header (what);
        const auto& means = juce::String (what) == "ΔSBR" ? meanDelta : meanKept;
        for (size_t l = 0; l < numLevels; ++l)
        {
            table << "| " << cell (levels[l]) << " |";
            for (int p = 0; p < numPaths; ++p)
                table << " " << cell (means[l][(size_t) p]) << " |";
            table << "\n";
        }
        table << "\n";
    }
    table = table.trimEnd() + "\n";
    table << "\n| background only | leakage: " << columns() << "\n| "
          << (int) withBackground.size() << " clips |";
    for (int p = 0; p < numPaths; ++p)
    {
        double sum = 0.0;
        for (const auto& leak : leaks)
            sum += leak.leakage[p];
        table << " " << cell (sum / (double) leaks.size()) << " |";
    }
    // The network path by the background's sort: where its ratio and leakage come from.
    const auto zero = std::find (levels.begin(), levels.end(), 0.0);
    const size_t zeroLevel = zero != levels.end() ? (size_t) (zero - levels.begin()) : 0;
    table << "\n\n| background | ΔSBR at " << cell (levels[zeroLevel]) << ": network | ideal, mask steps | leakage: network | isolation off | mixes, clips |\n"
          << "|---|---|---|---|---|---|\n";
    std::set<juce::String> kinds (backgroundKinds.begin(), backgroundKinds.end());
    for (const auto& kind : kinds)
    {
        double ratio[2] {}, leak[2] {};
        int numMixes = 0, numClips = 0;
        for (size_t m = 0; m < withSpeech.size(); ++m)
            if (speechKinds[m] == kind)
            {
                ratio[0] += measures[m * numLevels + zeroLevel].deltaSbr[0];
                ratio[1] += measures[m * numLevels + zeroLevel].deltaSbr[4];
                ++numMixes;
            }
        for (size_t c = 0; c < withBackground.size(); ++c)
            if (backgroundKinds[c] == kind)
            {
                leak[0] += leaks[c].leakage[0];
                leak[1] += leaks[c].leakage[2];
                ++numClips;
            }
        auto mean = [] (double sum, int n) { return n > 0 ? sum / n : 0.0; };
        table << "| " << kind << " | " << cell (mean (ratio[0], numMixes)) << " | " << cell (mean (ratio[1], numMixes)) << " | "
              << cell (mean (leak[0], numClips)) << " | " << cell (mean (leak[1], numClips)) << " | " << numMixes << ", " << numClips << " |\n";
    }

    table << "\nMeans over " << (int) withSpeech.size() << " validation mixes per ratio; network: " << loaded.fromLastOccurrenceOf ("/", false, false)
          << ". Largest difference between the split parts' sum and the stage's own centre: "
          << juce::String (std::max (worstMixError[0], worstMixError[1]), 8) << " of its peak.\n";

    std::printf ("\n%s", table.toRawUTF8());
    if (markdown != juce::File())
        markdown.replaceWithText (table);

    if (chart != juce::File())
    {
        std::vector<EvalChart::Series> series;
        for (int p = 0; p < nonePath; ++p)
        {
            EvalChart::Series s { pathNames[p], {}, {} };
            for (size_t l = 0; l < numLevels; ++l)
            {
                s.deltaSbr.push_back (meanDelta[l][(size_t) p]);
                s.kept.push_back (meanKept[l][(size_t) p]);
            }
            series.push_back (std::move (s));
        }
        if (! EvalChart::write (chart, levels, series))
        {
            std::fprintf (stderr, "dialog-eval: cannot write %s\n", chart.getFullPathName().toRawUTF8());
            return 1;
        }
    }
    return 0;
}

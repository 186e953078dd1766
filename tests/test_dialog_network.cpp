// The shipped dialogue network (resources/dialog.net) and the tools that train and measure it:
//  - it loads under a decimal-comma locale (compiled with localedef) and answers as under "C"
//    (its shape is checked on loading, its training by what it finds below);
//  - the tools' path (FeatureHistory, the network, DialogToolkit::maskGains) gives the very
//    centre gains the engine's stage applies, bin by bin and frame by frame;
//  - a spoken phrase (espeak-ng; skipped without it) centred over generated stereo music:
//    CentreSplitter's parts add up to the stage's centre; the extraction's centre holds the
//    speech 8 dB above the input's ratio, keeping all but 3 dB; DialogIsolate puts 8 dB more of
//    it in the centre, at a ratio 6 dB above the input's.
#include "engine/UpmixerDialogNetwork.h"
#include "tools/dialog-common/DialogToolkit.h"
#include "support/TempFolder.h"

#include <fann.h>
#include <gtest/gtest.h>

#include <locale.h>

#include <cmath>
#include <random>
#include <vector>

namespace
{
namespace F = UpmixerDialogFeatures;
namespace T = DialogToolkit;

juce::File shippedNetwork() { return juce::File (ORRIN_SOURCE_DIR).getChildFile ("resources/dialog.net"); }

/** A de_DE locale (decimal comma) compiled into folder; null when localedef cannot make it. */
locale_t commaLocale (const juce::File& folder)
{
    const auto command = "localedef -i de_DE -f UTF-8 -c \"" + folder.getChildFile ("de_DE.UTF-8").getFullPathName() + "\" >/dev/null 2>&1";
    if (std::system (command.toRawUTF8()) != 0)
        return (locale_t) 0;
    setenv ("LOCPATH", folder.getFullPathName().toRawUTF8(), 1);
    const locale_t comma = newlocale (LC_ALL_MASK, "de_DE.UTF-8", (locale_t) 0);
    unsetenv ("LOCPATH");
    return comma;
}

/** Harmonic notes, a centred bass under chord notes panned anywhere (with a little detune
    between the sides), over hi-hat-like noise bursts with independent noise per side: stereo
    music-like. */
void music (std::vector<float>& left, std::vector<float>& right, int numSamples, unsigned int seed)
{
    std::mt19937 random (seed);
    std::uniform_real_distribution<float> uniform (-1.0f, 1.0f);
    left.assign ((size_t) numSamples, 0.0f);
    right.assign ((size_t) numSamples, 0.0f);
    const double roots[] = { 110.0, 146.8, 164.8, 98.0 };
    const int noteLength = 24000;
    for (int start = 0; start < numSamples; start += noteLength)
    {
        const double root = roots[(start / noteLength) % 4];
        for (double ratio : { 0.5, 1.0, 1.26, 1.5, 2.0 })
        {
            // The bass in the middle, as in most mixes; the chord anywhere across.
            const float pan = ratio < 1.0 ? 0.5f : 0.5f + 0.45f * uniform (random);  // 0 left ... 1 right
            const double f = root * ratio * (1.0 + 0.002 * uniform (random));
            for (int i = start; i < std::min (numSamples, start + noteLength); ++i)
            {
                const double t = (i - start) / 48000.0;
                const double envelope = std::exp (-2.5 * t);
                double l = 0.0, r = 0.0;
                for (int h = 1; h <= 8; ++h)
                {
                    l += std::sin (2.0 * juce::MathConstants<double>::pi * f * h * t) / h;
                    r += std::sin (2.0 * juce::MathConstants<double>::pi * f * 1.003 * h * t + 0.5 * h) / h;
                }
                left[(size_t) i] += (float) (0.08 * envelope * l * std::sqrt (1.0f - pan));
                right[(size_t) i] += (float) (0.08 * envelope * r * std::sqrt (pan));
            }
        }
        for (int hit = start; hit < std::min (numSamples, start + noteLength); hit += noteLength / 4)
            for (int i = hit; i < std::min (numSamples, hit + 3000); ++i)
            {
                const float envelope = 0.05f * std::exp (-(i - hit) / 600.0f);
                left[(size_t) i] += envelope * uniform (random);
                right[(size_t) i] += envelope * uniform (random);
            }
    }
}

/** A centred tone sweep with a syllable-like rhythm, over independent noise per side. */
T::Stems generatedMix (int numSamples)
{
    T::Stems stems;
    std::mt19937 random (3);
    std::normal_distribution<float> gauss (0.0f, 0.02f);
    for (int i = 0; i < numSamples; ++i)
    {
        const double t = i / 48000.0;
        const double syllable = std::max (0.0, std::sin (2.0 * juce::MathConstants<double>::pi * 4.0 * t));
        double voice = 0.0;
        for (int h = 1; h <= 12; ++h)
            voice += std::sin (2.0 * juce::MathConstants<double>::pi * (140.0 + 30.0 * std::sin (3.0 * t)) * h * t) / h;
        const float v = (float) (0.05 * syllable * voice);
        stems.speechL.push_back (v);
        stems.speechR.push_back (v);
        stems.backgroundL.push_back (gauss (random));
        stems.backgroundR.push_back (gauss (random));
    }
    return stems;
}

/** espeak-ng speaking a phrase, at 48 kHz; empty when espeak-ng is not there. */
std::vector<float> spokenPhrase()
{
    const auto folder = makeTempFolder ("orrin-phrase");
    const auto wav = folder.getChildFile ("phrase.wav");
    const auto command = "espeak-ng -v en -s 150 -w \"" + wav.getFullPathName()
                         + "\" \"The harbour lights were burning late, and nobody on the quay had seen the ferry leave.\" >/dev/null 2>&1";
    std::vector<float> result;
    if (std::system (command.toRawUTF8()) == 0)
    {
        juce::WavAudioFormat format;
        std::unique_ptr<juce::AudioFormatReader> reader (format.createReaderFor (wav.createInputStream().release(), true));
        if (reader != nullptr)
        {
            juce::AudioBuffer<float> buffer (1, (int) reader->lengthInSamples);
            reader->read (&buffer, 0, buffer.getNumSamples(), 0, true, false);
            const double ratio = reader->sampleRate / 48000.0;
            result.resize ((size_t) (buffer.getNumSamples() / ratio) - 8);
            juce::LagrangeInterpolator interpolator;
            interpolator.process (ratio, buffer.getReadPointer (0), result.data(), (int) result.size());
        }
    }
    folder.deleteRecursively();
    return result;
}

double midEnergy (const std::vector<float>& l, const std::vector<float>& r)
{
    double e = 0.0;
    for (size_t i = 0; i < l.size(); ++i)
        e += 0.25 * ((double) l[i] + r[i]) * ((double) l[i] + r[i]);
    return e;
}
}

TEST (DialogNetwork, LoadsUnderACommaDecimalLocaleAndAnswersAsUnderC)
{
    const auto folder = makeTempFolder ("orrin-comma");
    const locale_t comma = commaLocale (folder);
    if (comma == (locale_t) 0)
    {
        folder.deleteRecursively();
        GTEST_SKIP() << "localedef cannot make de_DE here (scripts/setup installs the locales package)";
    }
    const locale_t previous = uselocale (comma);
    char text[16];
    std::snprintf (text, sizeof (text), "%.1f", 0.5);
    juce::String error;
    fann* underComma = UpmixerDialogNetwork::loadFile (shippedNetwork(), error);
    uselocale (previous);
    freelocale (comma);
    folder.deleteRecursively();

    EXPECT_STREQ (text, "0,5");  // the locale really writes numbers with a comma
    ASSERT_NE (underComma, nullptr) << error;
    fann* underC = UpmixerDialogNetwork::loadFile (shippedNetwork(), error);
    ASSERT_NE (underC, nullptr);
    std::mt19937 random (1);
    std::uniform_real_distribution<float> input (-1.0f, 2.0f);
    for (int n = 0; n < 64; ++n)
    {
        float row[37];
        for (float& x : row)
            x = input (random);
        EXPECT_EQ (fann_run (underComma, row)[0], fann_run (underC, row)[0]);
    }
    fann_destroy (underComma);
    fann_destroy (underC);
}

TEST (DialogNetwork, ToolPathFeaturesDriveTheNetworkExactlyAsTheEnginePath)
{
    juce::String error;
    fann* net = UpmixerDialogNetwork::loadFile (shippedNetwork(), error);
    ASSERT_NE (net, nullptr) << error;

    auto settings = T::engineSettings (true);
    settings.centreThreshold = 1.0f;  // the centre is then the dialogue gain times the mid alone
    UpmixerFrequencyDomainAlgo stage;
    ASSERT_TRUE (stage.hasDialogNetwork());
    stage.prepare (UpmixerFrequencyDomainAlgo::defaultFftSize);
    stage.settings = settings;

    const auto stems = generatedMix (3 * 48000);
    std::vector<float> mixL (stems.speechL), mixR (stems.speechR);
    juce::FloatVectorOperations::add (mixL.data(), stems.backgroundL.data(), (int) mixL.size());
    juce::FloatVectorOperations::add (mixR.data(), stems.backgroundR.data(), (int) mixR.size());

    // Tool path: the features dialog-train computes, run through the network, then the mask.
    // The engine's frame steps mask the frame one hop older with the probabilities computed
    // when it was the newest: the tool's gains from the previous frame's are compared.
    T::FeatureHistory history;
    std::vector<float> inputs ((size_t) F::numBins * F::numInputs);
    std::array<float, F::numBins> toolMask {}, probability {};
    std::array<Complex, F::numBins> mid {};
    int frames = 0, compared = 0, worstFrame = -1;
    double worst = 0.0;
    T::FrameRunner runner ([&] (FreqDataStore<Complex>& frame) {
        const auto expected = T::maskGains (settings, probability.data(), toolMask);
        const auto previousMid = mid;
        history.push (frame.getChannel (0), frame.getChannel (1));
        history.features (inputs.data());
        for (int k = 0; k < F::numBins; ++k)
        {
            const float y = fann_run (net, inputs.data() + k * F::numInputs)[0];
            probability[(size_t) k] = y > 0.0f ? std::min (y, 1.0f) : 0.0f;
            mid[(size_t) k] = { (frame.getChannel (0)[k].re + frame.getChannel (1)[k].re) / 2.0,
                                (frame.getChannel (0)[k].im + frame.getChannel (1)[k].im) / 2.0 };
        }

        stage.processFrame (frame);  // the engine path, on the same frame
        double loudest = 0.0;
        for (const auto& m : previousMid)
            loudest = std::max (loudest, m.re * m.re + m.im * m.im);
        for (int k = 0; k < F::numBins; ++k)
        {
            const Complex m = previousMid[(size_t) k], c = frame.getChannel (6)[k];
            const double power = m.re * m.re + m.im * m.im;
            if (power < 1.0e-9 * loudest || power < 1.0e-20)
                continue;
            const double observed = (c.re * m.re + c.im * m.im) / power * T::centrePanGain;
            const double difference = std::abs (observed - expected[(size_t) k]);
            if (difference > worst)
                worst = difference, worstFrame = frames;
            ++compared;
        }
        ++frames;
    });
    for (size_t at = 0; at + T::hop <= mixL.size(); at += T::hop)
    {
        const float* in[7] = { mixL.data() + at, mixR.data() + at, nullptr, nullptr, nullptr, nullptr, nullptr };
        runner.processHop (in, nullptr);
    }
    fann_destroy (net);

    EXPECT_GT (frames, 250);
    EXPECT_GT (compared, 250 * 400);
    EXPECT_LT (worst, 1.0e-5) << "frame " << worstFrame;
}

TEST (DialogNetwork, IsolationRaisesTheCentresSpeechToMusicRatio)
{
    const auto phrase = spokenPhrase();
    if (phrase.empty())
        GTEST_SKIP() << "espeak-ng is not installed (scripts/setup installs it)";

    // The phrase twice, centred, over generated stereo music; 0 dB on the mid over the whole mix.
    const int length = (int) phrase.size() * 2 + 48000;
    T::Stems stems;
    stems.speechL.assign ((size_t) length, 0.0f);
    for (int copy = 0; copy < 2; ++copy)
        for (size_t i = 0; i < phrase.size(); ++i)
            stems.speechL[(size_t) (12000 + copy * ((int) phrase.size() + 24000)) + i] = 0.5f * phrase[i];
    stems.speechR = stems.speechL;
    music (stems.backgroundL, stems.backgroundR, length, 11);
    const double gain = std::sqrt (midEnergy (stems.speechL, stems.speechR) / midEnergy (stems.backgroundL, stems.backgroundR));
    for (auto* v : { &stems.backgroundL, &stems.backgroundR })
        for (auto& x : *v)
            x = (float) (x * gain);

    auto network = T::engineSettings (true);
    network.centreThreshold = 1.0f;  // the dialogue extraction's centre alone
    T::CentreSplitter splitter ({ network, T::engineSettings (true), T::engineSettings (false) });
    ASSERT_TRUE (splitter.hasNetwork());
    const auto result = splitter.run (stems);
    EXPECT_LT (result.mixError, 1.0e-4) << "the speech and background parts add up to the stage's centre";
    auto sbr = [] (const T::CentreSplitter::Parts& parts) { return T::ratioDb (T::energy (parts.speech), T::energy (parts.background)); };
    auto kept = [&result] (const T::CentreSplitter::Parts& parts) { return T::ratioDb (T::energy (parts.speech), T::energy (result.none.speech)); };
    const double input = sbr (result.none), extracted = sbr (result.paths[0]), on = sbr (result.paths[1]), off = sbr (result.paths[2]);
    const auto report = "input " + std::to_string (input) + " dB, extraction " + std::to_string (extracted) + " dB (speech kept "
                        + std::to_string (kept (result.paths[0])) + " dB), centre on " + std::to_string (on) + " dB (kept "
                        + std::to_string (kept (result.paths[1])) + " dB), off " + std::to_string (off) + " dB (kept "
                        + std::to_string (kept (result.paths[2])) + " dB)";

    EXPECT_NEAR (input, 0.0, 0.5) << "no extraction is the whole mid, delayed";
    // The dialogue extraction alone: the speech in the centre, the music mostly not.
    EXPECT_GT (extracted - input, 8.0) << report;
    EXPECT_GT (kept (result.paths[0]), -3.0) << report;
    // The whole centre: isolation brings the speech in (the split alone leaves most of it in the
    // fronts), and the centre's ratio rises well above the input's and above isolation off.
    EXPECT_GT (kept (result.paths[1]) - kept (result.paths[2]), 8.0) << report;
    EXPECT_GT (on - input, 6.0) << report;
    EXPECT_GT (on - off, 1.5) << report;
}

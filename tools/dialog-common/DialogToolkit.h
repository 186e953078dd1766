#pragma once

// What the dialogue detector's tools (dialog-train, dialog-eval) and its tests share, header only:
//   - FrameRunner: the engine's own framing (BlockOverlaper, 1024 / hop 512) over whole signals,
//     with a per-frame hook;
//   - FeatureHistory: the "tool path" of the network's inputs: six frames of level features,
//     newest first, through the engine's feature functions (UpmixerDialogFeatures);
//   - engineSettings(): the frequency-domain stage's settings as the real engine sets them from
//     its parameters;
//   - CentreSplitter: runs the engine's frequency-domain frame steps on a mix of speech and
//     background and applies each frame's per-bin centre gains to the speech and the background
//     apart, so the centre's speech-to-background ratio can be measured exactly;
//   - maskGains(): the stage's dialogue mask steps on a frame of network outputs;
//   - readStems(): a mix's two stems (speech, background) from float WAV files.
// Not for the audio thread: everything here allocates.

#include "dsp/BlockOverlaper.h"
#include "engine/KaProfiler.h"
#include "engine/UpmixerAlgo.h"
#include "engine/UpmixerAlgoInterface.h"
#include "engine/UpmixerDialogFeatures.h"
#include "engine/UpmixerFrequencyDomainAlgo.h"
#include "processor/KaParameterTable.h"
#include "processor/UpmixerDefaultHost.h"
#include "processor/UpmixerParameters.h"

#include <juce_audio_formats/juce_audio_formats.h>

#include <array>
#include <cmath>
#include <functional>
#include <memory>
#include <vector>

namespace DialogToolkit
{
    namespace F = UpmixerDialogFeatures;

    constexpr int hop = BlockOverlaper::hopSize;
    constexpr int numBins = F::numBins;
    /** The engine's centre pan gain at its defaults: the stage writes C = gain x mid / this. */
    constexpr double centrePanGain = 0.7071068;

    /** Two stereo stems of equal length: the mix is their sum. */
    struct Stems
    {
        std::vector<float> speechL, speechR, backgroundL, backgroundR;
        int numSamples() const noexcept { return (int) speechL.size(); }
    };

    inline bool readStereo (const juce::File& file, std::vector<float>& left, std::vector<float>& right, juce::String& error)
    {
        juce::WavAudioFormat wav;
        std::unique_ptr<juce::AudioFormatReader> reader (wav.createReaderFor (file.createInputStream().release(), true));
        if (reader == nullptr)
        {
            error = "cannot read " + file.getFullPathName();
            return false;
        }
        const int n = (int) reader->lengthInSamples;
        juce::AudioBuffer<float> buffer (2, n);
        reader->read (&buffer, 0, n, 0, true, true);
        left.assign (buffer.getReadPointer (0), buffer.getReadPointer (0) + n);
        right.assign (buffer.getReadPointer (reader->numChannels > 1 ? 1 : 0), buffer.getReadPointer (reader->numChannels > 1 ? 1 : 0) + n);
        return true;
    }

    /** A mix's stems from NAME-speech.wav and NAME-background.wav. */
    inline bool readStems (const juce::File& speech, const juce::File& background, Stems& stems, juce::String& error)
    {
        if (! readStereo (speech, stems.speechL, stems.speechR, error) || ! readStereo (background, stems.backgroundL, stems.backgroundR, error))
            return false;
        const size_t n = std::min (stems.speechL.size(), stems.backgroundL.size());
        for (auto* v : { &stems.speechL, &stems.speechR, &stems.backgroundL, &stems.backgroundR })
            v->resize (n);
        return true;
    }

    /** The engine's framing over whole signals: up to 7 input channels in, the callback per frame
        (the spectra may be changed in place), up to 7 output channels out, in hops of 512. */
    class FrameRunner
    {
    public:
        using FrameFunction = std::function<void (FreqDataStore<Complex>&)>;

        explicit FrameRunner (FrameFunction f)
            : callback (new Callback (std::move (f))),
              overlapper (new BlockOverlaper (BlockOverlaper::frameSize, callback, BlockOverlaper::fixedNumChannels, 2))
        {
            silence.assign ((size_t) hop, 0.0f);
            discard.assign ((size_t) hop, 0.0f);
        }

        /** One hop: inputs[c] points at hop samples or is null (silence); outputs[c] likewise. */
        void processHop (const float* const* inputs, float* const* outputs)
        {
            std::array<const float*, 7> in {};
            std::array<float*, 7> out {};
            for (int c = 0; c < 7; ++c)
            {
                in[(size_t) c] = inputs[c] != nullptr ? inputs[c] : silence.data();
                out[(size_t) c] = outputs != nullptr && outputs[c] != nullptr ? outputs[c] : discard.data();
            }
            overlapper->processBlock (in.data(), out.data(), 7, hop);
        }

    private:
        struct Callback : FftFilterCallBack
        {
            explicit Callback (FrameFunction f) : function (std::move (f)) {}
            void processFrame (FreqDataStore<Complex>::Ptr frame) noexcept override
            {
                if (frame != nullptr)
                    function (*frame);
            }
            FrameFunction function;
        };

        juce::ReferenceCountedObjectPtr<Callback> callback;
        BlockOverlaper::Ptr overlapper;
        std::vector<float> silence, discard;
    };

    /** The network's inputs as the tools compute them: the level features of the last six frames
        (UpmixerDialogFeatures::computeFrameLevels), newest first, into computeDialogFeatures. It
        starts as the engine's stage does after prepare: six frames whose features are all 0. */
    class FeatureHistory
    {
    public:
        /** A new frame's two input spectra become the newest. */
        void push (const Complex* left, const Complex* right) noexcept
        {
            newest = (newest + 1) % F::numHistoryFrames;
            F::computeFrameLevels (left, right, level[(size_t) newest].data(), diff[(size_t) newest].data());
        }

        /** The 37 inputs of every bin (inputs[k * 37 + i]) from the six frames, newest first. */
        void features (float* inputs) const noexcept
        {
            const float* levels[F::numHistoryFrames];
            const float* diffs[F::numHistoryFrames];
            for (int j = 0; j < F::numHistoryFrames; ++j)
            {
                const auto slot = (size_t) ((newest - j + F::numHistoryFrames) % F::numHistoryFrames);
                levels[j] = level[slot].data();
                diffs[j] = diff[slot].data();
            }
            F::computeDialogFeatures (levels, diffs, inputs);
        }

        /** The newest frame's levelDb (frameStride entries). */
        const float* newestLevels() const noexcept { return level[(size_t) newest].data(); }

    private:
        std::array<std::array<float, F::frameStride>, F::numHistoryFrames> level {}, diff {};
        int newest = 0;
    };

    /** The stage's dialogue mask steps on one frame, as UpmixerFrequencyDomainAlgo documents them:
        each bin's probability x becomes a target 2 (x - f) above the floor f (-30 dB), which
        the mask follows with its attack and releases multiplicatively; a running sum up the
        bins gives each bin's gain 0 ... 1, times the amount. mask carries the state from frame
        to frame. Returns the gain of every bin (on the mid's scale: the centre carries gain x mid). */
    inline std::array<double, numBins> maskGains (const UpmixerFrequencyDomainAlgo::Settings& s, const float* probability,
                                                  std::array<float, numBins>& mask) noexcept
    {
        constexpr float floor = 0.031622777f;
        std::array<double, numBins> gains {};
        double running = 0.0;
        for (int k = 0; k < numBins; ++k)
        {
            const float x = probability[k], m = mask[(size_t) k];
            float target = x > floor ? 2.0f * (x - floor) : 0.0f;
            if (m < target)
            {
                const float y = m * (1.0f - s.dialogAttack) + target * s.dialogAttack;
                if (y <= target)
                    target = y;
            }
            if (target < m && m * s.dialogRelease >= target)
                target = m * s.dialogRelease;
            mask[(size_t) k] = std::abs (target) < 1.0e-20f ? 0.0f : target;
            running = (target + s.dialogMixInC) / 2.0 + running / 2.0;
            gains[(size_t) k] = std::clamp (running, 0.0, 1.0) * s.dialogAmount;
        }
        return gains;
    }

    /** The frequency-domain stage's settings as the real engine sets them from its parameters:
        every parameter at its default, DialogIsolate on or off. */
    inline UpmixerFrequencyDomainAlgo::Settings engineSettings (bool dialogIsolate)
    {
        UpmixerDefaultHost host;
        host.table.set (UpmixerParam::DialogIsolate, dialogIsolate ? 1.0f : 0.0f);
        UpmixerAlgo engine;
        engine.prepare (&host, 48000.0f);
        engine.setOutputLayout (1);
        engine.setNumOutputChannels (6);
        juce::AudioBuffer<float> block (12, hop);
        block.clear();
        engine.process (block.getArrayOfWritePointers(), 12, hop);
        return engine.getFrequencyDomainAlgo().settings;
    }

    /** Runs the engine's frequency-domain frame steps (UpmixerFrequencyDomainAlgo::processFrame,
        the real code) on the mix of two stems for each of several settings, and splits the
        centre each one produces into the part that comes from the speech and the part from the
        background.

        Why this is exact: per frame and bin the stage writes C = G x M, with M the mid (L + R) / 2
        of the frame one hop older and G a real gain that depends on the mix alone (the dialogue
        gain and the phase split's centre coefficient, over the centre pan gain). G is read back as
        Re (C conj M) / |M|^2 from the stage's own output, and G x M_speech and G x M_background go
        through the same overlap-add: their sum is the stage's centre (checked in mixError).

        Every output is on the mid's scale (G times the centre pan gain): 0 dB means the centre
        carries a source's whole mid at the pan law's level. Also written: the ideal binary mask
        (1 where the speech's mid power exceeds the background's in that bin and frame, applied to
        the mid directly), the same ideal mask taken as the network's output through the stage's
        mask steps (maskGains with the first path's settings: attack, release, the running sum up
        the bins), and no extraction (the whole mid), each delayed as the stage delays. */
    class CentreSplitter
    {
    public:
        struct Parts
        {
            std::vector<float> speech, background;
        };

        struct Result
        {
            std::vector<Parts> paths;       // one per settings, in order
            Parts ideal, idealSteps, none;  // the ideal mask, alone and through the mask steps; no extraction
            double mixError = 0.0;          // largest |speech + background - stage's centre| over the centre's peak
        };

        explicit CentreSplitter (std::vector<UpmixerFrequencyDomainAlgo::Settings> settingsIn) : settings (std::move (settingsIn))
        {
            for (size_t p = 0; p < settings.size(); ++p)
                probes.push_back (std::make_unique<UpmixerFrequencyDomainAlgo>());
        }

        /** Whether the stage found a network to run. */
        bool hasNetwork() const { return ! probes.empty() && probes[0]->hasDialogNetwork(); }

        Result run (const Stems& stems)
        {
            const size_t numPaths = settings.size();
            const int numHops = (stems.numSamples() + hop - 1) / hop + 4;  // and the framing's tail
            const size_t total = (size_t) numHops * hop;
            auto padded = [total] (const std::vector<float>& x) {
                std::vector<float> y (total, 0.0f);
                std::copy (x.begin(), x.end(), y.begin());
                return y;
            };
            const auto sL = padded (stems.speechL), sR = padded (stems.speechR);
            const auto bL = padded (stems.backgroundL), bR = padded (stems.backgroundR);
            std::vector<float> mL (total), mR (total);
            for (size_t i = 0; i < total; ++i)
            {
                mL[i] = sL[i] + bL[i];
                mR[i] = sR[i] + bR[i];
            }

            Result result;
            result.paths.resize (numPaths);
            for (auto& parts : result.paths)
                parts = { std::vector<float> (total), std::vector<float> (total) };
            result.ideal = { std::vector<float> (total), std::vector<float> (total) };
            result.idealSteps = { std::vector<float> (total), std::vector<float> (total) };
            result.none = { std::vector<float> (total), std::vector<float> (total) };
            std::vector<std::vector<float>> stageCentre (numPaths, std::vector<float> (total));

            // Per path: the stage on the mix, and the gains it applied in the latest frame.
            std::vector<std::array<double, numBins>> gains (numPaths);
            std::vector<std::array<Complex, numBins>> previousMid (numPaths);
            std::vector<std::unique_ptr<FrameRunner>> stage, apply;
            for (size_t p = 0; p < numPaths; ++p)
            {
                probes[p]->prepare (UpmixerFrequencyDomainAlgo::defaultFftSize);
                probes[p]->settings = settings[p];
                previousMid[p].fill ({ 0.0, 0.0 });
                stage.push_back (std::make_unique<FrameRunner> ([this, p, &gains, &previousMid] (FreqDataStore<Complex>& frame) {
                    std::array<Complex, numBins> mid;
                    const Complex* l = frame.getChannel (0);
                    const Complex* r = frame.getChannel (1);
                    for (int k = 0; k < numBins; ++k)
                        mid[(size_t) k] = { (l[k].re + r[k].re) / 2.0, (l[k].im + r[k].im) / 2.0 };
                    probes[p]->processFrame (frame);
                    const Complex* c = frame.getChannel (6);
                    for (int k = 0; k < numBins; ++k)
                    {
                        const Complex m = previousMid[p][(size_t) k];
                        const double power = m.re * m.re + m.im * m.im;
                        gains[p][(size_t) k] = power > 1.0e-30 ? (c[k].re * m.re + c[k].im * m.im) / power * centrePanGain : 0.0;
                    }
                    previousMid[p] = mid;
                }));
            }

            // The stems' mids, one hop late as the stage's output, times each path's gains.
            std::array<Complex, numBins> speechMid {}, backgroundMid {};
            for (size_t p = 0; p < numPaths; ++p)
                apply.push_back (std::make_unique<FrameRunner> ([p, &gains, &speechMid, &backgroundMid] (FreqDataStore<Complex>& frame) {
                    Complex* s = frame.getChannel (0);
                    Complex* b = frame.getChannel (1);
                    for (int k = 0; k < numBins; ++k)
                    {
                        const double g = gains[p][(size_t) k];
                        s[k] = { speechMid[(size_t) k].re * g, speechMid[(size_t) k].im * g };
                        b[k] = { backgroundMid[(size_t) k].re * g, backgroundMid[(size_t) k].im * g };
                    }
                }));

            // Reads the stems' spectra (runs first each hop), and writes the ideal mask and no
            // extraction from the previous frame's mids.
            std::array<float, numBins> idealMask {}, idealProbability {};
            FrameRunner reference ([this, &speechMid, &backgroundMid, &idealMask, &idealProbability] (FreqDataStore<Complex>& frame) {
                Complex* ch[6] = { frame.getChannel (0), frame.getChannel (1), frame.getChannel (2),
                                   frame.getChannel (3), frame.getChannel (4), frame.getChannel (5) };
                std::array<Complex, numBins> s, b;
                for (int k = 0; k < numBins; ++k)
                {
                    s[(size_t) k] = { (ch[0][k].re + ch[1][k].re) / 2.0, (ch[0][k].im + ch[1][k].im) / 2.0 };
                    b[(size_t) k] = { (ch[2][k].re + ch[3][k].re) / 2.0, (ch[2][k].im + ch[3][k].im) / 2.0 };
                }
                for (int k = 0; k < numBins; ++k)
                {
                    const Complex ps = speechMid[(size_t) k], pb = backgroundMid[(size_t) k];
                    const double ideal = ps.re * ps.re + ps.im * ps.im > pb.re * pb.re + pb.im * pb.im ? 1.0 : 0.0;
                    idealProbability[(size_t) k] = (float) ideal;
                    ch[0][k] = { ps.re * ideal, ps.im * ideal };
                    ch[1][k] = { pb.re * ideal, pb.im * ideal };
                    ch[2][k] = ps;
                    ch[3][k] = pb;
                }
                const auto stepped = maskGains (settings[0], idealProbability.data(), idealMask);
                for (int k = 0; k < numBins; ++k)
                {
                    const Complex ps = speechMid[(size_t) k], pb = backgroundMid[(size_t) k];
                    const double g = stepped[(size_t) k];
                    ch[4][k] = { ps.re * g, ps.im * g };
                    ch[5][k] = { pb.re * g, pb.im * g };
                }
                speechMid = s;  // the newest frame's mids, used one hop later
                backgroundMid = b;
            });

            // Per hop: every stage first (their gains for this frame), then the splits. The
            // reference runner keeps the previous frame's mids while the splits use them: the
            // splits run before it.
            for (int h = 0; h < numHops; ++h)
            {
                const size_t at = (size_t) h * hop;
                for (size_t p = 0; p < numPaths; ++p)
                {
                    const float* in[7] = { mL.data() + at, mR.data() + at, nullptr, nullptr, nullptr, nullptr, nullptr };
                    float* out[7] = { nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, stageCentre[p].data() + at };
                    stage[p]->processHop (in, out);
                }
                const float* none[7] = {};
                for (size_t p = 0; p < numPaths; ++p)
                {
                    float* out[7] = { result.paths[p].speech.data() + at, result.paths[p].background.data() + at, nullptr, nullptr, nullptr, nullptr, nullptr };
                    apply[p]->processHop (none, out);
                }
                const float* in[7] = { sL.data() + at, sR.data() + at, bL.data() + at, bR.data() + at, nullptr, nullptr, nullptr };
                float* out[7] = { result.ideal.speech.data() + at, result.ideal.background.data() + at,
                                  result.none.speech.data() + at, result.none.background.data() + at,
                                  result.idealSteps.speech.data() + at, result.idealSteps.background.data() + at, nullptr };
                reference.processHop (in, out);
            }

            double peak = 0.0, error = 0.0;
            for (size_t p = 0; p < numPaths; ++p)
                for (size_t i = 0; i < total; ++i)
                {
                    const double c = stageCentre[p][i] * centrePanGain;
                    peak = std::max (peak, std::abs (c));
                    error = std::max (error, std::abs (result.paths[p].speech[i] + result.paths[p].background[i] - c));
                }
            result.mixError = peak > 0.0 ? error / peak : 0.0;
            return result;
        }

    private:
        std::vector<UpmixerFrequencyDomainAlgo::Settings> settings;
        std::vector<std::unique_ptr<UpmixerFrequencyDomainAlgo>> probes;
    };

    /** Energy of a signal. */
    inline double energy (const std::vector<float>& x)
    {
        double e = 0.0;
        for (float v : x)
            e += (double) v * v;
        return e;
    }

    /** 10 log10 (a / b), limited to -200 dB. */
    inline double ratioDb (double a, double b) { return 10.0 * std::log10 (std::max (a, 1.0e-30) / std::max (b, 1.0e-30)) ; }
}

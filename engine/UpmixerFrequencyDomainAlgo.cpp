#include "engine/UpmixerFrequencyDomainAlgo.h"
#include "engine/UpmixerChannels.h"

#include <algorithm>
#include <cmath>

namespace
{
    // The per-bin loops below decide by weights of 0 and 1 rather than by branches: on programme
    // material the decisions go either way from bin to bin, and mispredicted branches cost more
    // than twice the arithmetic.
    // (An int converts to double without a branch; a choice between 1.0 and 0.0 compiles to one.)
    inline double weight (bool condition) noexcept { return (double) (int) condition; }

    /** |atan2 (y, x)|, 0 ... pi, without the library call: folded to an angle below pi/8 whose
        arctangent is a least-squares odd polynomial of degree 9, within 4e-9 rad of the exact
        value. 0 for x = y = 0. */
    inline double absoluteAngle (double y, double x) noexcept
    {
        constexpr double pi = 3.141592653589793, tanPiOver8 = 0.41421356237309503;
        const double ax = std::abs (x), ay = std::abs (y);
        const double t = std::min (ax, ay) / std::max (std::max (ax, ay), 1.0e-300);  // 0 ... 1
        const double folded = weight (t > tanPiOver8);
        const double u = t + folded * ((t - 1.0) / (t + 1.0) - t);  // atan t = pi/4 + atan ((t - 1) / (t + 1))
        const double s = u * u;
        double angle = folded * (pi / 4.0)
                       + u * (0.9999999221383 + s * (-0.3333230667413 + s * (0.1996386033696 + s * (-0.1376835401503 + s * 0.07767607212697))));
        angle += weight (ay > ax) * (pi / 2.0 - 2.0 * angle);
        return angle + weight (x < 0.0) * (pi - 2.0 * angle);
    }

    inline double unitClamp (double x) noexcept { return std::min (std::max (x, 0.0), 1.0); }

    /** The per-bin states decay geometrically towards 0 in silence and would pass through the
        subnormal range, where arithmetic is many times slower; below 1e-20 they are 0. */
    inline float flushTiny (double x) noexcept
    {
        return (float) (x * weight (std::abs (x) >= 1.0e-20));
    }
}

void UpmixerFrequencyDomainAlgo_FilterCallBack::processFrame (FreqDataStore<Complex>::Ptr frame) noexcept
{
    if (m_pOwner != nullptr && frame != nullptr)
        m_pOwner->processFrame (*frame);
}

UpmixerFrequencyDomainAlgo::UpmixerFrequencyDomainAlgo()
    : m_silence ((size_t) maxBlockSize, 0.0f), m_discard ((size_t) maxBlockSize, 0.0f)
{
}

UpmixerFrequencyDomainAlgo::~UpmixerFrequencyDomainAlgo()
{
    if (callback != nullptr)
        callback->detach();
}

void UpmixerFrequencyDomainAlgo::prepare (int fftSizeIn)
{
    jassert (fftSizeIn == defaultFftSize);  // the framing is fixed at 1024
    fftSize = fftSizeIn;

    if (callback != nullptr)
        callback->detach();
    callback = new UpmixerFrequencyDomainAlgo_FilterCallBack (this);
    overlapper = new BlockOverlaper (defaultFftSize, callback, numSpectra, 2);

    // Grow the overlapper's FIFOs to the longest block now, so that process() never does. The
    // frames of silence this runs are not analysed.
    {
        std::array<const float*, numSpectra> in {};
        std::array<float*, numSpectra> out {};
        in.fill (m_silence.data());
        out.fill (m_discard.data());
        m_bWarmingUp = true;
        overlapper->processBlock (in.data(), out.data(), numSpectra, maxBlockSize);
        m_bWarmingUp = false;
    }

    for (int i = 0; i < numHistoryFrames; ++i)
    {
        historySlot[(size_t) i] = i;
        history[(size_t) i] = new FreqDataStore<Complex> (2, defaultFftSize);
    }
    for (auto* perFrame : { &levelDb, &diffDb, &dialogProbability })
        for (auto& frame : *perFrame)
            frame.fill (0.0f);
    for (auto* perBin : { &smoothedPower, &transientHold, &centreCoef, &frontCoef, &backCoef, &dialogMask })
        perBin->fill (0.0f);

    m_bLevelsCurrent.fill (true);  // all silent, as are their features
    channelEnabled.fill (true);
    settings = Settings();
    networkInput.fill (0.0f);
    dialogEnergy = 0.0f;
    remainderEnergy = 0.0f;
}

void UpmixerFrequencyDomainAlgo::process (float* const* block, int numChannels, int numSamples, const float* panLaw) noexcept
{
    if (fftSize < 1 || overlapper == nullptr)
        return;
    jassert (numSamples <= maxBlockSize);
    numSamples = std::clamp (numSamples, 0, maxBlockSize);
    m_pPanLaw = panLaw;

    const UpmixerChannels channels (block, numChannels, outputLayout);
    std::array<const float*, numSpectra> in {};
    std::array<float*, numSpectra> out {};
    in.fill (m_silence.data());
    for (int i = 0; i < 2; ++i)
        if (const float* source = channels[spectrumKinds[i]])
            in[(size_t) i] = source;

    for (int i = 0; i < numSpectra; ++i)
    {
        channelEnabled[(size_t) i] = i == 6 || i < numChannels - 2;
        float* target = channels[spectrumKinds[i]];
        out[(size_t) i] = channelEnabled[(size_t) i] && target != nullptr ? target : m_discard.data();
    }

    // In place is safe: the overlapper takes the whole input before it writes any output.
    overlapper->processBlock (in.data(), out.data(), numSpectra, numSamples);
}

void UpmixerFrequencyDomainAlgo::processFrame (FreqDataStore<Complex>& frame) noexcept
{
    if (m_bWarmingUp || frame.getNumChannels() < numSpectra || frame.getNumBins() != numBins)
        return;

    // 1. The newest input spectra join the history ring.
    const int newest = historySlot[numHistoryFrames - 1];
    const int older = historySlot[numHistoryFrames - 2];
    auto& store = *history[(size_t) newest];
    std::copy_n (frame.getChannel (0), numBins, store.getChannel (0));
    std::copy_n (frame.getChannel (1), numBins, store.getChannel (1));

    m_bLevelsCurrent[(size_t) newest] = false;

    // 2. and 3. Level features, then the newest frame's dialogue probabilities.
    runDialogNetwork (newest);

    // 4. to 8. on the frame one hop older.
    extractDialogue (frame, older);
    splitByPhase (frame);

    // 9. The oldest slot becomes the next write slot.
    std::rotate (historySlot.begin(), historySlot.begin() + 1, historySlot.end());
}

void UpmixerFrequencyDomainAlgo::runDialogNetwork (int newestSlot) noexcept
{
    auto& probability = dialogProbability[(size_t) newestSlot];

    // The network costs most of this stage; its output only matters while dialogue is moved.
    // A frame it skips counts as no dialogue, so switching isolation on builds the mask up from
    // zero through its attack instead of starting from probabilities frames old.
    if (! m_network.isLoaded() || settings.dialogAmount <= 0.0f)
    {
        std::fill_n (probability.begin(), numBins, 0.0f);
        return;
    }

    const float* levels[numHistoryFrames];
    const float* diffs[numHistoryFrames];
    for (int j = 0; j < numHistoryFrames; ++j)
    {
        const auto slot = (size_t) historySlot[(size_t) (numHistoryFrames - 1 - j)];  // newest first
        if (! m_bLevelsCurrent[slot])
        {
            UpmixerDialogFeatures::computeFrameLevels (history[slot]->getChannel (0), history[slot]->getChannel (1),
                                                       levelDb[slot].data(), diffDb[slot].data());
            m_bLevelsCurrent[slot] = true;
        }
        levels[j] = levelDb[slot].data();
        diffs[j] = diffDb[slot].data();
    }

    UpmixerDialogFeatures::computeDialogFeatures (levels, diffs, networkInput.data());
    m_network.runFrame (networkInput.data(), numBins, probability.data());
}

void UpmixerFrequencyDomainAlgo::extractDialogue (FreqDataStore<Complex>& frame, int olderSlot) noexcept
{
    constexpr double floor = 0.031622777;  // -30 dB: probabilities below it are no dialogue
    const auto& s = settings;
    const Complex* inL = history[(size_t) olderSlot]->getChannel (0);
    const Complex* inR = history[(size_t) olderSlot]->getChannel (1);
    const auto& probability = dialogProbability[(size_t) olderSlot];
    Complex* outL = frame.getChannel (0);
    Complex* outR = frame.getChannel (1);
    Complex* outC = frame.getChannel (6);
    const double centreScale = 0.5 / centrePanGain();

    double running = 0.0, dialog = 0.0, remainder = 0.0;
    for (int k = 0; k < numBins; ++k)
    {
        // The mask follows the probability with its attack and releases multiplicatively.
        const double x = probability[(size_t) k];
        const double m = dialogMask[(size_t) k];
        const double aimed = std::max (0.0, 2.0 * (x - floor));
        const double attacked = m * (1.0 - s.dialogAttack) + aimed * s.dialogAttack;
        const double target = aimed + weight ((m < aimed) & (attacked <= aimed)) * (attacked - aimed);
        const double released = m * s.dialogRelease;
        const double settled = target + weight ((target < m) & (released >= target)) * (released - target);
        dialogMask[(size_t) k] = flushTiny (settled);

        // Smoothed up the bins, so a voice's harmonics move together.
        running = (settled + s.dialogMixInC) / 2.0 + running / 2.0;
        const double g = unitClamp (running);
        const double gd = g * s.dialogAmount;

        const double sumRe = inL[k].re + inR[k].re, sumIm = inL[k].im + inR[k].im;
        outL[k] = { inL[k].re - gd * sumRe / 2.0, inL[k].im - gd * sumIm / 2.0 };
        outR[k] = { inR[k].re - gd * sumRe / 2.0, inR[k].im - gd * sumIm / 2.0 };
        outC[k] = { gd * sumRe * centreScale, gd * sumIm * centreScale };

        const double power = sumRe * sumRe + sumIm * sumIm;
        dialog += power * g;
        remainder += power * (1.0 - g);
    }
    dialogEnergy.store ((float) dialog, std::memory_order_relaxed);
    remainderEnergy.store ((float) remainder, std::memory_order_relaxed);
}

void UpmixerFrequencyDomainAlgo::splitByPhase (FreqDataStore<Complex>& frame) noexcept
{
    const auto& s = settings;
    const double cpg = centrePanGain();
    const double surroundScale = 1.0 / surroundPanGain();
    const double t = s.centreThreshold;
    const double centreFactor = t == 1.0 ? 0.0 : 2.0 * (1.0 - t);
    const double baseSmoothing = (s.correlationSmoothing + s.smoothingFloor) / 2.0f;

    // A hard slope gates by the offset's sign alone: open at or below 0, shut above.
    auto fadeValue = [] (double q, float offset, float slope) noexcept {
        if (slope == hardSlope)
            return offset > 0.0f ? 0.0 : 1.0;
        return unitClamp ((q - offset) * slope + 0.5);
    };

    Complex* ch[numSpectra];
    for (int i = 0; i < numSpectra; ++i)
        ch[i] = frame.getChannel (i);

    int held = 0, writeIndex = 0;
    double smoothingSum = 0.0;

    // 5. Phase agreement q of every bin: 1 in phase, 0 at a quarter turn, -1 in anti-phase. The
    //    wrapped angle of L conj(R) is |arg L - arg R| folded into 0 ... pi, which is what the
    //    fold of q below -1 does with the two angles taken apart, with one angle instead of two.
    //    The bins are independent here; the rest is a chain up the bins.
    for (int k = 0; k < numBins; ++k)
    {
        const Complex l = ch[0][k], r = ch[1][k];
        const double power = l.re * l.re + l.im * l.im + r.re * r.re + r.im * r.im;
        const double crossRe = l.re * r.re + l.im * r.im;
        const double crossIm = l.im * r.re - l.re * r.im;
        const double agreement = 1.0 - absoluteAngle (crossIm, crossRe) * (2.0 / juce::MathConstants<double>::pi);
        // A channel exactly silent in this bin has no phase to agree with: the bin is one
        // channel's alone (a hard-panned source) and counts as unrelated, q = 0, so it stays on
        // its own side instead of being read as centred. Near silence (below 1e-7) q is 1.
        const double oneSided = weight ((crossRe == 0.0) & (crossIm == 0.0));
        const double silent = weight (power < 1.0e-7);
        m_binPower[(size_t) k] = power;
        m_agreement[(size_t) k] = silent + (1.0 - silent) * (1.0 - oneSided) * agreement;
    }

    for (int k = 0; k < numBins; ++k)
    {
        const Complex l = ch[0][k], r = ch[1][k];
        const double power = m_binPower[(size_t) k];
        const double q = m_agreement[(size_t) k];

        // Power smoothing and the transient hold, which makes the coefficients follow an onset
        // 100 times (20 dB) above the recent level faster for the next 13 frames.
        const float oldPower = smoothedPower[(size_t) k];
        smoothedPower[(size_t) k] = flushTiny ((oldPower + power) / 2.0);
        const double onset = weight ((power > 100.0 * oldPower) & (power > 0.001));
        const double decayed = std::max (0.0, transientHold[(size_t) k] - 1.0);
        const double hold = decayed + onset * (15.0 - decayed);
        transientHold[(size_t) k] = (float) hold;

        const double capped = weight ((hold > 0.0) & (hold < 14.0));
        const double a = baseSmoothing + capped * (std::min (baseSmoothing, 0.9) - baseSmoothing);

        // 6. The smoothing factor is the mean of a over this bin and up to 7 below it (kept as a
        //    running sum: the same mean, without a division in the chain from bin to bin).
        const double leaving = held == smoothingSpan ? smoothingHistory[(size_t) writeIndex] : 0.0;
        smoothingSum += a - leaving;
        held = std::min (held + 1, smoothingSpan);
        smoothingHistory[(size_t) writeIndex] = a;
        writeIndex = (writeIndex + 1) % smoothingSpan;
        const double keep = smoothingSum / held, w = 1.0 - keep;

        // 7. Coefficients, each smoothed over frames.
        const double centreValue = unitClamp ((q - t) * centreFactor);
        centreCoef[(size_t) k] = flushTiny (centreCoef[(size_t) k] * keep + centreValue * w);
        frontCoef[(size_t) k] = flushTiny (unitClamp (frontCoef[(size_t) k] * keep + fadeValue (q, s.frontOffset, s.frontSlope) * w));
        backCoef[(size_t) k] = flushTiny (unitClamp (backCoef[(size_t) k] * keep + fadeValue (q, s.backOffset, s.backSlope) * w));

        // 8. Distribution: the correlated part of the mid to C, the rest to the front, side and
        //    back pairs. With back boost the backs come on top of the sides, not out of them.
        const double c = centreCoef[(size_t) k] / cpg;
        const double front = frontCoef[(size_t) k], back = backCoef[(size_t) k];
        const double a1 = 1.0 - c * cpg;
        const double midRe = (l.re + r.re) / 2.0, midIm = (l.im + r.im) / 2.0;
        const double sideRe = (l.re - r.re) / 2.0, sideIm = (l.im - r.im) / 2.0;
        const double sideShare = s.backBoost == 1.0f ? 1.0 - front : back * (1.0 - front);
        const double backShare = (1.0 - front) * (1.0 - back);

        const Complex left { midRe * a1 + sideRe, midIm * a1 + sideIm };
        const Complex right { midRe * a1 - sideRe, midIm * a1 - sideIm };
        ch[6][k].re += midRe * c;
        ch[6][k].im += midIm * c;
        ch[0][k] = { left.re * front, left.im * front };
        ch[1][k] = { right.re * front, right.im * front };
        const double sideGain = sideShare * surroundScale;
        ch[2][k] = { left.re * sideGain, left.im * sideGain };
        ch[3][k] = { right.re * sideGain, right.im * sideGain };
        ch[4][k] = { left.re * backShare, left.im * backShare };
        ch[5][k] = { right.re * backShare, right.im * backShare };
    }
}

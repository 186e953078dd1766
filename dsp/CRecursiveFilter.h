#pragma once

#include <algorithm>
#include <cmath>
#include <iterator>

/** A recursive (IIR) filter with a fixed 51-sample history ring, run one sample at a time.

    y[n] = b0 x[n] + b1 x[n-1] + b2 x[n-2] + f1 y[n-1] + f2 y[n-2], where f1 = -a1 and f2 = -a2
    are the denominator coefficients stored already negated and divided by a0, so the step is
    five multiply-adds. The ring avoids shifting the history; changing coefficients never clears
    it. Audio thread only, no locks, no allocation after construction.
*/
template <typename T>
class CRecursiveFilter
{
public:
    static constexpr int historyLength = 51;
    static constexpr int maxCoefficients = 31;

    /** Any thread (owner's construction), no allocation: zeroed histories and coefficients. */
    explicit CRecursiveFilter (int numFeedForwardIn = 2, int numFeedbackIn = 2) noexcept
        : numFeedForward (std::clamp (numFeedForwardIn, 0, maxCoefficients - 1)),
          numFeedback (std::clamp (numFeedbackIn, 0, maxCoefficients - 1))
    {
    }

    virtual ~CRecursiveFilter() = default;

    /** Audio thread, no allocation: one sample through the second-order recursion. */
    T process (T x) noexcept
    {
        const int i = historyIndex;
        const int previous = i == 0 ? historyLength - 1 : i - 1;

        const T y = feedForward[0] * x + feedForward[1] * inputHistory[i] + feedForward[2] * inputHistory[previous]
                  + feedback[1] * outputHistory[i] + feedback[2] * outputHistory[previous];

        const int next = i + 1 > historyLength - 1 ? 0 : i + 1;
        historyIndex = next;
        inputHistory[next] = x;
        outputHistory[next] = y;
        return y;
    }

    /** Audio thread, no allocation: filters a run of samples in place. */
    void processInPlace (T* samples, int numSamples) noexcept
    {
        for (int n = 0; n < numSamples; ++n)
            samples[n] = process (samples[n]);
    }

    /** Audio or preparing thread, no allocation: forgets the history (coefficients stay). */
    void reset() noexcept
    {
        std::fill (std::begin (inputHistory), std::end (inputHistory), T (0));
        std::fill (std::begin (outputHistory), std::end (outputHistory), T (0));
        historyIndex = 0;
    }

    /** Audio thread, no allocation: writes b[index] (0 <= index < 31). */
    void setFeedForward (int index, T value) noexcept { feedForward[std::clamp (index, 0, maxCoefficients - 1)] = value; }

    /** Audio thread, no allocation: writes the negated denominator coefficient -a[index] (1 <= index < 31). */
    void setFeedback (int index, T value) noexcept { feedback[std::clamp (index, 0, maxCoefficients - 1)] = value; }

    /** Any thread, no allocation: b[index]. */
    T getFeedForward (int index) const noexcept { return feedForward[std::clamp (index, 0, maxCoefficients - 1)]; }

    /** Any thread, no allocation: -a[index]. */
    T getFeedback (int index) const noexcept { return feedback[std::clamp (index, 0, maxCoefficients - 1)]; }

    /** Any thread, no allocation: the orders given at construction. */
    int getNumFeedForward() const noexcept { return numFeedForward; }

    /** Any thread, no allocation. */
    int getNumFeedback() const noexcept { return numFeedback; }

protected:
    T inputHistory[historyLength] {};
    int numFeedForward;
    T feedForward[maxCoefficients] {};
    T outputHistory[historyLength] {};
    int numFeedback;
    T feedback[maxCoefficients] {}; // entry 0 is never read
    int historyIndex = 0;
};

/** A second-order section designed from frequency, q and a linear gain, in nine response types:

      0 peaking, 1 low shelf, 2 high shelf, 3 low-pass, 4 high-pass, 5 band-pass (peak gain q),
      6 notch                      the audio-EQ-cookbook forms (R. Bristow-Johnson);
      7 resonant band-pass,
      8 resonant band-reject       two-pole designs on g = f / fs directly, pole radius
                                   r = 1 - 3g / (10.1 q) for 7 and 1 - 3g / (10.1 q + 0.1) for 8.

    The gain is the linear amplitude a shelf settles at on its far end, or a peaking filter reaches
    at its centre (0.8 cuts by 0.8, about -1.9 dB): the cookbook's A, 10^(dB/40), is its square
    root, so that a control labelled in dB does what it says. A shelf asked for with gain exactly
    0 becomes the opposite pass filter (low shelf: high-pass; high shelf: low-pass). The design
    runs in single precision with 2 pi as the float 6.2831855.
*/
template <typename T>
class CRecursiveFilterBiquad : public CRecursiveFilter<T>
{
public:
    enum Type
    {
        peaking = 0,
        lowShelf = 1,
        highShelf = 2,
        lowPass = 3,
        highPass = 4,
        bandPass = 5,
        notch = 6,
        resonantBandPass = 7,
        resonantBandReject = 8
    };

    /** Any thread (owner's construction), no allocation. */
    explicit CRecursiveFilterBiquad (int typeIn = peaking) noexcept : type (typeIn) {}

    /** Audio or message thread, no allocation. Returns false, keeping the coefficients, for a
        sample rate <= 0; a type outside 0 to 8 also keeps them (and returns true). A frequency at
        or above Nyquist (a 22 kHz shelf at 22.05 kHz) is designed just below it, where the
        sections stay stable; a non-positive q is taken as a very small one. */
    bool setParameters (float frequencyIn, float qIn, float sampleRateIn, float gainIn) noexcept
    {
        frequency = frequencyIn;
        sampleRate = sampleRateIn;
        q = qIn;

        if (! (sampleRate > 0.0f))
            return false;

        omega = designFrequency() * 6.2831855f / sampleRate;
        alpha = std::sin (omega) / (2.0f * std::max (q, 1.0e-4f));
        cosOmega = std::cos (omega);
        gain = gainIn;

        design();
        return true;
    }

    /** Any thread, no allocation. */
    int getType() const noexcept { return type; }

    /** The frequency the coefficients are designed for: the requested one, kept inside (0, 0.49 fs). */
    float designFrequency() const noexcept { return std::clamp (frequency, 1.0e-3f, 0.49f * sampleRate); }
    /** Any thread, no allocation. */
    float getFrequency() const noexcept { return frequency; }
    /** Any thread, no allocation. */
    float getQ() const noexcept { return q; }
    /** Any thread, no allocation. */
    float getSampleRate() const noexcept { return sampleRate; }
    /** Any thread, no allocation: the linear gain A. */
    float getGain() const noexcept { return gain; }

protected:
    float q = 0.0f;
    float omega = 0.0f;
    float cosOmega = 0.0f;
    float alpha = 0.0f;
    float gain = 1.0f;
    int type;
    float frequency = 0.0f;
    float sampleRate = 0.0f;

private:
    void store (float b0, float b1, float b2, float a0, float a1, float a2) noexcept
    {
        this->feedForward[0] = (T) (b0 / a0);
        this->feedForward[1] = (T) (b1 / a0);
        this->feedForward[2] = (T) (b2 / a0);
        this->feedback[1] = (T) (-a1 / a0);
        this->feedback[2] = (T) (-a2 / a0);
    }

    void designPass (bool low) noexcept
    {
        const float c = cosOmega;
        if (low)
            store ((1.0f - c) / 2.0f, 1.0f - c, (1.0f - c) / 2.0f, 1.0f + alpha, -2.0f * c, 1.0f - alpha);
        else
            store ((1.0f + c) / 2.0f, -(1.0f + c), (1.0f + c) / 2.0f, 1.0f + alpha, -2.0f * c, 1.0f - alpha);
    }

    void designNarrowBand (bool reject) noexcept
    {
        const float g = designFrequency() / sampleRate;
        const float c = std::cos (6.2831855f * g);
        // The band-reject's bandwidth term carries an extra 0.1 that the band-pass lacks: intended.
        const float r = 1.0f - 3.0f * g / (reject ? 10.1f * q + 0.1f : 10.1f * q);
        const float k = (1.0f - 2.0f * r * c + r * r) / (2.0f * (1.0f - c));

        if (reject)
        {
            this->feedForward[0] = (T) k;
            this->feedForward[1] = (T) (-2.0f * k * c);
            this->feedForward[2] = (T) k;
        }
        else
        {
            this->feedForward[0] = (T) (1.0f - k);
            this->feedForward[1] = (T) (2.0f * (k - r) * c);
            this->feedForward[2] = (T) (r * r - k);
        }
        this->feedback[1] = (T) (2.0f * r * c);
        this->feedback[2] = (T) (-r * r);
    }

    void design() noexcept
    {
        const float c = cosOmega;
        const float a = std::sqrt (std::max (0.0f, gain));  // the cookbook's A
        const float s = 2.0f * std::sqrt (a) * alpha;

        switch (type)
        {
            case peaking:
                store (1.0f + alpha * a, -2.0f * c, 1.0f - alpha * a, 1.0f + alpha / a, -2.0f * c, 1.0f - alpha / a);
                break;
            case lowShelf:
                if (a == 0.0f)
                    designPass (false);
                else
                    store (a * ((a + 1.0f) - (a - 1.0f) * c + s), 2.0f * a * ((a - 1.0f) - (a + 1.0f) * c),
                           a * ((a + 1.0f) - (a - 1.0f) * c - s), (a + 1.0f) + (a - 1.0f) * c + s,
                           -2.0f * ((a - 1.0f) + (a + 1.0f) * c), (a + 1.0f) + (a - 1.0f) * c - s);
                break;
            case highShelf:
                if (a == 0.0f)
                    designPass (true);
                else
                    store (a * ((a + 1.0f) + (a - 1.0f) * c + s), -2.0f * a * ((a - 1.0f) + (a + 1.0f) * c),
                           a * ((a + 1.0f) + (a - 1.0f) * c - s), (a + 1.0f) - (a - 1.0f) * c + s,
                           2.0f * ((a - 1.0f) - (a + 1.0f) * c), (a + 1.0f) - (a - 1.0f) * c - s);
                break;
            case lowPass:
                designPass (true);
                break;
            case highPass:
                designPass (false);
                break;
            case bandPass:
                store (q * alpha, 0.0f, -q * alpha, 1.0f + alpha, -2.0f * c, 1.0f - alpha);
                break;
            case notch:
                store (1.0f, -2.0f * c, 1.0f, 1.0f + alpha, -2.0f * c, 1.0f - alpha);
                break;
            case resonantBandPass:
                designNarrowBand (false);
                break;
            case resonantBandReject:
                designNarrowBand (true);
                break;
            default:
                break;
        }
    }
};

/** Cookbook low shelf (type 1): unity at high frequencies, the gain towards DC. */
template <typename T>
class CRecursiveFilterBiquadLowShelf : public CRecursiveFilterBiquad<T>
{
public:
    /** Any thread (owner's construction), no allocation. */
    CRecursiveFilterBiquadLowShelf() noexcept : CRecursiveFilterBiquad<T> (CRecursiveFilterBiquad<T>::lowShelf) {}
};

/** Cookbook high shelf (type 2): unity at DC, the gain towards Nyquist. */
template <typename T>
class CRecursiveFilterBiquadHighShelf : public CRecursiveFilterBiquad<T>
{
public:
    /** Any thread (owner's construction), no allocation. */
    CRecursiveFilterBiquadHighShelf() noexcept : CRecursiveFilterBiquad<T> (CRecursiveFilterBiquad<T>::highShelf) {}
};

/** Cookbook second-order low-pass (type 3): unity at DC, gain q at the corner. */
template <typename T>
class CRecursiveFilterBiquadLowPass : public CRecursiveFilterBiquad<T>
{
public:
    /** Any thread (owner's construction), no allocation. */
    CRecursiveFilterBiquadLowPass() noexcept : CRecursiveFilterBiquad<T> (CRecursiveFilterBiquad<T>::lowPass) {}
};

/** Cookbook second-order high-pass (type 4): unity at Nyquist, gain q at the corner. */
template <typename T>
class CRecursiveFilterBiquadHighPass : public CRecursiveFilterBiquad<T>
{
public:
    /** Any thread (owner's construction), no allocation. */
    CRecursiveFilterBiquadHighPass() noexcept : CRecursiveFilterBiquad<T> (CRecursiveFilterBiquad<T>::highPass) {}
};

/** First-order all-pass H(z) = (c + z^-1) / (1 + c z^-1): flat magnitude, phase turning from 0
    at DC to -pi at Nyquist, used as a decorrelator. Coefficients: b0 = c, b1 = 1, b2 = 0,
    f1 = -c, f2 = -0. */
template <typename T>
class CRecursiveAllPassWikipedia2 : public CRecursiveFilter<T>
{
public:
    /** Any thread (owner's construction), no allocation: coefficient 0, a pure one-sample delay. */
    CRecursiveAllPassWikipedia2() noexcept { setCoefficient (T (0)); }

    /** Audio or message thread, no allocation: the all-pass coefficient c (|c| < 1 for stability). */
    void setCoefficient (T c) noexcept
    {
        this->feedForward[0] = c;
        this->feedForward[1] = T (1);
        this->feedForward[2] = T (0);
        this->feedback[1] = -c;
        this->feedback[2] = -T (0);
    }

    /** Audio thread, no allocation: one sample through the first-order recursion (the same ring,
        only the first three products). */
    T process (T x) noexcept
    {
        const int i = this->historyIndex;
        const T y = this->feedForward[0] * x + this->feedForward[1] * this->inputHistory[i]
                  + this->feedback[1] * this->outputHistory[i];

        const int next = i + 1 > this->historyLength - 1 ? 0 : i + 1;
        this->historyIndex = next;
        this->inputHistory[next] = x;
        this->outputHistory[next] = y;
        return y;
    }

    /** Audio thread, no allocation: filters a run of samples in place. */
    void processInPlace (T* samples, int numSamples) noexcept
    {
        for (int n = 0; n < numSamples; ++n)
            samples[n] = process (samples[n]);
    }
};

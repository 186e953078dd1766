#include "engine/UpmixerHrirSet.h"
#include "dsp/CSincResampler.h"
#include "dsp/FftPlans.h"

#include <fftw3.h>
#include <mysofa.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdlib>

namespace
{
    std::string describe (int err)
    {
        switch (err)
        {
            case MYSOFA_READ_ERROR: return "it cannot be read";
            case MYSOFA_NO_MEMORY: return "out of memory";
            case MYSOFA_INVALID_FORMAT: return "it is not a SOFA (HDF5) file";
            case MYSOFA_UNSUPPORTED_FORMAT: return "its SOFA convention is not supported";
            default: return "libmysofa error " + std::to_string (err);
        }
    }

    double energy (const std::vector<float>& x)
    {
        double sum = 0.0;
        for (float v : x)
            sum += (double) v * v;
        return sum;
    }
}

std::shared_ptr<const UpmixerHrirSet> UpmixerHrirSet::load (const std::string& path, std::string& error)
{
    int err = MYSOFA_OK;
    MYSOFA_HRTF* hrtf = mysofa_load (path.c_str(), &err);
    if (hrtf == nullptr || err != MYSOFA_OK)
    {
        // libmysofa reports a missing file as an unreadable one.
        error = "Headphone monitoring is unavailable: the head-related responses " + path + " could not be loaded ("
                + (err == MYSOFA_READ_ERROR ? std::string ("missing or unreadable") : describe (err)) + ")";
        if (hrtf != nullptr)
            mysofa_free (hrtf);
        return nullptr;
    }
    if ((err = mysofa_check (hrtf)) != MYSOFA_OK || hrtf->R != 2 || hrtf->N == 0 || hrtf->DataSamplingRate.elements < 1)
    {
        error = "Headphone monitoring is unavailable: " + path + " is not a two-ear set of impulse responses ("
                + (err != MYSOFA_OK ? describe (err) : std::string ("wrong dimensions")) + ")";
        mysofa_free (hrtf);
        return nullptr;
    }

    std::shared_ptr<UpmixerHrirSet> set (new UpmixerHrirSet());
    set->m_fSampleRate = hrtf->DataSamplingRate.values[0];
    set->m_nLength = (int) hrtf->N;
    mysofa_tocartesian (hrtf);

    // The parts mysofa_open() would build, without its own resampling and normalisation, which
    // this class does itself.
    auto* easy = static_cast<MYSOFA_EASY*> (std::calloc (1, sizeof (MYSOFA_EASY)));
    easy->hrtf = hrtf;
    easy->lookup = mysofa_lookup_init (hrtf);
    if (easy->lookup == nullptr)
    {
        mysofa_close (easy);
        error = "Headphone monitoring is unavailable: " + path + " holds no usable source positions";
        return nullptr;
    }
    easy->neighborhood = mysofa_neighborhood_init (hrtf, easy->lookup);
    easy->fir = static_cast<float*> (std::malloc (sizeof (float) * hrtf->N * hrtf->R));
    set->m_pEasy = easy;
    set->m_fRadius = 0.5f * (easy->lookup->radius_min + easy->lookup->radius_max);

    set->designEqualiser();
    double sum = 0.0;
    constexpr int stepDegrees = 5;
    for (int azimuth = 0; azimuth < 360; azimuth += stepDegrees)
    {
        const auto pair = set->measured ((float) azimuth, 0.0f);
        sum += energy (pair.left) + energy (pair.right);
    }
    const double mean = sum / (360 / stepDegrees);
    set->m_fGain = mean > 0.0 ? (float) (1.0 / std::sqrt (mean)) : 1.0f;
    return set;
}

UpmixerHrirSet::~UpmixerHrirSet()
{
    if (m_pEasy != nullptr)
        mysofa_close (m_pEasy);
}

void UpmixerHrirSet::designEqualiser()
{
    constexpr int n = 2048, bins = n / 2 + 1, taps = 256, fade = 64;
    FftPlans::prepare (n);
    const auto& fft = FftPlans::get();
    double* time = fftw_alloc_real (n);
    auto* spectrum = reinterpret_cast<Complex*> (fftw_alloc_complex (bins));

    // The power spectrum averaged over both ears and the sphere, by area.
    std::vector<double> power ((size_t) bins, 0.0);
    double weights = 0.0;
    auto accumulate = [&] (float azimuth, float elevation, double weight)
    {
        const auto pair = raw (azimuth, elevation);
        for (const auto* ir : { &pair.left, &pair.right })
        {
            std::fill (time, time + n, 0.0);
            std::copy_n (ir->begin(), std::min ((int) ir->size(), n), time);
            fft.forward (n, time, spectrum);
            for (int k = 0; k < bins; ++k)
                power[(size_t) k] += weight * (spectrum[k].re * spectrum[k].re + spectrum[k].im * spectrum[k].im);
        }
        weights += 2.0 * weight;
    };
    for (float elevation : { -30.0f, 0.0f, 30.0f, 60.0f })
        for (int azimuth = 0; azimuth < 360; azimuth += 10)
            accumulate ((float) azimuth, elevation, std::cos (elevation * 3.14159265 / 180.0));
    accumulate (0.0f, 90.0f, 1.0);

    // Inverse magnitude, smoothed over a sixth of an octave, held flat below 50 Hz and above
    // 18 kHz, kept within 12 dB of its median.
    const double binHz = m_fSampleRate / n;
    std::vector<double> inverse ((size_t) bins);
    for (int k = 0; k < bins; ++k)
    {
        const double f = std::clamp (k * binHz, 50.0, std::min (18000.0, 0.45 * m_fSampleRate)) / binHz;
        const int lo = std::max (1, (int) std::floor (f / std::pow (2.0, 1.0 / 12.0))), hi = std::min (bins - 1, (int) std::ceil (f * std::pow (2.0, 1.0 / 12.0)));
        double sum = 0.0;
        for (int j = lo; j <= hi; ++j)
            sum += power[(size_t) j];
        inverse[(size_t) k] = 1.0 / std::sqrt (sum / (hi - lo + 1) / weights + 1.0e-20);
    }
    auto sorted = inverse;
    std::nth_element (sorted.begin(), sorted.begin() + bins / 2, sorted.end());
    const double median = sorted[(size_t) bins / 2];
    for (auto& v : inverse)
        v = std::clamp (v, median / 4.0, median * 4.0);

    // Minimum phase from the real cepstrum: fold the log magnitude's cepstrum onto positive time.
    for (int k = 0; k < bins; ++k)
        spectrum[k] = { std::log (inverse[(size_t) k]), 0.0 };
    fft.inverse (n, spectrum, time);
    for (int i = 1; i < n; ++i)
        time[i] = i < n / 2 ? 2.0 * time[i] / n : i == n / 2 ? time[i] / n : 0.0;
    time[0] /= n;
    fft.forward (n, time, spectrum);
    for (int k = 0; k < bins; ++k)
    {
        const auto value = std::exp (std::complex<double> (spectrum[k].re, spectrum[k].im));
        spectrum[k] = { value.real(), value.imag() };
    }
    fft.inverse (n, spectrum, time);
    m_equaliser.assign ((size_t) taps, 0.0f);
    for (int i = 0; i < taps; ++i)
    {
        const double window = i < taps - fade ? 1.0 : 0.5 + 0.5 * std::cos (3.14159265 * (i - (taps - fade)) / fade);
        m_equaliser[(size_t) i] = (float) (time[i] / n * window);
    }
    fftw_free (spectrum);
    fftw_free (time);
}

UpmixerHrirSet::Pair UpmixerHrirSet::measured (float azimuth, float elevation) const
{
    auto pair = raw (azimuth, elevation);
    for (auto* ir : { &pair.left, &pair.right })
    {
        std::vector<float> out (ir->size() + m_equaliser.size() - 1, 0.0f);
        for (size_t i = 0; i < ir->size(); ++i)
            for (size_t j = 0; j < m_equaliser.size(); ++j)
                out[i + j] += (*ir)[i] * m_equaliser[j] * m_fGain;
        *ir = std::move (out);
    }
    return pair;
}

UpmixerHrirSet::Pair UpmixerHrirSet::raw (float azimuth, float elevation) const
{
    // libmysofa's frame: x ahead, y to the left, z up; its azimuth turns to the left, ours to the right.
    constexpr float degrees = 3.14159265f / 180.0f;
    const float a = -azimuth * degrees, e = elevation * degrees;
    const float x = m_fRadius * std::cos (e) * std::cos (a), y = m_fRadius * std::cos (e) * std::sin (a), z = m_fRadius * std::sin (e);

    Pair pair;
    std::vector<float> left ((size_t) m_nLength), right ((size_t) m_nLength);
    float delayLeft = 0.0f, delayRight = 0.0f;
    {
        std::lock_guard<std::mutex> guard (m_mutex);
        mysofa_getfilter_float (m_pEasy, x, y, z, left.data(), right.data(), &delayLeft, &delayRight);
    }
    // Delays come in seconds; sets that store them apart from the responses get them back in front.
    auto withDelay = [this] (std::vector<float>& ir, float seconds)
    {
        const int samples = std::max (0, (int) std::lround (seconds * m_fSampleRate));
        ir.insert (ir.begin(), (size_t) samples, 0.0f);
        return std::move (ir);
    };
    pair.left = withDelay (left, delayLeft);
    pair.right = withDelay (right, delayRight);
    return pair;
}

UpmixerHrirSet::Pair UpmixerHrirSet::responseFor (float azimuth, float elevation, double sampleRate) const
{
    const auto key = std::make_tuple (azimuth, elevation, sampleRate);
    {
        std::lock_guard<std::mutex> guard (m_cacheMutex);
        if (const auto found = m_cache.find (key); found != m_cache.end())
            return found->second;
    }
    auto pair = measured (azimuth, elevation);
    if (sampleRate > 0.0 && sampleRate != m_fSampleRate)
    {
        pair.left = CSincResampler::resample (pair.left, m_fSampleRate, sampleRate);
        pair.right = CSincResampler::resample (pair.right, m_fSampleRate, sampleRate);
    }
    std::lock_guard<std::mutex> guard (m_cacheMutex);
    return m_cache.emplace (key, std::move (pair)).first->second;
}

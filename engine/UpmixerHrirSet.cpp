#include "engine/UpmixerHrirSet.h"
#include "dsp/CSincResampler.h"

#include <mysofa.h>

#include <cmath>
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

UpmixerHrirSet::Pair UpmixerHrirSet::measured (float azimuth, float elevation) const
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
        for (auto& v : ir)
            v *= m_fGain;
        return std::move (ir);
    };
    pair.left = withDelay (left, delayLeft);
    pair.right = withDelay (right, delayRight);
    return pair;
}

UpmixerHrirSet::Pair UpmixerHrirSet::responseFor (float azimuth, float elevation, double sampleRate) const
{
    auto pair = measured (azimuth, elevation);
    if (sampleRate > 0.0 && sampleRate != m_fSampleRate)
    {
        pair.left = CSincResampler::resample (pair.left, m_fSampleRate, sampleRate);
        pair.right = CSincResampler::resample (pair.right, m_fSampleRate, sampleRate);
    }
    return pair;
}

#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <tuple>
#include <string>
#include <vector>

struct MYSOFA_EASY;

/** A measured set of head-related impulse responses, read from a SOFA file with libmysofa.

    responseFor() gives the pair of responses (left ear, right ear) for any direction: libmysofa
    finds the measured direction nearest to it and blends it with its measured neighbours
    (weights by inverse distance, in the time domain), any per-measurement delay is prepended as
    whole samples, and the pair is resampled to the session's rate by CSincResampler when the set
    was measured at another. The onset delay of each ear stays in the response: it is the
    interaural time difference.

    Diffuse-field equalisation: measured responses carry the ear canal's resonance and the
    measuring loudspeaker's response, which every direction shares and which would colour
    everything (KEMAR's raw set lifts 2 to 5 kHz by some 15 dB against the lows). Every response
    is therefore convolved with one minimum-phase filter (256 taps at the set's rate, so onsets and
    interaural delays stay) whose magnitude is the inverse of the power spectrum averaged over
    both ears and the sphere (azimuths every 10 degrees at elevations -30, 0, 30 and 60, weighted
    by the cosine of the elevation, and the top), smoothed over a sixth of an octave and kept
    within 12 dB of its median; what remains are the differences between directions, the cues.

    The whole set is scaled by one gain so that, averaged over the horizontal circle (every 5
    degrees), the energies of the two ears' responses sum to 1: a broadband source then sends
    about its own power to the two ears together, as a power-preserving pan does.

    Message thread (or any non-audio thread); everything allocates. responseFor() may be called
    from several threads (libmysofa's scratch space and the cache are guarded); it keeps what it
    made, so that preparing again at a rate already seen (hosts prepare often, every instance
    shares the set) costs a copy. */
class UpmixerHrirSet
{
public:
    /** The set installed with libmysofa (MIT KEMAR, normal pinna, 44.1 kHz, 512 taps). */
    static constexpr const char* defaultPath = "/usr/share/libmysofa/default.sofa";

    struct Pair
    {
        std::vector<float> left, right;
    };

    /** Reads a SOFA file. Returns null and sets error to a sentence naming the file and the
        fault when it is missing or unreadable. */
    static std::shared_ptr<const UpmixerHrirSet> load (const std::string& path, std::string& error);

    ~UpmixerHrirSet();
    UpmixerHrirSet (const UpmixerHrirSet&) = delete;
    UpmixerHrirSet& operator= (const UpmixerHrirSet&) = delete;

    /** The responses for a loudspeaker at azimuth degrees (0 ahead, negative to the left, as the
        surround displays count) and elevation degrees (up positive), at sampleRate. */
    Pair responseFor (float azimuth, float elevation, double sampleRate) const;

    double getSampleRate() const noexcept { return m_fSampleRate; }
    int getLength() const noexcept { return m_nLength; }

private:
    UpmixerHrirSet() = default;
    Pair measured (float azimuth, float elevation) const;
    Pair raw (float azimuth, float elevation) const;
    void designEqualiser();

    MYSOFA_EASY* m_pEasy = nullptr;
    double m_fSampleRate = 44100.0;
    int m_nLength = 0;
    float m_fRadius = 1.0f;
    float m_fGain = 1.0f;
    std::vector<float> m_equaliser { 1.0f };  // minimum-phase diffuse-field inverse, set's rate
    mutable std::mutex m_mutex;
    mutable std::mutex m_cacheMutex;
    mutable std::map<std::tuple<float, float, double>, Pair> m_cache;  // by azimuth, elevation, rate
};

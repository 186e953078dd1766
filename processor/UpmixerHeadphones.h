#pragma once

#include "engine/UpmixerAmbisonicStage.h"
#include "engine/UpmixerBinauralRenderer.h"

#include <juce_audio_basics/juce_audio_basics.h>

#include <array>
#include <atomic>
#include <memory>

/** Headphone monitoring: when on, the host's first two outputs carry a binaural rendering of
    what the Listen selection plays (or of the Ambisonic output, decoded to a virtual 7.1.4 first)
    and every other output is silent. Switching on or off crossfades over 10 ms with the Listen
    modes' fade curve.

    The switch is per instance and not saved: it is neither a host parameter nor part of the
    session, presets or per-user settings, so a session reopened or a bounce made later never
    comes out binaural by surprise. It is a monitoring aid, like a control-room headphone button.

    The head-related responses are read once per process (UpmixerHrirSet, from setPath()); when
    the file is missing or unreadable, the option stays unavailable, getMessage() says why (the
    log has it too), and the outputs are never touched.

    Threads: the constructor, setPath() and prepare() on the message thread (they allocate);
    setEnabled() and the getters on any thread; the rest on the audio thread, no allocation. */
class UpmixerHeadphones
{
public:
    static constexpr int numKinds = 12;

    /** Message thread: the SOFA file later instances read (default UpmixerHrirSet::defaultPath). */
    static void setPath (const juce::String& path);

    UpmixerHeadphones();

    /** Message thread, audio stopped; allocates: the renderer at the session's rate, and room
        for blocks of up to maxBlock samples. */
    void prepare (double sampleRate, int maxBlock);

    /** Any thread: asks for monitoring on or off; ignored while unavailable. */
    void setEnabled (bool enabled) noexcept { m_bEnabled.store (enabled); }
    bool isEnabled() const noexcept { return m_bEnabled.load(); }
    bool isAvailable() const noexcept { return m_set != nullptr; }
    /** Why the option is unavailable (empty while it is available). */
    const juce::String& getMessage() const noexcept { return m_message; }

    /** Audio thread: whether the block needs the kind channels filled and process() run. */
    bool isNeeded() const noexcept;
    /** Audio thread: the per-kind channels (numKinds, maxBlock samples) to be filled. */
    float* const* getKindChannels() noexcept { return m_kinds.getArrayOfWritePointers(); }

    /** Audio thread, no allocation: decodes numChannels Ambisonic host channels (order, format
        as UpmixerAmbisonicStage) into the kind channels of a virtual 7.1.4 (L R C Ls Rs Lsr Rsr,
        Tfl Tfr Trl Trr) by a sampling decoder with max-rE weights. Returns the kinds written. */
    unsigned decodeAmbisonic (const float* const* host, int numChannels, int order, int format, int numSamples) noexcept;

    /** Audio thread, no allocation: renders the written kinds (bit k of kindsWritten) from the
        loudspeakers of the layout (its routing and engine output count; ambisonic: the virtual
        7.1.4) and writes or crossfades the result into the host outputs. */
    void process (unsigned kindsWritten, int routing, int numEngineOutputs, bool ambisonic, float* const* host, int numHost,
                  int numSamples) noexcept;

private:
    /** Renderer sources: the twelve kinds (sides at +-100 beside rears, heights top side and top
        rear), then the sides at +-110 (no rears) and the top front pair. */
    static std::vector<UpmixerBinauralRenderer::Source> sources();
    void updateDecoder (int order, int format) noexcept;

    std::shared_ptr<const UpmixerHrirSet> m_set;
    juce::String m_message;
    UpmixerBinauralRenderer m_renderer;
    juce::AudioBuffer<float> m_kinds, m_ears;
    double m_fSampleRate = 48000.0;
    std::atomic<bool> m_bEnabled { false };
    bool m_bOn = false;         // the state faded to (or being faded to)
    float m_fFade = 1.0f;       // fade position, 1 when no fade runs

    static constexpr int numVirtual = 11;
    std::array<std::array<float, UpmixerAmbisonicStage::maxChannels>, numVirtual> m_decoder {};
    int m_nDecoderOrder = -1, m_nDecoderFormat = -1;
};

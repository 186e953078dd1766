#pragma once

class KaParameterTable;

/** The "Listen" selection: which signal the host outputs carry, with a 10 ms crossfade between
    modes.

    Modes: 0 source, 1..14 single channels and channel pairs of the upmix, 15 downmix, 16 delta,
    17 the normal upmix. A pair mode puts its first channel on the host output that carries L and
    its second on the one that carries R; a single-channel mode puts its channel on both; a mono
    host bus takes the second channel. Every other output is silent.

    Audio thread for process(); no allocation anywhere. */
class UpmixerMonitor
{
public:
    static constexpr int modeSource = 0, modeDownmix = 15, modeDelta = 16, modeUpmix = 17;
    static constexpr int maxOutputs = 12;

    /** The signals a mode may read, all in the host order of `routing`. */
    struct Signals
    {
        const float* const* upmix = nullptr;   // numUpmix engine outputs
        int numUpmix = 0;
        const float* const* source = nullptr;  // numSource channels of the time-aligned source
        int numSource = 0;
        const float* const* downmix = nullptr;  // 2 channels
        const float* const* delta = nullptr;    // 2 channels
        int routing = 0;
    };

    /** The mode asked for by the parameters: 17 (or 0 under Bypass), then every Listen switch
        that is on overrides what came before, so the last one on in the table wins. */
    static int selectMode (const KaParameterTable& table) noexcept;

    /** The fade curve: -40 dB floor, meeting at one half (-6.02 dB) at x = 0.5. */
    static float fadeCurve (float x) noexcept;

    void reset (int mode = modeUpmix) noexcept;

    /** Writes numOutputs host outputs (at most 12) for the block, crossfading when the mode
        changed. A new mode waits until a running fade has finished. */
    void process (int requestedMode, const Signals& signals, float* const* outputs, int numOutputs,
                  int numSamples, double sampleRate) noexcept;

    /** Audio thread, no allocation: what the last process() call played, with the same modes and
        fade gains, written by channel kind (numSamples into kinds[kind]) for rendering from each
        loudspeaker's direction: the upmix's and the source's channels and a pair mode's two
        channels at their own kinds, downmix and delta at L and R. Returns the kinds written
        (bit k); the others are left as they were. Silent source channels are left out. */
    unsigned writeKinds (const Signals& signals, float* const* kinds, int numSamples) const noexcept;

    int getCurrentMode() const noexcept { return currentMode; }
    int getPreviousMode() const noexcept { return previousMode; }
    float getFadePosition() const noexcept { return fadePosition; }

private:
    void write (int mode, const Signals& s, float* const* outputs, int numOutputs, int numSamples,
                float gainStart, float gainEnd, bool overwrite) const noexcept;

    int previousMode = modeUpmix;
    int currentMode = modeUpmix;
    float fadePosition = 1.0f;
    float lastStart = 1.0f, lastEnd = 1.0f;  // fade positions at the last block's edges
};

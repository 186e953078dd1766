#pragma once

#include <atomic>
#include <bit>
#include <cstdint>

/** Denormal guard noise: a tiny pseudo-random value added once per sample to recursive filter
    inputs so that decaying filter states never sink into the slow subnormal range.

    A 32-bit linear congruential generator, state = state * 1234567 + 890123 (mod 2^32); each
    value is the float with bit pattern (state & 0x9E7F0000) | 0x1E000000: a random sign and a
    magnitude between 2^-67 and 2^-66 (about 7e-21 to 1.4e-20), far below audibility and far
    above the subnormal range (below 1.2e-38).

    Three generator states are shared process-wide (initial values 400, 405 and 411). A stage
    takes one at the start of its block, draws a value per sample, and puts it back at the end:

        DenormalNoise noise (DenormalNoise::side);
        for (...) x = filter.process (x + noise.next());
        // the destructor stores the state back

    The shared states are deliberately unsynchronised between instances (relaxed atomics keep
    that well-defined): a race only changes which tiny values are added.
*/
class DenormalNoise
{
public:
    /** The three generators, named after the diffuse stage's three noisy feeds; other stages
        draw from them too. */
    enum Source
    {
        difference = 0,
        side = 1,
        back = 2
    };

    static constexpr int numSources = 3;
    static constexpr std::uint32_t initialStates[numSources] = { 400u, 405u, 411u };

    /** Audio thread, no allocation: takes the current state of generator `source` (0 to 2). */
    explicit DenormalNoise (int source) noexcept;

    /** Audio thread, no allocation: puts the advanced state back. */
    ~DenormalNoise();

    DenormalNoise (const DenormalNoise&) = delete;
    DenormalNoise& operator= (const DenormalNoise&) = delete;

    /** Audio thread, no allocation: advances the generator and returns its value. */
    float next() noexcept
    {
        state = advance (state);
        return valueOf (state);
    }

    /** Any thread, no allocation: one LCG step. */
    static constexpr std::uint32_t advance (std::uint32_t s) noexcept { return s * 1234567u + 890123u; }

    /** Any thread, no allocation: the noise value a state stands for. */
    static float valueOf (std::uint32_t s) noexcept { return std::bit_cast<float> ((s & 0x9E7F0000u) | 0x1E000000u); }

    /** Any thread, no allocation: the shared state of a generator (for tests and diagnostics). */
    static std::uint32_t load (int source) noexcept;

    /** Any thread, no allocation: overwrites the shared state of a generator. */
    static void store (int source, std::uint32_t newState) noexcept;

private:
    static std::atomic<std::uint32_t>& shared (int source) noexcept;

    int source;
    std::uint32_t state;
};

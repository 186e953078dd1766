// CircularAudioBuffer and OverlapAddBuffer:
//  - advanceRead past the ready samples empties the buffer but moves the read position fully;
//  - both match a std::deque model over thousands of random operations: writes and additions
//    (advancing or not, with more or fewer channels), silence, hops, reads (into fewer
//    channels too), consumption (which zeroes), clearing, channel changes, growth from a
//    capacity of one, also while wrapped and while an overlap-add tail waits (which growth
//    drops in the plain buffer and keeps in OverlapAddBuffer).
#include "dsp/CircularAudioBuffer.h"
#include "dsp/OverlapAddBuffer.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <vector>

namespace
{
using Channels = std::vector<std::vector<float>>;

// The channels' pointers, const or not as the channels are.
template <typename Data>
auto pointers (Data& data)
{
    std::vector<decltype (data[0].data())> result;
    for (auto& channel : data)
        result.push_back (channel.data());
    return result;
}

// Reads everything that is ready without consuming it.
Channels peekAll (CircularAudioBuffer& buffer)
{
    Channels out ((size_t) buffer.getNumChannels(), std::vector<float> ((size_t) buffer.getNumReady()));
    auto ptrs = pointers (out);
    buffer.peek (ptrs.data(), (int) out.size(), buffer.getNumReady());
    return out;
}
} // namespace

TEST (DspCircularBuffer, AdvanceReadPastTheReadySamples)
{
    CircularAudioBuffer buffer (1);
    buffer.setSize (10);
    buffer.writeSilence (3);

    buffer.advanceRead (7);
    EXPECT_EQ (buffer.getNumReady(), 0);
    EXPECT_EQ (buffer.getReadPosition(), 7) << "moves by the full amount even past the ready samples";
}

namespace
{
// The reference: per channel, the ready samples and the free region behind them (from the write
// position round to the read position), as plain deques.
struct Model
{
    bool keepsTailOnGrowth;
    int capacity = 1;
    std::vector<std::deque<float>> ready, free;

    Model (int channels, bool keepsTail) : keepsTailOnGrowth (keepsTail), ready ((size_t) channels), free ((size_t) channels, std::deque<float> (1, 0.0f)) {}

    int numReady() const { return (int) ready[0].size(); }

    void grow (int n)
    {
        if (n <= capacity)
            return;
        for (auto& f : free)
        {
            if (! keepsTailOnGrowth)
                f.assign ((size_t) (capacity - numReady()), 0.0f);
            f.insert (f.end(), (size_t) (n - capacity), 0.0f);
        }
        capacity = n;
    }

    bool put (const Channels& data, int channels, bool advance, bool accumulate)
    {
        const int k = (int) data[0].size();
        grow (k + numReady());
        for (int c = 0; c < std::min (channels, (int) free.size()); ++c)
            for (int i = 0; i < k; ++i)
                free[(size_t) c][(size_t) i] = accumulate ? free[(size_t) c][(size_t) i] + data[(size_t) c][(size_t) i] : data[(size_t) c][(size_t) i];
        if (advance)
            advanceWrite (k);
        return channels == (int) free.size();
    }

    void advanceWrite (int k)
    {
        for (size_t c = 0; c < free.size(); ++c)
        {
            ready[c].insert (ready[c].end(), free[c].begin(), free[c].begin() + k);
            free[c].erase (free[c].begin(), free[c].begin() + k);
        }
    }

    int consume (int k)
    {
        const int m = std::min (k, numReady());
        for (size_t c = 0; c < free.size(); ++c)
        {
            ready[c].erase (ready[c].begin(), ready[c].begin() + m);
            free[c].insert (free[c].end(), (size_t) m, 0.0f);
        }
        return m;
    }

    void setNumChannels (int n)
    {
        ready.resize ((size_t) n, std::deque<float> ((size_t) numReady(), 0.0f));
        free.resize ((size_t) n, std::deque<float> ((size_t) (capacity - numReady()), 0.0f));
    }
};

void runModelTest (CircularAudioBuffer& buffer, bool keepsTail)
{
    std::mt19937 rng (1234);
    auto uniform = [&] (int lo, int hi) { return std::uniform_int_distribution<int> (lo, hi) (rng); };
    auto values = [&] (int channels, int k)
    {
        Channels data ((size_t) channels, std::vector<float> ((size_t) k));
        for (auto& ch : data)
            for (auto& v : ch)
                v = (float) uniform (-1000, 1000);
        return data;
    };

    Model model (buffer.getNumChannels(), keepsTail);

    for (int step = 0; step < 6000; ++step)
    {
        const int op = uniform (0, 9);
        const int k = uniform (0, step % 500 == 0 ? 700 : 90);
        const int channels = buffer.getNumChannels();
        const int written = uniform (0, 9) == 0 ? uniform (1, channels + 1) : channels;
        SCOPED_TRACE ("step " + std::to_string (step) + ", op " + std::to_string (op) + ", k " + std::to_string (k));

        switch (op)
        {
            case 0: // write or add, advancing or not
            case 1:
            case 2:
            case 3:
            {
                auto data = values (written, std::max (1, k));
                const bool advance = op % 2 == 0, accumulate = op >= 2;
                auto ptrs = pointers (data);
                const bool ok = accumulate ? buffer.add (ptrs.data(), written, std::max (1, k), advance) : buffer.write (ptrs.data(), written, std::max (1, k), advance);
                EXPECT_EQ (ok, model.put (data, written, advance, accumulate));
                break;
            }
            case 4:
                buffer.writeSilence (k);
                model.put (Channels ((size_t) channels, std::vector<float> ((size_t) k, 0.0f)), channels, true, false);
                break;
            case 5:
            {
                const int hop = std::min (k, (int) model.free[0].size());
                buffer.advanceWrite (hop);
                model.advanceWrite (hop);
                break;
            }
            case 6:
            {
                // Now and then into fewer channels than the buffer has: it still consumes for all.
                const int readChannels = uniform (0, 3) == 0 ? uniform (1, channels) : channels;
                Channels dest ((size_t) readChannels, std::vector<float> ((size_t) k, 42.0f));
                auto ptrs = pointers (dest);
                const int n = buffer.read (ptrs.data(), readChannels, k);
                ASSERT_EQ (n, std::min (k, model.numReady()));
                for (int c = 0; c < readChannels; ++c)
                    for (int i = 0; i < k; ++i)
                        ASSERT_EQ (dest[(size_t) c][(size_t) i], i < n ? model.ready[(size_t) c][(size_t) i] : 42.0f);
                model.consume (n);
                break;
            }
            case 7:
                ASSERT_EQ (buffer.consume (k), model.consume (k));
                break;
            case 8:
            {
                const bool all = k % 10 == 0;
                all ? buffer.clearAllReady() : buffer.clearReady (k);
                for (auto& r : model.ready)
                    std::fill_n (r.begin(), all ? r.size() : std::min ((size_t) k, r.size()), 0.0f);
                break;
            }
            default:
            {
                if (uniform (0, 20) == 0)
                {
                    const int n = uniform (1, 4);
                    buffer.setNumChannels (n);
                    model.setNumChannels (n);
                }
                break;
            }
        }

        ASSERT_EQ (buffer.getNumReady(), model.numReady());
        ASSERT_EQ (buffer.getBufferSize(), model.capacity);
        ASSERT_EQ (buffer.getWritePosition(), (buffer.getReadPosition() + buffer.getNumReady()) % buffer.getBufferSize());
        auto all = peekAll (buffer);
        for (size_t c = 0; c < all.size(); ++c)
            ASSERT_TRUE (std::equal (all[c].begin(), all[c].end(), model.ready[c].begin()));
    }
}
} // namespace

TEST (DspCircularBuffer, MatchesDequeModelOverRandomOperations)
{
    CircularAudioBuffer plain (2);
    runModelTest (plain, false);

    OverlapAddBuffer overlapAdd (3);
    runModelTest (overlapAdd, true);
}

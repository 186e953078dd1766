// libKaPod: the registry of pods behind KaPodApi.h. One copy per process (the plug-ins load it by
// one absolute path), so every instance of every format meets here. Membership, names and
// settings are guarded by one mutex and touched on message threads only; the channel exchange
// is lock-free (docs/instance-link.md, "Latency and alignment").
#include "pod/KaPodApi.h"

#include <algorithm>
#include <atomic>
#include <bitset>
#include <climits>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace
{
    /** Samples per channel of a member's buffer: a power of two above the exchange delay plus
        the longest block, so a block being written never reaches what a receiver reads. */
    constexpr long long capacity = 16384;
    constexpr long long mask = capacity - 1;
    static_assert (capacity >= KAPOD_EXCHANGE_DELAY + KAPOD_MAX_BLOCK, "buffer too short");

    constexpr long long nothingWritten = LLONG_MIN / 4;

    /** One member's output on the host's timeline, written by its audio thread only and read by
        any number of receivers. Sample p lives at p modulo capacity. `writing` announces the end
        of the stretch being written before it is written (a seqlock's sequence): a reader that
        copied from a position below writing - capacity read samples being overwritten. */
    struct Ring
    {
        std::unique_ptr<std::atomic<float>[]> samples;  // KAPOD_MAX_CHANNELS x capacity
        std::atomic<long long> validFrom { nothingWritten }, written { nothingWritten }, writing { nothingWritten };
        std::atomic<int> numChannels { 0 };
        std::atomic<long long> expected { nothingWritten };  // the writer's next position

        void reset() noexcept
        {
            written.store (nothingWritten);
            validFrom.store (LLONG_MAX / 4);
            writing.store (nothingWritten);
            numChannels.store (0);
            expected.store (nothingWritten);
        }
    };

    struct Slot
    {
        std::atomic<bool> active { false };
        std::atomic<int> target { -1 };
        std::atomic<double> sampleRate { 0.0 };
        Ring ring;
        std::unique_ptr<float[]> scratch;  // the receiving audio thread's: KAPOD_MAX_CHANNELS x KAPOD_MAX_BLOCK

        // Guarded by the registry's mutex.
        std::string trackName;
        float inbox[KAPOD_MAX_SETTINGS] {};
        std::bitset<KAPOD_MAX_SETTINGS> pending;
    };

    struct Pod
    {
        std::string name;
        unsigned linkMask = 0;
        int numMembers = 0;
        std::map<int, float> values;  // the last value of each linked parameter
        Slot slots[KAPOD_MAX_MEMBERS];
    };

    struct Registry
    {
        std::mutex mutex;
        std::map<std::string, std::unique_ptr<Pod>> pods;
    };

    Registry& registry()
    {
        static Registry r;
        return r;
    }

    void writeError (char* error, int length, const std::string& text)
    {
        if (error != nullptr && length > 0)
            std::snprintf (error, (size_t) length, "%s", text.c_str());
    }

    std::string rateText (double rate)
    {
        char text[32];
        std::snprintf (text, sizeof (text), "%.0f Hz", rate);
        return text;
    }
}

struct KaPodMember
{
    Pod* pod;
    int number;
    Slot& slot() const noexcept { return pod->slots[number]; }
};

namespace
{
    KaPodMember* join (const char* name, int wantedNumber, double sampleRate, unsigned linkMask, int adoptSettings, char* error,
                       int errorLength)
    {
        if (name == nullptr || *name == 0)
        {
            writeError (error, errorLength, "A pod needs a name.");
            return nullptr;
        }
        auto& r = registry();
        const std::lock_guard<std::mutex> lock (r.mutex);
        auto& entry = r.pods[name];
        if (entry == nullptr)
        {
            entry = std::make_unique<Pod>();
            entry->name = name;
            entry->linkMask = linkMask;
        }
        Pod& pod = *entry;
        auto refuse = [&] (const std::string& text) -> KaPodMember*
        {
            writeError (error, errorLength, text);
            if (pod.numMembers == 0)
                r.pods.erase (name);
            return nullptr;
        };

        for (auto& slot : pod.slots)
            if (const double other = slot.sampleRate.load(); sampleRate > 0.0 && slot.active.load() && other > 0.0 && other != sampleRate)
                return refuse ("Pod \"" + pod.name + "\" runs at " + rateText (other) + "; this instance runs at "
                               + rateText (sampleRate) + " and did not join.");

        int number = wantedNumber >= 0 && wantedNumber < KAPOD_MAX_MEMBERS && ! pod.slots[wantedNumber].active.load() ? wantedNumber : -1;
        for (int n = 0; number < 0 && n < KAPOD_MAX_MEMBERS; ++n)
            if (! pod.slots[n].active.load())
                number = n;
        if (number < 0)
            return refuse ("Pod \"" + pod.name + "\" has its 16 members already.");

        Slot& slot = pod.slots[number];
        if (slot.ring.samples == nullptr)
        {
            slot.ring.samples.reset (new std::atomic<float>[KAPOD_MAX_CHANNELS * capacity]);
            slot.scratch.reset (new float[KAPOD_MAX_CHANNELS * KAPOD_MAX_BLOCK]);
        }
        slot.ring.reset();
        slot.target.store (-1);
        slot.sampleRate.store (sampleRate);
        slot.trackName.clear();
        slot.pending.reset();
        if (adoptSettings != 0)
            for (const auto& [parameter, value] : pod.values)
            {
                slot.inbox[parameter] = value;
                slot.pending.set ((size_t) parameter);
            }
        ++pod.numMembers;
        slot.active.store (true, std::memory_order_release);
        return new KaPodMember { &pod, number };
    }

    void leave (KaPodMember* member)
    {
        if (member == nullptr)
            return;
        auto& r = registry();
        const std::lock_guard<std::mutex> lock (r.mutex);
        Slot& slot = member->slot();
        slot.active.store (false, std::memory_order_release);
        slot.target.store (-1);
        // Senders naming this member keep their selector: a member that rejoins with its number
        // (a session reopened) receives again.
        if (--member->pod->numMembers == 0)
        {
            const std::string name = member->pod->name;  // the key must outlive the erased pod
            r.pods.erase (name);  // nobody is left to read its buffers
        }
        delete member;
    }

    int memberNumber (const KaPodMember* member) { return member != nullptr ? member->number : -1; }

    void setTrackName (KaPodMember* member, const char* trackName)
    {
        const std::lock_guard<std::mutex> lock (registry().mutex);
        member->slot().trackName = trackName != nullptr ? trackName : "";
    }

    int setSampleRate (KaPodMember* member, double sampleRate, double* otherRate)
    {
        const std::lock_guard<std::mutex> lock (registry().mutex);
        member->slot().sampleRate.store (sampleRate);
        for (auto& slot : member->pod->slots)
            if (const double other = slot.sampleRate.load(); &slot != &member->slot() && slot.active.load() && other > 0.0 && other != sampleRate)
            {
                if (otherRate != nullptr)
                    *otherRate = other;
                return 0;
            }
        return 1;
    }

    int listMembers (const KaPodMember* member, KaPodMemberInfo* out, int maxMembers)
    {
        const std::lock_guard<std::mutex> lock (registry().mutex);
        int count = 0;
        for (int n = 0; n < KAPOD_MAX_MEMBERS && count < maxMembers; ++n)
            if (const Slot& slot = member->pod->slots[n]; slot.active.load())
            {
                KaPodMemberInfo& info = out[count++];
                info.number = n;
                info.sendTarget = slot.target.load();
                info.sampleRate = slot.sampleRate.load();
                std::snprintf (info.trackName, sizeof (info.trackName), "%s", slot.trackName.c_str());
            }
        return count;
    }

    void setLinkMask (KaPodMember* member, unsigned linkMask)
    {
        const std::lock_guard<std::mutex> lock (registry().mutex);
        member->pod->linkMask = linkMask;
    }

    unsigned getLinkMask (const KaPodMember* member)
    {
        const std::lock_guard<std::mutex> lock (registry().mutex);
        return member->pod->linkMask;
    }

    void publishSetting (KaPodMember* member, int number, float value)
    {
        if (number < 0 || number >= KAPOD_MAX_SETTINGS)
            return;
        const std::lock_guard<std::mutex> lock (registry().mutex);
        member->pod->values[number] = value;
        for (auto& slot : member->pod->slots)
            if (&slot != &member->slot() && slot.active.load())
            {
                slot.inbox[number] = value;
                slot.pending.set ((size_t) number);
            }
    }

    int takeSettings (KaPodMember* member, int* numbers, float* values, int maxSettings)
    {
        const std::lock_guard<std::mutex> lock (registry().mutex);
        Slot& slot = member->slot();
        int count = 0;
        for (int n = 0; n < KAPOD_MAX_SETTINGS && count < maxSettings; ++n)
            if (slot.pending.test ((size_t) n))
            {
                numbers[count] = n;
                values[count++] = slot.inbox[n];
                slot.pending.reset ((size_t) n);
            }
        return count;
    }

    void setSendTarget (KaPodMember* member, int target)
    {
        member->slot().target.store (target >= 0 && target < KAPOD_MAX_MEMBERS ? target : -1);
    }

    void sendPiece (Ring& ring, const float* const* channels, int numChannels, int numSamples, long long position) noexcept
    {
        // A jump of the timeline (locate, loop, a new clock) or a new channel count starts afresh:
        // a receiver holding an older view sees validFrom change and drops what it read.
        if (position != ring.expected.load (std::memory_order_relaxed) || numChannels != ring.numChannels.load (std::memory_order_relaxed))
        {
            ring.written.store (position, std::memory_order_release);
            ring.numChannels.store (numChannels, std::memory_order_release);
            ring.validFrom.store (position, std::memory_order_release);
        }
        // Samples are stored with release (plain stores on x86): a reader that sees one also sees
        // the announcement before it.
        ring.writing.store (position + numSamples, std::memory_order_relaxed);
        for (int ch = 0; ch < numChannels; ++ch)
        {
            std::atomic<float>* line = ring.samples.get() + ch * capacity;
            for (int s = 0; s < numSamples; ++s)
                line[(position + s) & mask].store (channels[ch][s], std::memory_order_release);
        }
        ring.written.store (position + numSamples, std::memory_order_release);
        ring.expected.store (position + numSamples, std::memory_order_relaxed);
    }

    void send (KaPodMember* member, const float* const* channels, int numChannels, int numSamples, long long position)
    {
        Ring& ring = member->slot().ring;
        numChannels = std::clamp (numChannels, 0, KAPOD_MAX_CHANNELS);
        const float* piece[KAPOD_MAX_CHANNELS];
        for (int done = 0; done < numSamples; done += KAPOD_MAX_BLOCK)
        {
            for (int ch = 0; ch < numChannels; ++ch)
                piece[ch] = channels[ch] + done;
            sendPiece (ring, piece, numChannels, std::min (KAPOD_MAX_BLOCK, numSamples - done), position + done);
        }
    }

    /** Copies one sender's samples for [from, from + numSamples) into `out` (zero where it has
        none) and tells whether the copy is whole and untorn. */
    bool readSender (const Ring& ring, float* scratch, int numChannels, int numSamples, long long from, float* const* out) noexcept
    {
        const long long validFrom = ring.validFrom.load (std::memory_order_acquire);
        const long long written = ring.written.load (std::memory_order_acquire);
        const long long writing = ring.writing.load (std::memory_order_acquire);
        const long long lo = std::max ({ from, validFrom, writing - capacity });
        const long long hi = std::min (from + numSamples, written);
        const int channels = std::min (numChannels, ring.numChannels.load (std::memory_order_acquire));
        if (hi <= lo || channels <= 0)
            return false;

        const int count = (int) (hi - lo);
        for (int ch = 0; ch < channels; ++ch)
        {
            const std::atomic<float>* line = ring.samples.get() + ch * capacity;
            for (int s = 0; s < count; ++s)
                scratch[ch * KAPOD_MAX_BLOCK + s] = line[(lo + s) & mask].load (std::memory_order_acquire);
        }
        if (ring.validFrom.load (std::memory_order_relaxed) != validFrom || ring.writing.load (std::memory_order_relaxed) - capacity > lo)
            return false;

        for (int ch = 0; ch < channels; ++ch)
        {
            float* dest = out[ch] + (lo - from);
            for (int s = 0; s < count; ++s)
                dest[s] += scratch[ch * KAPOD_MAX_BLOCK + s];
        }
        return true;
    }

    int receiveAdd (KaPodMember* member, float* const* channels, int numChannels, int numSamples, long long position)
    {
        Slot& self = member->slot();
        numChannels = std::clamp (numChannels, 0, KAPOD_MAX_CHANNELS);
        const double rate = self.sampleRate.load (std::memory_order_relaxed);
        int senders = 0;
        for (const auto& slot : member->pod->slots)
        {
            if (&slot == &self || ! slot.active.load (std::memory_order_acquire) || slot.target.load (std::memory_order_relaxed) != member->number
                || slot.sampleRate.load (std::memory_order_relaxed) != rate)
                continue;
            bool added = false;
            float* piece[KAPOD_MAX_CHANNELS];
            for (int done = 0; done < numSamples; done += KAPOD_MAX_BLOCK)
            {
                for (int ch = 0; ch < numChannels; ++ch)
                    piece[ch] = channels[ch] + done;
                const int n = std::min (KAPOD_MAX_BLOCK, numSamples - done);
                added = readSender (slot.ring, self.scratch.get(), numChannels, n, position + done - KAPOD_EXCHANGE_DELAY, piece) || added;
            }
            senders += added ? 1 : 0;
        }
        return senders;
    }

    int listPods (char (*names)[KAPOD_TEXT_LENGTH], int maxPods)
    {
        auto& r = registry();
        const std::lock_guard<std::mutex> lock (r.mutex);
        int count = 0;
        for (const auto& entry : r.pods)
            if (count < maxPods)
                std::snprintf (names[count++], KAPOD_TEXT_LENGTH, "%s", entry.first.c_str());
        return count;
    }

    const KaPodApiV1 apiV1 = { 1, join, leave, memberNumber, setTrackName, setSampleRate, listMembers, setLinkMask, getLinkMask,
                               publishSetting, takeSettings, setSendTarget, send, receiveAdd, listPods };
}

extern "C" __attribute__ ((visibility ("default"))) const void* kapod_get_api (int version)
{
    return version == 1 ? &apiV1 : nullptr;
}

#pragma once

#include <algorithm>
#include <array>
#include <atomic>

/** The processor's timing table: a few named items, each with an enabled flag, the start
    time-stamp of its last run and the block duration it covered, in milliseconds. Stages stamp
    their item on the audio thread; the profiling read-out reads it on the message thread.

    While enabled, each item also sums the time it ran: from its stamp to the next stamp, or to
    stop() at the end of the stages. The sums serve the command line's per-stage table and the
    support file's figures. */
class KaProfiler
{
public:
    static constexpr int maxItems = 16;

    struct Item
    {
        const char* name = nullptr;
        std::atomic<bool> enabled { false };
        std::atomic<double> startMs { 0.0 };
        std::atomic<double> blockMs { 0.0 };
        std::atomic<double> totalMs { 0.0 };
        std::atomic<long long> runs { 0 };
    };

    /** Message thread; no allocation. */
    void registerItem (int index, const char* name) noexcept
    {
        if (index >= 0 && index < maxItems)
            items[(size_t) index].name = name;
    }

    /** Any thread; no allocation. */
    void setEnabled (bool shouldBeEnabled) noexcept
    {
        for (auto& item : items)
            item.enabled.store (shouldBeEnabled && item.name != nullptr, std::memory_order_relaxed);
    }

    /** Audio thread; no allocation. Stamps an item when it is enabled; the item stamped before
        it ends here. */
    void stamp (int index, double nowMs, double blockMs) noexcept
    {
        if (index < 0 || index >= maxItems)
            return;
        auto& item = items[(size_t) index];
        if (! item.enabled.load (std::memory_order_relaxed))
            return;
        stop (nowMs);
        item.startMs.store (nowMs, std::memory_order_relaxed);
        item.blockMs.store (blockMs, std::memory_order_relaxed);
        openIndex = index;
    }

    /** Audio thread; no allocation. Ends the item running, adding its time to its sum. */
    void stop (double nowMs) noexcept
    {
        if (openIndex < 0)
            return;
        auto& open = items[(size_t) openIndex];
        const double start = open.startMs.load (std::memory_order_relaxed);
        // Only the audio thread writes the sums, so a load and a store do not lose an update.
        open.totalMs.store (open.totalMs.load (std::memory_order_relaxed) + std::max (0.0, nowMs - start), std::memory_order_relaxed);
        open.runs.store (open.runs.load (std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        openIndex = -1;
    }

    /** Audio thread: whether an item is running (stop() has work to do). */
    bool isTiming() const noexcept { return openIndex >= 0; }

    /** Any thread; no allocation. Starts the sums again (a block running meanwhile may keep
        its last item's time). */
    void resetTotals() noexcept
    {
        for (auto& item : items)
        {
            item.totalMs.store (0.0, std::memory_order_relaxed);
            item.runs.store (0, std::memory_order_relaxed);
        }
    }

    const Item& item (int index) const noexcept { return items[(size_t) (index < 0 || index >= maxItems ? 0 : index)]; }

private:
    std::array<Item, maxItems> items;
    int openIndex = -1;  // audio thread only
};

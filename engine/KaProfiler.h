#pragma once

#include <array>
#include <atomic>

/** The processor's timing table: a few named items, each with an enabled flag, the start
    time-stamp of its last run and the block duration it covered, in milliseconds. Stages stamp
    their item on the audio thread; the profiling read-out reads it on the message thread. */
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

    /** Audio thread; no allocation. Stamps an item when it is enabled. */
    void stamp (int index, double nowMs, double blockMs) noexcept
    {
        if (index < 0 || index >= maxItems)
            return;
        auto& item = items[(size_t) index];
        if (! item.enabled.load (std::memory_order_relaxed))
            return;
        item.startMs.store (nowMs, std::memory_order_relaxed);
        item.blockMs.store (blockMs, std::memory_order_relaxed);
    }

    const Item& item (int index) const noexcept { return items[(size_t) (index < 0 || index >= maxItems ? 0 : index)]; }

private:
    std::array<Item, maxItems> items;
};

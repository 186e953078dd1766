#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <memory>
#include <vector>

/** The components a container makes as it builds itself and keeps until it goes, in the order
    made. */
class KaOwnedComponents
{
public:
    template <typename T, typename... Args>
    T& make (Args&&... args)
    {
        auto object = std::make_unique<T> (std::forward<Args> (args)...);
        auto& ref = *object;
        m_items.push_back (std::move (object));
        return ref;
    }

    bool empty() const noexcept { return m_items.empty(); }
    juce::Component& front() const { return *m_items.front(); }
    auto begin() const noexcept { return m_items.begin(); }
    auto end() const noexcept { return m_items.end(); }

private:
    std::vector<std::unique_ptr<juce::Component>> m_items;
};

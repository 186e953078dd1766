#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

/** The output layouts the plug-in offers hosts: the name its output bus carries, and the plug-ins
    one binary publishes.

    Plug-in 0 is the one a host may negotiate a layout with (5.1 until it does). Each further one
    has a fixed output layout, for hosts that keep a plug-in's first layout: every LV2 host (an
    LV2 plug-in's ports are fixed by its metadata) and Ardour's VST3 host. Their names, LV2 URIs
    and VST3 class ids (made from their index) are published in sessions: append, never reorder.
    The format wrappers choose a plug-in with ScopedPluginChoice around the entry point. */
namespace UpmixerOutputLayouts
{
    /** "Ambisonic" for an Ambisonic set; otherwise by width: up to 6 "5.1", 8 "7.1", more
        "Overheads". */
    juce::String busName (const juce::AudioChannelSet& output);

    inline constexpr int numPlugins = 7;

    /** "Orrin Upmix 7.1.2"; plug-in 0, whose LV2 ports are 5.1, is "Orrin Upmix 5.1". */
    const char* pluginName (int plugin) noexcept;
    /** Plug-in 0 keeps the plug-in's first URI (old sessions name it); the others add their layout. */
    const char* lv2Uri (int plugin) noexcept;
    /** The fixed output set of a plug-in; disabled (negotiable) for plug-in 0. */
    juce::AudioChannelSet fixedOutput (int plugin);

    /** The plug-in that the entry point on this thread builds: 0 unless a choice is in scope. */
    int chosenPlugin() noexcept;

    struct ScopedPluginChoice
    {
        explicit ScopedPluginChoice (int plugin) noexcept;
        ~ScopedPluginChoice();
        ScopedPluginChoice (const ScopedPluginChoice&) = delete;
        ScopedPluginChoice& operator= (const ScopedPluginChoice&) = delete;

    private:
        int previous;
    };
}

#include "processor/UpmixerOutputLayouts.h"

namespace UpmixerOutputLayouts
{
    namespace
    {
        struct Plugin
        {
            const char* name;
            const char* lv2Uri;
            int width;           // speaker outputs, or 0 for an Ambisonic bus
            int ambisonicOrder;  // 0 for speakers
        };

        // JucePlugin_LV2URI, the plug-in's first URI, is defined by the build.
        constexpr Plugin plugins[numPlugins] = {
            { "Orrin Upmix 5.1", JucePlugin_LV2URI, 6, 0 },
            { "Orrin Upmix 7.1", JucePlugin_LV2URI "/7.1", 8, 0 },
            { "Orrin Upmix 7.1.2", JucePlugin_LV2URI "/7.1.2", 10, 0 },
            { "Orrin Upmix 7.1.4", JucePlugin_LV2URI "/7.1.4", 12, 0 },
            { "Orrin Upmix Ambisonic 1", JucePlugin_LV2URI "/ambisonic1", 0, 1 },
            { "Orrin Upmix Ambisonic 2", JucePlugin_LV2URI "/ambisonic2", 0, 2 },
            { "Orrin Upmix Ambisonic 3", JucePlugin_LV2URI "/ambisonic3", 0, 3 },
        };

        thread_local int chosen = 0;

        const Plugin& pluginAt (int plugin) noexcept { return plugins[plugin >= 0 && plugin < numPlugins ? plugin : 0]; }
    }

    juce::String busName (const juce::AudioChannelSet& output)
    {
        if (output.getAmbisonicOrder() >= 1)
            return "Ambisonic";
        return output.size() <= 6 ? "5.1" : output.size() <= 8 ? "7.1" : "Overheads";
    }

    const char* pluginName (int plugin) noexcept { return pluginAt (plugin).name; }
    const char* lv2Uri (int plugin) noexcept { return pluginAt (plugin).lv2Uri; }

    juce::AudioChannelSet fixedOutput (int plugin)
    {
        using Set = juce::AudioChannelSet;
        if (plugin <= 0 || plugin >= numPlugins)
            return Set::disabled();
        const auto& p = pluginAt (plugin);
        if (p.ambisonicOrder > 0)
            return Set::ambisonic (p.ambisonicOrder);
        return p.width == 8 ? Set::create7point1() : p.width == 10 ? Set::create7point1point2() : Set::create7point1point4();
    }

    int chosenPlugin() noexcept { return chosen; }

    ScopedPluginChoice::ScopedPluginChoice (int plugin) noexcept : previous (chosen) { chosen = plugin; }
    ScopedPluginChoice::~ScopedPluginChoice() { chosen = previous; }
}

#pragma once

#include <juce_audio_processors/juce_audio_processors.h>

#include <bit>
#include <cstdint>
#include <memory>
#include <vector>

/** Loads the built plug-in binaries through JUCE's own hosting classes, as a host would. */
namespace HostPluginLoader
{
    enum class Format { vst3, lv2 };

    inline const char* nameOf (Format f) { return f == Format::vst3 ? "VST3" : "LV2"; }

    /** The binary's default plug-in, or the one a VST3 class name or an LV2 URI names. */
    inline std::unique_ptr<juce::AudioPluginInstance> load (Format format, double sampleRate = 48000.0, int blockSize = 512,
                                                            const juce::String& plugin = {})
    {
        juce::OwnedArray<juce::PluginDescription> types;
        std::unique_ptr<juce::AudioPluginFormat> pluginFormat;

        if (format == Format::vst3)
        {
            pluginFormat = std::make_unique<juce::VST3PluginFormat>();
            pluginFormat->findAllTypesForFile (types, ORRIN_VST3_PATH);
            // The module holds a class per output layout besides the default one.
            const auto name = plugin.isEmpty() ? juce::String ("Orrin Upmix") : plugin;
            for (int i = types.size(); --i >= 0;)
                if (types[i]->name != name)
                    types.remove (i);
        }
        else
        {
            // LV2 plug-ins are found by URI once their bundle's folder has been scanned.
            pluginFormat = std::make_unique<juce::LV2PluginFormat>();
            const auto bundle = juce::File (ORRIN_LV2_PATH);
            pluginFormat->searchPathsForPlugins (juce::FileSearchPath (bundle.getParentDirectory().getFullPathName()), true, false);
            pluginFormat->findAllTypesForFile (types, plugin.isEmpty() ? juce::String (ORRIN_LV2_URI) : plugin);
        }

        if (types.isEmpty())
            return nullptr;

        juce::String error;
        auto instance = pluginFormat->createInstanceFromDescription (*types[0], sampleRate, blockSize, error);
        return instance;
    }

    /** The index of a parameter by display name (hosts may list parameters in their own order). */
    inline int indexOf (juce::AudioPluginInstance& p, const juce::String& name)
    {
        const auto& params = p.getParameters();
        for (int i = 0; i < params.size(); ++i)
            if (params[i]->getName (100) == name)
                return i;
        return -1;
    }

    /** Sets a host parameter by index as a host's automation would. */
    inline void setParameter (juce::AudioPluginInstance& p, int index, float value)
    {
        auto* param = p.getParameters()[index];
        param->beginChangeGesture();
        param->setValueNotifyingHost (value);
        param->endChangeGesture();
    }

    /** The host's view of the first `count` parameters (all by default), bit for bit. */
    inline std::vector<std::uint32_t> parameterBits (juce::AudioPluginInstance& p, int count = -1)
    {
        std::vector<std::uint32_t> bits;
        const auto& params = p.getParameters();
        for (int i = 0; i < (count < 0 ? params.size() : std::min (count, params.size())); ++i)
            bits.push_back (std::bit_cast<std::uint32_t> (params[i]->getValue()));
        return bits;
    }

    inline juce::MemoryBlock stateOf (juce::AudioPluginInstance& p)
    {
        juce::MemoryBlock block;
        p.getStateInformation (block);
        return block;
    }

    /** Runs `blocks` blocks of the given input through the instance; returns the last block. */
    inline juce::AudioBuffer<float> process (juce::AudioPluginInstance& p, const juce::AudioBuffer<float>& inputBlock, int blocks)
    {
        const int channels = std::max (p.getTotalNumInputChannels(), p.getTotalNumOutputChannels());
        juce::AudioBuffer<float> buffer (channels, inputBlock.getNumSamples());
        juce::MidiBuffer midi;
        for (int i = 0; i < blocks; ++i)
        {
            buffer.clear();
            for (int ch = 0; ch < std::min (inputBlock.getNumChannels(), p.getTotalNumInputChannels()); ++ch)
                buffer.copyFrom (ch, 0, inputBlock, ch, 0, inputBlock.getNumSamples());
            p.processBlock (buffer, midi);
        }
        return buffer;
    }
}

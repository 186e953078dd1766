#include "processor/UpmixerFactoryPresets.h"
#include "processor/KaPresetFile.h"
#include "processor/KaPresetLibrary.h"

namespace UpmixerFactoryPresets
{
    namespace
    {
        struct Design
        {
            const char* name;
            std::vector<std::pair<const char*, const char*>> settings;  // key, value in its unit
        };

        std::vector<Design> designs()
        {
            return {
                // Speech stays on the screen: the dialogue network pulls voices into C, little
                // divergence keeps them there, darker surrounds keep attention forward.
                { "Film Dialogue 5.1",
                  { { "DialogExtractionActive", "On" }, { "DialogExtractionStrength", "85 %" }, { "DialogExtractionAggression", "60 %" },
                    { "Divergence", "20 %" }, { "UpmixPsdWidth", "70 %" }, { "FadeFS", "35 %" }, { "Diffusion", "25 %" },
                    { "ShelfFreq", "6000 Hz" }, { "ShelfGain", "-3 dB" }, { "LfeFreq", "80 Hz" }, { "LfeGain", "-20 dB" } } },

                // Stereo music opened up: the centre spread into the fronts, wide space and
                // generous rears, the lowest centre octave diverged so the bass stays wide.
                { "Music Wide 7.1",
                  { { "UpmixPsdWidth", "100 %" }, { "Divergence", "70 %" }, { "FadeFS", "25 %" }, { "FadeSB", "45 %" },
                    { "Diffusion", "35 %" }, { "BackBoost", "On" }, { "ShelfGain", "-1.5 dB" }, { "LfeFreq", "100 Hz" },
                    { "LfeGain", "-24 dB" }, { "DivergeLfcEnable", "On" }, { "DivergeLfcFreq", "120 Hz" }, { "DivergeLfcAmount", "60 %" } } },

                // For a 5.1 that will be folded down by the broadcaster: exact downmix, ITU
                // coefficients, no LFE in the fold-down, little decorrelated energy.
                { "Broadcast Safe 5.1 (Exact Downmix)",
                  { { "DownmixExact", "On" }, { "DownmixC", "-3 dB" }, { "DownmixS", "-3 dB" }, { "DownmixLfe", "Off" },
                    { "LfeSplit", "0 %" }, { "Diffusion", "15 %" }, { "UpmixPsdWidth", "60 %" }, { "Divergence", "35 %" },
                    { "DialogExtractionActive", "On" }, { "DialogExtractionStrength", "70 %" }, { "ShelfGain", "-2 dB" } } },

                // Height for 7.1.2: in-phase content lifted to the overheads, C and LFE kept
                // on the floor, the overheads softened above 8 kHz.
                { "Immersive 7.1.2",
                  { { "UpmixPsdWidth", "90 %" }, { "Diffusion", "30 %" }, { "FadeSB", "35 %" }, { "VerticalOnPhase", "45 %" },
                    { "VerticalOffPhase", "60 %" }, { "VerticalExcludeC", "On" }, { "VerticalExcludeLfe", "On" },
                    { "VerticalShelfEnable", "On" }, { "VerticalShelfFreq", "8000 Hz" }, { "VerticalShelfGain", "-2 dB" } } },

                // Four overheads of open, airy ambience for nature and sound design beds.
                { "Immersive Ambience 7.1.4",
                  { { "UpmixPsdWidth", "100 %" }, { "Diffusion", "50 %" }, { "FadeFS", "40 %" }, { "FadeSB", "50 %" },
                    { "VerticalOnPhase", "30 %" }, { "VerticalOffPhase", "70 %" }, { "VerticalExcludeC", "On" },
                    { "VerticalExcludeLfe", "On" }, { "Lfe", "Off" } } },

                // The stereo image stays where it was (no centre, fronts untouched); only a soft,
                // dark bed of ambience reaches the surrounds.
                { "Gentle Ambience Only",
                  { { "Divergence", "100 %" }, { "FadeFS", "15 %" }, { "Diffusion", "15 %" }, { "UpmixPsdWidth", "50 %" },
                    { "ShelfEnable", "On" }, { "ShelfFreq", "3000 Hz" }, { "ShelfGain", "-6 dB" }, { "Lfe", "Off" } } },

                // Dialogue pulled out hard for repair and stems: isolation on, the network at full
                // strength and quick to follow the voice.
                { "Dialogue Isolate Strong",
                  { { "DialogExtractionActive", "On" }, { "DialogIsolate", "100 %" }, { "DialogExtractionStrength", "100 %" },
                    { "DialogExtractionAggression", "85 %" }, { "DialogAttack", "15 %" }, { "DialogRelease", "60 %" },
                    { "Divergence", "0 %" } } },

                // An audience all around: wide space, strong diffusion, rears lifted.
                { "Live Concert 7.1",
                  { { "UpmixPsdWidth", "100 %" }, { "Diffusion", "45 %" }, { "FadeFS", "30 %" }, { "FadeSB", "50 %" },
                    { "BackBoost", "On" }, { "Divergence", "60 %" }, { "ShelfGain", "-1 dB" }, { "LfeGain", "-20 dB" } } },

                // Commentary held in the centre, the crowd wrapped around the listener.
                { "Sports Commentary 5.1",
                  { { "DialogExtractionActive", "On" }, { "DialogExtractionStrength", "80 %" }, { "DialogIsolate", "30 %" },
                    { "Diffusion", "40 %" }, { "FadeFS", "40 %" }, { "UpmixPsdWidth", "85 %" }, { "Divergence", "25 %" } } },
            };
        }
    }

    std::vector<KaPreset> create (const KaParameterTable& table, juce::StringArray* problems)
    {
        std::vector<KaPreset> presets;
        for (const auto& design : designs())
        {
            auto preset = KaPresetFile::fromTable (table, KaPresetLibrary::installedFolder, KaPresetName::encode (design.name));
            for (int n = 0; n < (int) preset.values.size(); ++n)
                preset.values[(size_t) n] = table.getDefault (n);

            for (const auto& [key, text] : design.settings)
            {
                const auto* info = table.findByKey (key);
                const auto value = info != nullptr ? info->textToValue (text) : std::nullopt;
                if (info == nullptr || info->number >= (int) preset.values.size() || ! value.has_value())
                {
                    if (problems != nullptr)
                        problems->add (juce::String (design.name) + ": cannot set " + key + " to '" + text + "'");
                    continue;
                }
                preset.values[(size_t) info->number] = *value;
            }
            presets.push_back (std::move (preset));
        }
        return presets;
    }
}

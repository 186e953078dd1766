// editor-screenshot: opens the editor of a running processor in a real window while a clip
// plays through it in real time, and writes one PNG per page and layout,
// "editor-<layout>-<page>.png". Run under a display, for example
//   xvfb-run -a -s "-screen 0 1600x1000x24" build/tools/editor-screenshot/editor-screenshot --out docs/images
#include "editor/UpmixerEditor.h"
#include "processor/UpmixerParameters.h"
#include "processor/UpmixerProcessor.h"

#include <CLI/CLI.hpp>
#include <juce_audio_formats/juce_audio_formats.h>

#include <array>
#include <atomic>
#include <iostream>
#include <thread>

#include "XWindowGrab.h"

namespace
{
    juce::AudioChannelSet layoutNamed (const std::string& name)
    {
        if (name == "7.1") return juce::AudioChannelSet::create7point1();
        if (name == "7.1.2") return juce::AudioChannelSet::create7point1point2();
        if (name == "7.1.4") return juce::AudioChannelSet::create7point1point4();
        if (name.rfind ("ambisonic", 0) == 0) return juce::AudioChannelSet::ambisonic (std::clamp (std::atoi (name.c_str() + 9), 1, 3));
        return juce::AudioChannelSet::create5point1();
    }

    juce::AudioBuffer<float> readClip (const juce::File& file, double& sampleRate)
    {
        juce::AudioFormatManager formats;
        formats.registerBasicFormats();
        std::unique_ptr<juce::AudioFormatReader> reader (formats.createReaderFor (file));
        juce::AudioBuffer<float> clip;
        if (reader != nullptr)
        {
            sampleRate = reader->sampleRate;
            clip.setSize (2, (int) reader->lengthInSamples);
            reader->read (&clip, 0, clip.getNumSamples(), 0, true, reader->numChannels > 1);
        }
        return clip;
    }

    /** Plays the clip through the processor in real time, looping, on a thread of its own. */
    class ClipPlayer
    {
    public:
        ClipPlayer (UpmixerProcessor& p, const juce::AudioBuffer<float>& clip, int blockSize, double sampleRate)
            : m_thread ([this, &p, &clip, blockSize, sampleRate]
              {
                  const int channels = std::max (2, p.getTotalNumOutputChannels());
                  juce::AudioBuffer<float> buffer (channels, blockSize);
                  juce::MidiBuffer midi;
                  const auto blockTime = std::chrono::duration<double> (blockSize / sampleRate);
                  auto next = std::chrono::steady_clock::now();
                  for (int pos = 0; m_running; pos = (pos + blockSize) % std::max (1, clip.getNumSamples() - blockSize))
                  {
                      buffer.clear();
                      for (int ch = 0; ch < 2 && clip.getNumSamples() > blockSize; ++ch)
                          buffer.copyFrom (ch, 0, clip, ch, pos, blockSize);
                      p.processBlock (buffer, midi);
                      next += std::chrono::duration_cast<std::chrono::steady_clock::duration> (blockTime);
                      std::this_thread::sleep_until (next);
                  }
              })
        {
        }
        ~ClipPlayer() { m_running = false; m_thread.join(); }

    private:
        std::atomic<bool> m_running { true };
        std::thread m_thread;
    };

    void pump (int ms) { juce::MessageManager::getInstance()->runDispatchLoopUntil (ms); }

    /** The pop-ups open one at a time over the Main page, "editor-<layout>-<pop-up>.png", with
        the first factory preset loaded and one value changed, so that the name and the browser
        show a preset and its modified mark. */
    bool shootPopUps (UpmixerEditor& editor, UpmixerProcessor& processor, const juce::File& folder, const std::string& layoutName)
    {
        editor.showPage (0);
        processor.stepPreset (1);
        processor.setParameterNotifyingHost (UpmixerParam::Diffusion, processor.getParameterValue (UpmixerParam::Diffusion) + 0.1f);
        const std::pair<const char*, std::function<void (bool)>> popUps[] = {
            { "menu", [&] (bool show) { if (show != editor.getMainMenu().isShowing()) editor.showMainMenu (&editor.getMenuButton()); } },
            { "presets", [&] (bool show) { editor.getPresetBar().showBrowser (show); } },
            { "save-as", [&] (bool show) { show ? editor.getPresetBar().saveAs() : editor.getPresetBar().getDialog().close(); } },
            { "settings", [&] (bool show) { editor.showSettings (show); } },
        };
        for (const auto& [name, show] : popUps)
        {
            show (true);
            pump (1200);
            const auto file = folder.getChildFile ("editor-" + juce::String (layoutName) + "-" + name + ".png");
            const bool written = XWindowGrab::writePng (XWindowGrab::grab (editor), file);
            show (false);
            if (! written)
            {
                std::cerr << "editor-screenshot: cannot write " << file.getFullPathName() << "\n";
                return false;
            }
            std::cout << file.getFullPathName() << "\n";
        }
        return true;
    }
}

int main (int argc, char** argv)
{
    CLI::App app { "Writes the editor of a running processor, per page and layout, to PNG files.", "editor-screenshot" };
    std::string out = "shots", input = ORRIN_DEMO_CLIP;
    std::vector<std::string> layouts { "5.1", "7.1", "7.1.2", "7.1.4" };
    double seconds = 4.0;
    int skip = 5;
    bool popUps = false, profiling = false, headphones = false;
    std::string pod;
    app.add_option ("--out", out, "Folder for the PNG files");
    app.add_option ("--layouts", layouts, "Output layouts: 5.1, 7.1, 7.1.2, 7.1.4, ambisonic1 .. ambisonic3")->delimiter (',');
    app.add_option ("--input", input, "Clip to play (stereo; the demo clip by default)")->check (CLI::ExistingFile);
    app.add_option ("--seconds", seconds, "Seconds of playback before the first picture")->check (CLI::Range (0.5, 60.0));
    app.add_option ("--start", skip, "Seconds into the clip where playback starts")->check (CLI::Range (0, 600));
    app.add_flag ("--popups", popUps, "Also the main menu, the preset browser, the save-as dialog and the settings, each open over the Main page");
    app.add_flag ("--profiling", profiling, "Also the Main page with the profiling overlay shown");
    app.add_flag ("--headphones", headphones, "Play with headphone monitoring on");
    app.add_option ("--pod", pod, "Put the processor, as track \"Effects\", in a pod of this name with \"Dialogue\" (receiving) and \"Music\", "
                                  "sending to Dialogue, spatial and dialogue linked; with --popups the menu shows the pod");
    CLI11_PARSE (app, argc, argv);

    if (juce::SystemStats::getEnvironmentVariable ("DISPLAY", {}).isEmpty())
    {
        std::cerr << "editor-screenshot: needs an X display (run it under xvfb-run)\n";
        return 1;
    }
    XWindowGrab::tolerateXErrors();
    juce::ScopedJuceInitialiser_GUI gui;
    UpmixerProcessor::editorFactory = [] (UpmixerProcessor& p) -> juce::AudioProcessorEditor* { return new UpmixerEditor (p); };

    double sampleRate = 48000.0;
    auto clip = readClip (juce::File (input), sampleRate);
    if (clip.getNumSamples() < (int) sampleRate)
    {
        std::cerr << "editor-screenshot: cannot read at least a second of audio from " << input << "\n";
        return 1;
    }
    const int start = std::min ((int) (skip * sampleRate), clip.getNumSamples() / 2);
    juce::AudioBuffer<float> played (2, clip.getNumSamples() - start);
    for (int ch = 0; ch < 2; ++ch)
        played.copyFrom (ch, 0, clip, ch, start, played.getNumSamples());

    const juce::File folder (juce::File::getCurrentWorkingDirectory().getChildFile (out));
    constexpr int blockSize = 512;
    for (const auto& layoutName : layouts)
    {
        UpmixerProcessor processor;
        juce::AudioProcessor::BusesLayout layout;
        layout.inputBuses.add (juce::AudioChannelSet::stereo());
        layout.outputBuses.add (layoutNamed (layoutName));
        if (! processor.setBusesLayout (layout))
        {
            std::cerr << "editor-screenshot: layout " << layoutName << " refused\n";
            return 1;
        }
        processor.setRateAndBufferSizeDetails (sampleRate, blockSize);
        processor.prepareToPlay (sampleRate, blockSize);
        processor.getHeadphones().setEnabled (headphones);
        // Companions in the pod: quiet members that only lend it their track names.
        std::array<UpmixerProcessor, 2> companions;
        if (! pod.empty())
        {
            // This build's pod library unless one is named.
            setenv ("KAPOD_LIBRARY", ORRIN_KAPOD_PATH, 0);
            const char* names[] = { "Dialogue", "Music" };
            for (size_t i = 0; i < companions.size(); ++i)
            {
                companions[i].updateTrackProperties ({ names[i], {} });
                companions[i].joinPod (pod);
            }
            companions[0].setSendSelector (companions[0].getPodMemberNumber());
            processor.updateTrackProperties ({ "Effects", {} });
            if (! processor.joinPod (pod))
                std::cerr << "editor-screenshot: not in the pod: " << KaJucePodUser::getPodLibraryStatus() << "\n";
            processor.setSendSelector (companions[0].getPodMemberNumber());
            processor.setPodLinkGroups ((1u << KaJucePodUser::linkSpatial) | (1u << KaJucePodUser::linkDialogue));
        }
        ClipPlayer player (processor, played, blockSize, sampleRate);

        std::unique_ptr<juce::AudioProcessorEditor> base (processor.createEditorIfNeeded());
        auto* editor = dynamic_cast<UpmixerEditor*> (base.get());
        if (editor == nullptr)
        {
            std::cerr << "editor-screenshot: the processor has no editor\n";
            return 1;
        }
        editor->setTopLeftPosition (0, 0);
        editor->addToDesktop (0);
        editor->setVisible (true);
        pump ((int) (seconds * 1000.0));
        auto shoot = [&] (const juce::String& what)
        {
            pump (1200);
            const auto file = folder.getChildFile ("editor-" + juce::String (layoutName) + "-" + juce::File::createLegalFileName (what) + ".png");
            if (! XWindowGrab::writePng (XWindowGrab::grab (*editor), file))
            {
                std::cerr << "editor-screenshot: cannot write " << file.getFullPathName() << "\n";
                return false;
            }
            std::cout << file.getFullPathName() << "\n";
            return true;
        };
        for (int page = 0; page < editor->getNumPages(); ++page)
        {
            editor->showPage (page);
            if (! shoot (editor->getPageName (page).toLowerCase().removeCharacters (" &/")))
                return 1;
        }
        if (profiling)
        {
            editor->showPage (0);
            processor.setProfilingShown (true);
            const bool written = shoot ("profiling");
            processor.setProfilingShown (false);
            if (! written)
                return 1;
        }
        if (popUps && ! shootPopUps (*editor, processor, folder, layoutName))
            return 1;
        base.reset();
        processor.releaseResources();
    }
    return 0;
}

#pragma once

#include <juce_audio_processors/juce_audio_processors.h>
#include <juce_gui_basics/juce_gui_basics.h>

#include <optional>
#include <vector>

/** What the editor tests share: synthetic mouse events, a host's gesture listener, bus layouts. */
namespace EditorTestSupport
{
    /** A mouse event at p on c, the button having gone down at down. */
    inline juce::MouseEvent mouseAt (juce::Component& c, juce::Point<float> p, juce::ModifierKeys mods = {}, juce::Point<float> down = {},
                                     bool dragged = true)
    {
        const auto now = juce::Time::getCurrentTime();
        return { juce::Desktop::getInstance().getMainMouseSource(), p, mods, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, &c, &c, now, down, now, 1, dragged };
    }

    /** A click as the mouse makes it, at a point of the component (its centre by default). The
        calls go through juce::Component, where they are public. */
    inline void click (juce::Component& c, std::optional<juce::Point<int>> at = {})
    {
        const auto p = at.value_or (c.getLocalBounds().getCentre()).toFloat();
        c.mouseDown (mouseAt (c, p, {}, p, false));
        c.mouseUp (mouseAt (c, p, {}, p, false));
    }

    /** A drag from `from` to `to` in `steps` equal moves. */
    inline void drag (juce::Component& c, juce::Point<float> from, juce::Point<float> to, int steps, juce::ModifierKeys mods = {})
    {
        c.mouseDown (mouseAt (c, from, mods, from));
        for (int i = 1; i <= steps; ++i)
            c.mouseDrag (mouseAt (c, from + (to - from) * ((float) i / (float) steps), mods, from));
        c.mouseUp (mouseAt (c, to, mods, from));
    }

    /** The parameters whose gestures a host was told of, in order. */
    struct GestureCounter : juce::AudioProcessorListener
    {
        std::vector<int> begun, ended;
        void audioProcessorParameterChanged (juce::AudioProcessor*, int, float) override {}
        void audioProcessorChanged (juce::AudioProcessor*, const ChangeDetails&) override {}
        void audioProcessorParameterChangeGestureBegin (juce::AudioProcessor*, int i) override { begun.push_back (i); }
        void audioProcessorParameterChangeGestureEnd (juce::AudioProcessor*, int i) override { ended.push_back (i); }
    };

    /** One input and one output bus as a host sets them; false when the processor refuses. */
    inline bool setLayout (juce::AudioProcessor& processor, const juce::AudioChannelSet& in, const juce::AudioChannelSet& out)
    {
        juce::AudioProcessor::BusesLayout layout;
        layout.inputBuses.add (in);
        layout.outputBuses.add (out);
        return processor.setBusesLayout (layout);
    }
}

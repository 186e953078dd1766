#include "editor/KaJuceFilmStrip.h"
#include "editor/KaJuceTheme.h"

namespace KaJuceFilmStrip
{
    juce::Image makeKnob (int size, int frames, juce::Colour accent)
    {
        juce::Image strip (juce::Image::ARGB, size, size * frames, true);
        juce::Graphics g (strip);
        const float pi = juce::MathConstants<float>::pi;
        const float start = -0.75f * pi, end = 0.75f * pi;
        for (int f = 0; f < frames; ++f)
        {
            const auto area = juce::Rectangle<float> (0.0f, (float) (f * size), (float) size, (float) size).reduced (3.0f);
            const float value = frames > 1 ? (float) f / (float) (frames - 1) : 0.0f;
            const auto centre = area.getCentre();
            const float radius = area.getWidth() * 0.5f;

            g.setColour (KaJuceTheme::control);
            g.fillEllipse (area.reduced (radius * 0.22f));
            juce::Path track, fill;
            track.addCentredArc (centre.x, centre.y, radius - 2.0f, radius - 2.0f, 0.0f, start, end, true);
            g.setColour (KaJuceTheme::controlEdge);
            g.strokePath (track, juce::PathStrokeType (3.0f, juce::PathStrokeType::curved, juce::PathStrokeType::rounded));
            const float angle = start + value * (end - start);
            if (value > 0.0f)
            {
                fill.addCentredArc (centre.x, centre.y, radius - 2.0f, radius - 2.0f, 0.0f, start, angle, true);
                g.setColour (accent);
                g.strokePath (fill, juce::PathStrokeType (3.0f, juce::PathStrokeType::curved, juce::PathStrokeType::rounded));
            }
            const auto tip = centre.getPointOnCircumference (radius * 0.62f, angle);
            const auto base = centre.getPointOnCircumference (radius * 0.25f, angle);
            g.setColour (KaJuceTheme::text);
            g.drawLine ({ base, tip }, 2.0f);
        }
        return strip;
    }
}

#pragma once

#include "editor/KaGuiText.h"
#include "editor/KaJuceControl.h"
#include "editor/KaJuceOglFont.h"
#include "editor/KaJuceTheme.h"

#include <array>
#include <memory>

/** A control with the helpers most controls draw with: a label drawn with the bitmap fonts,
    its colours, and up to four state images (textures). */
class KaJuceControlWithHelpers : public KaJuceControl, public KaJuceOglFontUser
{
public:
    enum ImageState { imageNormal, imageOn, imageHover, imageDisabled, numImageStates };

    explicit KaJuceControlWithHelpers (const juce::String& name, int parameterIndex = noParameter);

    /** Message thread; the render thread draws the newest text. */
    void setLabel (const juce::String& text) { m_label.set (text); requestRedraw(); }
    juce::String getLabel() const { return m_label.get(); }
    void setLabelFontSize (int pixelSize) noexcept { m_nLabelFontSize = pixelSize; }
    int getLabelFontSize() const noexcept { return m_nLabelFontSize; }

    void setTextColour (juce::Colour c) noexcept { m_textColour.store (c.getARGB()); requestRedraw(); }
    void setBackgroundColour (juce::Colour c) noexcept { m_backgroundColour.store (c.getARGB()); requestRedraw(); }
    void setAccentColour (juce::Colour c) noexcept { m_accentColour.store (c.getARGB()); requestRedraw(); }
    juce::Colour getTextColour() const noexcept { return juce::Colour (m_textColour.load()); }
    juce::Colour getBackgroundColour() const noexcept { return juce::Colour (m_backgroundColour.load()); }
    juce::Colour getAccentColour() const noexcept { return juce::Colour (m_accentColour.load()); }

    /** Message thread, before the first frame: an image for a state (a film strip for drags). */
    void setImage (ImageState state, const juce::Image& image);
    KaOglComponentTexture* getImage (ImageState state) const noexcept { return m_images[(size_t) state].get(); }

    void setOglComponent (KaOglComponent* frame) noexcept override;

protected:
    /** Render thread: the label in area with the control's text colour. */
    void drawLabel (juce::Rectangle<int> area, juce::Justification justification, juce::Colour colour);
    const juce::String& labelForRender() const { return m_label.forRender(); }
    /** The state image to draw now (render thread): disabled, hover, on or normal. */
    KaOglComponentTexture* imageForState (bool on) const noexcept;

private:
    KaGuiText m_label;
    int m_nLabelFontSize = KaJuceTheme::bodyText;
    std::atomic<juce::uint32> m_textColour { KaJuceTheme::text.getARGB() };
    std::atomic<juce::uint32> m_backgroundColour { KaJuceTheme::control.getARGB() };
    std::atomic<juce::uint32> m_accentColour { KaJuceTheme::accent.getARGB() };
    std::array<std::unique_ptr<KaOglComponentTexture>, numImageStates> m_images;
};

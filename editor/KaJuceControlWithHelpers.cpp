#include "editor/KaJuceControlWithHelpers.h"

KaJuceControlWithHelpers::KaJuceControlWithHelpers (const juce::String& name, int parameterIndex)
    : KaJuceControl (name, parameterIndex)
{
}

void KaJuceControlWithHelpers::setImage (ImageState state, const juce::Image& image)
{
    auto& slot = m_images[(size_t) state];
    if (slot == nullptr)
        slot = std::make_unique<KaOglComponentTexture> (m_pOglComponent, image);
    else
        slot->setImage (image);
}

void KaJuceControlWithHelpers::setOglComponent (KaOglComponent* frame) noexcept
{
    KaOglComponentUser::setOglComponent (frame);
    for (auto& image : m_images)
        if (image != nullptr)
            image->setOglComponent (frame);
}

void KaJuceControlWithHelpers::drawLabel (juce::Rectangle<int> area, juce::Justification justification, juce::Colour colour)
{
    if (auto* font = getOglFont (m_nLabelFontSize))
        font->drawText (m_label.forRender(), area, justification, colour);
}

KaOglComponentTexture* KaJuceControlWithHelpers::imageForState (bool on) const noexcept
{
    auto pick = [this] (ImageState s) { return m_images[(size_t) s].get(); };
    if (! isEnabledForRender() && pick (imageDisabled) != nullptr)
        return pick (imageDisabled);
    if (isHovered() && pick (imageHover) != nullptr)
        return pick (imageHover);
    if (on && pick (imageOn) != nullptr)
        return pick (imageOn);
    return pick (imageNormal);
}

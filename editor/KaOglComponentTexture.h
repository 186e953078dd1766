#pragma once

#include "editor/KaOglComponentUser.h"

#include <juce_graphics/juce_graphics.h>

#include <atomic>

/** One OpenGL texture made from an image. The image is uploaded lazily on the render thread at
    the first bind, and again after a new context or a new image. Images are stored top row
    first, so draw() maps texture v = 0 to the rectangle's top edge. */
class KaOglComponentTexture : public virtual KaOglComponentUser
{
public:
    KaOglComponentTexture() = default;
    /** Message thread: a texture of image, registered with frame (which may be null). */
    KaOglComponentTexture (KaOglComponent* frame, const juce::Image& image, bool stripAlpha = false);
    ~KaOglComponentTexture() override;

    /** Message thread: attaches to a frame (registering for re-upload and deletion). */
    void setOglComponent (KaOglComponent* frame) noexcept override;
    /** Message thread, before the first bind, or under the render lock: replaces the image. */
    void setImage (const juce::Image& image);
    const juce::Image& getImage() const noexcept { return m_image; }
    void setSmoothing (int smoothing) noexcept { m_nSmoothing = smoothing; }
    void setColour (juce::Colour colour) noexcept { m_bHasColour = true; m_colour = colour.getARGB(); }

    // Render thread ---------------------------------------------------------------------------
    bool generate();
    void deleteTexture();
    /** Uploads first when needed; false when there is nothing to bind. */
    bool bind();
    /** One quad of the whole image into the rectangle. */
    void draw (int x, int y, int w, int h);
    /** One quad of a part of the image (pixels) into the rectangle. */
    void drawPart (juce::Rectangle<int> source, float x, float y, float w, float h);
    /** Only the vertices of drawPart's quad: for many quads within one glBegin (GL_QUADS)
        after bind() and with texturing enabled (bitmap text). */
    void emitPart (juce::Rectangle<int> source, float x, float y, float w, float h) const;

    /** Any thread: the next bind uploads again (a new context has none of the old textures). */
    void markForReupload() noexcept { m_bNeedsReupload.store (true); }
    unsigned int getTextureName() const noexcept { return m_nTextureName; }
    bool isStripAlpha() const noexcept { return m_bStripAlpha; }

    /** Pixels of an ARGB image packed as 3-byte BGR rows (what the strip-alpha path uploads). */
    static juce::HeapBlock<juce::uint8> packBGR (const juce::Image& image);

private:
    bool m_bStripAlpha = false;
    std::atomic<bool> m_bNeedsReupload { false };
    juce::Image m_image;
    float m_fRecipWidth = 0.0f, m_fRecipHeight = 0.0f;
    float m_fMaxU = 1.0f, m_fMaxV = 1.0f;
    int m_nSmoothing = 1;
    std::atomic<unsigned int> m_nTextureName { 0 };  // written on the render thread, counted on the message thread
    bool m_bHasColour = false;
    juce::uint32 m_colour = 0xffffffff;
};

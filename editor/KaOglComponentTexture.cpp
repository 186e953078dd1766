#include "editor/KaOglComponentTexture.h"
#include "editor/KaOglComponent.h"
#include "processor/KaLog.h"

#include <juce_opengl/juce_opengl.h>

using namespace juce::gl;

KaOglComponentTexture::KaOglComponentTexture (KaOglComponent* frame, const juce::Image& image, bool stripAlpha)
    : m_bStripAlpha (stripAlpha), m_image (image)
{
    setOglComponent (frame);
}

KaOglComponentTexture::~KaOglComponentTexture()
{
    if (m_pOglComponent != nullptr)
        m_pOglComponent->unregisterTexture (this);
}

void KaOglComponentTexture::setOglComponent (KaOglComponent* frame) noexcept
{
    if (frame == m_pOglComponent)
        return;
    if (m_pOglComponent != nullptr)
        m_pOglComponent->unregisterTexture (this);
    KaOglComponentUser::setOglComponent (frame);
    if (frame != nullptr)
        frame->registerTexture (this);
}

void KaOglComponentTexture::setImage (const juce::Image& image)
{
    m_image = image;
    markForReupload();
}

bool KaOglComponentTexture::generate()
{
    if (juce::OpenGLContext::getCurrentContext() == nullptr)
        return false;
    GLuint name = 0;
    glGenTextures (1, &name);
    if (name == 0)
    {
        KaLog::write ("ERROR: generateTexture failed");
        return false;
    }
    m_nTextureName = name;
    return true;
}

void KaOglComponentTexture::deleteTexture()
{
    if (m_nTextureName == 0)
        return;
    const GLuint name = m_nTextureName;
    if (juce::OpenGLContext::getCurrentContext() != nullptr)
    {
        glDeleteTextures (1, &name);
        if (glIsTexture (name) == GL_TRUE)
            KaLog::write ("ERROR: deleteTexture failed");
    }
    m_nTextureName = 0;
}

juce::HeapBlock<juce::uint8> KaOglComponentTexture::packBGR (const juce::Image& image)
{
    const int w = image.getWidth(), h = image.getHeight();
    juce::HeapBlock<juce::uint8> packed ((size_t) (w * h * 3));
    const juce::Image::BitmapData data (image, juce::Image::BitmapData::readOnly);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
        {
            const auto c = data.getPixelColour (x, y);
            auto* p = packed.get() + (size_t) ((y * w + x) * 3);
            p[0] = c.getBlue();
            p[1] = c.getGreen();
            p[2] = c.getRed();
        }
    return packed;
}

bool KaOglComponentTexture::bind()
{
    if (m_nTextureName != 0 && m_bNeedsReupload.exchange (false))
        deleteTexture();

    if (m_nTextureName == 0)
    {
        if (! m_image.isValid() || m_image.getWidth() < 1 || m_image.getHeight() < 1)
            return false;
        m_bNeedsReupload.store (false);
        m_fRecipWidth = 1.0f / (float) m_image.getWidth();
        m_fRecipHeight = 1.0f / (float) m_image.getHeight();
        if (! generate())
            return false;
        glBindTexture (GL_TEXTURE_2D, m_nTextureName.load());

        const int w = m_image.getWidth(), h = m_image.getHeight();
        if (m_image.getFormat() == juce::Image::ARGB && m_bStripAlpha)
        {
            const auto packed = packBGR (m_image);
            glPixelStorei (GL_UNPACK_ALIGNMENT, 1);
            glTexImage2D (GL_TEXTURE_2D, 0, GL_RGBA, w, h, 0, GL_BGR, GL_UNSIGNED_BYTE, packed.get());
            glPixelStorei (GL_UNPACK_ALIGNMENT, 4);
        }
        else
        {
            // JUCE's bitmaps may have padded rows: upload row by row from its line stride.
            const juce::Image::BitmapData data (m_image, juce::Image::BitmapData::readOnly);
            GLenum format = GL_ALPHA;
            if (m_image.getFormat() == juce::Image::RGB)
                format = GL_BGR;
            else if (m_image.getFormat() == juce::Image::ARGB)
                format = GL_BGRA;
            glPixelStorei (GL_UNPACK_ALIGNMENT, 1);
            glPixelStorei (GL_UNPACK_ROW_LENGTH, data.lineStride / data.pixelStride);
            glTexImage2D (GL_TEXTURE_2D, 0, GL_RGBA, w, h, 0, format, GL_UNSIGNED_BYTE, data.data);
            glPixelStorei (GL_UNPACK_ROW_LENGTH, 0);
            glPixelStorei (GL_UNPACK_ALIGNMENT, 4);
        }
        glTexParameteri (GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri (GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        const GLint filter = m_nSmoothing > 0 ? GL_LINEAR : GL_NEAREST;
        glTexParameteri (GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
        glTexParameteri (GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
        m_fMaxU = 1.0f;
        m_fMaxV = 1.0f;
    }

    glBindTexture (GL_TEXTURE_2D, m_nTextureName.load());
    if (m_bHasColour)
        glColor4ub ((GLubyte) (m_colour >> 16), (GLubyte) (m_colour >> 8), (GLubyte) m_colour, (GLubyte) (m_colour >> 24));
    return true;
}

void KaOglComponentTexture::draw (int x, int y, int w, int h)
{
    if (! bind())
        return;
    glEnable (GL_TEXTURE_2D);
    glBegin (GL_QUADS);
    glTexCoord2f (0.0f, m_fMaxV);   glVertex2i (x, y + h);
    glTexCoord2f (0.0f, 0.0f);      glVertex2i (x, y);
    glTexCoord2f (m_fMaxU, 0.0f);   glVertex2i (x + w, y);
    glTexCoord2f (m_fMaxU, m_fMaxV); glVertex2i (x + w, y + h);
    glEnd();
    glDisable (GL_TEXTURE_2D);
}

void KaOglComponentTexture::drawPart (juce::Rectangle<int> source, float x, float y, float w, float h)
{
    if (! bind())
        return;
    glEnable (GL_TEXTURE_2D);
    glBegin (GL_QUADS);
    emitPart (source, x, y, w, h);
    glEnd();
    glDisable (GL_TEXTURE_2D);
}

void KaOglComponentTexture::emitPart (juce::Rectangle<int> source, float x, float y, float w, float h) const
{
    const float u0 = (float) source.getX() * m_fRecipWidth, u1 = (float) source.getRight() * m_fRecipWidth;
    const float v0 = (float) source.getY() * m_fRecipHeight, v1 = (float) source.getBottom() * m_fRecipHeight;
    glTexCoord2f (u0, v1); glVertex2f (x, y + h);
    glTexCoord2f (u0, v0); glVertex2f (x, y);
    glTexCoord2f (u1, v0); glVertex2f (x + w, y);
    glTexCoord2f (u1, v1); glVertex2f (x + w, y + h);
}

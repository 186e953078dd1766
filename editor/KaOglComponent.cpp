#include "editor/KaOglComponent.h"
#include "editor/KaJuceOglFont.h"
#include "editor/KaOglChildComponent.h"
#include "editor/KaOglComponentTexture.h"

using namespace juce::gl;

KaOglComponent::KaOglComponent (Owner* owner) : m_pOwner (owner)
{
    setName ("Base OpenGL Component");
    setOpaque (true);
    KaOglComponentUser::setOglComponent (this);
    for (size_t i = 0; i < fontSizes.size(); ++i)
        m_fonts[i] = std::make_unique<KaJuceOglFont> (this, fontSizes[i]);

    m_context.setRenderer (this);
    // Everything is drawn by the children in fixed-function OpenGL; JUCE's own component
    // painting would need shaders.
    m_context.setComponentPaintingEnabled (false);
    m_context.setContinuousRepainting (false);
}

KaOglComponent::~KaOglComponent()
{
    stopRenderThread();
    for (auto& font : m_fonts)
        font.reset();
}

void KaOglComponent::startRendering()
{
    if (m_bAttached)
        return;
    m_context.attachTo (*this);
    m_bAttached = true;
}

void KaOglComponent::stopRenderThread()
{
    if (! m_bAttached)
        return;
    const juce::ScopedLock lock (m_renderLock);
    m_context.detach();
    m_bAttached = false;
}

void KaOglComponent::requestRedraw() noexcept
{
    if (m_bAttached)
        m_context.triggerRepaint();
}

int KaOglComponent::getCurrentRouting() const noexcept
{
    return channelProvider != nullptr ? channelProvider->getCurrentRouting() : 0;
}

void KaOglComponent::resized()
{
    m_nWidth.store (getWidth());
    m_nHeight.store (getHeight());
    m_bBoundsChanged.store (true);
    markLayoutChanged();
}

void KaOglComponent::moved() { m_bBoundsChanged.store (true); }

// Draw list ------------------------------------------------------------------------------------

void KaOglComponent::collect (juce::Component& parent, juce::Point<int> offset)
{
    for (auto* c : parent.getChildren())
    {
        if (! c->isVisible())
            continue;
        const auto origin = offset + c->getPosition();
        if (auto* child = dynamic_cast<KaOglChildComponent*> (c))
            m_renderList.push_back ({ child, origin });
        collect (*c, origin);
    }
}

void KaOglComponent::refreshRenderList()
{
    if (! m_bLayoutChanged.exchange (false))
        return;
    m_renderList.clear();
    collect (*this, {});
}

void KaOglComponent::forgetChild (KaOglChildComponent* child)
{
    // Children go after the render thread has stopped (or before it started), so this never
    // waits in practice; the lock only makes a misuse harmless.
    const juce::ScopedLock lock (m_renderLock);
    m_renderList.erase (std::remove_if (m_renderList.begin(), m_renderList.end(),
                                        [child] (const RenderItem& item) { return item.child == child; }),
                        m_renderList.end());
    markLayoutChanged();
}

// Textures and fonts ----------------------------------------------------------------------------

void KaOglComponent::registerTexture (KaOglComponentTexture* texture)
{
    const juce::ScopedLock lock (m_textureLock);
    m_textures.addIfNotAlreadyThere (texture);
}

void KaOglComponent::unregisterTexture (KaOglComponentTexture* texture)
{
    const juce::ScopedLock lock (m_textureLock);
    m_textures.removeFirstMatchingValue (texture);
}

int KaOglComponent::getNumTextures() const
{
    const juce::ScopedLock lock (m_textureLock);
    return (int) std::count_if (m_textures.begin(), m_textures.end(), [] (const auto* t) { return t->getTextureName() != 0; });
}

KaJuceOglFont& KaOglComponent::getFont (int pixelSize) const noexcept
{
    size_t index = 0;
    for (size_t i = 0; i < fontSizes.size(); ++i)
        if (fontSizes[i] <= pixelSize)
            index = i;
    return *m_fonts[index];
}

// Rendering ---------------------------------------------------------------------------------------

std::array<float, 16> KaOglComponent::projectionFor (int w, int h) noexcept
{
    std::array<float, 16> m { 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1 };
    if (w <= 0 || h <= 0)
        return m;
    m[0] = 2.0f / (float) w;
    m[5] = -2.0f / (float) h;
    m[12] = -1.0f;
    m[13] = 1.0f;
    return m;
}

void KaOglComponent::newOpenGLContextCreated()
{
    if (m_pOwner != nullptr)
        m_pOwner->oglContextCreated();
    glMatrixMode (GL_MODELVIEW);
    glLoadIdentity();
    glClearColor (0.0f, 0.0f, 0.0f, 1.0f);
    glEnable (GL_LINE_SMOOTH);
    glEnable (GL_BLEND);
    glBlendFunc (GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glHint (GL_LINE_SMOOTH_HINT, GL_NICEST);
    glTexEnvi (GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    glPixelStorei (GL_UNPACK_ALIGNMENT, 4);

    const juce::ScopedLock lock (m_textureLock);
    for (auto* t : m_textures)
        t->markForReupload();
    m_bBoundsChanged.store (true);
}

void KaOglComponent::setViewport()
{
    // The context's scale (a high-density display) maps component pixels to framebuffer pixels.
    const int w = m_nWidth.load(), h = m_nHeight.load();
    const auto scale = (float) m_context.getRenderingScale();
    glViewport (0, 0, juce::roundToInt ((float) w * scale), juce::roundToInt ((float) h * scale));
    glMatrixMode (GL_PROJECTION);
    const auto projection = projectionFor (w, h);
    glLoadMatrixf (projection.data());
    glMatrixMode (GL_MODELVIEW);
    m_renderBounds = { w, h };
}

void KaOglComponent::renderOpenGL()
{
    if (m_pOwner == nullptr || juce::OpenGLContext::getCurrentContext() == nullptr)
        return;
    const juce::ScopedTryLock lock (m_renderLock);  // "KaOglComponent::renderOpenGL()"
    if (! lock.isLocked())
        return;

    const bool profiling = m_pOwner->oglIsProfiling();
    const double start = juce::Time::getMillisecondCounterHiRes();
    const double time = start * 0.001;

    if (m_bBoundsChanged.exchange (false))
        setViewport();
    glLoadIdentity();
    m_pOwner->oglPreRender (time);

    for (const auto& item : m_renderList)
    {
        glPushMatrix();
        glTranslatef ((float) item.origin.x, (float) item.origin.y, 0.0f);
        item.child->render (time);
        glPopMatrix();
    }

    m_pOwner->oglPostRender (time);
    if (profiling)
        m_dLastFrameMs.store (juce::Time::getMillisecondCounterHiRes() - start);
    m_nFrames.fetch_add (1);
}

void KaOglComponent::openGLContextClosing()
{
    // The context closes while the message thread waits in detach() (holding the render lock in
    // stopRenderThread()), so the draw list cannot change meanwhile.
    for (const auto& item : m_renderList)
        item.child->release();
    // The textures stay registered: the next context uploads them again when they are drawn.
    const juce::ScopedLock lock (m_textureLock);
    for (auto* t : m_textures)
        t->deleteTexture();
}

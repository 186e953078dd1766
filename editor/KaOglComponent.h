#pragma once

#include "editor/KaOglComponentUser.h"

#include <juce_opengl/juce_opengl.h>

#include <array>
#include <atomic>
#include <memory>
#include <vector>

class KaOglChildComponent;
class KaOglComponentTexture;
class KaJuceOglFont;

/** The one component that owns the OpenGL context and draws every KaOglChildComponent below
    it, in child order (later children over earlier ones), with fixed-function OpenGL only.

    Threads: the render thread runs renderOpenGL() and the context callbacks; the message thread
    builds the list of what is drawn (refreshRenderList(), from the editor's updateGui()) and
    creates and destroys textures. They meet at the render lock, which the render callback and
    updateGui() only try; stopRenderThread() alone waits for it. */
class KaOglComponent : public juce::Component, public virtual KaOglComponentUser, public juce::OpenGLRenderer
{
public:
    /** The editor side of the frame: hooks around each frame. Render thread. */
    struct Owner
    {
        virtual ~Owner() = default;
        virtual void oglContextCreated() {}
        /** Clears and draws the background. */
        virtual void oglPreRender (double time) = 0;
        /** Overlays (profiling, notices) over the children. */
        virtual void oglPostRender (double time) { juce::ignoreUnused (time); }
        virtual bool oglIsProfiling() const { return false; }
    };

    static constexpr int numFonts = 9;
    static constexpr std::array<int, numFonts> fontSizes { 10, 11, 12, 14, 18, 20, 22, 24, 28 };

    explicit KaOglComponent (Owner* owner);
    ~KaOglComponent() override;

    /** Message thread: attaches the context; frames run from then on when requested. */
    void startRendering();
    /** Message thread: waits for a frame in progress, then detaches the context, so that no
        frame runs after it returns. Safe to call twice. */
    void stopRenderThread();
    bool isRendering() const noexcept { return m_bAttached; }

    /** Any thread: asks for one more frame. */
    void requestRedraw() noexcept;
    /** Any thread: the tree of children changed; the next refreshRenderList() rebuilds. */
    void markLayoutChanged() noexcept { m_bLayoutChanged.store (true); }
    /** Message thread, holding the render lock: rebuilds the draw list when the tree changed. */
    void refreshRenderList();
    /** Message thread: a child that goes away leaves the draw list. */
    void forgetChild (KaOglChildComponent* child);

    juce::CriticalSection& getRenderLock() noexcept { return m_renderLock; }
    juce::OpenGLContext& getContext() noexcept { return m_context; }

    // Textures ----------------------------------------------------------------------------------
    void registerTexture (KaOglComponentTexture* texture);
    void unregisterTexture (KaOglComponentTexture* texture);
    /** Textures that hold an upload in the current context. */
    int getNumTextures() const;

    /** One of the nine bitmap fonts: the nearest size at or below pixelSize (the smallest for
        anything below 10). */
    KaJuceOglFont& getFont (int pixelSize) const noexcept;

    /** The orthographic projection for a viewport of w by h pixels, column-major: pixel (0, 0)
        is the top-left corner and y grows downwards; identity when w or h is zero. */
    static std::array<float, 16> projectionFor (int w, int h) noexcept;

    /** Milliseconds the last frame took (measured when the owner profiles). */
    double getLastFrameMs() const noexcept { return m_dLastFrameMs.load(); }
    int getNumFramesRendered() const noexcept { return m_nFrames.load(); }
    /** Render thread: the size the viewport was last set to. */
    juce::Rectangle<int> getRenderBounds() const noexcept { return m_renderBounds; }

    // juce::OpenGLRenderer ------------------------------------------------------------------------
    void newOpenGLContextCreated() override;
    void renderOpenGL() override;
    void openGLContextClosing() override;

    int getCurrentRouting() const noexcept override;

protected:
    void resized() override;
    void moved() override;
    void childrenChanged() override { markLayoutChanged(); }

private:
    struct RenderItem
    {
        KaOglChildComponent* child;
        juce::Point<int> origin;  // top-left relative to this frame
    };

    void setViewport();
    void collect (juce::Component& parent, juce::Point<int> offset);

    Owner* m_pOwner;
    juce::OpenGLContext m_context;
    juce::CriticalSection m_renderLock;
    mutable juce::CriticalSection m_textureLock;
    juce::Array<KaOglComponentTexture*> m_textures;  // guarded by m_textureLock
    std::vector<RenderItem> m_renderList;             // guarded by m_renderLock
    std::atomic<bool> m_bBoundsChanged { true }, m_bLayoutChanged { true };
    std::atomic<int> m_nWidth { 0 }, m_nHeight { 0 };
    juce::Rectangle<int> m_renderBounds;
    std::atomic<double> m_dLastFrameMs { 0.0 };
    std::atomic<int> m_nFrames { 0 };
    bool m_bAttached = false;
    std::array<std::unique_ptr<KaJuceOglFont>, numFonts> m_fonts;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (KaOglComponent)
};

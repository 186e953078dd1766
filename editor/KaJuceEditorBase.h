#pragma once

#include "editor/KaJuceButton.h"
#include "editor/KaJuceColourParamUser.h"
#include "editor/KaJuceControl.h"
#include "editor/KaJuceMenuPopUp.h"
#include "editor/KaJuceNoticeBox.h"
#include "editor/KaOglComponent.h"
#include "processor/KaJuceProcessorBase.h"

/** Base of the plug-in's editor: the OpenGL frame ("Base OpenGL Component"), the GUI timer that
    keeps the controls in step with the processor, the announcement of the last changed
    parameter, the disable screen, the main menu, the processor's notices, the one-time OpenGL
    capability check and the profiling overlay.

    Controls registered with registerControl() are bound to their parameter: a mouse gesture on
    one is one host automation gesture and one undo step; 9999 never reaches the processor. */
class KaJuceEditorBase : public juce::AudioProcessorEditor,
                         public KaJuceControl::Listener,
                         public KaJuceColourParamUser,
                         public juce::Timer,
                         public KaJuceChannelUser,
                         public KaOglComponent::Owner
{
public:
    /** The GUI timer's rate: controls, meters and frames follow the processor this often. */
    static constexpr int guiTimerHz = 30;

    explicit KaJuceEditorBase (KaJuceProcessorBase& processor);
    ~KaJuceEditorBase() override;

    KaOglComponent& getOglComponent() noexcept { return m_oglComponent; }
    KaJuceProcessorBase& getProcessorBase() noexcept { return m_processor; }

    /** Binds a control to its parameter (its conversions, default and value) and listens. */
    void registerControl (KaJuceControl& control);
    const std::vector<KaJuceControl*>& getRegisteredControls() const noexcept { return m_controls; }

    // The GUI timer's steps, in order of call ---------------------------------------------------
    virtual void showDisableScreen (bool show);
    virtual void fullRefresh();
    void updateGui();
    /** Message thread: the announcement of a changed parameter ("Name: value"). */
    virtual void showParameterChange (const juce::String& text, int number) { juce::ignoreUnused (text, number); }

    /** The announcement for a parameter, or nothing when it is not announced. */
    juce::String announcementFor (int number) const;

    /** The main menu, drawn by the frame: the derived editor adds its entries first; the base
        adds profiling. Rebuilt each time it opens, below the target (a child of the frame). */
    virtual void addMainMenuItems (KaJuceMenuPopUp& menu);
    void showMainMenu (juce::Component* target);
    KaJuceMenuPopUp& getMainMenu() noexcept { return m_mainMenu; }

    KaJuceNoticeBox& getNoticeBox() noexcept { return m_noticeBox; }
    KaJuceButton& getDisableScreen() noexcept { return m_btnScreenDisablePlugin; }

    /** The overlay's description of a component: name, flags, address, class, position, size. */
    static juce::String describeComponent (const juce::Component& c);
    /** The chain from the editor down to c as tree lines ("+- ", "|- ", "|   ", "    "). */
    static juce::StringArray componentTree (const juce::Component& c, const juce::Component* top);

    /** The capability check's verdict on a GL version and extension string: true when the
        warning is due (major version below 2 and no non-power-of-two textures). */
    static bool needsOpenGLWarning (const juce::String& version, const juce::String& extensions);
    static const char* const openGLWarningText;

    void resized() override;
    void timerCallback() override;
    int getCurrentRouting() const noexcept override { return m_processor.getCurrentRouting(); }

    // KaJuceControl::Listener --------------------------------------------------------------------------
    void controlValueChanged (KaJuceControl& control) override;
    void controlGestureBegan (KaJuceControl& control) override;
    void controlGestureEnded (KaJuceControl& control) override;

    // KaOglComponent::Owner ------------------------------------------------------------------------------
    void oglPreRender (double time) override;
    void oglPostRender (double time) override;
    bool oglIsProfiling() const override;

    /** Milliseconds the last updateGui() took (while profiling). */
    double getLastGuiMs() const noexcept { return m_dGuiMs.load(); }

protected:
    /** The three update hooks of updateGui(), run while the render thread is kept out. */
    virtual void updateControls();
    virtual void updateDisplays() {}
    virtual void updateOtherState() {}
    /** Adds a child of the frame (drawn in the order added, after the frame's earlier ones). */
    void addToFrame (juce::Component& child) { m_oglComponent.addAndMakeVisible (child); }
    /** The same for a child that starts hidden (pop-ups). */
    void addHiddenToFrame (juce::Component& child) { m_oglComponent.addChildComponent (child); }
    /** Stops listening to every registered control: a derived editor whose members own
        controls calls it in its destructor, before they go. */
    void forgetControls();
    /** Puts the notice box and the disable screen back on top (after the derived editor added
        its children). */
    void keepOverlaysOnTop();

private:
    /** The cover shown while the processor is disabled. */
    class DisableScreen : public KaJuceButton
    {
    public:
        DisableScreen();

    protected:
        void mouseDown (const juce::MouseEvent&) override {}
        void mouseUp (const juce::MouseEvent&) override {}
        void drawFace (juce::Rectangle<float> area) override;
    };

    void checkOpenGLCapabilities();
    /** Message thread: the overlay's texts, from the processor and the component under the
        mouse; the render thread only draws them. */
    void prepareProfilingOverlay();
    void drawProfilingOverlay();

    KaJuceProcessorBase& m_processor;
    juce::CriticalSection m_editorLock;
    KaOglComponent m_oglComponent { this };
    DisableScreen m_btnScreenDisablePlugin;
    KaJuceNoticeBox m_noticeBox;
    KaJuceMenuPopUp m_mainMenu { "m_mainMenu" };
    std::vector<KaJuceControl*> m_controls;
    std::atomic<double> m_dGuiMs { 0.0 };
    std::atomic<bool> m_bProfiling { false };
    KaGuiText m_profileColumn, m_profileMouse, m_profileHost;
    std::atomic<float> m_fGuiLoad { 0.0f }, m_fProcLoad { 0.0f };
    static inline std::atomic<bool> s_bOpenGLChecked { false };
};

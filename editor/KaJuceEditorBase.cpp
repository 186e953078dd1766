#include "editor/KaJuceEditorBase.h"
#include "editor/KaJuceOglFont.h"
#include "editor/KaOglDraw.h"
#include "processor/KaLog.h"
#include "processor/KaSettingsStore.h"

#include <juce_opengl/juce_opengl.h>

using namespace juce::gl;

const char* const KaJuceEditorBase::openGLWarningText =
    "The plugin has detected that your graphics driver does not support OpenGL2.0 and above. "
    "If your plugin does not look right, please update your graphics drivers. ";

namespace
{
    constexpr const char* openGLWarningSettingKey = "OpenGLWarningDismissed";
}

KaJuceEditorBase::KaJuceEditorBase (KaJuceProcessorBase& processor)
    : juce::AudioProcessorEditor (processor), m_processor (processor)
{
    setChannelProvider (&processor);
    m_oglComponent.setChannelProvider (&processor);
    addAndMakeVisible (m_oglComponent);
    m_mainMenu.adoptPopUp (m_oglComponent);
    m_oglComponent.addChildComponent (m_noticeBox);
    m_oglComponent.addChildComponent (m_btnScreenDisablePlugin);
    KaJuceControl::setProToolsModifiers (processor.getHostPath().containsIgnoreCase ("ProTools")
                                         || processor.getHostPath().containsIgnoreCase ("Pro Tools"));
    setWantsKeyboardFocus (true);
    m_oglComponent.startRendering();
    startTimerHz (guiTimerHz);
}

KaJuceEditorBase::~KaJuceEditorBase()
{
    stopTimer();
    m_oglComponent.stopRenderThread();
    forgetControls();
}

void KaJuceEditorBase::forgetControls()
{
    for (auto* c : m_controls)
        c->removeListener (this);
    m_controls.clear();
}

void KaJuceEditorBase::resized()
{
    m_oglComponent.setBounds (getLocalBounds());
    m_noticeBox.setBounds (getLocalBounds());
    m_btnScreenDisablePlugin.setBounds (getLocalBounds());
}

void KaJuceEditorBase::keepOverlaysOnTop()
{
    m_noticeBox.toFront (false);
    m_btnScreenDisablePlugin.toFront (false);
}

// Binding ------------------------------------------------------------------------------------------

void KaJuceEditorBase::registerControl (KaJuceControl& control)
{
    control.addListener (this);
    m_controls.push_back (&control);
    const int number = control.getParameterIndex();
    const auto& table = m_processor.getParameterTable();
    if (number == KaJuceControl::noParameter || ! table.contains (number))
        return;
    const auto* info = table.info (number);
    control.m_fnpConvertParamToString = [info] (float v) { return info->valueToText (v); };
    control.m_fnpConvertStringToParam = [info] (const juce::String& text) { return info->textToValue (text); };
    control.setDefaultValue (table.getDefault (number));
    control.setValue (table.get (number), false);
}

void KaJuceEditorBase::controlValueChanged (KaJuceControl& control)
{
    const int number = control.getParameterIndex();
    if (number != KaJuceControl::noParameter)
        m_processor.setParameterUndoable (number, control.getValue());
}

void KaJuceEditorBase::controlGestureBegan (KaJuceControl& control)
{
    if (control.getParameterIndex() != KaJuceControl::noParameter)
        m_processor.beginParameterGesture (control.getParameterIndex());
}

void KaJuceEditorBase::controlGestureEnded (KaJuceControl& control)
{
    if (control.getParameterIndex() != KaJuceControl::noParameter)
        m_processor.endParameterGesture (control.getParameterIndex());
}

// The GUI timer --------------------------------------------------------------------------------------

void KaJuceEditorBase::timerCallback()
{
    const juce::ScopedLock lock (m_editorLock);  // "KaJuceEditorBase::timerCallback()"
    showDisableScreen (m_processor.isPluginDisabled());
    if (m_processor.takeEditorRefresh())
        fullRefresh();
    updateGui();
    m_oglComponent.requestRedraw();
}

void KaJuceEditorBase::showDisableScreen (bool show)
{
    if (m_btnScreenDisablePlugin.isVisible() != show)
        m_btnScreenDisablePlugin.setVisible (show);
}

void KaJuceEditorBase::fullRefresh()
{
    for (auto* c : m_controls)
        if (c->getParameterIndex() != KaJuceControl::noParameter)
            c->setValue (m_processor.getParameterValue (c->getParameterIndex()), false);
}

void KaJuceEditorBase::updateControls()
{
    // A control in the middle of a gesture owns its value until the gesture ends.
    for (auto* c : m_controls)
        if (c->getParameterIndex() != KaJuceControl::noParameter && ! c->isInGesture())
            c->setValue (m_processor.getParameterValue (c->getParameterIndex()), false);
}

juce::String KaJuceEditorBase::announcementFor (int number) const
{
    if (number == KaJuceControl::noParameter || ! m_processor.isAnnounced (number))
        return {};
    auto text = m_processor.getParameterDisplayName (number);
    if (! m_processor.isAnnouncedWithoutValue (number))
        text << ": " << m_processor.getParameterValueText (number);
    return text;
}

void KaJuceEditorBase::updateGui()
{
    const juce::ScopedTryLock lock (m_oglComponent.getRenderLock());  // "KaJuceEditorBase::updateGui()"
    if (! lock.isLocked())
        return;
    const bool profiling = oglIsProfiling();
    m_bProfiling.store (m_processor.isProfilingShown());
    const double start = juce::Time::getMillisecondCounterHiRes();

    updateControls();
    updateDisplays();
    updateOtherState();
    if (auto notices = m_processor.takeNotices(); ! notices.empty())
    {
        m_noticeBox.add (std::move (notices));
        keepOverlaysOnTop();
    }
    m_oglComponent.refreshRenderList();

    const int number = m_processor.takeLastChangedParameter();
    if (number != KaJuceControl::noParameter)
        if (const auto text = announcementFor (number); text.isNotEmpty())
            showParameterChange (text, number);

    if (profiling)
    {
        prepareProfilingOverlay();
        m_dGuiMs.store (juce::Time::getMillisecondCounterHiRes() - start);
    }
}

bool KaJuceEditorBase::oglIsProfiling() const { return m_bProfiling.load(); }

// Menu ---------------------------------------------------------------------------------------------

void KaJuceEditorBase::addMainMenuItems (KaJuceMenuPopUp& menu)
{
    menu.addSeparator();
    menu.addItem ("Show profiling", true, m_processor.isProfilingShown(), [this]
    {
        m_processor.setProfilingShown (! m_processor.isProfilingShown());
    });
}

void KaJuceEditorBase::showMainMenu (juce::Component* target)
{
    if (m_mainMenu.isShowing())
    {
        m_mainMenu.hide();
        return;
    }
    m_mainMenu.clear();
    addMainMenuItems (m_mainMenu);
    const auto area = target != nullptr ? m_oglComponent.getLocalArea (target, target->getLocalBounds()) : juce::Rectangle<int> (getWidth(), 0, 0, 0);
    m_mainMenu.showBelow (area);
}

// Drawing -----------------------------------------------------------------------------------------

KaJuceEditorBase::DisableScreen::DisableScreen() : KaJuceButton ("m_btnScreenDisablePlugin")
{
    setLabel ("The plug-in is disabled: the host gives it no channels to work on.");
    setVisible (false);
}

void KaJuceEditorBase::DisableScreen::drawFace (juce::Rectangle<float> area)
{
    KaOglDraw::fillRect (area, KaJuceTheme::background.withAlpha (0.92f));
    drawLabel (getLocalBounds(), juce::Justification::centred, KaJuceTheme::warning);
}

void KaJuceEditorBase::oglPreRender (double)
{
    glClearColor (KaJuceTheme::background.getFloatRed(), KaJuceTheme::background.getFloatGreen(), KaJuceTheme::background.getFloatBlue(), 1.0f);
    glClear (GL_COLOR_BUFFER_BIT);
}

void KaJuceEditorBase::oglPostRender (double)
{
    if (! s_bOpenGLChecked.exchange (true))
        checkOpenGLCapabilities();
    if (oglIsProfiling())
        drawProfilingOverlay();
}

bool KaJuceEditorBase::needsOpenGLWarning (const juce::String& version, const juce::String& extensions)
{
    const int major = version.upToFirstOccurrenceOf (" ", false, false).getIntValue();
    return major < 2 && ! extensions.contains ("GL_ARB_texture_non_power_of_two");
}

void KaJuceEditorBase::checkOpenGLCapabilities()
{
    // Render thread: read the driver's strings here, show the box on the message thread.
    const auto* version = reinterpret_cast<const char*> (glGetString (GL_VERSION));
    const auto* extensions = reinterpret_cast<const char*> (glGetString (GL_EXTENSIONS));
    if (! needsOpenGLWarning (version != nullptr ? version : "", extensions != nullptr ? extensions : ""))
        return;
    juce::MessageManager::callAsync ([]
    {
        auto& store = KaSettingsStore::getInstance();
        if (store.getFloat (openGLWarningSettingKey).value_or (0.0f) != 0.0f)
            return;
        auto* box = new juce::AlertWindow ("Warning", openGLWarningText, juce::MessageBoxIconType::WarningIcon);
        box->addButton ("OK", 1);
        auto* tick = new juce::ToggleButton ("Do not show this again");
        tick->setSize (260, 24);
        box->addCustomComponent (tick);
        box->enterModalState (true, juce::ModalCallbackFunction::create ([box, tick] (int result)
        {
            if (tick->getToggleState())
                KaSettingsStore::getInstance().setFloat (openGLWarningSettingKey, 1.0f);
            KaLog::write ("OpenGL incompatibility detected, windows message returned: " + juce::String (result));
            delete tick;
        }), true);
    });
}

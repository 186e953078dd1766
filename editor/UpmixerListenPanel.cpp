#include "editor/UpmixerListenPanel.h"
#include "editor/KaJuceTheme.h"
#include "editor/KaOglDraw.h"
#include "processor/KaChannelRouting.h"
#include "processor/KaParameterTable.h"
#include "processor/UpmixerMonitor.h"
#include "processor/UpmixerParameters.h"

using namespace UpmixerParam;

UpmixerListenPanel::UpmixerListenPanel()
{
    setName ("m_panelListen");
    m_btnHeadphones.setName ("m_btnHeadphones");
    m_btnHeadphones.setLabel ("Headphones");
    m_btnHeadphones.onClick = [this]
    {
        if (onHeadphones)
            onHeadphones (m_btnHeadphones.isOn());
    };
    addAndMakeVisible (m_btnHeadphones);
}

void UpmixerListenPanel::setHeadphones (bool available, bool on)
{
    if (m_btnHeadphones.isEnabled() != available)
    {
        m_btnHeadphones.setEnabled (available);
        m_btnHeadphones.setLabel (available ? "Headphones" : "Headphones unavailable");
    }
    if (! m_btnHeadphones.isInGesture() && m_btnHeadphones.isOn() != on)
        m_btnHeadphones.setValue (on ? 1.0f : 0.0f, false);
}

void UpmixerListenPanel::addMode (KaJuceButton& button, std::vector<int> kinds)
{
    addAndMakeVisible (button);
    m_modes.push_back ({ &button, std::move (kinds) });
}

int UpmixerListenPanel::parameterOfMode (int mode) noexcept
{
    static constexpr int parameters[] = { MonitorSource, MonitorLsRs, MonitorC, MonitorLfe, MonitorLLs, MonitorLC, MonitorCR, MonitorRRs,
                                          MonitorLbRb, MonitorLsLb, MonitorLLb, MonitorLtsRts, MonitorLLts, MonitorLsLts, MonitorLbLts,
                                          MonitorDownmix, MonitorDelta, MonitorUpmix };
    return mode >= 0 && mode < (int) std::size (parameters) ? parameters[mode] : -1;
}

bool UpmixerListenPanel::isAvailable (const std::vector<int>& kinds) const noexcept
{
    for (int kind : kinds)
    {
        const int position = KaChannelRouting::hostPositionOfKind (m_nRouting, kind);
        if (position < 0 || position >= m_nOutputs)
            return false;
    }
    return true;
}

void UpmixerListenPanel::update (const KaParameterTable& table, int routing, int numOutputs)
{
    const bool layoutChanged = routing != m_nRouting || numOutputs != m_nOutputs;
    m_nRouting = routing;
    m_nOutputs = numOutputs;

    bool visibilityChanged = false;
    for (auto& mode : m_modes)
    {
        const bool shown = isAvailable (mode.kinds) || mode.button->isOn();
        visibilityChanged |= shown != mode.button->isVisible();
        mode.button->setVisible (shown);
        if (layoutChanged && ! mode.kinds.empty())
        {
            juce::StringArray names;
            for (int kind : mode.kinds)
                names.addIfNotAlreadyThere (KaChannelRouting::kindName (kind, routing));
            if (mode.button->getParameterIndex() == MonitorCLF)
                names.add ("LF");
            mode.button->setLabel (names.joinIntoString (" "));
        }
    }
    if (visibilityChanged)
        layOut();

    // C LF is heard on top of whatever mode is chosen; otherwise the monitor's own choice.
    m_nHeard = table.isOn (MonitorCLF) ? MonitorCLF : parameterOfMode (UpmixerMonitor::selectMode (table));
    m_heardBounds = {};
    for (auto& mode : m_modes)
        if (mode.button->getParameterIndex() == m_nHeard && mode.button->isVisible())
            m_heardBounds = mode.button->getBounds().toFloat().expanded (2.5f);
}

int UpmixerListenPanel::getRequiredHeight() const noexcept
{
    int shown = 0;
    for (const auto& mode : m_modes)
        shown += mode.button->isVisible() ? 1 : 0;
    const int rows = (shown + columns - 1) / columns + 1;  // and the headphone switch's
    return titleHeight + 2 * margin + rows * rowHeight + juce::jmax (0, rows - 1) * gap;
}

void UpmixerListenPanel::resized()
{
    KaOglChildComponent::resized();
    layOut();
}

void UpmixerListenPanel::layOut()
{
    const float width = (float) (getWidth() - 2 * margin - (columns - 1) * gap) / (float) columns;
    int index = 0;
    for (auto& mode : m_modes)
    {
        if (! mode.button->isVisible())
            continue;
        const int row = index / columns, column = index % columns;
        const int x = margin + juce::roundToInt ((float) column * (width + (float) gap));
        mode.button->setBounds (x, titleHeight + margin + row * (rowHeight + gap), juce::roundToInt (width), rowHeight);
        ++index;
    }
    const int rows = (index + columns - 1) / columns;
    m_btnHeadphones.setBounds (margin, titleHeight + margin + rows * (rowHeight + gap), getWidth() - 2 * margin, rowHeight);
}

void UpmixerListenPanel::render (double)
{
    const auto area = getLocalBounds().toFloat();
    KaOglDraw::fillRoundedRect (area, 5.0f, KaJuceTheme::panel);
    KaOglDraw::drawRoundedRect (area, 5.0f, KaJuceTheme::panelEdge);
    if (auto* font = getOglFont (KaJuceTheme::titleText))
        font->drawText ("Listen", { margin, 4, getWidth() - 2 * margin, titleHeight }, juce::Justification::centredLeft, KaJuceTheme::textDim);
    if (! m_heardBounds.isEmpty())
        KaOglDraw::drawRoundedRect (m_heardBounds, 4.0f, KaJuceTheme::good, 2.0f);
}

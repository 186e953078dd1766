#include "editor/KaJuceControlGroup.h"

KaJuceControlGroup::~KaJuceControlGroup()
{
    for (auto* c : m_controls)
        c->removeListener (this);
}

void KaJuceControlGroup::add (KaJuceControl& control)
{
    m_controls.push_back (&control);
    control.addListener (this);
}

void KaJuceControlGroup::setVisible (bool visible)
{
    for (auto* c : m_controls)
        c->setVisible (visible);
}

void KaJuceControlGroup::setEnabled (bool enabled)
{
    for (auto* c : m_controls)
        c->setEnabled (enabled);
}

KaJuceControl* KaJuceControlGroup::getOnControl() const noexcept
{
    for (auto* c : m_controls)
        if (c->getValue() >= 0.5f)
            return c;
    return nullptr;
}

void KaJuceControlGroup::controlValueChanged (KaJuceControl& control)
{
    if (! m_bExclusive || control.getValue() < 0.5f)
        return;
    for (auto* c : m_controls)
        if (c != &control && c->getValue() >= 0.5f)
            c->setValue (0.0f, true);
}

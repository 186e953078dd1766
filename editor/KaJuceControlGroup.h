#pragma once

#include "editor/KaJuceControl.h"

#include <vector>

/** Controls handled together: shown, hidden and enabled as one, and optionally exclusive (a
    radio group: turning one on turns the others off, as the Listen modes do). */
class KaJuceControlGroup : private KaJuceControl::Listener
{
public:
    explicit KaJuceControlGroup (bool exclusive = false) : m_bExclusive (exclusive) {}
    ~KaJuceControlGroup() override;

    void add (KaJuceControl& control);
    const std::vector<KaJuceControl*>& getControls() const noexcept { return m_controls; }
    void setVisible (bool visible);
    void setEnabled (bool enabled);
    /** The first control that is on (value at least 0.5), or null. */
    KaJuceControl* getOnControl() const noexcept;

private:
    void controlValueChanged (KaJuceControl& control) override;

    bool m_bExclusive;
    std::vector<KaJuceControl*> m_controls;
};

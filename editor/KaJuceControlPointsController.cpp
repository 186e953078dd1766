#include "editor/KaJuceControlPointsController.h"

KaJuceControlPointsController::KaJuceControlPointsController (const juce::String& name) : KaJuceControlWithHelpers (name) {}

int KaJuceControlPointsController::addPoint (const juce::String& name, int xParameter, int yParameter)
{
    Point p;
    p.name = name;
    if (xParameter >= 0)
        p.x = std::make_unique<Axis> (name + ".x", xParameter);
    if (yParameter >= 0)
        p.y = std::make_unique<Axis> (name + ".y", yParameter);
    m_points.push_back (std::move (p));
    return (int) m_points.size() - 1;
}

std::vector<KaJuceControl*> KaJuceControlPointsController::getAxes()
{
    std::vector<KaJuceControl*> axes;
    for (auto& p : m_points)
        for (auto* axis : { p.x.get(), p.y.get() })
            if (axis != nullptr)
                axes.push_back (axis);
    return axes;
}

void KaJuceControlPointsController::forEachAxis (int index, const std::function<void (Axis&)>& f)
{
    auto& p = m_points[(size_t) index];
    for (auto* axis : { p.x.get(), p.y.get() })
        if (axis != nullptr)
            f (*axis);
}

int KaJuceControlPointsController::pointAt (juce::Point<float> position, float grabDistance) const
{
    int best = -1;
    float bestDistance = grabDistance;
    for (int i = 0; i < getNumPoints(); ++i)
        if (const float d = positionOfPoint (i).getDistanceFrom (position); d <= bestDistance)
            best = i, bestDistance = d;
    return best;
}

void KaJuceControlPointsController::mouseMove (const juce::MouseEvent& e)
{
    const int hovered = pointAt (e.position);
    if (hovered != m_nHovered.exchange (hovered))
        requestRedraw();
}

void KaJuceControlPointsController::mouseDown (const juce::MouseEvent& e)
{
    const int index = isEnabled() ? pointAt (e.position) : -1;
    if (index < 0)
        return;
    m_nDragged.store (index);
    m_grabOffset = positionOfPoint (index) - e.position;
    forEachAxis (index, [] (Axis& a) { a.beginGesture(); });
    if (isResetModifier (e.mods))
        forEachAxis (index, [] (Axis& a) { a.setValue (a.getDefaultValue(), true); });
}

void KaJuceControlPointsController::mouseDrag (const juce::MouseEvent& e)
{
    const int index = m_nDragged.load();
    if (index < 0 || isResetModifier (e.mods))
        return;
    auto& p = m_points[(size_t) index];
    // Fine adjustment moves the point a tenth of the pointer's way from where it was grabbed.
    const auto target = e.mouseDownPosition + m_grabOffset + (e.position - e.mouseDownPosition) * fineFactor (e);
    const auto values = valuesForPosition (index, target);
    if (p.x != nullptr)
        p.x->setValue (values.x, true);
    if (p.y != nullptr)
        p.y->setValue (values.y, true);
    requestRedraw();
}

void KaJuceControlPointsController::mouseUp (const juce::MouseEvent&)
{
    const int index = m_nDragged.exchange (-1);
    if (index >= 0)
        forEachAxis (index, [] (Axis& a) { a.endGesture(); });
    requestRedraw();
}

#pragma once

#include "editor/KaJuceControlWithHelpers.h"

#include <vector>

/** Base of controls that drag several points on one surface (the surround field). Each point
    has an x and a y axis; each axis is a value control of its own (bound to a parameter or
    not), so the editor binds, automates and undoes them like any control. Dragging a point
    brackets a gesture on its axes; the derived class maps between axis values and positions. */
class KaJuceControlPointsController : public KaJuceControlWithHelpers
{
public:
    /** One axis of a point: a value that is never drawn by itself. */
    class Axis : public KaJuceControl
    {
    public:
        using KaJuceControl::KaJuceControl;
        void render (double) override {}
    };

    struct Point
    {
        juce::String name;
        std::unique_ptr<Axis> x, y;  // null when the point does not move along that axis
    };

    explicit KaJuceControlPointsController (const juce::String& name);

    /** Message thread, at construction: a point with its axes' parameters (9999: unbound,
        -1: no such axis). Returns its index. */
    int addPoint (const juce::String& name, int xParameter, int yParameter);
    int getNumPoints() const noexcept { return (int) m_points.size(); }
    Point& getPoint (int index) noexcept { return m_points[(size_t) index]; }
    const Point& getPoint (int index) const noexcept { return m_points[(size_t) index]; }
    /** Every axis, for the editor to bind. */
    std::vector<KaJuceControl*> getAxes();

    /** Where a point sits now (component pixels), from its axes' values. */
    virtual juce::Point<float> positionOfPoint (int index) const = 0;
    /** The axis values for a point dragged to a position; each result clamped by setValue. */
    virtual juce::Point<float> valuesForPosition (int index, juce::Point<float> position) const = 0;

    /** The point within grab distance of a position (nearest), or -1. */
    int pointAt (juce::Point<float> position, float grabDistance = 12.0f) const;
    int getDraggedPoint() const noexcept { return m_nDragged.load(); }
    int getHoveredPoint() const noexcept { return m_nHovered.load(); }

protected:
    void mouseDown (const juce::MouseEvent& e) override;
    void mouseDrag (const juce::MouseEvent& e) override;
    void mouseUp (const juce::MouseEvent& e) override;
    void mouseMove (const juce::MouseEvent& e) override;

private:
    void forEachAxis (int index, const std::function<void (Axis&)>& f);

    std::vector<Point> m_points;
    std::atomic<int> m_nDragged { -1 }, m_nHovered { -1 };
    juce::Point<float> m_grabOffset;
};

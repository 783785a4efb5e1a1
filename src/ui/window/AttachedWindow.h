#pragma once

#include <QPoint>
#include <QWidget>

// A borderless panel laid over its parent window, drawn as a rounded box with an arrow whose tip
// sits on a given point of that window. It lives inside the window so that it moves, hides and
// closes with it, whatever the window manager does with separate popups.
class AttachedWindow : public QWidget
{
    Q_OBJECT

public:
    static constexpr int arrowHeight = 10;
    static constexpr int arrowBaseWidth = 20;
    static constexpr int cornerRadius = 8;

    // Takes the content (reparented into the panel) and points at `point` of `window`, the tip
    // `distance` below it so that the arrow does not cover what it points at.
    AttachedWindow(QWidget *content, QWidget *window, QPoint point, int distance = 0);

    QPoint point() const { return m_point; }
    // Moves the panel so that the arrow's tip stays on the point, in the window's coordinates.
    void setPoint(QPoint point);
    QWidget *content() const { return m_content; }
    // Hands the content back unparented, so it outlives the panel.
    QWidget *takeContent();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void placeAtPoint();

    QWidget *m_content;
    QPoint m_point;
    int m_distance;
    // The tip's distance from the panel's left edge; off centre when the window's edge is near.
    int m_arrowX = 0;
};

#pragma once

#include <QPixmap>
#include <QRect>

class QPainter;

// What a title-bar button draws: a background (another one while pressed) and the icon of its
// type. Type 0 is a separator rather than a button face.
class PLTitleBarButtonCell
{
public:
    enum Type : qint32 {
        Separator = 0,
        NavigateLeft = 1,
        NavigateRight = 2,
        DisplayPDF = 3,
        CloseSplit = 4,
        Split = 5,
    };

    explicit PLTitleBarButtonCell(qint32 type);

    qint32 type() const { return m_type; }
    const QPixmap &icon() const { return m_icon; }
    void setIcon(const QPixmap &icon) { m_icon = icon; }
    // The button's frame in points: a separator is 3 wide, every button 28; all are 22 high.
    QSize frameSize() const;

    void draw(QPainter &painter, const QRect &frame, bool pressed, bool hovered, bool enabled) const;

private:
    qint32 m_type;
    QPixmap m_background;
    QPixmap m_pressedBackground;
    QPixmap m_icon;
};

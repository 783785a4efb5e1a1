#include "ui/window/PLTitleBarButtonCell.h"

#include "ui/window/PLResourceImage.h"

#include <QPainter>

namespace {
QString iconFileForType(qint32 type)
{
    switch (type) {
    case PLTitleBarButtonCell::Separator:
        return QStringLiteral("titleBarButtonSeparator.png");
    case PLTitleBarButtonCell::NavigateLeft:
        return QStringLiteral("titleBarButtonIconNavigateLeft.png");
    case PLTitleBarButtonCell::NavigateRight:
        return QStringLiteral("titleBarButtonIconNavigateRight.png");
    case PLTitleBarButtonCell::DisplayPDF:
        return QStringLiteral("titleBarButtonIconDisplayPDF.png");
    case PLTitleBarButtonCell::CloseSplit:
        return QStringLiteral("titleBarButtonIconCloseSplit.png");
    case PLTitleBarButtonCell::Split:
        return QStringLiteral("titleBarButtonIconSplit.png");
    default:
        return QString();
    }
}
}

PLTitleBarButtonCell::PLTitleBarButtonCell(qint32 type)
    : m_type(type),
      m_background(PLResourceImage(QStringLiteral("titleBarButtonIconBackground.png"))),
      m_pressedBackground(PLResourceImage(QStringLiteral("titleBarButtonIconBackgroundPressed.png")))
{
    const QString iconFile = iconFileForType(type);
    if (!iconFile.isEmpty())
        m_icon = PLResourceImage(iconFile);
}

QSize PLTitleBarButtonCell::frameSize() const
{
    return QSize(m_type == Separator ? 3 : 28, 22);
}

void PLTitleBarButtonCell::draw(QPainter &painter, const QRect &frame, bool pressed, bool hovered, bool enabled) const
{
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    if (m_type == Separator) {
        painter.drawPixmap(frame, m_icon);
        return;
    }
    painter.drawPixmap(frame, pressed ? m_pressedBackground : m_background);
    if (hovered && enabled && !pressed) {
        // The flat face lights up under the pointer, as header-bar buttons do.
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0, 0, 0, 18));
        painter.drawRoundedRect(QRectF(frame).adjusted(2, 2, -2, -2), 4, 4);
        painter.restore();
    }
    if (m_icon.isNull())
        return;
    if (!enabled)
        painter.setOpacity(0.35);
    const QSizeF iconSize = m_icon.deviceIndependentSize();
    const QPointF origin(frame.x() + (frame.width() - iconSize.width()) / 2.0,
                         frame.y() + (frame.height() - iconSize.height()) / 2.0);
    painter.drawPixmap(origin, m_icon);
    painter.setOpacity(1.0);
}

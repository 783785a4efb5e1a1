#include "ui/window/AttachedWindow.h"

#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>

#include <algorithm>

AttachedWindow::AttachedWindow(QWidget *content, QWidget *window, QPoint point, int distance)
    : QWidget(window), m_content(content), m_point(point), m_distance(distance)
{
    setAttribute(Qt::WA_StyledBackground, false);
    auto *layout = new QVBoxLayout(this);
    // The arrow takes the strip above the box; the content keeps clear of the rounded corners.
    layout->setContentsMargins(cornerRadius, arrowHeight + cornerRadius, cornerRadius, cornerRadius);
    layout->addWidget(m_content);
    m_content->show();
    adjustSize();
    placeAtPoint();
    raise();
}

void AttachedWindow::setPoint(QPoint point)
{
    m_point = point;
    placeAtPoint();
}

QWidget *AttachedWindow::takeContent()
{
    QWidget *content = m_content;
    layout()->removeWidget(content);
    content->hide();
    content->setParent(nullptr);
    m_content = nullptr;
    return content;
}

void AttachedWindow::placeAtPoint()
{
    const QWidget *window = parentWidget();
    const int windowWidth = window ? window->width() : width();
    // Centred under the point, but kept inside the window while the window is wide enough.
    const int x = std::max(0, std::min(m_point.x() - width() / 2, windowWidth - width()));
    const int halfBase = arrowBaseWidth / 2;
    m_arrowX = std::clamp(m_point.x() - x, cornerRadius + halfBase, std::max(cornerRadius + halfBase, width() - cornerRadius - halfBase));
    move(x, m_point.y() + m_distance);
    update();
}

void AttachedWindow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box = QRectF(rect()).adjusted(0.5, arrowHeight + 0.5, -0.5, -0.5);
    QPainterPath path;
    path.addRoundedRect(box, cornerRadius, cornerRadius);
    QPainterPath arrow;
    arrow.moveTo(m_arrowX - arrowBaseWidth / 2.0, box.top() + 1);
    arrow.lineTo(m_arrowX, 0.5);
    arrow.lineTo(m_arrowX + arrowBaseWidth / 2.0, box.top() + 1);
    arrow.closeSubpath();
    path = path.united(arrow);
    painter.setPen(QPen(palette().color(QPalette::Dark), 1));
    painter.setBrush(palette().color(QPalette::Window));
    painter.drawPath(path);
}

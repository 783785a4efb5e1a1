#include "ui/window/PLTitleBarButton.h"

#include "ui/window/PLResourceImage.h"

#include <QPainter>

PLTitleBarButton::PLTitleBarButton(qint32 type, QWidget *parent) : QAbstractButton(parent), m_cell(type)
{
    setFixedSize(m_cell.frameSize());
    setFocusPolicy(Qt::NoFocus);
    if (type == PLTitleBarButtonCell::Separator)
        setEnabled(false);
}

void PLTitleBarButton::setImageNamed(const QString &fileName)
{
    if (fileName == m_imageName)
        return;
    m_imageName = fileName;
    m_cell.setIcon(PLResourceImage(fileName));
    update();
}

QSize PLTitleBarButton::sizeHint() const
{
    return m_cell.frameSize();
}

void PLTitleBarButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    m_cell.draw(painter, rect(), isDown(), m_hovered, isEnabled());
}

void PLTitleBarButton::enterEvent(QEnterEvent *event)
{
    m_hovered = true;
    update();
    QAbstractButton::enterEvent(event);
}

void PLTitleBarButton::leaveEvent(QEvent *event)
{
    m_hovered = false;
    update();
    QAbstractButton::leaveEvent(event);
}

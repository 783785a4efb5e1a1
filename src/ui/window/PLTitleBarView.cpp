#include "ui/window/PLTitleBarView.h"

#include "ui/window/PLResourceImage.h"

#include <QHBoxLayout>
#include <QPainter>

PLTitleBarView::PLTitleBarView(QWidget *parent)
    : QWidget(parent), m_background(PLResourceImage(QStringLiteral("titlebarBackground.png")))
{
    setFixedHeight(height);
}

void PLTitleBarView::paintEvent(QPaintEvent *)
{
    // The background is a vertical gradient: stretched across, it looks the same at any width.
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(rect(), m_background);
}

QHBoxLayout *PLTitleBarView::makeRowLayout(int leftMargin)
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(leftMargin, 0, 2, 0);
    row->setSpacing(0);
    return row;
}

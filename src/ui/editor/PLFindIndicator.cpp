#include "ui/editor/PLFindIndicator.h"

#include "ui/editor/PLTextView.h"

#include <QGraphicsOpacityEffect>
#include <QPainter>
#include <QPropertyAnimation>

namespace {
const int fadeMilliseconds = 600;
const int margin = 2;
}

PLFindIndicator::PLFindIndicator(QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("PLFindIndicator"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

PLFindIndicator *PLFindIndicator::flash(PLTextView *textView, PLRange range)
{
    // A new hit replaces the flash of the last one.
    for (PLFindIndicator *old : textView->viewport()->findChildren<PLFindIndicator *>(Qt::FindDirectChildrenOnly))
        delete old;
    QTextCursor start = textView->textCursor();
    start.setPosition(int(textView->mirrorPosition(range.location)));
    QTextCursor end = start;
    end.setPosition(int(textView->mirrorPosition(range.end())));
    const QRect area = textView->cursorRect(start).united(textView->cursorRect(end)).adjusted(-margin, -margin, margin, margin);

    auto *indicator = new PLFindIndicator(textView->viewport());
    indicator->setGeometry(area);
    auto *effect = new QGraphicsOpacityEffect(indicator);
    indicator->setGraphicsEffect(effect);
    auto *fade = new QPropertyAnimation(effect, "opacity", indicator);
    fade->setDuration(fadeMilliseconds);
    fade->setStartValue(0.8);
    fade->setEndValue(0.0);
    fade->setEasingCurve(QEasingCurve::InQuad);
    connect(fade, &QPropertyAnimation::finished, indicator, &QObject::deleteLater);
    indicator->show();
    fade->start();
    return indicator;
}

void PLFindIndicator::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(200, 160, 0), 1));
    painter.setBrush(QColor(255, 230, 60, 160));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
}

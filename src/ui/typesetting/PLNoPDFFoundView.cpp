#include "ui/typesetting/PLNoPDFFoundView.h"

#include <QFontDatabase>
#include <QPainter>
#include <QRadialGradient>

namespace {
// The stored family when it is installed, the interface font otherwise. Sizes count pixels of a
// screen laid out at 72 to the inch, as the editor font's do.
QFont placeholderFont(qreal size)
{
    QFont font;
    const QString family = QStringLiteral("Helvetica Neue");
    if (QFontDatabase::families().contains(family))
        font.setFamily(family);
    font.setPointSizeF(size * 72.0 / 96.0);
    return font;
}
}

PLNoPDFFoundView::PLNoPDFFoundView(QWidget *parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void PLNoPDFFoundView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);

    const QColor grey = QColor::fromRgbF(0.816f, 0.816f, 0.816f);
    painter.fillRect(rect(), grey);
    const QPointF centre = QRectF(rect()).center();
    QRadialGradient glow(centre, 300.0);
    glow.setColorAt(0.0, Qt::white);
    glow.setColorAt(1.0, grey);
    painter.fillRect(rect(), glow);

    const QFont titleFont = placeholderFont(20);
    painter.setFont(titleFont);
    painter.setPen(QColor::fromRgbF(0.2f, 0.2f, 0.2f));
    const QString title = tr("PDF Viewer");
    const QFontMetricsF titleMetrics(titleFont);
    const QRectF titleRect(0, centre.y() - titleMetrics.height() / 2.0, width(), titleMetrics.height());
    painter.drawText(titleRect, Qt::AlignCenter, title);

    painter.setFont(placeholderFont(13));
    painter.setPen(QColor::fromRgbF(0.443f, 0.443f, 0.443f));
    const QRectF messageRect(width() / 2.0 - 150.0, titleRect.bottom() + 5.0, 300.0, 300.0);
    painter.drawText(messageRect, Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap,
                     tr("This is where your pdf file will show up once you've generated it"));
}

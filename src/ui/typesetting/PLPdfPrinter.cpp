#include "ui/typesetting/PLPdfPrinter.h"

#include <QImage>
#include <QPainter>
#include <QPdfDocument>
#include <QPrinter>
#include <QTransform>

bool PLPdfPrinter::printDocument(QPdfDocument &document, QPrinter &printer)
{
    if (document.status() != QPdfDocument::Status::Ready || document.pageCount() == 0)
        return false;
    int first = 0;
    int last = document.pageCount() - 1;
    if (printer.printRange() == QPrinter::PageRange && printer.fromPage() > 0) {
        first = qBound(0, printer.fromPage() - 1, last);
        last = qBound(first, printer.toPage() - 1, last);
    }
    QPainter painter;
    if (!painter.begin(&printer))
        return false;
    const QRect area = painter.viewport();
    const bool paperIsLandscape = area.width() > area.height();
    const int resolution = qMin(printer.resolution(), kMaximumRenderingResolution);
    for (int page = first; page <= last; ++page) {
        if (page > first && !printer.newPage())
            return false;
        const QSizeF points = document.pagePointSize(page);
        const QSize pixels = (points * resolution / 72.0).toSize();
        QImage image = document.render(page, pixels);
        if (image.isNull())
            continue;
        if ((points.width() > points.height()) != paperIsLandscape)
            image = image.transformed(QTransform().rotate(90));
        const QSize fitted = image.size().scaled(area.size(), Qt::KeepAspectRatio);
        const QRect target(area.x() + (area.width() - fitted.width()) / 2, area.y() + (area.height() - fitted.height()) / 2,
                           fitted.width(), fitted.height());
        painter.drawImage(target, image);
    }
    return painter.end();
}

#pragma once

#include <QByteArrayView>
#include <QList>
#include <QSizeF>

// Reads the clockwise turn (/Rotate) and the drawn size of every page of a PDF, in page order,
// the way a viewer applies them: inherited through the page tree, the turn reduced to 0, 90, 180
// or 270. It reads classic
// cross-reference tables as well as compressed ones (cross-reference and object streams).
// Anything it cannot follow gives 0 for every page; work and memory are bounded for any input.
namespace PLPdfPageRotations {
struct Page
{
    int rotation = 0;
    // The size the page is drawn at, in points: its crop box, turned.
    QSizeF size;
};
// Every page's turn and drawn size, or nothing when the page tree cannot be followed to exactly
// pageCount pages.
QList<Page> readPages(QByteArrayView pdf, int pageCount);
}

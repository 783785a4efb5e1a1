#pragma once

#include <QByteArrayView>
#include <QList>

// Reads the clockwise turn (/Rotate) of every page of a PDF, in page order, the way a viewer
// applies it: inherited through the page tree and reduced to 0, 90, 180 or 270. It reads classic
// cross-reference tables as well as compressed ones (cross-reference and object streams).
// Anything it cannot follow gives 0 for every page; work and memory are bounded for any input.
namespace PLPdfPageRotations {
// Always answers pageCount values; the page tree must hold exactly that many pages to be trusted.
QList<int> read(QByteArrayView pdf, int pageCount);
}

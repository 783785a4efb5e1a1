#include "ui/typesetting/PLPDFView.h"

#include "core/foundation/PLLogging.h"
#include "core/foundation/PLThreadHandOff.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QPdfDocument>
#include <QPdfSelection>
#include <QScrollBar>
#include <QTimer>
#include <QThread>

namespace {
constexpr int kPageGap = 8;
constexpr qreal kZoomStep = 1.25;
constexpr qreal kMinimumZoom = 0.1;
constexpr qreal kMaximumZoom = 10.0;
// How many pages beyond the visible ones are rendered ahead of scrolling.
constexpr int kRenderAhead = 2;
constexpr int kHighlightMilliseconds = 2000;
// The selection: the desktop's selection blue, strong enough to read at actual size.
const QColor kSelectionColour(40, 110, 230, 110);
// The brief highlight over a hit: a yellow marker with an orange rim, padded so that even a
// short word stands out.
const QColor kHighlightFill(255, 214, 0, 150);
const QColor kHighlightRim(235, 130, 0);
constexpr qreal kHighlightPadding = 4;
constexpr qreal kHighlightRimWidth = 2.5;
}

PLPDFView::PLPDFView(QWidget *parent) : QAbstractScrollArea(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setAutoFillBackground(true);
    QPalette palette = viewport()->palette();
    palette.setColor(QPalette::Window, QColor(128, 128, 128));
    viewport()->setPalette(palette);
}

PLPDFView::~PLPDFView()
{
    // Renders not yet started are skipped; those under way end on their own document.
    ++m_wanted->serial;
}

bool PLPDFView::loadData(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return false;
    std::shared_ptr<QPdfDocument> document = std::make_shared<QPdfDocument>();
    // The document reads its pages from the buffer for as long as it lives.
    auto *buffer = new QBuffer(document.get());
    buffer->setData(bytes);
    buffer->open(QIODevice::ReadOnly);
    // Bytes held in memory load at once.
    document->load(buffer);
    if (document->status() != QPdfDocument::Status::Ready) {
        qCWarning(lcUi) << "the PDF could not be read:" << document->error();
        return false;
    }
    // Asking Qt PDF for the size of every page takes tens of milliseconds on a long document, so
    // the sizes read from the file stand in once the first and last pages agree with Qt PDF's.
    QList<PLPdfPageRotations::Page> pages = PLPdfPageRotations::readPages(bytes, document->pageCount());
    const auto agrees = [&pages, &document](int page) {
        const QSizeF difference = pages.at(page).size - document->pagePointSize(page);
        return std::abs(difference.width()) < 0.01 && std::abs(difference.height()) < 0.01;
    };
    if (!pages.isEmpty() && (!agrees(0) || !agrees(int(pages.size()) - 1))) {
        qCWarning(lcUi) << "the page sizes read from the PDF differ from Qt PDF's; asking Qt PDF for them";
        pages.clear();
    }
    return adoptDocument(std::move(document), pages);
}

bool PLPDFView::adoptDocument(std::shared_ptr<QPdfDocument> document, const QList<PLPdfPageRotations::Page> &pages)
{
    if (document->pageCount() <= 0) {
        qCWarning(lcUi) << "the PDF has no pages";
        return false;
    }
    m_document = std::move(document);
    m_pageRotations.clear();
    ++m_generation;
    invalidateRenders();
    m_pageSizes.clear();
    for (int page = 0; page < m_document->pageCount(); ++page) {
        m_pageSizes.append(pages.isEmpty() ? m_document->pagePointSize(page) : pages.at(page).size);
        m_pageRotations.append(pages.isEmpty() ? 0 : pages.at(page).rotation);
    }
    m_pageTexts = QList<QString>(m_document->pageCount());
    m_selectionText.clear();
    m_selectionBounds.clear();
    m_selectionPage = -1;
    m_selectionStart = -1;
    m_selectionEnd = -1;
    m_highlight = QRectF();
    m_highlightPage = -1;
    const QPoint origin = scrollOrigin();
    layoutPages();
    setScrollOrigin(origin);
    requestVisiblePages();
    viewport()->update();
    emit documentChanged();
    return true;
}

QPdfDocument *PLPDFView::document() const
{
    return m_document.get();
}

int PLPDFView::pageCount() const
{
    return m_document ? m_document->pageCount() : 0;
}

qreal PLPDFView::pixelsPerPoint() const
{
    return m_zoomFactor * logicalDpiY() / 72.0;
}

int PLPDFView::pageRotation(int page) const
{
    return page >= 0 && page < m_pageRotations.size() ? m_pageRotations.at(page) : 0;
}

QTransform PLPDFView::pageToDrawn(int page) const
{
    if (page < 0 || page >= m_pageSizes.size())
        return {};
    // The page as typeset is the drawn one turned back.
    const int rotation = pageRotation(page);
    const QSizeF drawn = m_pageSizes.at(page);
    const qreal width = rotation % 180 ? drawn.height() : drawn.width();
    const qreal height = rotation % 180 ? drawn.width() : drawn.height();
    switch (rotation) {
    case 90:
        return QTransform(0, 1, -1, 0, height, 0);
    case 180:
        return QTransform(-1, 0, 0, -1, width, height);
    case 270:
        return QTransform(0, -1, 1, 0, 0, width);
    default:
        return {};
    }
}

QTransform PLPDFView::textToPage(int page) const
{
    if (page < 0 || page >= m_pageSizes.size())
        return {};
    const QSizeF drawn = m_pageSizes.at(page);
    const qreal height = pageRotation(page) % 180 ? drawn.width() : drawn.height();
    return QTransform::fromTranslate(0, height - drawn.height());
}

QPdfSelection PLPDFView::selection(int page, const QPointF &from, const QPointF &to) const
{
    const QTransform toText = textToPage(page).inverted();
    return m_document->getSelection(page, toText.map(from), toText.map(to));
}

void PLPDFView::layoutPages()
{
    // Pages go in rows of one or two; the modes that are not continuous lay out only the row of
    // the current page, and every other page has no place.
    const int count = pageCount();
    const int perRow = pagesPerRow();
    m_currentPage = count > 0 ? std::clamp(m_currentPage, 0, count - 1) / perRow * perRow : 0;
    m_pageRects = QList<QRect>(count);
    const int firstRow = isContinuous() ? 0 : m_currentPage;
    const int endRow = isContinuous() ? count : std::min(count, m_currentPage + perRow);
    int width = 0;
    for (int row = firstRow; row < endRow; row += perRow) {
        int rowWidth = kPageGap;
        for (int page = row; page < std::min(endRow, row + perRow); ++page)
            rowWidth += (m_pageSizes.at(page) * pixelsPerPoint()).toSize().width() + kPageGap;
        width = std::max(width, rowWidth);
    }
    int y = kPageGap;
    for (int row = firstRow; row < endRow; row += perRow) {
        int rowWidth = -kPageGap;
        int rowHeight = 0;
        for (int page = row; page < std::min(endRow, row + perRow); ++page) {
            const QSize size = (m_pageSizes.at(page) * pixelsPerPoint()).toSize();
            rowWidth += size.width() + kPageGap;
            rowHeight = std::max(rowHeight, size.height());
        }
        int x = (width - rowWidth) / 2;
        for (int page = row; page < std::min(endRow, row + perRow); ++page) {
            const QSize size = (m_pageSizes.at(page) * pixelsPerPoint()).toSize();
            m_pageRects[page] = QRect(QPoint(x, y), size);
            x += size.width() + kPageGap;
        }
        y += rowHeight + kPageGap;
    }
    m_contentSize = QSize(width, count > 0 ? y : 0);
    updateScrollBars();
}

void PLPDFView::setDisplayMode(int mode)
{
    m_displayMode = static_cast<DisplayMode>(std::clamp(mode, int(SinglePage), int(TwoUpContinuous)));
    PLUserDefaults::standardUserDefaults().setInteger(m_displayMode, PLUserDefaultsPDFDisplayMode);
    PLUserDefaults::standardUserDefaults().synchronize();
    if (!m_document)
        return;
    const int page = std::max(0, pageAt(scrollOrigin()));
    m_currentPage = page;
    layoutPages();
    setScrollOrigin(QPoint(scrollOrigin().x(), pageRect(page).top() - kPageGap));
    requestVisiblePages();
    viewport()->update();
}

void PLPDFView::goToPage(int page)
{
    if (page < 0 || page >= pageCount())
        return;
    if (!isContinuous()) {
        m_currentPage = page;
        layoutPages();
    }
    setScrollOrigin(QPoint(scrollOrigin().x(), pageRect(page).top() - kPageGap));
    requestVisiblePages();
    viewport()->update();
}

void PLPDFView::updateScrollBars()
{
    const QSize viewportSize = viewport()->size();
    horizontalScrollBar()->setRange(0, std::max(0, m_contentSize.width() - viewportSize.width()));
    horizontalScrollBar()->setPageStep(viewportSize.width());
    horizontalScrollBar()->setSingleStep(20);
    verticalScrollBar()->setRange(0, std::max(0, m_contentSize.height() - viewportSize.height()));
    verticalScrollBar()->setPageStep(viewportSize.height());
    verticalScrollBar()->setSingleStep(20);
}

QPoint PLPDFView::contentOffset() const
{
    // Content narrower than the viewport is centred.
    const int x = m_contentSize.width() < viewport()->width() ? (viewport()->width() - m_contentSize.width()) / 2
                                                              : -horizontalScrollBar()->value();
    return QPoint(x, -verticalScrollBar()->value());
}

QPoint PLPDFView::scrollOrigin() const
{
    return QPoint(horizontalScrollBar()->value(), verticalScrollBar()->value());
}

void PLPDFView::setScrollOrigin(const QPoint &origin)
{
    // The scroll bars clamp an origin beyond a shorter document.
    horizontalScrollBar()->setValue(origin.x());
    verticalScrollBar()->setValue(origin.y());
}

QRect PLPDFView::pageRect(int page) const
{
    return page >= 0 && page < m_pageRects.size() ? m_pageRects.at(page) : QRect();
}

int PLPDFView::pageAt(const QPoint &contentPoint) const
{
    int nearest = -1;
    int nearestDistance = std::numeric_limits<int>::max();
    for (int page = 0; page < m_pageRects.size(); ++page) {
        const QRect &rect = m_pageRects.at(page);
        if (rect.isNull())
            continue;
        const int distance = contentPoint.y() < rect.top() ? rect.top() - contentPoint.y()
                             : contentPoint.y() > rect.bottom() ? contentPoint.y() - rect.bottom()
                                                                : 0;
        if (distance < nearestDistance) {
            nearest = page;
            nearestDistance = distance;
        }
    }
    return nearest;
}

void PLPDFView::setZoomFactor(qreal factor)
{
    factor = std::clamp(factor, kMinimumZoom, kMaximumZoom);
    if (qFuzzyCompare(factor, m_zoomFactor))
        return;
    // The point at the top of the viewport stays there.
    const qreal ratio = factor / m_zoomFactor;
    const QPoint origin = scrollOrigin();
    m_zoomFactor = factor;
    // Renders under way are for the old size; their results are dropped when they arrive.
    invalidateRenders();
    layoutPages();
    setScrollOrigin(QPoint(qRound(origin.x() * ratio), qRound(origin.y() * ratio)));
    requestVisiblePages();
    viewport()->update();
}

void PLPDFView::zoomIn()
{
    setZoomFactor(m_zoomFactor * kZoomStep);
}

void PLPDFView::zoomOut()
{
    setZoomFactor(m_zoomFactor / kZoomStep);
}

void PLPDFView::zoomToActualSize()
{
    setZoomFactor(1.0);
}

void PLPDFView::zoomToFitWidth()
{
    qreal widest = 0;
    for (const QSizeF &size : std::as_const(m_pageSizes))
        widest = std::max(widest, size.width());
    if (widest <= 0)
        return;
    // The vertical scroll bar stays, so its width is left out.
    const int width = viewport()->width() - 2 * kPageGap - (verticalScrollBar()->isVisible() ? 0 : verticalScrollBar()->sizeHint().width());
    setZoomFactor(width / (widest * logicalDpiY() / 72.0));
}

const QString &PLPDFView::pageText(int page)
{
    QString &text = m_pageTexts[page];
    if (text.isNull())
        text = m_document->getAllText(page).text();
    if (text.isNull())
        text = QLatin1String("");
    return text;
}

bool PLPDFView::findString(const QString &text, bool forwards)
{
    const int count = pageCount();
    if (text.isEmpty() || count == 0)
        return false;
    // The search starts at the end (or before the start) of the selection, else at the
    // document's start (or end). It visits every page once, then the starting page again in
    // full, which wraps.
    const bool fromSelection = m_selectionPage >= 0 && m_selectionStart >= 0;
    int page = fromSelection ? m_selectionPage : (forwards ? 0 : count - 1);
    qsizetype from = !fromSelection ? (forwards ? 0 : -1) : forwards ? m_selectionEnd : m_selectionStart - text.size();
    for (int step = 0; step <= count; ++step) {
        const QString &haystack = pageText(page);
        if (!forwards && from == -1)
            from = haystack.size();
        const qsizetype index = forwards ? haystack.indexOf(text, from, Qt::CaseInsensitive)
                                : from >= 0 ? haystack.lastIndexOf(text, from, Qt::CaseInsensitive)
                                            : -1;
        if (index >= 0) {
            const QPdfSelection hit = m_document->getSelectionAtIndex(page, int(index), int(text.size()));
            setSelection(page, hit.text(), hit.bounds(), index, index + text.size());
            showArea(page, textToPage(page).mapRect(hit.boundingRectangle()));
            return true;
        }
        page = forwards ? (page + 1) % count : (page + count - 1) % count;
        from = forwards ? 0 : -1;
    }
    return false;
}

bool PLPDFView::isPageRendered(int page) const
{
    const auto it = m_cache.constFind(page);
    // A window moved to a screen of another pixel ratio needs its pages again, sharp there.
    return it != m_cache.cend() && it->generation == m_generation && qFuzzyCompare(it->zoom, m_zoomFactor)
           && qFuzzyCompare(it->ratio, devicePixelRatioF());
}

void PLPDFView::setRenderCacheBudget(qint64 bytes)
{
    m_cacheBudget = bytes;
    evictFarthestPages();
}

qint64 PLPDFView::renderCacheBytes() const
{
    qint64 total = 0;
    for (const CachedPage &cached : m_cache)
        total += cached.image.sizeInBytes();
    return total;
}

void PLPDFView::invalidateRenders()
{
    m_pending.clear();
    ++m_wanted->serial;
}

int PLPDFView::firstVisiblePage() const
{
    const QRect visible(scrollOrigin(), viewport()->size());
    for (int page = 0; page < m_pageRects.size(); ++page) {
        if (m_pageRects.at(page).intersects(visible))
            return page;
    }
    return -1;
}

void PLPDFView::requestVisiblePages()
{
    if (!m_document)
        return;
    const QRect visible(scrollOrigin(), viewport()->size());
    int first = -1;
    int last = -1;
    for (int page = 0; page < m_pageRects.size(); ++page) {
        if (m_pageRects.at(page).intersects(visible)) {
            if (first < 0)
                first = page;
            last = page;
        }
    }
    if (first < 0)
        return;
    const int count = int(m_pageRects.size());
    m_wanted->first = std::max(0, first - kRenderAhead);
    m_wanted->last = std::min(count - 1, last + kRenderAhead);
    // The visible pages first, then the nearest ones below and above. Pages render one at a
    // time inside Qt PDF, so a page ahead started alongside would hold up the one in view: the
    // pages ahead wait until those in view are drawn.
    bool allDrawn = true;
    for (int page = first; page <= last; ++page) {
        render(page);
        allDrawn = allDrawn && isPageRendered(page);
    }
    for (int ahead = 1; allDrawn && ahead <= kRenderAhead; ++ahead) {
        if (last + ahead < count)
            render(last + ahead);
        if (first - ahead >= 0)
            render(first - ahead);
    }
    evictFarthestPages();
}

void PLPDFView::render(int page)
{
    // A page off the shown spread has no place and no size to render at.
    if (m_pageRects.at(page).isEmpty() || isPageRendered(page) || m_pending.contains(page))
        return;
    m_pending.insert(page);
    // Sharp on a high-density screen: the image has the screen's pixels and says so.
    const qreal ratio = devicePixelRatioF();
    const QSize size = (QSizeF(m_pageRects.at(page).size()) * ratio).toSize();
    const quint64 generation = m_generation;
    const qreal zoom = m_zoomFactor;
    // The worker holds the document until it hands its result back, so the document outlives every
    // render and its last reference always goes on this thread.
    std::shared_ptr<QPdfDocument> document = m_document;
    std::shared_ptr<WantedPages> wanted = m_wanted;
    const quint64 serial = wanted->serial;
    QPointer<PLPDFView> view(this);
    PLThreadHandOff::runOnWorker([view, document = std::move(document), wanted = std::move(wanted), page, size, serial,
                                  generation, zoom, ratio]() mutable {
        QImage image;
        if (wanted->serial == serial && page >= wanted->first && page <= wanted->last)
            image = document->render(page, size);
        PLThreadHandOff::runOnMainThread([view = std::move(view), document = std::move(document), page, generation,
                                          zoom, ratio, image = std::move(image)]() mutable {
            if (view)
                view->adoptRender(page, generation, zoom, ratio, std::move(image));
        });
    });
}

void PLPDFView::adoptRender(int page, quint64 generation, qreal zoom, qreal ratio, QImage image)
{
    Q_ASSERT(QThread::currentThread() == thread());
    if (generation != m_generation || !qFuzzyCompare(zoom, m_zoomFactor))
        return;
    m_pending.remove(page);
    // Skipped because it had scrolled away; asked again if it has come back meanwhile.
    if (image.isNull()) {
        if (page >= m_wanted->first && page <= m_wanted->last)
            render(page);
        return;
    }
    image.setDevicePixelRatio(ratio);
    m_cache.insert(page, CachedPage{image, zoom, ratio, generation});
    evictFarthestPages();
    requestVisiblePages();
    viewport()->update();
    emit pageRendered(page);
}

void PLPDFView::evictFarthestPages()
{
    const int centrePage = firstVisiblePage();
    qint64 total = renderCacheBytes();
    while (total > m_cacheBudget && m_cache.size() > 1) {
        int farthest = -1;
        for (auto it = m_cache.cbegin(); it != m_cache.cend(); ++it) {
            if (farthest < 0 || std::abs(it.key() - centrePage) > std::abs(farthest - centrePage))
                farthest = it.key();
        }
        total -= m_cache.take(farthest).image.sizeInBytes();
    }
}

void PLPDFView::showArea(int page, const QRectF &area)
{
    if (page < 0 || page >= pageCount())
        return;
    if (!isContinuous() && (page < m_currentPage || page >= m_currentPage + pagesPerRow())) {
        m_currentPage = page;
        layoutPages();
    }
    const QRect rect = pageRect(page);
    const qreal scale = pixelsPerPoint();
    const QRectF drawn = pageToDrawn(page).mapRect(area);
    const QRect target = QRectF(rect.topLeft() + drawn.topLeft() * scale, drawn.size() * scale).toAlignedRect();
    // The area lands a third of the way down the viewport, where the eye looks first; sideways
    // the view only moves when the area is out of sight, so the page keeps its place.
    int x = scrollOrigin().x();
    if (target.left() < x || target.right() >= x + viewport()->width())
        x = target.center().x() - viewport()->width() / 2;
    setScrollOrigin(QPoint(x, target.top() - viewport()->height() / 3));
    m_highlight = area;
    m_highlightPage = page;
    requestVisiblePages();
    viewport()->update();
    QTimer::singleShot(kHighlightMilliseconds, this, [this, area, page] {
        if (m_highlight == area && m_highlightPage == page) {
            m_highlight = QRectF();
            m_highlightPage = -1;
            viewport()->update();
        }
    });
}

void PLPDFView::paintEvent(QPaintEvent *event)
{
    QPainter painter(viewport());
    const QPoint offset = contentOffset();
    const qreal scale = pixelsPerPoint();
    for (int page = 0; page < m_pageRects.size(); ++page) {
        const QRect rect = m_pageRects.at(page).translated(offset);
        if (rect.isNull() || !rect.intersects(event->rect()))
            continue;
        const auto it = m_cache.constFind(page);
        // A page of the previous document or zoom stands in until its new rendering arrives.
        if (it != m_cache.cend())
            painter.drawImage(rect, it->image);
        else
            painter.fillRect(rect, Qt::white);
        if (page == m_selectionPage) {
            painter.save();
            painter.translate(rect.topLeft());
            painter.scale(scale, scale);
            painter.setTransform(pageToDrawn(page), true);
            for (const QPolygonF &polygon : std::as_const(m_selectionBounds))
                painter.fillPath([&polygon] { QPainterPath path; path.addPolygon(polygon); return path; }(), kSelectionColour);
            painter.restore();
        }
        if (page == m_highlightPage) {
            const QRectF drawn = pageToDrawn(page).mapRect(m_highlight);
            const QRectF area = QRectF(rect.topLeft() + drawn.topLeft() * scale, drawn.size() * scale)
                                    .adjusted(-kHighlightPadding, -kHighlightPadding, kHighlightPadding, kHighlightPadding);
            painter.save();
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(QPen(kHighlightRim, kHighlightRimWidth));
            painter.setBrush(kHighlightFill);
            painter.drawRoundedRect(area, kHighlightPadding, kHighlightPadding);
            painter.restore();
        }
    }
}

void PLPDFView::resizeEvent(QResizeEvent *event)
{
    QAbstractScrollArea::resizeEvent(event);
    updateScrollBars();
    requestVisiblePages();
}

void PLPDFView::scrollContentsBy(int, int)
{
    requestVisiblePages();
    viewport()->update();
}

void PLPDFView::wheelEvent(QWheelEvent *event)
{
    if (event->modifiers() & Qt::ControlModifier) {
        if (event->angleDelta().y() > 0)
            zoomIn();
        else if (event->angleDelta().y() < 0)
            zoomOut();
        event->accept();
        return;
    }
    QAbstractScrollArea::wheelEvent(event);
}

void PLPDFView::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Copy)) {
        copy();
        return;
    }
    if (event->modifiers() & Qt::ControlModifier) {
        switch (event->key()) {
        case Qt::Key_Plus:
        case Qt::Key_Equal:
            zoomIn();
            return;
        case Qt::Key_Minus:
            zoomOut();
            return;
        case Qt::Key_0:
            zoomToActualSize();
            return;
        default:
            break;
        }
    }
    // One spread at a time: paging on past its end turns to the next spread.
    const QScrollBar *bar = verticalScrollBar();
    if (!isContinuous() && event->key() == Qt::Key_PageDown && bar->value() == bar->maximum()
        && m_currentPage + pagesPerRow() < pageCount()) {
        goToPage(m_currentPage + pagesPerRow());
        return;
    }
    if (!isContinuous() && event->key() == Qt::Key_PageUp && bar->value() == bar->minimum() && m_currentPage > 0) {
        goToPage(m_currentPage - pagesPerRow());
        setScrollOrigin(QPoint(scrollOrigin().x(), bar->maximum()));
        return;
    }
    QAbstractScrollArea::keyPressEvent(event);
}

void PLPDFView::contextMenuEvent(QContextMenuEvent *event)
{
    QMenu menu(this);
    const QList<std::pair<DisplayMode, QString>> modes{{SinglePage, tr("Single Page")},
                                                       {SinglePageContinuous, tr("Single Page Continuous")},
                                                       {TwoUp, tr("Two Pages")},
                                                       {TwoUpContinuous, tr("Two Pages Continuous")}};
    for (const auto &[mode, title] : modes) {
        QAction *item = menu.addAction(title, this, [this, mode] { setDisplayMode(mode); });
        item->setCheckable(true);
        item->setChecked(mode == m_displayMode);
    }
    menu.addSeparator();
    menu.addAction(tr("Zoom In"), this, &PLPDFView::zoomIn);
    menu.addAction(tr("Zoom Out"), this, &PLPDFView::zoomOut);
    menu.addAction(tr("Actual Size"), this, &PLPDFView::zoomToActualSize);
    menu.addAction(tr("Fit Width"), this, &PLPDFView::zoomToFitWidth);
    menu.exec(event->globalPos());
}

void PLPDFView::mousePressEvent(QMouseEvent *event)
{
    QAbstractScrollArea::mousePressEvent(event);
    emit didFocus();
    if (event->button() != Qt::LeftButton || !pagePointAt(event->position().toPoint(), &m_selectedPage, &m_selectedPoint))
        return;
    if (event->modifiers() & Qt::ControlModifier)
        emit syncRequested(m_selectedPage, m_selectedPoint);
    else
        setSelection(-1, QString(), {});
}

void PLPDFView::mouseDoubleClickEvent(QMouseEvent *event)
{
    QAbstractScrollArea::mouseDoubleClickEvent(event);
    if (event->button() != Qt::LeftButton || !pagePointAt(event->position().toPoint(), &m_selectedPage, &m_selectedPoint))
        return;
    // The word under the mouse: the characters around the nearest one, up to white space.
    const QPdfSelection near = selection(m_selectedPage, m_selectedPoint - QPointF(3, 0), m_selectedPoint + QPointF(3, 0));
    if (!near.text().isEmpty()) {
        const QString &text = pageText(m_selectedPage);
        qsizetype start = std::min<qsizetype>(near.startIndex(), text.size());
        qsizetype end = start;
        while (start > 0 && !text.at(start - 1).isSpace())
            --start;
        while (end < text.size() && !text.at(end).isSpace())
            ++end;
        if (end > start) {
            setSelection(m_selectedPage, m_document->getSelectionAtIndex(m_selectedPage, int(start), int(end - start)));
        }
    }
    emit syncRequested(m_selectedPage, m_selectedPoint);
}

void PLPDFView::mouseMoveEvent(QMouseEvent *event)
{
    QAbstractScrollArea::mouseMoveEvent(event);
    if (!(event->buttons() & Qt::LeftButton) || m_selectedPage < 0 || !m_document)
        return;
    int page = -1;
    QPointF point;
    // A drag selects within the page it started on.
    if (pagePointAt(event->position().toPoint(), &page, &point) && page == m_selectedPage) {
        setSelection(page, selection(page, m_selectedPoint, point));
    }
}

void PLPDFView::setSelection(int page, const QString &text, const QList<QPolygonF> &bounds, qsizetype start, qsizetype end)
{
    m_selectionPage = text.isEmpty() ? -1 : page;
    m_selectionText = text;
    const QTransform toPage = textToPage(page);
    m_selectionBounds.clear();
    for (const QPolygonF &polygon : bounds)
        m_selectionBounds.append(toPage.map(polygon));
    m_selectionStart = text.isEmpty() ? -1 : start;
    m_selectionEnd = text.isEmpty() ? -1 : end;
    viewport()->update();
}

void PLPDFView::setSelection(int page, const QPdfSelection &selection)
{
    setSelection(page, selection.text(), selection.bounds(), selection.startIndex(), selection.endIndex());
}

bool PLPDFView::syncPoint(int *page, QPointF *point) const
{
    if (m_selectionPage >= 0) {
        QRectF bounds;
        for (const QPolygonF &polygon : m_selectionBounds)
            bounds = bounds.united(polygon.boundingRect());
        *page = m_selectionPage;
        *point = bounds.bottomLeft();
        return true;
    }
    *page = m_selectedPage;
    *point = m_selectedPoint;
    return m_selectedPage >= 0;
}

void PLPDFView::showSelection(int page, const QPdfSelection &selection)
{
    setSelection(page, selection);
    showArea(page, textToPage(page).mapRect(selection.boundingRectangle()));
}

void PLPDFView::copy() const
{
    if (!m_selectionText.isEmpty())
        QGuiApplication::clipboard()->setText(m_selectionText);
}

void PLPDFView::focusInEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusInEvent(event);
    emit didFocus();
}

bool PLPDFView::pagePointAt(const QPoint &viewportPoint, int *page, QPointF *point) const
{
    const QPoint contentPoint = viewportPoint - contentOffset();
    const int found = pageAt(contentPoint);
    if (found < 0)
        return false;
    *page = found;
    *point = pageToDrawn(found).inverted().map(QPointF(contentPoint - m_pageRects.at(found).topLeft()) / pixelsPerPoint());
    return true;
}

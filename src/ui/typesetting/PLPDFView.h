#pragma once

#include "core/typesetting/PLPdfPageRotations.h"

#include <QAbstractScrollArea>
#include <QHash>
#include <QImage>
#include <QPolygonF>
#include <QRectF>
#include <QSet>
#include <QTransform>

#include <atomic>
#include <memory>

class QPdfDocument;
class QPdfSelection;

// Shows a PDF as one column of pages that scrolls continuously. Pages are rendered on worker
// threads and cached per page and zoom; painting only draws what is already rendered, so a
// reloaded document keeps showing its previous pages until the new ones are ready.
// Points and areas of a page are in PDF points from the top-left corner of the page as typeset,
// before any turn of the page (/Rotate) is applied: the space SyncTeX measures in. The view turns
// them to where the page is drawn.
class PLPDFView : public QAbstractScrollArea
{
    Q_OBJECT

public:
    // The numbers are the ones stored under "PLUserDefaultsPDFDisplayMode".
    enum DisplayMode { SinglePage = 0, SinglePageContinuous = 1, TwoUp = 2, TwoUpContinuous = 3 };

    explicit PLPDFView(QWidget *parent = nullptr);
    ~PLPDFView() override;

    // Takes the bytes of a PDF and shows it, emitting documentChanged. Bytes that are no PDF
    // leave the shown document as it was and answer false.
    bool loadData(const QByteArray &bytes);
    QPdfDocument *document() const;
    int pageCount() const;

    DisplayMode displayMode() const { return m_displayMode; }
    // Applies the mode and stores it at once as the mode of the next PDF pane.
    void setDisplayMode(int mode);
    // The first page of the spread shown in the modes that show one spread at a time.
    int currentPage() const { return m_currentPage; }
    void goToPage(int page);

    qreal zoomFactor() const { return m_zoomFactor; }
    void setZoomFactor(qreal factor);
    void zoomIn();
    void zoomOut();
    void zoomToActualSize();
    // The widest page fills the viewport's width.
    void zoomToFitWidth();

    QPoint scrollOrigin() const;
    void setScrollOrigin(const QPoint &origin);

    // Where the page lies in the scrolled content, in widget pixels.
    QRect pageRect(int page) const;
    // The page under a point of the content, or the nearest one between pages; -1 without pages.
    int pageAt(const QPoint &contentPoint) const;
    // Scrolls a rectangle of the page into view and highlights it briefly.
    void showArea(int page, const QRectF &area);
    QRectF highlightedArea() const { return m_highlight; }
    int highlightedPage() const { return m_highlightPage; }
    // The page and point of the last click; page -1 before.
    int selectedPage() const { return m_selectedPage; }
    QPointF selectedPoint() const { return m_selectedPoint; }
    // The text selected by a drag or a double click, on one page; empty when there is none.
    const QString &selectedText() const { return m_selectionText; }
    int selectionPage() const { return m_selectionPage; }
    // The point a search back to the source starts from: the bottom-left corner of the selection,
    // else the last click. False when there is neither.
    bool syncPoint(int *page, QPointF *point) const;
    void copy() const;
    // Makes text of the page the selection, scrolls it into view and highlights it briefly.
    void showSelection(int page, const QPdfSelection &selection);
    // The text of the page between two points.
    QPdfSelection selection(int page, const QPointF &from, const QPointF &to) const;
    // The clockwise turn the page is drawn with: 0, 90, 180 or 270.
    int pageRotation(int page) const;
    // Where a point of the page is drawn, in PDF points from the top-left corner of the drawn page.
    QTransform pageToDrawn(int page) const;
    // Finds the text, ignoring case, after (or before) the current selection, wrapping around the
    // document, and makes the hit the selection, shown and highlighted briefly. False when the
    // document does not hold it.
    bool findString(const QString &text, bool forwards);
    // True when the page is drawn at the current zoom and pixel ratio from the current document.
    bool isPageRendered(int page) const;

    // Rendered pages are kept up to this many bytes; beyond it the pages farthest from the shown
    // one are dropped first.
    static constexpr qint64 defaultRenderCacheBudget = 256ll * 1024 * 1024;
    qint64 renderCacheBudget() const { return m_cacheBudget; }
    void setRenderCacheBudget(qint64 bytes);
    qint64 renderCacheBytes() const;

signals:
    void documentChanged();
    void pageRendered(int page);
    void didFocus();
    // A Ctrl+click or a double click asks for the source of that point.
    void syncRequested(int page, const QPointF &point);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    void wheelEvent(QWheelEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    struct CachedPage
    {
        QImage image;
        qreal zoom = 0;
        qreal ratio = 0;
        quint64 generation = 0;
    };

    // Pages read from the file, or none to ask Qt PDF for the sizes and draw every page upright.
    bool adoptDocument(std::shared_ptr<QPdfDocument> document, const QList<PLPdfPageRotations::Page> &pages);
    void layoutPages();
    const QString &pageText(int page);
    // The selection's characters on its page run from start to end, -1 when unknown.
    // The bounds are where Qt PDF places the text (see textToPage).
    void setSelection(int page, const QString &text, const QList<QPolygonF> &bounds, qsizetype start = -1, qsizetype end = -1);
    void setSelection(int page, const QPdfSelection &selection);
    bool isContinuous() const { return m_displayMode == SinglePageContinuous || m_displayMode == TwoUpContinuous; }
    int pagesPerRow() const { return m_displayMode == TwoUp || m_displayMode == TwoUpContinuous ? 2 : 1; }
    void updateScrollBars();
    void requestVisiblePages();
    void render(int page);
    void adoptRender(int page, quint64 generation, qreal zoom, qreal ratio, QImage image);
    void evictFarthestPages();
    int firstVisiblePage() const;
    void invalidateRenders();
    bool pagePointAt(const QPoint &viewportPoint, int *page, QPointF *point) const;
    qreal pixelsPerPoint() const;
    // Qt PDF places the text of a turned page as if it were upright, yet measures from the top of
    // the drawn page; this moves its places into the page's own points.
    QTransform textToPage(int page) const;
    QPoint contentOffset() const;

    // What the workers should still render: a render that starts after its page has scrolled
    // away, or after the document or zoom changed, is skipped.
    struct WantedPages
    {
        std::atomic<int> first{0};
        std::atomic<int> last{-1};
        std::atomic<quint64> serial{0};
    };

    std::shared_ptr<QPdfDocument> m_document;
    // Read once per document: asking the document waits for any render under way.
    QList<QSizeF> m_pageSizes;
    QList<int> m_pageRotations;
    quint64 m_generation = 0;
    std::shared_ptr<WantedPages> m_wanted = std::make_shared<WantedPages>();
    qint64 m_cacheBudget = defaultRenderCacheBudget;
    qreal m_zoomFactor = 1.0;
    DisplayMode m_displayMode = SinglePageContinuous;
    int m_currentPage = 0;
    QList<QRect> m_pageRects;
    QSize m_contentSize;
    QHash<int, CachedPage> m_cache;
    QSet<int> m_pending;
    // Each page's text, read once per document for find.
    QList<QString> m_pageTexts;
    QString m_selectionText;
    qsizetype m_selectionStart = -1;
    qsizetype m_selectionEnd = -1;
    QList<QPolygonF> m_selectionBounds;
    int m_selectionPage = -1;
    int m_selectedPage = -1;
    QPointF m_selectedPoint;
    QRectF m_highlight;
    int m_highlightPage = -1;
};

#include "ui/window/PLSplitView.h"

#include <QMouseEvent>
#include <QPainter>
#include <QSplitterHandle>


// Drags of the divider go through the splitter's rule before they move anything.
class PLSplitViewHandle : public QSplitterHandle
{
public:
    PLSplitViewHandle(Qt::Orientation orientation, PLSplitView *parent) : QSplitterHandle(orientation, parent) {}

protected:
    void mousePressEvent(QMouseEvent *event) override
    {
        if (event->button() == Qt::LeftButton)
            m_grabOffset = pick(event->position().toPoint());
        QSplitterHandle::mousePressEvent(event);
    }

    void mouseMoveEvent(QMouseEvent *event) override
    {
        if (!(event->buttons() & Qt::LeftButton))
            return;
        auto *view = static_cast<PLSplitView *>(splitter());
        const int proposed = pick(view->mapFromGlobal(event->globalPosition().toPoint())) - m_grabOffset;
        const bool first = view->indexOf(this) == 1;
        moveSplitter(first ? view->constrainedPosition(proposed) : proposed);
    }

    // A hairline in the middle of a strip wide enough to grab.
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.fillRect(rect(), palette().color(QPalette::Window));
        const QRect line = orientation() == Qt::Horizontal ? QRect(width() / 2, 0, 1, height()) : QRect(0, height() / 2, width(), 1);
        painter.fillRect(line, palette().color(QPalette::Mid));
    }

private:
    int pick(const QPoint &point) const { return orientation() == Qt::Horizontal ? point.x() : point.y(); }

    int m_grabOffset = 0;
};

PLSplitView::PLSplitView(Qt::Orientation orientation, QWidget *parent) : QSplitter(orientation, parent) {}

int PLSplitView::constrainedPosition(int proposedPosition) const
{
    return m_constraint ? m_constraint(proposedPosition) : proposedPosition;
}

void PLSplitView::setFirstDividerPosition(int position)
{
    const int extent = orientation() == Qt::Horizontal ? width() : height();
    if (!isVisible() || extent <= 0) {
        m_pendingFirstDividerPosition = position;
        return;
    }
    moveFirstDivider(position);
}

QSplitterHandle *PLSplitView::createHandle()
{
    return new PLSplitViewHandle(orientation(), this);
}

void PLSplitView::resizeEvent(QResizeEvent *event)
{
    QSplitter::resizeEvent(event);
    if (count() < 2)
        return;
    if (m_pendingFirstDividerPosition >= 0) {
        const int position = m_pendingFirstDividerPosition;
        m_pendingFirstDividerPosition = -1;
        moveFirstDivider(m_resizeRule ? m_resizeRule(position) : position);
        return;
    }
    if (!m_resizeRule)
        return;
    const int current = sizes().constFirst();
    const int allowed = m_resizeRule(current);
    if (allowed != current)
        moveFirstDivider(allowed);
}

void PLSplitView::moveFirstDivider(int position)
{
    QList<int> extents = sizes();
    const int total = extents[0] + extents[1];
    const int first = qBound(0, position, total);
    extents[1] = total - first;
    extents[0] = first;
    setSizes(extents);
}

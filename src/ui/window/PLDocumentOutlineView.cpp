#include "ui/window/PLDocumentOutlineView.h"

#include "ui/window/PLDocumentOutlineItemModel.h"
#include "ui/window/PLOutlineViewCell.h"
#include "ui/window/PLSideBarViewController.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>

PLDocumentOutlineView::PLDocumentOutlineView(QWidget *parent) : QTreeView(parent)
{
    setHeaderHidden(true);
    setFrameShape(QFrame::NoFrame);
    setUniformRowHeights(true);
    setIndentation(14);
    // The main file's row heads the list like a group title, with an arrow of its own so that the
    // whole outline can be folded and unfolded with the mouse.
    setRootIsDecorated(true);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTextElideMode(Qt::ElideRight);
    setFocusPolicy(Qt::ClickFocus);
    setItemDelegate(new PLOutlineViewCell(this));
    header()->setStretchLastSection(true);
}

void PLDocumentOutlineView::mousePressEvent(QMouseEvent *event)
{
    QTreeView::mousePressEvent(event);
    if (event->button() == Qt::LeftButton)
        reportNodeAt(indexAt(event->position().toPoint()));
}

void PLDocumentOutlineView::keyPressEvent(QKeyEvent *event)
{
    // Return does from the keyboard what a click does.
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && currentIndex().isValid()) {
        reportNodeAt(currentIndex());
        return;
    }
    QTreeView::keyPressEvent(event);
}

void PLDocumentOutlineView::reportNodeAt(const QModelIndex &index)
{
    const auto *outline = qobject_cast<const PLDocumentOutlineItemModel *>(model());
    if (!index.isValid() || !outline || !m_delegate)
        return;
    if (const auto node = outline->nodeForIndex(index))
        m_delegate->documentOutlineViewDidSelectOutlineNode(this, node);
}

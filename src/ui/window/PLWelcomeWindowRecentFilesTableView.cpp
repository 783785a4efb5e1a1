#include "ui/window/PLWelcomeWindowRecentFilesTableView.h"

#include "ui/window/PLWelcomeWindowMainViewController.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>

PLWelcomeWindowRecentFilesTableView::PLWelcomeWindowRecentFilesTableView(QWidget *parent) : QTableView(parent)
{
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setShowGrid(false);
    setWordWrap(false);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    horizontalHeader()->hide();
    horizontalHeader()->setStretchLastSection(true);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(46);
    connect(this, &QAbstractItemView::doubleClicked, this,
            [this](const QModelIndex &index) { openSelectedRecentURL(index.row()); });
}

int PLWelcomeWindowRecentFilesTableView::selectedRow() const
{
    const QModelIndexList rows = selectionModel() ? selectionModel()->selectedRows() : QModelIndexList();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void PLWelcomeWindowRecentFilesTableView::openSelectedRecentURL(int clickedRow)
{
    if (m_delegate)
        m_delegate->tableViewDidDoubleClickOnRow(this, clickedRow);
}

void PLWelcomeWindowRecentFilesTableView::keyPressEvent(QKeyEvent *event)
{
    if (m_delegate && m_delegate->keyDown(event))
        return;
    QTableView::keyPressEvent(event);
}

void PLWelcomeWindowRecentFilesTableView::paintEvent(QPaintEvent *event)
{
    QTableView::paintEvent(event);
    if (model() && model()->rowCount() > 0)
        return;
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::Disabled, QPalette::Text));
    painter.drawText(viewport()->rect(), Qt::AlignCenter, tr("No recent projects"));
}

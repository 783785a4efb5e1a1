#include "ui/window/PLQuickOpenWindowController.h"

#include "core/latex/PLDocumentOutlineViewDataSource.h"
#include "core/latex/PLOutlineNode.h"
#include "core/latex/PLQuickOpenManager.h"
#include "ui/window/PLResourceImage.h"

#include <QEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {
const int rowHeight = 25;
}

void PLQuickOpenSearchField::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Down || event->key() == Qt::Key_Up) {
        emit moveSelection(event->key() == Qt::Key_Down ? 1 : -1);
        return;
    }
    QLineEdit::keyPressEvent(event);
}

PLQuickOpenWindowController::PLQuickOpenWindowController(PLQuickOpenManager *quickOpenManager, QObject *parent)
    : XSWindowController(QStringLiteral("PLQuickOpenWindow"), parent), m_quickOpenManager(quickOpenManager)
{
}

PLQuickOpenWindowController::~PLQuickOpenWindowController()
{
    if (isWindowLoaded())
        delete window();
}

QWidget *PLQuickOpenWindowController::loadWindow()
{
    auto *window = new QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint);
    window->setObjectName(windowNibName());
    window->setWindowTitle(tr("Open Quickly"));
    window->resize(420, 300);
    window->installEventFilter(this);
    auto *layout = new QVBoxLayout(window);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->setSpacing(4);

    m_quickOpenTextField = new PLQuickOpenSearchField(window);
    m_quickOpenTextField->setObjectName(QStringLiteral("quickOpenTextField"));
    m_quickOpenTextField->setPlaceholderText(tr("File or heading"));
    m_quickOpenTextField->setClearButtonEnabled(true);
    m_quickOpenTextField->installEventFilter(this);
    connect(m_quickOpenTextField, &QLineEdit::textChanged, this, &PLQuickOpenWindowController::search);
    connect(m_quickOpenTextField, &QLineEdit::returnPressed, this, &PLQuickOpenWindowController::open);
    connect(m_quickOpenTextField, &PLQuickOpenSearchField::moveSelection, this, [this](int step) {
        const int row = m_searchResults->currentRow() + step;
        if (row >= 0 && row < m_searchResults->rowCount())
            m_searchResults->selectRow(row);
    });

    m_searchResults = new QTableWidget(0, 1, window);
    m_searchResults->setObjectName(QStringLiteral("searchResults"));
    m_searchResults->setHorizontalHeaderItem(0, new QTableWidgetItem(QStringLiteral("navigateToColumn")));
    m_searchResults->horizontalHeader()->hide();
    m_searchResults->horizontalHeader()->setStretchLastSection(true);
    m_searchResults->verticalHeader()->hide();
    m_searchResults->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_searchResults->verticalHeader()->setDefaultSectionSize(rowHeight);
    m_searchResults->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_searchResults->setSelectionMode(QAbstractItemView::SingleSelection);
    m_searchResults->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_searchResults->setShowGrid(false);
    m_searchResults->setFocusPolicy(Qt::NoFocus);
    connect(m_searchResults, &QTableWidget::cellDoubleClicked, this, &PLQuickOpenWindowController::open);

    layout->addWidget(m_quickOpenTextField);
    layout->addWidget(m_searchResults, 1);
    return window;
}

PLQuickOpenSearchField *PLQuickOpenWindowController::quickOpenTextField()
{
    window();
    return m_quickOpenTextField;
}

QTableWidget *PLQuickOpenWindowController::searchResults()
{
    window();
    return m_searchResults;
}

void PLQuickOpenWindowController::showWindow(QWidget *over)
{
    QWidget *shown = window();
    m_over = over;
    if (over) {
        const QRect frame = over->frameGeometry();
        shown->move(frame.x() + frame.width() / 2 - shown->width() / 2, frame.y() + frame.height() / 2 - shown->height() / 2);
    }
    if (!m_shown) {
        XSWindowController::showWindow();
        m_shown = true;
    }
    m_quickOpenTextField->setFocus();
    m_quickOpenTextField->selectAll();
    if (!m_quickOpenTextField->text().isEmpty())
        search();
}

void PLQuickOpenWindowController::search()
{
    const QList<std::shared_ptr<PLOutlineNode>> &results = m_quickOpenManager->searchForString(m_quickOpenTextField->text());
    // The sidebar's icons; a data source without a file treats every root as an included file.
    const PLDocumentOutlineViewDataSource icons(nullptr);
    m_searchResults->setUpdatesEnabled(false);
    m_searchResults->setRowCount(int(results.size()));
    for (int row = 0; row < results.size(); ++row) {
        const PLOutlineNode *node = results.at(row).get();
        auto *item = new QTableWidgetItem(node->escapedName());
        const QString icon = icons.iconResourceNameForItem(node);
        if (!icon.isEmpty()) {
            auto cached = m_icons.find(icon);
            if (cached == m_icons.end())
                cached = m_icons.insert(icon, QIcon(PLResourceImage(icon)));
            item->setIcon(*cached);
        }
        m_searchResults->setItem(row, 0, item);
    }
    m_searchResults->clearSelection();
    m_searchResults->setCurrentCell(-1, -1);
    m_searchResults->setUpdatesEnabled(true);
}

void PLQuickOpenWindowController::open()
{
    const QList<std::shared_ptr<PLOutlineNode>> &results = m_quickOpenManager->searchResultsFromLastSearch();
    const int row = m_searchResults->selectionModel()->hasSelection() ? m_searchResults->currentRow() : -1;
    if (row < 0 || row >= results.size())
        return;
    const std::shared_ptr<PLOutlineNode> node = results.at(row);
    dismiss();
    emit didChooseOutlineNode(node);
}

void PLQuickOpenWindowController::fadeWindowOut()
{
    m_shown = false;
    if (isWindowLoaded())
        window()->close();
}

void PLQuickOpenWindowController::dismiss()
{
    fadeWindowOut();
    if (m_over)
        m_over->activateWindow();
}

bool PLQuickOpenWindowController::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_quickOpenTextField && event->type() == QEvent::KeyPress
        && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape) {
        dismiss();
        return true;
    }
    if (isWindowLoaded() && watched == window() && event->type() == QEvent::WindowDeactivate && m_shown)
        fadeWindowOut();
    return XSWindowController::eventFilter(watched, event);
}

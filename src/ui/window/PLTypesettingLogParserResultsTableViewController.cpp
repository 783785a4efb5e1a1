#include "ui/window/PLTypesettingLogParserResultsTableViewController.h"

#include "core/foundation/PLDictionaryKeys.h"
#include "core/document/PLDocument.h"
#include "core/project/PLFile.h"
#include "core/typesetting/PLLatexTransformer.h"
#include "core/typesetting/PLLogItem.h"
#include "core/typesetting/PLLogStringParser.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "ui/window/PLResourceImage.h"
#include "ui/window/PLTitleBarButton.h"
#include "ui/window/PLTitleBarView.h"
#include "ui/typesetting/PLTypesetterProgressViewController.h"
#include "core/typesetting/PLTypesettingLogFileParser.h"

#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPixmap>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
enum Column { DescriptionColumn, FileNameColumn, LineNumberColumn };
// Far beyond the log of any document that stops at its first errors.
constexpr qint64 kMaximumLogSize = 4 * 1024 * 1024;
}

PLTypesettingLogParserResultsTableViewController::PLTypesettingLogParserResultsTableViewController(
    PLDocument *document, PLTypesetterProgressViewController *progress, XSWindowController *windowController, QObject *parent)
    : XSViewController(QStringLiteral("PLErrorsAndWarningsOutlineView"), windowController, parent), m_document(document),
      m_progress(progress)
{
    PLNotificationCenter::defaultCenter().addObserver(
        this, PLNotificationPdfTransformationDidFinish, nullptr, [this](const PLNotification &notification) {
            if (notification.userInfo().value(PLDictionaryKeyDocument).value<QObject *>() == m_document)
                reloadData();
        });
}

PLTypesettingLogParserResultsTableViewController::~PLTypesettingLogParserResultsTableViewController()
{
    PLNotificationCenter::defaultCenter().removeObserver(this);
}

void PLTypesettingLogParserResultsTableViewController::removeObservations()
{
    PLNotificationCenter::defaultCenter().removeObserver(this);
    XSViewController::removeObservations();
}

QTreeWidget *PLTypesettingLogParserResultsTableViewController::errorOutlineTableView()
{
    view();
    return m_errorOutlineTableView;
}

QWidget *PLTypesettingLogParserResultsTableViewController::loadView()
{
    auto *view = new QWidget;
    view->setObjectName(nibName());
    auto *layout = new QVBoxLayout(view);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    m_titleBarView = new PLTitleBarView(view);
    auto *bar = m_titleBarView->makeRowLayout(8);
    auto *title = new QLabel(tr("Errors and Warnings"), m_titleBarView);
    bar->addWidget(title, 1);
    m_closeButton = new PLTitleBarButton(PLTitleBarButtonCell::CloseSplit, m_titleBarView);
    m_closeButton->setToolTip(tr("Hide the errors and warnings"));
    connect(m_closeButton, &QAbstractButton::clicked, this, [this] { emit hideView(this); });
    bar->addWidget(new PLTitleBarButton(PLTitleBarButtonCell::Separator, m_titleBarView));
    bar->addWidget(m_closeButton);
    layout->addWidget(m_titleBarView);

    m_errorOutlineTableView = new QTreeWidget(view);
    m_errorOutlineTableView->setObjectName(QStringLiteral("errorOutlineTableView"));
    m_errorOutlineTableView->setRootIsDecorated(false);
    m_errorOutlineTableView->setUniformRowHeights(true);
    m_errorOutlineTableView->setAlternatingRowColors(true);
    m_errorOutlineTableView->setFrameShape(QFrame::NoFrame);
    m_errorOutlineTableView->setHeaderLabels({tr("Description"), tr("File"), tr("Line")});
    m_errorOutlineTableView->header()->setStretchLastSection(false);
    m_errorOutlineTableView->header()->setSectionResizeMode(DescriptionColumn, QHeaderView::Stretch);
    m_errorOutlineTableView->header()->setSectionResizeMode(FileNameColumn, QHeaderView::Interactive);
    m_errorOutlineTableView->header()->setSectionResizeMode(LineNumberColumn, QHeaderView::ResizeToContents);
    m_errorOutlineTableView->setColumnWidth(FileNameColumn, 180);
    // A click on the row already selected opens its file again, so the click is followed, not
    // only the selection.
    connect(m_errorOutlineTableView, &QTreeWidget::itemClicked, this,
            [this](QTreeWidgetItem *item) { selectRow(m_errorOutlineTableView->indexOfTopLevelItem(item)); });
    connect(m_errorOutlineTableView, &QTreeWidget::itemActivated, this,
            [this](QTreeWidgetItem *item) { selectRow(m_errorOutlineTableView->indexOfTopLevelItem(item)); });
    connect(m_errorOutlineTableView, &QTreeWidget::currentItemChanged, this, &PLTypesettingLogParserResultsTableViewController::showAdvice);
    layout->addWidget(m_errorOutlineTableView, 1);

    m_adviceTextField = new QLabel(view);
    m_adviceTextField->setObjectName(QStringLiteral("adviceTextField"));
    m_adviceTextField->setWordWrap(true);
    m_adviceTextField->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_adviceTextField->setContentsMargins(8, 4, 8, 4);
    m_adviceTextField->setAutoFillBackground(true);
    m_adviceTextField->setBackgroundRole(QPalette::ToolTipBase);
    m_adviceTextField->setForegroundRole(QPalette::ToolTipText);
    m_adviceTextField->hide();
    layout->addWidget(m_adviceTextField);
    view->resize(view->width(), m_savedHeight);
    return view;
}

void PLTypesettingLogParserResultsTableViewController::reloadData()
{
    m_items.clear();
    if (const auto &parser = m_progress->logStringParser()) {
        m_items = parser->errorsFound();
        m_items += parser->warningsFound();
    }
    QTreeWidget *list = errorOutlineTableView();
    list->clear();
    const QIcon errorIcon(PLResourceImage(QStringLiteral("errorsAndWarningsTableViewErrorIcon.png")));
    const QIcon warningIcon(PLResourceImage(QStringLiteral("errorsAndWarningsTableViewWarningIcon.png")));
    for (const std::shared_ptr<PLLogItem> &item : std::as_const(m_items)) {
        auto *row = new QTreeWidgetItem(list);
        row->setText(DescriptionColumn, item->message().simplified());
        row->setToolTip(DescriptionColumn, item->message().trimmed());
        if (item->type() == PLLogItem::Error)
            row->setIcon(DescriptionColumn, errorIcon);
        else if (item->type() == PLLogItem::Warning)
            row->setIcon(DescriptionColumn, warningIcon);
        row->setText(FileNameColumn, QFileInfo(item->filePath()).fileName());
        row->setToolTip(FileNameColumn, item->filePath());
        // Line 0: the output did not say.
        if (item->line() > 0)
            row->setText(LineNumberColumn, QString::number(item->line()));
        row->setTextAlignment(LineNumberColumn, Qt::AlignRight | Qt::AlignVCenter);
    }
    list->clearSelection();
    list->setCurrentItem(nullptr);
    m_advice = adviceForLastJob();
    showAdvice();
}

QLabel *PLTypesettingLogParserResultsTableViewController::adviceTextField()
{
    view();
    return m_adviceTextField;
}

QList<PLTypesettingLogFileParserItem> PLTypesettingLogParserResultsTableViewController::adviceForLastJob() const
{
    const auto &transformer = m_progress->transformer();
    const std::shared_ptr<PLFile> mainFile = transformer ? transformer->documentFile() : nullptr;
    if (m_items.isEmpty() || !mainFile || mainFile->isUntitled())
        return {};
    // The engine's own log holds the messages the strategies know; its start is where they are.
    QFile log(mainFile->directoryOfFile() + mainFile->nameWithOutFileExtension() + QStringLiteral(".log"));
    if (!log.open(QIODevice::ReadOnly))
        return {};
    PLTypesettingLogFileParser parser(mainFile);
    parser.parseLogString(QString::fromUtf8(log.read(kMaximumLogSize)));
    QList<PLTypesettingLogFileParserItem> advice;
    for (const PLTypesettingLogFileParserItem &item : parser.items()) {
        if (!item.advice().trimmed().isEmpty())
            advice << item;
    }
    return advice;
}

void PLTypesettingLogParserResultsTableViewController::showAdvice()
{
    const std::shared_ptr<PLLogItem> selected =
        itemAtIndex(m_errorOutlineTableView->indexOfTopLevelItem(m_errorOutlineTableView->currentItem()));
    QStringList all;
    QStringList matching;
    for (const PLTypesettingLogFileParserItem &item : std::as_const(m_advice)) {
        const QString text = item.advice().trimmed();
        if (!all.contains(text))
            all << text;
        // The strategies name files as the engine wrote them, or not at all.
        const bool sameFile = item.filename().isEmpty() ||
                              QFileInfo(item.filename()).fileName() == QFileInfo(selected ? selected->filePath() : QString()).fileName();
        if (selected && item.line() == selected->line() && sameFile && !matching.contains(text))
            matching << text;
    }
    const QStringList &shown = matching.isEmpty() ? all : matching;
    m_adviceTextField->setText(shown.join(u'\n'));
    m_adviceTextField->setVisible(!shown.isEmpty());
}

std::shared_ptr<PLLogItem> PLTypesettingLogParserResultsTableViewController::itemAtIndex(int row) const
{
    return row >= 0 && row < m_items.size() ? m_items.at(row) : nullptr;
}

void PLTypesettingLogParserResultsTableViewController::selectRow(int row)
{
    if (const std::shared_ptr<PLLogItem> item = itemAtIndex(row))
        emit didSelectItem(this, item);
}

void PLTypesettingLogParserResultsTableViewController::displayErrorsAndWarningsOutline()
{
    emit displayView(this);
}

void PLTypesettingLogParserResultsTableViewController::toggleErrorsAndWarningsOutline()
{
    if (isViewLoaded() && !view()->isHidden())
        emit hideView(this);
    else
        emit displayView(this);
}

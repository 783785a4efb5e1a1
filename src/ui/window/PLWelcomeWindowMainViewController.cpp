#include "ui/window/PLWelcomeWindowMainViewController.h"

#include "ui/app/PLDocumentController.h"
#include "ui/window/PLItemDelegate.h"
#include "core/foundation/PLLogging.h"
#include "ui/window/PLWelcomeWindowController.h"
#include "ui/window/PLWelcomeWindowRecentFilesTableView.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QStandardItemModel>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
constexpr int FolderRole = Qt::UserRole + 1;

// A recent project as two lines: the file name, and below it the folder it lives in.
class RecentFileDelegate : public PLItemDelegate
{
public:
    using PLItemDelegate::PLItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        drawItemBackground(painter, option, index);

        const bool selected = option.state & QStyle::State_Selected;
        const QRect area = option.rect.adjusted(10, 0, -10, 0);
        const QIcon icon = index.data(Qt::DecorationRole).value<QIcon>();
        const QRect iconRect(area.left(), area.top() + (area.height() - 28) / 2, 28, 28);
        icon.paint(painter, iconRect);

        const QRect textRect = area.adjusted(38, 5, 0, -5);
        QFont nameFont = option.font;
        nameFont.setBold(true);
        const QFontMetrics nameMetrics(nameFont);
        painter->save();
        painter->setFont(nameFont);
        painter->setPen(option.palette.color(selected ? QPalette::HighlightedText : QPalette::Text));
        const QString name = nameMetrics.elidedText(index.data(Qt::DisplayRole).toString(), Qt::ElideMiddle, textRect.width());
        painter->drawText(textRect, Qt::AlignLeft | Qt::AlignTop, name);

        QFont folderFont = option.font;
        folderFont.setPointSizeF(option.font.pointSizeF() * 0.9);
        painter->setFont(folderFont);
        QColor folderColour = option.palette.color(selected ? QPalette::HighlightedText : QPalette::Text);
        folderColour.setAlphaF(0.6f);
        painter->setPen(folderColour);
        const QString folder = QFontMetrics(folderFont).elidedText(index.data(FolderRole).toString(), Qt::ElideMiddle, textRect.width());
        painter->drawText(textRect, Qt::AlignLeft | Qt::AlignBottom, folder);
        painter->restore();
    }

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        return QSize(QStyledItemDelegate::sizeHint(option, index).width(), 46);
    }
};

// A folder shown the way file managers show it: the home folder as "~".
QString displayedFolder(const QUrl &url)
{
    const QString folder = QFileInfo(url.toLocalFile()).absolutePath();
    const QString home = QDir::homePath();
    if (folder == home)
        return QStringLiteral("~");
    if (folder.startsWith(home + QLatin1Char('/')))
        return QStringLiteral("~") + folder.mid(home.size());
    return folder;
}

QToolButton *welcomeButton(const QString &text, const QString &iconName, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setText(text);
    button->setIcon(QIcon(QStringLiteral(":/ui/") + iconName));
    button->setIconSize(QSize(24, 24));
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setAutoRaise(true);
    button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    button->setMinimumHeight(36);
    return button;
}
}

PLWelcomeWindowMainViewController::PLWelcomeWindowMainViewController(PLWelcomeWindowController *windowController)
    : XSViewController(QStringLiteral("PLWelcomeWindowMainView"), windowController),
      m_recentFileURLS(windowController->documentController()->recentDocumentURLs())
{
}

PLWelcomeWindowMainViewController::~PLWelcomeWindowMainViewController() = default;

QString PLWelcomeWindowMainViewController::objectValueForRow(int row) const
{
    const QString absolute = m_recentFileURLS.at(row).toString(QUrl::FullyEncoded);
    return QUrl::fromPercentEncoding(absolute.section(QLatin1Char('/'), -1).toUtf8());
}

PLWelcomeWindowController *PLWelcomeWindowMainViewController::welcomeWindowController() const
{
    return static_cast<PLWelcomeWindowController *>(windowController());
}

QWidget *PLWelcomeWindowMainViewController::loadView()
{
    auto *view = new QWidget;
    view->setObjectName(nibName());
    auto *columns = new QHBoxLayout(view);
    columns->setContentsMargins(0, 0, 0, 0);
    columns->setSpacing(0);

    auto *intro = new QWidget(view);
    intro->setFixedWidth(300);
    intro->setAutoFillBackground(true);
    QPalette introPalette = intro->palette();
    introPalette.setColor(QPalette::Window, introPalette.color(QPalette::Base));
    intro->setPalette(introPalette);
    auto *introLayout = new QVBoxLayout(intro);
    introLayout->setContentsMargins(28, 36, 28, 28);
    introLayout->setSpacing(4);

    auto *logo = new QLabel(intro);
    logo->setPixmap(QIcon(QStringLiteral(":/ui/plumeo.svg")).pixmap(QSize(96, 96), view->devicePixelRatioF()));
    logo->setAlignment(Qt::AlignHCenter);
    auto *title = new QLabel(tr("Plumeo"), intro);
    QFont titleFont = title->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.9);
    titleFont.setBold(true);
    title->setFont(titleFont);
    title->setAlignment(Qt::AlignHCenter);
    auto *version = new QLabel(tr("Version %1").arg(QApplication::applicationVersion()), intro);
    version->setAlignment(Qt::AlignHCenter);
    version->setEnabled(false);

    QToolButton *newProject = welcomeButton(tr("New Project"), QStringLiteral("document-new.svg"), intro);
    QToolButton *openFile = welcomeButton(tr("Open Another File…"), QStringLiteral("document-open.svg"), intro);
    QToolButton *gettingStarted = welcomeButton(tr("Getting Started with Plumeo"), QStringLiteral("getting-started.svg"), intro);
    connect(newProject, &QToolButton::clicked, this, &PLWelcomeWindowMainViewController::makeUntitledDocument);
    connect(openFile, &QToolButton::clicked, this, &PLWelcomeWindowMainViewController::openAnotherFile);
    connect(gettingStarted, &QToolButton::clicked, this, &PLWelcomeWindowMainViewController::gettingStartedWithPlumeo);

    introLayout->addWidget(logo);
    introLayout->addSpacing(8);
    introLayout->addWidget(title);
    introLayout->addWidget(version);
    introLayout->addStretch(1);
    introLayout->addWidget(newProject);
    introLayout->addWidget(openFile);
    introLayout->addWidget(gettingStarted);

    auto *separator = new QFrame(view);
    separator->setFrameShape(QFrame::VLine);
    separator->setFrameShadow(QFrame::Plain);
    separator->setForegroundRole(QPalette::Mid);

    auto *recent = new QWidget(view);
    auto *recentLayout = new QVBoxLayout(recent);
    recentLayout->setContentsMargins(20, 20, 20, 20);
    recentLayout->setSpacing(8);
    auto *recentTitle = new QLabel(tr("Recent Projects"), recent);
    QFont recentTitleFont = recentTitle->font();
    recentTitleFont.setBold(true);
    recentTitle->setFont(recentTitleFont);

    m_recentFilesModel = new QStandardItemModel(this);
    const QIcon documentIcon(QStringLiteral(":/ui/tex-document.svg"));
    for (int row = 0; row < numberOfRowsInTableView(); ++row) {
        auto *item = new QStandardItem(documentIcon, objectValueForRow(row));
        item->setData(displayedFolder(m_recentFileURLS.at(row)), FolderRole);
        item->setToolTip(m_recentFileURLS.at(row).toLocalFile());
        m_recentFilesModel->appendRow(item);
    }
    m_recentFilesTableView = new PLWelcomeWindowRecentFilesTableView(recent);
    m_recentFilesTableView->setModel(m_recentFilesModel);
    m_recentFilesTableView->setItemDelegate(new RecentFileDelegate(m_recentFilesTableView));
    m_recentFilesTableView->setDelegate(this);
    m_recentFilesTableView->setIconSize(QSize(28, 28));

    recentLayout->addWidget(recentTitle);
    recentLayout->addWidget(m_recentFilesTableView, 1);

    columns->addWidget(intro);
    columns->addWidget(separator);
    columns->addWidget(recent, 1);

    // The keys of the File menu, which this window has none of.
    const auto addShortcut = [this, view](QKeySequence::StandardKey key, void (PLWelcomeWindowMainViewController::*choice)()) {
        auto *action = new QAction(view);
        action->setShortcut(key);
        connect(action, &QAction::triggered, this, choice);
        view->addAction(action);
    };
    addShortcut(QKeySequence::New, &PLWelcomeWindowMainViewController::makeUntitledDocument);
    addShortcut(QKeySequence::Open, &PLWelcomeWindowMainViewController::openAnotherFile);
    return view;
}

void PLWelcomeWindowMainViewController::awakeFromNib()
{
    if (m_recentFilesModel->rowCount() > 0)
        m_recentFilesTableView->selectRow(0);
    m_recentFilesTableView->setFocus();
}

void PLWelcomeWindowMainViewController::makeUntitledDocument()
{
    welcomeWindowController()->documentController()->openUntitledDocumentAndDisplay(true);
    closeWindowUnlessNothingOpened();
}

void PLWelcomeWindowMainViewController::openAnotherFile()
{
    welcomeWindowController()->close();
    welcomeWindowController()->documentController()->openDocument();
    closeWindowUnlessNothingOpened();
}

void PLWelcomeWindowMainViewController::gettingStartedWithPlumeo()
{
}

void PLWelcomeWindowMainViewController::tableViewDidDoubleClickOnRow(PLWelcomeWindowRecentFilesTableView *, int row)
{
    if (openItemInRecentItemsListAtRow(row))
        closeWindowUnlessNothingOpened();
}

bool PLWelcomeWindowMainViewController::keyDown(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter)
        return false;
    if (openItemInRecentItemsListAtRow(m_recentFilesTableView->selectedRow()))
        closeWindowUnlessNothingOpened();
    return true;
}

void PLWelcomeWindowMainViewController::closeWindowUnlessNothingOpened()
{
    // A desktop application without a window cannot be reached again: when the choice opened
    // nothing (the dialog was cancelled, the file is gone), the welcome window stays.
    if (welcomeWindowController()->documentController()->documents().isEmpty())
        welcomeWindowController()->showWindow();
    else
        welcomeWindowController()->close();
}

bool PLWelcomeWindowMainViewController::openItemInRecentItemsListAtRow(int row)
{
    if (row < 0 || row >= numberOfRowsInTableView())
        return false;
    welcomeWindowController()->close();
    PLDocument *document = welcomeWindowController()->documentController()->openDocumentWithContentsOfURL(m_recentFileURLS.at(row), true);
    qCInfo(lcUi) << "opened recent document" << document;
    return true;
}

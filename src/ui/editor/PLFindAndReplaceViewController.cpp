#include "PLFindAndReplaceViewController.h"

#include "PLFindAndReplaceViews.h"
#include "PLMainMenu.h"
#include "PLResourceImage.h"
#include "PLTextSearch.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>

PLFindAndReplaceViewController::PLFindAndReplaceViewController(XSWindowController *windowController, QObject *parent)
    : XSViewController(QStringLiteral("PLFindAndReplaceView"), windowController, parent)
{
    setActionHandler(PLAction::PerformFindPanelAction, [this](QAction *sender) { performFindAndReplaceAction(PLMainMenu::tagOfItem(sender)); });
    qApp->installEventFilter(this);
}

PLFindAndReplaceViewController::~PLFindAndReplaceViewController() = default;

QLineEdit *PLFindAndReplaceViewController::findTextField()
{
    view();
    return m_findTextField;
}

QLineEdit *PLFindAndReplaceViewController::replaceTextField()
{
    view();
    return m_replaceTextField;
}

QPushButton *PLFindAndReplaceViewController::replaceButton()
{
    view();
    return m_replaceButton;
}

PLFindAndReplaceButton *PLFindAndReplaceViewController::closeButton()
{
    view();
    return m_closeButton;
}

PLFindAndReplaceButton *PLFindAndReplaceViewController::findNextButton()
{
    view();
    return m_findNextButton;
}

PLFindAndReplaceButton *PLFindAndReplaceViewController::findPreviousButton()
{
    view();
    return m_findPreviousButton;
}

QToolButton *PLFindAndReplaceViewController::searchOptionsButton()
{
    view();
    return m_searchOptionsButton;
}

QLabel *PLFindAndReplaceViewController::searchResultsCountLabel()
{
    view();
    return m_searchResultsCountLabel;
}

void PLFindAndReplaceViewController::refreshCountLabel()
{
    m_searchResultsCountLabel->setText(QString::asprintf("%d", m_searchResultsCountFromLastSearch));
}

QWidget *PLFindAndReplaceViewController::loadView()
{
    auto *view = new PLFindAndReplaceBackgroundView;
    view->setObjectName(QStringLiteral("PLFindAndReplaceView"));
    auto *layout = new QHBoxLayout(view);
    layout->setContentsMargins(6, 4, 5, 4);
    layout->setSpacing(6);

    // Searches always ignore case and cover the shown file; the options only show that.
    m_searchOptionsButton = new QToolButton(view);
    m_searchOptionsButton->setObjectName(QStringLiteral("searchOptionsButton"));
    m_searchOptionsButton->setFocusPolicy(Qt::NoFocus);
    m_searchOptionsButton->setAutoRaise(true);
    m_searchOptionsButton->setPopupMode(QToolButton::InstantPopup);
    m_searchOptionsButton->setIcon(view->style()->standardIcon(QStyle::SP_FileDialogDetailedView));
    auto *options = new QMenu(QStringLiteral("Search settings menu"), m_searchOptionsButton);
    options->addAction(QStringLiteral("Search entire document"));
    options->addAction(QStringLiteral("Search current file"));
    options->addSeparator();
    options->addAction(QStringLiteral("Ignore case"));
    m_searchOptionsButton->setMenu(options);
    m_searchResultsCountLabel = new QLabel(view);
    m_searchResultsCountLabel->setObjectName(QStringLiteral("searchResultsCountLabel"));
    refreshCountLabel();

    m_findTextField = new QLineEdit(view);
    m_findTextField->setObjectName(QStringLiteral("findTextField"));
    m_findTextField->setPlaceholderText(tr("Find"));
    m_findTextField->setClearButtonEnabled(true);
    m_replaceTextField = new QLineEdit(view);
    m_replaceTextField->setObjectName(QStringLiteral("replaceTextField"));
    m_replaceTextField->setPlaceholderText(tr("Replace"));

    m_replaceButton = new QPushButton(view);
    m_replaceButton->setObjectName(QStringLiteral("replaceButton"));
    m_replaceButton->setFocusPolicy(Qt::NoFocus);
    connect(m_replaceButton, &QPushButton::clicked, this, &PLFindAndReplaceViewController::replace);
    flagsChanged(Qt::NoModifier);

    // The two find buttons sit together at the bar's right edge, previous before next.
    const auto makeFindButton = [this, view](qint32 direction) {
        PLFindAndReplaceButton *button = PLFindAndReplaceButton::findButton(direction, view);
        button->setToolTip(direction == PLTextSearch::Forwards ? tr("Find next") : tr("Find previous"));
        connect(button, &QAbstractButton::clicked, this, [this, direction] { search(direction); });
        return button;
    };
    m_findPreviousButton = makeFindButton(PLTextSearch::Backwards);
    m_findPreviousButton->setObjectName(QStringLiteral("findPreviousButton"));
    m_findNextButton = makeFindButton(PLTextSearch::Forwards);
    m_findNextButton->setObjectName(QStringLiteral("findNextButton"));

    m_closeButton = new PLFindAndReplaceButton({QStringLiteral("findAndReplaceBackground.png"), QStringLiteral("findAndReplaceButtonClose.png")},
                                               {QStringLiteral("findAndReplaceButtonPressed.png"), QStringLiteral("findAndReplaceButtonClose.png")},
                                               view);
    m_closeButton->setObjectName(QStringLiteral("closeButton"));
    m_closeButton->setToolTip(tr("Hide the find bar"));
    connect(m_closeButton, &QAbstractButton::clicked, this, &PLFindAndReplaceViewController::hideFindAndReplacePanel);

    auto *separator = new QLabel(view);
    separator->setPixmap(PLResourceImage(QStringLiteral("findAndReplaceButtonSeparator.png")));
    layout->addWidget(m_closeButton);
    layout->addWidget(separator);
    layout->addWidget(m_searchOptionsButton);
    layout->addWidget(m_findTextField, 2);
    layout->addWidget(m_replaceTextField, 2);
    layout->addWidget(m_replaceButton);
    layout->addStretch(1);
    layout->addWidget(m_searchResultsCountLabel);
    layout->addWidget(m_findPreviousButton);
    layout->addWidget(m_findNextButton);
    return view;
}

bool PLFindAndReplaceViewController::isShown()
{
    return isViewLoaded() && !view()->isHidden();
}

void PLFindAndReplaceViewController::display()
{
    if (m_uiDelegate)
        m_uiDelegate->findAndReplaceViewControllerWillDisplayView(this, view());
    findTextField()->setFocus(Qt::ShortcutFocusReason);
    m_findTextField->selectAll();
}

void PLFindAndReplaceViewController::hideFindAndReplacePanel()
{
    if (m_uiDelegate)
        m_uiDelegate->findAndReplaceViewControllerWillHideView(this, view());
}

void PLFindAndReplaceViewController::performFindAndReplaceAction(int tag)
{
    switch (tag) {
    case ShowFind:
        display();
        break;
    case UseSelectionForFind: {
        // Asked before the bar takes the focus, while the selection is still the editor's.
        const QString selected = m_delegate ? m_delegate->findAndReplaceViewControllerDidRequestStringInSelectedRange(this) : QString();
        display();
        m_findTextField->setText(selected);
        m_findTextField->selectAll();
        break;
    }
    case FindNext:
    case FindPrevious:
        if (isShown())
            search(tag == FindNext ? PLTextSearch::Forwards : PLTextSearch::Backwards);
        break;
    default:
        break;
    }
}

void PLFindAndReplaceViewController::search(qint32 direction)
{
    if (m_delegate)
        m_delegate->findAndReplaceViewControllerDidSearchForString(this, findTextField()->text(), direction);
}

void PLFindAndReplaceViewController::replace()
{
    if (m_delegate)
        m_delegate->findAndReplaceViewControllerDidRequestStringReplacement(this, replaceTextField()->text());
}

void PLFindAndReplaceViewController::flagsChanged(Qt::KeyboardModifiers modifiers)
{
    if (!m_replaceButton)
        return;
    int tag = Replace;
    QString title = tr("replace");
    if (modifiers.testFlag(Qt::AltModifier) && modifiers.testFlag(Qt::ControlModifier)) {
        tag = ReplaceAndFind;
        title = tr("replace + find");
    } else if (modifiers.testFlag(Qt::AltModifier)) {
        tag = ReplaceAll;
        title = tr("replace all");
    }
    m_replaceButton->setText(title);
    m_replaceButton->setProperty("tag", tag);
    m_replaceButton->adjustSize();
}

bool PLFindAndReplaceViewController::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease)
        return XSViewController::eventFilter(watched, event);
    const auto *key = static_cast<QKeyEvent *>(event);
    if (key->key() == Qt::Key_Alt || key->key() == Qt::Key_Control) {
        // The event's modifiers may not yet count the key that changed, so it is set by hand.
        Qt::KeyboardModifiers modifiers = key->modifiers();
        modifiers.setFlag(key->key() == Qt::Key_Alt ? Qt::AltModifier : Qt::ControlModifier, event->type() == QEvent::KeyPress);
        flagsChanged(modifiers);
        return false;
    }
    if (event->type() == QEvent::KeyPress && (watched == m_findTextField || watched == m_replaceTextField)) {
        if (key->key() == Qt::Key_Escape) {
            hideFindAndReplacePanel();
            return true;
        }
        if (watched == m_findTextField && (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter)) {
            search(PLTextSearch::Forwards);
            return true;
        }
    }
    return XSViewController::eventFilter(watched, event);
}

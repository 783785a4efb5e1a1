#include "ui/editor/PLFindAndReplaceViewController.h"

#include "ui/editor/PLFindAndReplaceViews.h"
#include "ui/app/PLMainMenu.h"
#include "ui/window/PLResourceImage.h"
#include "core/editor/PLTextSearch.h"

#include <QApplication>
#include <QFontInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>

namespace {
// The find buttons: the next one this far from the bar's right edge and from its top, the
// previous one just left of it, the two sharing one pixel of border.
constexpr int kFindButtonRightMargin = 5;
constexpr int kFindButtonTop = 8;
constexpr int kFindButtonOverlap = 1;
constexpr int kLayoutSpacing = 6;
// How far below the options button the settings menu may start.
constexpr int kSettingsMenuDrop = 55;
// The settings menu's small font, relative to the menu font.
constexpr qreal kSmallFontScale = 11.0 / 13.0;
}

PLFindAndReplaceViewController::PLFindAndReplaceViewController(XSWindowController *windowController, QObject *parent)
    : XSViewController(QStringLiteral("PLFindAndReplaceView"), windowController, parent)
{
    setActionHandler(PLAction::PerformFindPanelAction,
                     [this](QAction *sender) { performFindAndReplaceAction(PLMainMenu::tagOfItem(sender)); });
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

QMenu *PLFindAndReplaceViewController::searchOptionsMenu()
{
    view();
    return m_searchOptionsMenu;
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
    layout->setSpacing(kLayoutSpacing);

    // Searches always ignore case and cover the shown file; the options only show that.
    m_searchOptionsButton = new QToolButton(view);
    m_searchOptionsButton->setObjectName(QStringLiteral("searchOptionsButton"));
    m_searchOptionsButton->setFocusPolicy(Qt::NoFocus);
    m_searchOptionsButton->setAutoRaise(true);
    m_searchOptionsButton->setPopupMode(QToolButton::InstantPopup);
    m_searchOptionsButton->setIcon(view->style()->standardIcon(QStyle::SP_FileDialogDetailedView));
    // The menus are named by their object names too, since a submenu's title is its item's.
    auto *options = new QMenu(QStringLiteral("Search settings menu"), m_searchOptionsButton);
    options->setObjectName(options->title());
    // The first item's tag is 1 and the second has none: nothing reads them.
    options->addAction(QStringLiteral("Search entire document"))->setData(1);
    options->addAction(QStringLiteral("Search current file"));
    options->addSeparator();
    options->addAction(QStringLiteral("Ignore case"));
    m_searchOptionsButton->setMenu(options);
    buildSearchOptionsMenu(view);
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

    m_closeButton = new PLFindAndReplaceButton(
        {QStringLiteral("findAndReplaceBackground.png"), QStringLiteral("findAndReplaceButtonClose.png")},
        {QStringLiteral("findAndReplaceButtonPressed.png"), QStringLiteral("findAndReplaceButtonClose.png")}, view);
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
    // The find buttons are placed by hand at the right edge; the layout leaves them room.
    const int findButtonsWidth = 2 * m_findNextButton->sizeHint().width() - kFindButtonOverlap;
    layout->setContentsMargins(6, 4, kFindButtonRightMargin + findButtonsWidth + kLayoutSpacing, 4);
    view->setMinimumHeight(kFindButtonTop + m_findNextButton->sizeHint().height() + 4);
    view->installEventFilter(this);
    placeFindButtons();
    return view;
}

void PLFindAndReplaceViewController::placeFindButtons()
{
    const QSize size = m_findNextButton->sizeHint();
    m_findNextButton->setGeometry(
        QRect(QPoint(m_findNextButton->parentWidget()->width() - kFindButtonRightMargin - size.width(), kFindButtonTop), size));
    m_findPreviousButton->setGeometry(m_findNextButton->geometry().translated(-size.width() + kFindButtonOverlap, 0));
    // The next button's left border is drawn over the previous one's right border.
    m_findNextButton->raise();
}

void PLFindAndReplaceViewController::buildSearchOptionsMenu(QWidget *view)
{
    // Every item names what a search always does, so none of them needs an action.
    m_searchOptionsMenu = new QMenu(QStringLiteral("Search settings menu"), view);
    m_searchOptionsMenu->setObjectName(m_searchOptionsMenu->title());
    QFont small = m_searchOptionsMenu->font();
    small.setPointSizeF(QFontInfo(small).pointSizeF() * kSmallFontScale);
    m_searchOptionsMenu->setFont(small);
    m_searchOptionsMenu->addAction(QStringLiteral("Case insensitive"));
    m_searchOptionsMenu->addSeparator();
    m_searchScopeSubMenu = new QMenu(m_searchOptionsMenu);
    m_searchScopeSubMenu->setObjectName(QStringLiteral("Scope submenu"));
    m_searchScopeSubMenu->setFont(small);
    m_searchScopeSubMenu->addAction(QStringLiteral("Entire file"))->setData(0);
    m_searchScopeSubMenu->addAction(QStringLiteral("Selection"))->setData(1);
    QAction *scope = m_searchOptionsMenu->addAction(QStringLiteral("Scope"));
    scope->setMenu(m_searchScopeSubMenu);

    m_searchOptionsButton->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_searchOptionsButton, &QWidget::customContextMenuRequested, this, &PLFindAndReplaceViewController::popUpSearchOptionsMenu);
}

QRect PLFindAndReplaceViewController::confinementRectForMenu()
{
    const QPoint origin = searchOptionsButton()->mapToGlobal(QPoint(0, 0)) + QPoint(0, kSettingsMenuDrop);
    const QSize menu = m_searchOptionsMenu->sizeHint();
    const QSize submenu = m_searchScopeSubMenu->sizeHint();
    return QRect(origin, QSize(menu.width() + submenu.width(), menu.height() + submenu.height()));
}

void PLFindAndReplaceViewController::popUpSearchOptionsMenu()
{
    m_searchOptionsMenu->popup(confinementRectForMenu().topLeft());
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
    if (event->type() == QEvent::Resize && m_findNextButton && watched == m_findNextButton->parentWidget())
        placeFindButtons();
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

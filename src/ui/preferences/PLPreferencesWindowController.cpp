#include "ui/preferences/PLPreferencesWindowController.h"

#include "ui/preferences/PLPreferencesAdvancedViewController.h"
#include "ui/preferences/PLPreferencesAutoUpdaterViewController.h"
#include "ui/preferences/PLPreferencesPaneViewController.h"
#include "ui/preferences/PLPreferencesTextColorsViewController.h"
#include "ui/preferences/PLPreferencesToolbarItemIdentifiers.h"

#include <QAction>
#include <QActionGroup>
#include <QCloseEvent>
#include <QFrame>
#include <QGuiApplication>
#include <QIcon>
#include <QScreen>
#include <QToolBar>
#include <QVBoxLayout>
#include <QVariantAnimation>

#include <algorithm>

namespace {
struct ToolbarItem
{
    const QString &identifier;
    const char *title;
    const char *icon;
};

// Items without an icon belong to panes this build has no use for; they stay hidden.
const ToolbarItem toolbarItems[] = {
    {PLPrefencesToolbarItemIdentifierGeneral, QT_TRANSLATE_NOOP("PLPreferencesWindowController", "General"), nullptr},
    {PLPrefencesToolbarItemIdentifierFiles, QT_TRANSLATE_NOOP("PLPreferencesWindowController", "Files"), nullptr},
    {PLPrefencesToolbarItemIdentifierTextColor, QT_TRANSLATE_NOOP("PLPreferencesWindowController", "Text Colors"),
     ":/ui/preferences-text-colors.svg"},
    {PLPrefencesToolbarItemIdentifierEngine, QT_TRANSLATE_NOOP("PLPreferencesWindowController", "Engine"), nullptr},
    {PLPrefencesToolbarItemIdentifierAutoUpdater, QT_TRANSLATE_NOOP("PLPreferencesWindowController", "Updates"),
     ":/ui/preferences-updates.svg"},
    {PLPrefencesToolbarItemIdentifierAdvanced, QT_TRANSLATE_NOOP("PLPreferencesWindowController", "Advanced"),
     ":/ui/preferences-advanced.svg"},
    {PLPrefencesToolbarItemIdentifierPDFPreview, QT_TRANSLATE_NOOP("PLPreferencesWindowController", "PDF Preview"), nullptr},
};

constexpr int minimumWindowWidth = 600;
}

PLPreferencesWindowController::PLPreferencesWindowController(QObject *parent)
    : XSWindowController(QStringLiteral("PLPreferencesWindow"), parent)
{
}

PLPreferencesWindowController::~PLPreferencesWindowController() = default;

QStringList PLPreferencesWindowController::toolbarSelectableItemIdentifiers()
{
    QStringList identifiers;
    for (const ToolbarItem &item : toolbarItems)
        identifiers << item.identifier;
    return identifiers;
}

QWidget *PLPreferencesWindowController::loadWindow()
{
    auto *window = new QWidget(nullptr, Qt::Window);
    window->setObjectName(windowNibName());
    window->setWindowTitle(tr("Preferences"));
    window->installEventFilter(this);

    m_toolbar = new QToolBar(window);
    m_toolbar->setObjectName(QStringLiteral("toolbar"));
    m_toolbar->setMovable(false);
    m_toolbar->setFloatable(false);
    m_toolbar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    m_toolbar->setIconSize(QSize(32, 32));
    m_toolbarItems = new QActionGroup(window);
    m_toolbarItems->setExclusive(true);
    for (const ToolbarItem &item : toolbarItems) {
        QAction *action = m_toolbar->addAction(tr(item.title));
        action->setObjectName(item.identifier);
        action->setData(item.identifier);
        action->setCheckable(true);
        action->setVisible(false);
        if (item.icon)
            action->setIcon(QIcon(QString::fromLatin1(item.icon)));
        m_toolbarItems->addAction(action);
        connect(action, &QAction::triggered, this, [this, action] { selectPrefenceView(action); });
    }

    m_contentBox = new QWidget(window);
    m_contentBox->setObjectName(QStringLiteral("contentBox"));
    auto *boxLayout = new QVBoxLayout(m_contentBox);
    boxLayout->setContentsMargins(0, 0, 0, 0);

    auto *rule = new QFrame(window);
    rule->setFrameShape(QFrame::HLine);
    rule->setFrameShadow(QFrame::Sunken);

    auto *layout = new QVBoxLayout(window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    // The window's height follows the shown pane, set by the controller; the layout must not
    // impose the minimum of a pane that is still growing into view.
    layout->setSizeConstraint(QLayout::SetNoConstraint);
    layout->addWidget(m_toolbar);
    layout->addWidget(rule);
    layout->addWidget(m_contentBox, 1);

    auto *closeAction = new QAction(window);
    closeAction->setShortcuts({QKeySequence::Close, QKeySequence(Qt::Key_Escape)});
    connect(closeAction, &QAction::triggered, window, &QWidget::close);
    window->addAction(closeAction);

    m_resize = new QVariantAnimation(this);
    m_resize->setDuration(180);
    m_resize->setEasingCurve(QEasingCurve::OutCubic);
    connect(m_resize, &QVariantAnimation::valueChanged, window,
            [window](const QVariant &height) { window->setFixedHeight(height.toInt()); });
    return window;
}

void PLPreferencesWindowController::windowDidLoad()
{
    addViewController(new PLPreferencesAutoUpdaterViewController(this), PLPrefencesToolbarItemIdentifierAutoUpdater);
    addViewController(new PLPreferencesAdvancedViewController(this), PLPrefencesToolbarItemIdentifierAdvanced);
    addViewController(new PLPreferencesTextColorsViewController(this), PLPrefencesToolbarItemIdentifierTextColor);

    // One width for every pane, wide enough for the widest, so switching only changes the height.
    int width = std::max(minimumWindowWidth, m_toolbar->sizeHint().width());
    for (PLPreferencesPaneViewController *pane : std::as_const(m_viewControllers))
        width = std::max(width, pane->view()->sizeHint().width());
    window()->setFixedSize(width, window()->layout()->sizeHint().height());

    selectViewControllerWithIdentifier(PLPrefencesToolbarItemIdentifierTextColor);
}

void PLPreferencesWindowController::addViewController(PLPreferencesPaneViewController *viewController,
                                                      const QString &identifier)
{
    m_viewControllers.insert(identifier, viewController);
    addViewController(viewController);
    if (QAction *item = m_toolbar->findChild<QAction *>(identifier))
        item->setVisible(true);
}

PLPreferencesPaneViewController *PLPreferencesWindowController::viewControllerForIdentifier(const QString &identifier) const
{
    return m_viewControllers.value(identifier);
}

QToolBar *PLPreferencesWindowController::toolbar()
{
    window();
    return m_toolbar;
}

QWidget *PLPreferencesWindowController::contentBox()
{
    window();
    return m_contentBox;
}

QString PLPreferencesWindowController::selectedItemIdentifier() const
{
    const QAction *checked = m_toolbarItems ? m_toolbarItems->checkedAction() : nullptr;
    return checked ? checked->data().toString() : QString();
}

int PLPreferencesWindowController::targetHeight()
{
    if (m_resize && m_resize->state() == QAbstractAnimation::Running)
        return m_resize->endValue().toInt();
    return window()->height();
}

void PLPreferencesWindowController::selectPrefenceView(QAction *sender)
{
    selectViewControllerWithIdentifier(sender->data().toString());
    // A click on an item without a pane must not leave the toolbar pointing away from the
    // pane that is still shown.
    for (QAction *item : m_toolbarItems->actions())
        item->setChecked(m_shownViewController && m_viewControllers.value(item->data().toString()) == m_shownViewController);
}

void PLPreferencesWindowController::selectViewControllerWithIdentifier(const QString &identifier)
{
    PLPreferencesPaneViewController *controller = m_viewControllers.value(identifier);
    if (!controller || controller == m_shownViewController)
        return;
    QWidget *view = controller->view();
    if (!view)
        return;

    const float currentHeight = m_shownViewController ? float(preferredHeightOfPane(m_shownViewController->view())) : 0.0f;
    const float delta = float(preferredHeightOfPane(view)) - currentHeight;
    const int height = targetHeight() + qRound(delta);

    auto *boxLayout = static_cast<QVBoxLayout *>(m_contentBox->layout());
    if (m_shownViewController) {
        QWidget *shown = m_shownViewController->view();
        boxLayout->removeWidget(shown);
        shown->hide();
    }
    resizeWindowToHeight(height);
    view->setParent(m_contentBox);
    boxLayout->addWidget(view);
    view->show();
    if (QAction *item = m_toolbar->findChild<QAction *>(identifier))
        item->setChecked(true);
    m_shownViewController = controller;
}

int PLPreferencesWindowController::preferredHeightOfPane(QWidget *view)
{
    const int width = window()->width();
    return view->hasHeightForWidth() ? view->heightForWidth(width) : view->sizeHint().height();
}

void PLPreferencesWindowController::resizeWindowToHeight(int height)
{
    QWidget *shown = window();
    m_resize->stop();
    // The window keeps its top-left corner as it resizes, so its top edge stays in place.
    if (!shown->isVisible()) {
        shown->setFixedHeight(height);
        return;
    }
    m_resize->setStartValue(shown->height());
    m_resize->setEndValue(height);
    m_resize->start();
}

void PLPreferencesWindowController::showWindow()
{
    QWidget *shown = window();
    if (!m_placed) {
        m_placed = true;
        if (const QScreen *screen = QGuiApplication::primaryScreen()) {
            QRect frame = shown->geometry();
            frame.moveCenter(screen->availableGeometry().center());
            shown->move(frame.topLeft());
        }
    }
    XSWindowController::showWindow();
}

void PLPreferencesWindowController::close()
{
    if (isWindowLoaded())
        window()->close();
}

bool PLPreferencesWindowController::windowShouldClose()
{
    for (PLPreferencesPaneViewController *pane : std::as_const(m_viewControllers))
        pane->saveData();
    return true;
}

bool PLPreferencesWindowController::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Close && isWindowLoaded() && watched == window() && !windowShouldClose())
        event->ignore();
    return XSWindowController::eventFilter(watched, event);
}

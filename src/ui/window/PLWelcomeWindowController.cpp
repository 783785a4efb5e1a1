#include "ui/window/PLWelcomeWindowController.h"

#include "ui/window/PLResponderChain.h"
#include "ui/window/PLWelcomeWindowMainViewController.h"
#include "ui/window/PLWelcomeWindowRecentFilesTableView.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QScreen>
#include <QVBoxLayout>
#include <QWidget>

PLWelcomeWindowController::PLWelcomeWindowController(PLDocumentController *documentController, QObject *parent)
    : XSWindowController(QStringLiteral("PLWelcomeWindow"), parent), m_documentController(documentController)
{
}

PLWelcomeWindowController::~PLWelcomeWindowController() = default;

void PLWelcomeWindowController::close()
{
    if (isWindowLoaded())
        window()->hide();
}

QWidget *PLWelcomeWindowController::loadWindow()
{
    auto *window = new QWidget(nullptr, Qt::Window);
    window->setObjectName(windowNibName());
    window->setWindowTitle(tr("Welcome to Plumeo"));
    window->setFixedSize(760, 460);
    window->installEventFilter(this);

    auto *closeAction = new QAction(window);
    closeAction->setShortcuts({QKeySequence::Close, QKeySequence(Qt::Key_Escape)});
    connect(closeAction, &QAction::triggered, window, &QWidget::close);
    window->addAction(closeAction);
    auto *quitAction = new QAction(window);
    quitAction->setShortcut(QKeySequence::Quit);
    connect(quitAction, &QAction::triggered, this, [window] { PLResponderChain::sendAction(window, PLAction::Terminate, nullptr); });
    window->addAction(quitAction);
    // With no project open this is the only window from which to reach the preferences.
    auto *preferencesAction = new QAction(window);
    preferencesAction->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    connect(preferencesAction, &QAction::triggered, this,
            [window] { PLResponderChain::sendAction(window, PLAction::DisplayPreferences, nullptr); });
    window->addAction(preferencesAction);

    // Centred on the screen, as the window is meant to greet the user.
    if (const QScreen *screen = QGuiApplication::primaryScreen()) {
        QRect frame = window->geometry();
        frame.moveCenter(screen->availableGeometry().center());
        window->setGeometry(frame);
    }
    return window;
}

void PLWelcomeWindowController::windowDidLoad()
{
    m_mainViewController = new PLWelcomeWindowMainViewController(this);
    addViewController(m_mainViewController);
    auto *layout = new QVBoxLayout(window());
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_mainViewController->view());
}

bool PLWelcomeWindowController::eventFilter(QObject *watched, QEvent *event)
{
    // Opening choices hide the window; only the user's own close arrives as a close event.
    if (event->type() == QEvent::Close && isWindowLoaded() && watched == window())
        emit windowClosedByUser();
    // The list of recent projects takes the keys each time the window appears, so Return opens
    // the selected one at once; focus given while the window was being built does not last.
    if (event->type() == QEvent::Show && isWindowLoaded() && watched == window() && m_mainViewController)
        m_mainViewController->recentFilesTableView()->setFocus();
    return XSWindowController::eventFilter(watched, event);
}

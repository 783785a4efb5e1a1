#include "ui/app/PLApplicationController.h"

#include "ui/preferences/PLAboutPanel.h"
#include "core/document/PLDocument.h"
#include "ui/app/PLDocumentController.h"
#include "ui/app/PLDocumentWindowController.h"
#include "ui/preferences/PLPreferencesWindowController.h"
#include "ui/window/PLResponderChain.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"
#include "ui/window/PLWelcomeWindowController.h"

#include <QApplication>
#include <QFileInfo>
#include <QUrl>

PLApplicationController::PLApplicationController(QObject *parent)
    : QObject(parent), m_documentController(new PLDocumentController(this))
{
    // The application decides itself when to end: the welcome window stands in for a
    // window-less application.
    QApplication::setQuitOnLastWindowClosed(false);
    PLResponderChain::setApplicationResponders({this, m_documentController});
    connect(m_documentController, &PLDocumentController::documentAdded, this, [this] {
        if (m_welcomeWindowController)
            m_welcomeWindowController->close();
    });
    connect(m_documentController, &PLDocumentController::documentRemoved, this, [this] {
        if (!m_terminating && m_documentController->documents().isEmpty())
            displayWelcomeWindow();
    });

    setActionHandler(PLAction::DisplayWelcomeWindow, [this](QAction *) { displayWelcomeWindow(); });
    setActionHandler(PLAction::Terminate, [this](QAction *) { terminate(); });
    setActionHandler(PLAction::OrderFrontAboutPanel, [this](QAction *) { orderFrontAboutPanel(); });
    setActionHandler(PLAction::DisplayPreferences, [this](QAction *) { displayPreferences(); });
}

PLApplicationController::~PLApplicationController()
{
    delete m_aboutPanel;
    PLResponderChain::setApplicationResponders({});
}

void PLApplicationController::registerDefaults()
{
    PLUserDefaults::standardUserDefaults().registerDefaults(PLRegisteredUserDefaults());
}

PLWelcomeWindowController *PLApplicationController::welcomeWindowController()
{
    if (!m_welcomeWindowController) {
        m_welcomeWindowController = new PLWelcomeWindowController(m_documentController, this);
        connect(m_welcomeWindowController, &PLWelcomeWindowController::windowClosedByUser, this, [this] {
            if (m_documentController->documents().isEmpty())
                QCoreApplication::quit();
        });
    }
    return m_welcomeWindowController;
}

PLPreferencesWindowController *PLApplicationController::preferencesWindowController()
{
    if (!m_preferencesWindowController)
        m_preferencesWindowController = new PLPreferencesWindowController(this);
    return m_preferencesWindowController;
}

void PLApplicationController::applicationDidFinishLaunching(const QStringList &filesToOpen)
{
    for (const QString &path : filesToOpen)
        applicationOpenFile(path);
    if (m_documentController->documents().isEmpty())
        displayWelcomeWindow();
}

bool PLApplicationController::applicationOpenFile(const QString &path)
{
    PLError error;
    const QUrl url = QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath());
    if (m_documentController->openDocumentWithContentsOfURL(url, true, &error))
        return true;
    m_documentController->presentError(error, nullptr);
    return false;
}

void PLApplicationController::openFilesHandedOver(const QStringList &paths)
{
    bool opened = false;
    for (const QString &path : paths)
        opened = applicationOpenFile(path) || opened;
    if (opened)
        return;
    const auto &windowControllers = m_documentController->windowControllers();
    if (windowControllers.isEmpty())
        displayWelcomeWindow();
    else
        windowControllers.last()->showWindow();
}

void PLApplicationController::displayWelcomeWindow()
{
    welcomeWindowController()->showWindow();
}

void PLApplicationController::displayPreferences()
{
    preferencesWindowController()->showWindow();
}

void PLApplicationController::terminate()
{
    // Closing saves what the preferences still hold, such as a TeX folder being typed.
    if (m_preferencesWindowController)
        m_preferencesWindowController->close();
    m_terminating = true;
    if (m_documentController->closeAllDocuments()) {
        QCoreApplication::quit();
        return;
    }
    m_terminating = false;
}

void PLApplicationController::orderFrontAboutPanel()
{
    if (!m_aboutPanel) {
        m_aboutPanel = new PLAboutPanel;
        m_aboutPanel->setAttribute(Qt::WA_DeleteOnClose);
    }
    m_aboutPanel->show();
    m_aboutPanel->raise();
    m_aboutPanel->activateWindow();
}

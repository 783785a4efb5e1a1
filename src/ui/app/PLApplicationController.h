#pragma once

#include "ui/window/PLResponder.h"

#include <QObject>
#include <QPointer>
#include <QStringList>

class PLAboutPanel;
class PLDocumentController;
class PLPreferencesWindowController;
class PLWelcomeWindowController;

// The application's delegate: registers the defaults before any window exists, opens the files
// it is given and shows the welcome window whenever no project is open.
// A Linux desktop offers no way back into an application without a window, so closing the
// welcome window with no project open quits.
class PLApplicationController : public QObject, public PLResponder
{
    Q_OBJECT

public:
    explicit PLApplicationController(QObject *parent = nullptr);
    ~PLApplicationController() override;

    // Registers every default setting; called before the first window is made.
    static void registerDefaults();

    PLDocumentController *documentController() const { return m_documentController; }
    // Made on first use and kept.
    PLWelcomeWindowController *welcomeWindowController();
    PLPreferencesWindowController *preferencesWindowController();

    // Opens the files given at launch; shows the welcome window when none became a document.
    void applicationDidFinishLaunching(const QStringList &filesToOpen);
    bool applicationOpenFile(const QString &path);
    // Files a later launch handed over: each opens here, or brings its window forward when it is
    // open already. With none, the newest project window (or the welcome window) comes forward.
    void openFilesHandedOver(const QStringList &paths);
    void displayWelcomeWindow();
    void displayPreferences();
    void orderFrontAboutPanel();
    // Asks about every project with unsaved changes, then quits unless the user cancelled.
    void terminate();

private:
    PLDocumentController *m_documentController;
    PLWelcomeWindowController *m_welcomeWindowController = nullptr;
    PLPreferencesWindowController *m_preferencesWindowController = nullptr;
    QPointer<PLAboutPanel> m_aboutPanel;
    bool m_terminating = false;
};

#pragma once

#include "core/foundation/PLError.h"
#include "ui/window/PLResponder.h"

#include <QList>
#include <QObject>
#include <QUrl>

class PLDocument;
class PLDocumentWindowController;
class QWidget;

// Plumeo's document controller: it opens projects (from a path, from the open dialog, or new
// and untitled), keeps one window per project, remembers the recently opened projects and takes
// every window through the unsaved-changes question before the application quits.
class PLDocumentController : public QObject, public PLResponder
{
    Q_OBJECT
    Q_MOC_INCLUDE("core/document/PLDocument.h")

public:
    explicit PLDocumentController(QObject *parent = nullptr);
    ~PLDocumentController() override;

    static constexpr int maximumRecentDocumentCount = 10;

    QList<PLDocument *> documents() const;
    const QList<PLDocumentWindowController *> &windowControllers() const { return m_windowControllers; }
    PLDocumentWindowController *windowControllerForDocument(const PLDocument *document) const;

    // Opens the project at the URL, or brings forward its window when it is open already.
    PLDocument *openDocumentWithContentsOfURL(const QUrl &url, bool display, PLError *error = nullptr);
    PLDocument *openUntitledDocumentAndDisplay(bool display, PLError *error = nullptr);
    // Runs the open dialog and opens every file chosen.
    void openDocument();

    // The recently opened projects, most recent first.
    QList<QUrl> recentDocumentURLs() const;
    void noteNewRecentDocumentURL(const QUrl &url);
    void clearRecentDocuments();

    // Closes every window, asking about each project with unsaved changes; stops at the first
    // the user keeps open and answers false.
    bool closeAllDocuments();
    // The window controller lets go of its closed document.
    void removeDocument(PLDocumentWindowController *windowController);

    static void presentError(const PLError &error, QWidget *window);

signals:
    void documentAdded(PLDocument *document);
    void documentRemoved(PLDocument *document);

private:
    void addDocument(PLDocument *document, bool display);
    QString nextUntitledName() const;

    QList<PLDocumentWindowController *> m_windowControllers;
};

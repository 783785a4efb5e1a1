#include "ui/app/PLDocumentController.h"

#include "core/document/PLDocument.h"
#include "ui/app/PLDocumentWindowController.h"
#include "core/project/PLFile.h"
#include "core/foundation/PLLogging.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>

namespace {
const QString documentType = QStringLiteral("LaTeX document");

QString canonicalPath(const QString &path)
{
    const QString canonical = QFileInfo(path).canonicalFilePath();
    return canonical.isEmpty() ? QFileInfo(path).absoluteFilePath() : canonical;
}
}

PLDocumentController::PLDocumentController(QObject *parent) : QObject(parent)
{
    setActionHandler(PLAction::NewDocument, [this](QAction *) {
        PLError error;
        if (!openUntitledDocumentAndDisplay(true, &error))
            presentError(error, QApplication::activeWindow());
    });
    setActionHandler(PLAction::OpenDocument, [this](QAction *) { openDocument(); });
}

PLDocumentController::~PLDocumentController()
{
    qDeleteAll(m_windowControllers);
}

QList<PLDocument *> PLDocumentController::documents() const
{
    QList<PLDocument *> result;
    for (const PLDocumentWindowController *controller : m_windowControllers)
        result << controller->document();
    return result;
}

PLDocumentWindowController *PLDocumentController::windowControllerForDocument(const PLDocument *document) const
{
    for (PLDocumentWindowController *controller : m_windowControllers) {
        if (controller->document() == document)
            return controller;
    }
    return nullptr;
}

PLDocument *PLDocumentController::openDocumentWithContentsOfURL(const QUrl &url, bool display, PLError *error)
{
    const QString path = url.toLocalFile();
    const QFileInfo info(path);
    if (!info.isFile()) {
        PLSetError(error, QStringLiteral("PLDocumentController"), 1,
                   tr("The file “%1” couldn’t be opened because there is no such file.").arg(info.fileName()));
        return nullptr;
    }
    const QString wanted = canonicalPath(path);
    for (PLDocumentWindowController *controller : std::as_const(m_windowControllers)) {
        const auto mainFile = controller->document()->mainFile();
        if (mainFile && !mainFile->isUntitled() && canonicalPath(mainFile->stringPath()) == wanted) {
            if (display)
                controller->showWindow();
            noteNewRecentDocumentURL(QUrl::fromLocalFile(wanted));
            return controller->document();
        }
    }
    auto *document = new PLDocument(this);
    if (!document->readFromURL(info.absoluteFilePath(), documentType, error)) {
        delete document;
        return nullptr;
    }
    noteNewRecentDocumentURL(QUrl::fromLocalFile(info.absoluteFilePath()));
    addDocument(document, display);
    return document;
}

PLDocument *PLDocumentController::openUntitledDocumentAndDisplay(bool display, PLError *)
{
    auto *document = new PLDocument(this);
    document->setDisplayName(nextUntitledName());
    document->makeUntitledMainFileIfNeeded();
    addDocument(document, display);
    return document;
}

void PLDocumentController::addDocument(PLDocument *document, bool display)
{
    auto *controller = new PLDocumentWindowController(document, this);
    m_windowControllers << controller;
    if (display)
        controller->showWindow();
    emit documentAdded(document);
}

QString PLDocumentController::nextUntitledName() const
{
    // Untitled files are pooled by name, so every untitled project needs a name of its own.
    QStringList taken;
    for (const PLDocument *document : documents())
        taken << document->displayName();
    const QString first = tr("Untitled");
    if (!taken.contains(first))
        return first;
    for (int number = 2;; ++number) {
        const QString name = tr("Untitled %1").arg(number);
        if (!taken.contains(name))
            return name;
    }
}

void PLDocumentController::openDocument()
{
    const QList<QUrl> recent = recentDocumentURLs();
    const QString folder = recent.isEmpty() ? QDir::homePath() : QFileInfo(recent.first().toLocalFile()).absolutePath();
    const QStringList paths = QFileDialog::getOpenFileNames(QApplication::activeWindow(), tr("Open"), folder,
                                                            tr("LaTeX documents (*.tex)"));
    for (const QString &path : paths) {
        PLError error;
        if (!openDocumentWithContentsOfURL(QUrl::fromLocalFile(path), true, &error))
            presentError(error, QApplication::activeWindow());
    }
}

QList<QUrl> PLDocumentController::recentDocumentURLs() const
{
    QList<QUrl> urls;
    const QStringList stored = PLUserDefaults::standardUserDefaults().objectForKey(PLUserDefaultsRecentDocumentURLs).toStringList();
    for (const QString &entry : stored) {
        const QUrl url(entry, QUrl::StrictMode);
        if (url.isValid() && url.isLocalFile())
            urls << url;
    }
    return urls;
}

void PLDocumentController::noteNewRecentDocumentURL(const QUrl &url)
{
    const QString entry = url.toString(QUrl::FullyEncoded);
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    QStringList stored = defaults.objectForKey(PLUserDefaultsRecentDocumentURLs).toStringList();
    stored.removeAll(entry);
    stored.prepend(entry);
    while (stored.size() > maximumRecentDocumentCount)
        stored.removeLast();
    defaults.setObject(stored, PLUserDefaultsRecentDocumentURLs);
    defaults.synchronize();
}

void PLDocumentController::clearRecentDocuments()
{
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    defaults.removeObjectForKey(PLUserDefaultsRecentDocumentURLs);
    defaults.synchronize();
}

bool PLDocumentController::closeAllDocuments()
{
    const QList<PLDocumentWindowController *> controllers = m_windowControllers;
    for (PLDocumentWindowController *controller : controllers) {
        if (!controller->close())
            return false;
    }
    return true;
}

void PLDocumentController::removeDocument(PLDocumentWindowController *windowController)
{
    if (!m_windowControllers.removeOne(windowController))
        return;
    PLDocument *document = windowController->document();
    windowController->deleteLater();
    document->deleteLater();
    qCInfo(lcDocument) << "closed" << document->displayName();
    emit documentRemoved(document);
}

void PLDocumentController::presentError(const PLError &error, QWidget *window)
{
    QMessageBox box(QMessageBox::Warning, QApplication::applicationDisplayName(),
                    error.message.isEmpty() ? tr("The document could not be opened.") : error.message, QMessageBox::Ok, window);
    box.exec();
}

#include "ui/app/PLDocumentWindowController.h"

#include "core/document/PLDocument.h"
#include "ui/app/PLDocumentController.h"
#include "ui/window/PLDocumentSplitViewController.h"
#include "core/project/PLFile.h"
#include "ui/window/PLMainAreaViewController.h"
#include "core/foundation/PLLogging.h"
#include "ui/app/PLMainMenu.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "ui/window/PLSplitViewContentViewController.h"
#include "ui/window/PLSplitViewController.h"
#include "core/foundation/PLStringLineCalculations.h"
#include "core/editor/PLTextContentBuffer.h"
#include "ui/editor/PLTextView.h"
#include "ui/typesetting/PLPdfPrinter.h"
#include "ui/window/PLQuickOpenWindowController.h"
#include "ui/typesetting/PLTypesetterProgressViewController.h"
#include "ui/window/PLTypesettingLogParserResultsTableViewController.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMainWindow>
#include <QMessageBox>
#include <QPdfDocument>
#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>
#include <QScreen>
#include <QStatusBar>
#include <QUrl>
#include <QVBoxLayout>

PLDocumentWindowController::PLDocumentWindowController(PLDocument *document, PLDocumentController *documentController)
    : XSWindowController(QStringLiteral("PLDocumentWindow"), documentController), m_document(document),
      m_documentController(documentController)
{
    m_document->setWindowDelegate(this);
    connect(m_document, &PLDocument::mainFileChanged, this, &PLDocumentWindowController::synchronizeWindowTitle);

    setActionHandler(PLAction::SaveDocument, [this](QAction *) { saveDocument(); });
    setActionHandler(PLAction::SaveDocumentAs, [this](QAction *) { saveDocumentAs(); });
    setActionHandler(PLAction::PerformClose, [this](QAction *) { close(); });
    setActionHandler(PLAction::RemoveTypesettingRelatedFiles, [this](QAction *) { removeTypesettingRelatedFiles(); },
                     [this](QAction *) { return m_document->mainFile() && !m_document->mainFile()->isUntitled(); });
    setActionHandler(PLAction::Typeset, [this](QAction *) { typeset(); },
                     [this](QAction *) { return !typesetterProgressViewController()->isTransforming(); });
    setActionHandler(PLAction::StopTypesetting, [this](QAction *) { typesetterProgressViewController()->stopTransformation(); },
                     [this](QAction *) { return typesetterProgressViewController()->isTransforming(); });
    setActionHandler(PLAction::PrintDocument, [this](QAction *) { printDocument(); });
    // Exporting is left to a later version; the item stays so the menu keeps its shape.
    setActionHandler(PLAction::ExportPdf, [](QAction *) { qCInfo(lcUi) << "export PDF is not available"; });
    setActionHandler(PLAction::DisplayTransformationConsole,
                     [this](QAction *) { typesetterProgressViewController()->displayTransformationConsole(); });
    setActionHandler(PLAction::DisplayErrorsAndWarnings, [this](QAction *) {
        m_splitViewController->mainAreaViewController()->errorsAndWarningsViewController()->toggleErrorsAndWarningsOutline();
    });
    setActionHandler(PLAction::DisplayOpenQuicklyWindow, [this](QAction *) { displayOpenQuicklyWindow(); });
    setActionHandler(PLAction::Minimize, [this](QAction *) { window()->showMinimized(); });
    setActionHandler(
        PLAction::ToggleFullScreen,
        [this](QAction *) {
            if (window()->isFullScreen())
                window()->showNormal();
            else
                window()->showFullScreen();
        },
        [this](QAction *item) {
            if (item)
                item->setChecked(window()->isFullScreen());
            return true;
        });
}

PLDocumentWindowController::~PLDocumentWindowController()
{
    PLNotificationCenter::defaultCenter().removeObserver(this);
    if (m_document && m_document->windowDelegate() == this)
        m_document->setWindowDelegate(nullptr);
}

QMainWindow *PLDocumentWindowController::documentWindow()
{
    return static_cast<QMainWindow *>(window());
}

QWidget *PLDocumentWindowController::loadWindow()
{
    auto *window = new QMainWindow;
    window->setObjectName(windowNibName());
    window->setAttribute(Qt::WA_DeleteOnClose, false);
    window->installEventFilter(this);
    QSize size(1240, 800);
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        size = size.boundedTo(screen->availableGeometry().size() * 0.9);
    window->resize(size);
    return window;
}

void PLDocumentWindowController::windowDidLoad()
{
    QMainWindow *window = documentWindow();
    auto *mainContentView = new QWidget(window);
    mainContentView->setObjectName(QStringLiteral("mainContentView"));
    auto *layout = new QVBoxLayout(mainContentView);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    window->setCentralWidget(mainContentView);

    m_splitViewController = new PLDocumentSplitViewController(m_document, this, this);
    addViewController(m_splitViewController);
    layout->addWidget(m_splitViewController->view());

    m_mainMenu = new PLMainMenu(window, m_documentController);

    // The window's bottom border: notes on the left, the caret's place on the right.
    QStatusBar *status = window->statusBar();
    status->setFixedHeight(22);
    status->setSizeGripEnabled(false);
    m_caretPositionField = new QLabel(status);
    m_caretPositionField->setObjectName(QStringLiteral("caretPositionField"));
    m_caretPositionField->setContentsMargins(0, 0, 8, 0);
    status->addPermanentWidget(m_caretPositionField);
    PLSplitViewController *editor = m_splitViewController->mainAreaViewController()->editorSplitViewController();
    connect(editor, &PLSplitViewController::selectedSplitViewSelectionDidChange, this,
            &PLDocumentWindowController::updateCaretPositionField);
    PLNotificationCenter &center = PLNotificationCenter::defaultCenter();
    for (const QString &name : {PLSplitViewControllerDidChangeSelectedSplitView, PLSplitViewControllerSelectedSplitViewDidChangeFile})
        center.addObserver(this, name, editor, [this](const PLNotification &) { updateCaretPositionField(); });
    updateCaretPositionField();

    synchronizeWindowTitle();
    setDocumentEdited(m_document->isDocumentEdited());
}

void PLDocumentWindowController::synchronizeWindowTitle()
{
    if (!isWindowLoaded())
        return;
    // The main file names the window; it changes with a save-as before the document's own name.
    const auto mainFile = m_document->mainFile();
    const bool titled = mainFile && !mainFile->isUntitled();
    window()->setWindowTitle((titled ? mainFile->name() : m_document->displayName()) + QStringLiteral("[*]"));
    window()->setWindowFilePath(titled ? mainFile->stringPath() : QString());
}

void PLDocumentWindowController::updateCaretPositionField()
{
    if (!m_caretPositionField)
        return;
    const PLSplitViewContentViewController *pane =
        m_splitViewController->mainAreaViewController()->editorSplitViewController()->selectedSplitViewController();
    const PLTextView *textView = pane && !pane->isPdfToggled() ? pane->textContentView() : nullptr;
    if (!textView) {
        m_caretPositionField->clear();
        return;
    }
    // From the buffer's own line starts: counting lines in the text would cost each caret move the
    // length of the file.
    const PLTextContentBuffer *buffer = textView->contentBuffer();
    const qsizetype caret = textView->selectedRange().location;
    const qsizetype lineStart = PLStringLineCalculations::lineStartIn(buffer->characters(), caret);
    m_caretPositionField->setText(tr("Line %1, Column %2").arg(buffer->lineForLocation(caret) + 1).arg(caret - lineStart + 1));
}

void PLDocumentWindowController::showStatusMessage(const QString &message)
{
    constexpr int shownForMilliseconds = 6000;
    documentWindow()->statusBar()->showMessage(message, shownForMilliseconds);
}

void PLDocumentWindowController::setDocumentEdited(bool edited)
{
    if (isWindowLoaded())
        window()->setWindowModified(edited);
}

PLDocumentWindowDelegate::ChangedFileAction
PLDocumentWindowController::documentActionForFileChangedOnDisk(PLDocument *, const std::shared_ptr<PLFile> &file)
{
    // Overwrite keeps the user's text, Reload takes the other program's: the standard buttons
    // carry the two names so that each keeps its usual role and shortcut.
    QMessageBox box(QMessageBox::Warning, QApplication::applicationDisplayName(),
                    tr("“%1” has been changed by another program since it was opened or saved.").arg(file->name()),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, isWindowLoaded() ? window() : nullptr);
    box.setInformativeText(tr("Overwrite it with your version, or reload it and lose your changes to it?\n%1")
                               .arg(file->stringPath()));
    box.button(QMessageBox::Save)->setText(tr("&Overwrite"));
    box.button(QMessageBox::Discard)->setText(tr("&Reload"));
    box.setDefaultButton(QMessageBox::Cancel);
    box.setEscapeButton(QMessageBox::Cancel);
    box.setWindowModality(Qt::WindowModal);
    switch (box.exec()) {
    case QMessageBox::Save:
        return ChangedFileAction::Overwrite;
    case QMessageBox::Discard:
        return ChangedFileAction::Reload;
    default:
        return ChangedFileAction::Cancel;
    }
}

bool PLDocumentWindowController::eventFilter(QObject *watched, QEvent *event)
{
    if (!isWindowLoaded() || watched != window())
        return XSWindowController::eventFilter(watched, event);
    if (event->type() == QEvent::WindowActivate) {
        m_document->windowDidBecomeKey();
    } else if (event->type() == QEvent::Close && !m_closing) {
        // The window manager's close button: the same question as the Close command.
        if (!windowShouldClose()) {
            event->ignore();
            return true;
        }
        m_closing = true;
        finishClosing();
    }
    return XSWindowController::eventFilter(watched, event);
}

bool PLDocumentWindowController::saveDocument()
{
    const auto mainFile = m_document->mainFile();
    if (!mainFile || mainFile->isUntitled())
        return saveDocumentAs();
    PLError error;
    if (!m_document->saveDocument(&error)) {
        if (!PLDocument::isSaveCancelled(error))
            presentError(error);
        return false;
    }
    showStatusMessage(tr("Saved “%1”").arg(mainFile->name()));
    return true;
}

bool PLDocumentWindowController::saveDocumentAs()
{
    const PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    QString folder = QDir::homePath();
    const auto mainFile = m_document->mainFile();
    if (mainFile && !mainFile->isUntitled())
        folder = QFileInfo(mainFile->stringPath()).absolutePath();
    if (defaults.hasUserValue(PLUserDefaultsLastDirectorySaved)) {
        const QString stored = defaults.stringForKey(PLUserDefaultsLastDirectorySaved);
        const QUrl url(stored);
        folder = url.isLocalFile() ? url.toLocalFile() : stored;
    }
    QString name = m_document->displayName();
    if (QFileInfo(name).suffix().isEmpty())
        name += QStringLiteral(".tex");
    QString path = QFileDialog::getSaveFileName(window(), tr("Save As"), QDir(folder).filePath(name), tr("LaTeX documents (*.tex)"));
    if (path.isEmpty())
        return false;
    if (QFileInfo(path).suffix().isEmpty())
        path += QStringLiteral(".tex");
    PLError error;
    if (!m_document->saveDocumentAs(path, &error)) {
        if (!PLDocument::isSaveCancelled(error))
            presentError(error);
        return false;
    }
    m_documentController->noteNewRecentDocumentURL(QUrl::fromLocalFile(path));
    synchronizeWindowTitle();
    return true;
}

bool PLDocumentWindowController::windowShouldClose()
{
    if (!m_document->isDocumentEdited())
        return true;
    if (isWindowLoaded()) {
        window()->show();
        window()->raise();
        window()->activateWindow();
    }
    QMessageBox box(QMessageBox::Warning, QApplication::applicationDisplayName(),
                    tr("Do you want to save the changes you made to “%1”?").arg(m_document->displayName()),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, isWindowLoaded() ? window() : nullptr);
    box.setInformativeText(tr("Your changes will be lost if you don’t save them."));
    box.button(QMessageBox::Discard)->setText(tr("Do&n’t Save"));
    box.setDefaultButton(QMessageBox::Save);
    box.setEscapeButton(QMessageBox::Cancel);
    box.setWindowModality(Qt::WindowModal);
    switch (box.exec()) {
    case QMessageBox::Save:
        return saveDocument();
    case QMessageBox::Discard:
        return true;
    default:
        return false;
    }
}

bool PLDocumentWindowController::close()
{
    if (m_closing)
        return true;
    if (!windowShouldClose())
        return false;
    m_closing = true;
    if (isWindowLoaded())
        window()->close();
    finishClosing();
    return true;
}

void PLDocumentWindowController::finishClosing()
{
    windowWillClose();
    if (isWindowLoaded())
        window()->hide();
    m_document->close();
    m_documentController->removeDocument(this);
}

void PLDocumentWindowController::removeTypesettingRelatedFiles()
{
    const int removed = m_document->removeTypesettingRelatedFiles();
    if (removed == 0)
        showStatusMessage(tr("No typesetting by-products to remove"));
    else if (removed == 1)
        showStatusMessage(tr("Removed 1 typesetting by-product"));
    else
        showStatusMessage(tr("Removed %1 typesetting by-products").arg(removed));
}

PLTypesetterProgressViewController *PLDocumentWindowController::typesetterProgressViewController() const
{
    return m_splitViewController->mainAreaViewController()->typesetterProgressViewController();
}

void PLDocumentWindowController::typeset()
{
    // The engine reads the files from disk. A project never saved asks for a name first; one the
    // user keeps untitled is left to the strip, which only notes it.
    m_document->settleOutlines();
    saveDocument();
    typesetterProgressViewController()->transformToPDF();
}

void PLDocumentWindowController::printDocument()
{
    const auto mainFile = m_document->mainFile();
    QPdfDocument pdf;
    if (mainFile && !mainFile->isUntitled())
        pdf.load(mainFile->pdfPath());
    if (pdf.status() != QPdfDocument::Status::Ready) {
        QMessageBox box(QMessageBox::Warning, QApplication::applicationDisplayName(), tr("PDF file not found"), QMessageBox::Ok,
                        isWindowLoaded() ? window() : nullptr);
        box.setInformativeText(
            tr("The PDF file doesn't seem to exist. Have you generated it? If not please try do so in the File menu."));
        box.addButton(QString(), QMessageBox::RejectRole);
        box.setWindowModality(Qt::WindowModal);
        box.exec();
        return;
    }
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(mainFile->name());
    printer.setFromTo(1, pdf.pageCount());
    QPrintDialog dialog(&printer, window());
    dialog.setMinMax(1, pdf.pageCount());
    dialog.setOption(QAbstractPrintDialog::PrintPageRange);
    if (dialog.exec() != QDialog::Accepted)
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const bool printed = PLPdfPrinter::printDocument(pdf, printer);
    QApplication::restoreOverrideCursor();
    if (!printed)
        qCWarning(lcUi) << "printing" << mainFile->pdfPath() << "failed";
}

void PLDocumentWindowController::presentError(const PLError &error)
{
    QMessageBox box(QMessageBox::Warning, QApplication::applicationDisplayName(),
                    error.message.isEmpty() ? tr("The document could not be saved.") : error.message, QMessageBox::Ok,
                    isWindowLoaded() ? window() : nullptr);
    box.setWindowModality(Qt::WindowModal);
    box.exec();
}

PLQuickOpenWindowController *PLDocumentWindowController::quickOpenWindowController()
{
    if (!m_quickOpenWindowController) {
        m_quickOpenWindowController = new PLQuickOpenWindowController(m_document->quickOpenManager(), this);
        connect(m_quickOpenWindowController, &PLQuickOpenWindowController::didChooseOutlineNode, this,
                [this](const std::shared_ptr<PLOutlineNode> &node) {
                    m_splitViewController->mainAreaViewController()->sideBarDidSelectItem(node);
                });
    }
    return m_quickOpenWindowController;
}

void PLDocumentWindowController::displayOpenQuicklyWindow()
{
    quickOpenWindowController()->showWindow(window());
}

#pragma once

#include "core/document/PLDocument.h"
#include "core/document/PLDocumentWindowDelegate.h"
#include "core/foundation/PLError.h"
#include "core/editor/PLLineIndices.h"
#include "core/editor/PLTextContentBuffer.h"
#include "ui/window/XSWindowController.h"

#include <QPointer>

class PLDocumentController;
class PLDocumentSplitViewController;
class PLMainMenu;
class PLQuickOpenWindowController;
class PLTypesetterProgressViewController;
class QLabel;
class QMainWindow;

// The window of one project: the sidebar and the editor panes, the menu bar, the title with its
// unsaved-changes mark, and the document commands that need the user (saving under a name,
// closing with unsaved changes).
class PLDocumentWindowController : public XSWindowController, public PLDocumentWindowDelegate
{
    Q_OBJECT

public:
    PLDocumentWindowController(PLDocument *document, PLDocumentController *documentController);
    ~PLDocumentWindowController() override;

    PLDocument *document() const { return m_document.data(); }
    QMainWindow *documentWindow();
    PLDocumentSplitViewController *splitViewController() const { return m_splitViewController; }
    PLMainMenu *mainMenu() const { return m_mainMenu; }
    // The line and column of the caret in the selected pane, at the right of the bottom border.
    QLabel *caretPositionField() const { return m_caretPositionField; }
    // A short note in the bottom border, such as what a command did; it fades after a while.
    void showStatusMessage(const QString &message);

    void setDocumentEdited(bool edited) override;
    // Overwrite, Reload or Cancel, asked of the user.
    ChangedFileAction documentActionForFileChangedOnDisk(PLDocument *document, const std::shared_ptr<PLFile> &file) override;

    // Saves the project; an untitled one asks where first. Answers whether it was written.
    bool saveDocument();
    bool saveDocumentAs();
    // Asks about unsaved changes, then closes the window and its document; answers whether it did.
    bool close();
    // Save, Don't Save or Cancel for a project with unsaved changes; true when the window may close.
    bool windowShouldClose();
    void removeTypesettingRelatedFiles();
    // Prints the typeset PDF beside the main file through the print dialog.
    void printDocument();
    // Saves the project, then typesets its main file.
    void typeset();
    PLTypesetterProgressViewController *typesetterProgressViewController() const;
    // Centred over this window; its choice shows in the focused pane as a sidebar click would.
    void displayOpenQuicklyWindow();
    PLQuickOpenWindowController *quickOpenWindowController();

protected:
    QWidget *loadWindow() override;
    void windowDidLoad() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void synchronizeWindowTitle();
    void updateCaretPositionField();
    void finishClosing();
    void presentError(const PLError &error);

    // The document controller frees the document and this controller together, in either order.
    QPointer<PLDocument> m_document;
    PLDocumentController *m_documentController;
    PLDocumentSplitViewController *m_splitViewController = nullptr;
    PLMainMenu *m_mainMenu = nullptr;
    QLabel *m_caretPositionField = nullptr;
    // The line starts of the text the caret field last read, kept up to date edit by edit so a
    // keystroke does not count the lines from the top of the file.
    QPointer<PLTextContentBuffer> m_caretBuffer;
    QMetaObject::Connection m_caretBufferEdits;
    PLLineIndices m_caretLines;
    PLQuickOpenWindowController *m_quickOpenWindowController = nullptr;
    bool m_closing = false;
};

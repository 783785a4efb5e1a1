#pragma once

#include "ui/window/PLErrorReadingFileContentViewControllerDelegate.h"
#include "ui/window/XSViewController.h"

#include <memory>

class PLDocument;
class PLErrorReadingFileContentViewController;
class PLFile;
class PLNoPDFFoundView;
class PLOutlineNode;
class PLPDFView;
class PLSplitViewController;
class PLTextView;
class PLTextViewHistoryHandler;
class PLTitleBarButton;
class PLTitleBarView;
class QLabel;
class QStackedLayout;

// One editor pane: a title bar with its buttons above either the text of a project file or the
// typeset PDF of the project.
class PLSplitViewContentViewController : public XSViewController, public PLErrorReadingFileContentViewControllerDelegate
{
    Q_OBJECT

public:
    PLSplitViewContentViewController(PLSplitViewController *splitViewController, PLDocument *document,
                                     XSWindowController *windowController);
    ~PLSplitViewContentViewController() override;

    PLSplitViewController *delegate() const { return m_splitViewController; }
    PLDocument *document() const { return m_document; }
    const std::shared_ptr<PLFile> &file() const { return m_file; }
    bool isPdfToggled() const { return m_isPdfToggled; }

    // Shows the text of another file; nothing happens for the file already shown.
    void setFile(const std::shared_ptr<PLFile> &file);
    void toggleDocumentPDF();
    void displayDocumentPDF();
    void reloadPDF();
    // The menu's SyncTeX command: tag 0 from the text to the PDF, tag 1 from the PDF's selection
    // (or its last clicked point) to the text.
    void performTexSync(int tag);
    // The title-bar split button: with Alt and Shift held the new pane shows the PDF.
    void splitView(Qt::KeyboardModifiers modifiers);
    void closeView();
    void flagsChanged(Qt::KeyboardModifiers modifiers);
    void displayCloseButton(bool display);
    // Gives the keyboard focus to the pane's text or PDF.
    void makeKey();
    // Shows the node's file with the caret at the start of the node.
    void selectOutlineNode(const std::shared_ptr<PLOutlineNode> &node);
    // The find bar's search in the shown text: the hit becomes the selection, scrolled into view;
    // without a hit nothing changes. Direction 1 searches forwards, 0 backwards.
    void findAndHighlightString(const QString &string, qint32 direction);
    // Puts the string in place of the selection as if typed, so the buffer's filters and undo apply.
    void replaceCurrentHighlightedSelectionWithString(const QString &string);

    // The back and forward buttons: steps along the shown file's trail of selections.
    void navigateBackward();
    void navigateForward();
    // Set while a history step selects its range, so the step itself is not recorded.
    bool isNavigating() const { return m_isNavigating; }
    PLTextViewHistoryHandler *historyHandler() const { return m_historyHandler.get(); }
    PLTitleBarButton *historyNavigationBackwardsButton() const { return m_historyNavigationBackwardsButton; }
    PLTitleBarButton *historyNavigationForwardsButton() const { return m_historyNavigationForwardsButton; }

    PLTextView *textContentView() const { return m_textContentView; }
    PLTitleBarView *titleBarView() const { return m_titleBarView; }
    QLabel *titleTextField() const { return m_titleTextField; }
    PLTitleBarButton *titleBarButtonCloseSplit() const { return m_titleBarButtonCloseSplit; }
    PLTitleBarButton *titleBarButtonSplitView() const { return m_titleBarButtonSplitView; }
    PLTitleBarButton *titleBarButtonTogglePDF() const { return m_titleBarButtonTogglePDF; }
    PLTitleBarButton *titleBarButtonTypeset() const { return m_titleBarButtonTypeset; }
    PLNoPDFFoundView *noPDFFoundView() const { return m_noPDFFoundView; }
    PLPDFView *pdfView() const { return m_pdfView; }
    PLErrorReadingFileContentViewController *errorReadingFileContentViewController() const
    {
        return m_errorReadingFileContentViewController;
    }

    // Shows the notice above a file whose text was not read properly, and takes it away once it is.
    void checkIfFileWasReadProperlyAndPresentWarningIfNot();
    void errorReadingFileContentViewControllerDidRequestReopeningOfFileUsingEncoding(
        PLErrorReadingFileContentViewController *controller, PLStringEncoding encoding) override;

    void removeObservations() override;

signals:
    // The caret or the selection of the shown text moved.
    void selectionDidChange();

protected:
    QWidget *loadView() override;
    void awakeFromNib() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void observeNotifications();
    void showNoPDFFoundView();
    // Puts a new text view on the file's shared buffer in place of the old one.
    void replaceTextStorageInTextView();
    void setTitle(const QString &title);
    void updateTitleFont();
    bool isFocusedPane() const;
    void navigateInDirection(qint32 direction);
    void updateHistoryButtons();

    PLSplitViewController *m_splitViewController;
    PLDocument *m_document;
    std::shared_ptr<PLFile> m_file;
    bool m_isPdfToggled = false;
    bool m_isSwitchingFile = false;
    bool m_isNavigating = false;
    std::unique_ptr<PLTextViewHistoryHandler> m_historyHandler;
    PLErrorReadingFileContentViewController *m_errorReadingFileContentViewController;

    PLTitleBarView *m_titleBarView = nullptr;
    QLabel *m_titleTextField = nullptr;
    PLTitleBarButton *m_historyNavigationBackwardsButton = nullptr;
    PLTitleBarButton *m_historyNavigationForwardsButton = nullptr;
    PLTitleBarButton *m_titleBarButtonTogglePDF = nullptr;
    PLTitleBarButton *m_titleBarButtonTypeset = nullptr;
    PLTitleBarButton *m_titleBarButtonSplitView = nullptr;
    PLTitleBarButton *m_titleBarButtonCloseSplit = nullptr;
    QWidget *m_contentView = nullptr;
    QStackedLayout *m_contentLayout = nullptr;
    PLTextView *m_textContentView = nullptr;
    QWidget *m_pdfViewEncapsulatorView = nullptr;
    PLNoPDFFoundView *m_noPDFFoundView = nullptr;
    PLPDFView *m_pdfView = nullptr;
};

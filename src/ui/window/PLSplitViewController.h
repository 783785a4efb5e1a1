#pragma once

#include "ui/window/XSViewController.h"

#include <QList>

#include <memory>

class PLDocument;
class PLFile;
class PLGoToLineWindowController;
class PLSplitViewContentViewController;
class QAction;
class QPointF;
class QSplitter;

// The user-info key naming the pane that a "PLSplitViewControllerDidCloseSplitView" is about.
inline const QString PLSplitViewControllerUserInfoKeyClosedSplitViewContentViewController =
    QStringLiteral("closedSplitViewContentViewController");

// The editor split view of a project window: one or more panes side by side, each showing the
// text of a project file or the typeset PDF. It splits, closes and focuses panes, moves the
// focus between them, and keeps their arrangement in the settings for the next window.
class PLSplitViewController : public XSViewController
{
    Q_OBJECT

public:
    PLSplitViewController(PLDocument *document, XSWindowController *windowController, QObject *parent = nullptr);
    ~PLSplitViewController() override;

    PLDocument *document() const { return m_document; }
    const QList<PLSplitViewContentViewController *> &contentViewControllers() const { return m_contentViewControllers; }
    PLSplitViewContentViewController *selectedSplitViewController() const { return m_selectedSplitViewController; }
    PLSplitViewContentViewController *selectedSplitTextViewViewController() const { return m_selectedSplitTextViewViewController; }
    QSplitter *splitView();

    int splitViewCount() const { return int(m_contentViewControllers.size()); }
    PLSplitViewContentViewController *splitViewContentControllerAtIndex(int index) const { return m_contentViewControllers.at(index); }

    void splitViewWithController(PLSplitViewContentViewController *pane);
    void splitViewWithControllerAndDisplayPDF(PLSplitViewContentViewController *pane);
    void closeViewWithController(PLSplitViewContentViewController *pane);
    void focusOnSplitViewContentViewController(PLSplitViewContentViewController *pane);
    // 0 moves to the pane on the left, 1 to the one on the right, wrapping around at the ends.
    void changeSelectionSplitViewToSplitViewInDirection(int direction);
    void navigateToSplitViewMenuItemPressed(QAction *item);
    // Shows the go-to-line window for the focused pane's text, making it on first use.
    void displayGoToLineWindow();
    PLGoToLineWindowController *goToLineWindowController() const { return m_goToLineWindowController; }
    void saveSplitViewSetupToUserDefaults();

    // Menu actions reach the focused pane first.
    PLResponder *nextResponder() const override;
    void removeObservations() override;

    // What the panes ask and tell.
    bool splitViewContentControllerShouldSplit(PLSplitViewContentViewController *pane);
    bool splitViewContentControllerShouldClose(PLSplitViewContentViewController *pane);
    void splitViewContentControllerDidFocusOnPDFView(PLSplitViewContentViewController *pane);
    void splitViewContentControllerDidClosePDFView(PLSplitViewContentViewController *pane);
    // Forward search: shows in a PDF pane where the selection of the pane's text was typeset.
    void splitViewContentControllerDidRequestSyncFromTextView(PLSplitViewContentViewController *pane);
    // Backward search: opens in a text pane the source of a point of the PDF (PDF points from
    // the 0-based page's top-left corner).
    // Forward search from a place in a file's text, in the PDF pane focused last.
    void syncPDFToLocationInFile(const std::shared_ptr<PLFile> &file, qsizetype location);
    void splitViewContentControllerDidRequestSyncFromPDFView(PLSplitViewContentViewController *pane, int page,
                                                             const QPointF &point);
    void splitViewContentControllerDidChangeFromFile(PLSplitViewContentViewController *pane,
                                                     const std::shared_ptr<PLFile> &oldFile,
                                                     const std::shared_ptr<PLFile> &newFile);

signals:
    // The caret or the selection moved in the selected pane's text.
    void selectedSplitViewSelectionDidChange();

protected:
    QWidget *loadView() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    PLSplitViewContentViewController *makePane();
    void observe(PLSplitViewContentViewController *pane);

    PLDocument *m_document;
    QList<PLSplitViewContentViewController *> m_contentViewControllers;
    PLSplitViewContentViewController *m_selectedSplitViewController = nullptr;
    PLSplitViewContentViewController *m_selectedSplitTextViewViewController = nullptr;
    PLSplitViewContentViewController *m_selectedPDFPane = nullptr;
    QSplitter *m_splitView = nullptr;
    bool m_restoringLayout = false;
    PLGoToLineWindowController *m_goToLineWindowController = nullptr;
};

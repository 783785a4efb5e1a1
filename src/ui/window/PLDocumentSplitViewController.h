#pragma once

#include "ui/window/XSViewController.h"

class PLDocument;
class PLMainAreaViewController;
class PLSideBarViewController;
class PLSplitView;

// A project window's content: the sidebar with the project's files and outline on the left and
// the main area on the right, split by a divider that keeps the sidebar between 150 points and
// half the window wide.
class PLDocumentSplitViewController : public XSViewController
{
    Q_OBJECT

public:
    PLDocumentSplitViewController(PLDocument *document, XSWindowController *windowController, QObject *parent = nullptr);
    ~PLDocumentSplitViewController() override;

    static constexpr int minimumSidebarWidth = 150;
    static constexpr int defaultSidebarWidth = 230;
    // The editor's width that a narrowing window keeps by taking it from the sidebar first.
    static constexpr int comfortableEditorWidth = 480;

    PLDocument *document() const { return m_document; }
    PLSideBarViewController *sideBarViewController() const { return m_sideBarViewController; }
    PLMainAreaViewController *mainAreaViewController() const { return m_mainAreaViewController; }
    PLSplitView *splitView();

    // The divider's rule for a drag to `proposedPosition`: never below 150, never past half the
    // width less the divider. The proposal, raised to 150, is remembered as the sidebar width.
    double constrainSplitPosition(double proposedPosition);
    // The sidebar's width in a window of the split view's width: the remembered width, narrowed
    // while the editor has less than a comfortable width, but never below 150 nor past half.
    int sidebarWidthForCurrentSize() const;

protected:
    QWidget *loadView() override;

private:
    PLDocument *m_document;
    PLSideBarViewController *m_sideBarViewController;
    PLMainAreaViewController *m_mainAreaViewController;
    PLSplitView *m_splitView = nullptr;
    int m_preferredSidebarWidth = defaultSidebarWidth;
};

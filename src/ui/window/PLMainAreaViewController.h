#pragma once

#include "XSViewController.h"

#include <memory>

class PLDocument;
class PLOutlineNode;
class PLSplitViewController;
class PLLogItem;
class PLTypesetterProgressViewController;
class PLTypesettingLogParserResultsTableViewController;
class QSplitter;

// The right-hand side of a project window: the typesetting strip above the editor panes while
// a job runs or its outcome is shown, the editor panes, and below them, on demand, the error list
// or the find bar.
class PLMainAreaViewController : public XSViewController
{
    Q_OBJECT

public:
    PLMainAreaViewController(PLDocument *document, XSWindowController *windowController, QObject *parent = nullptr);
    ~PLMainAreaViewController() override;

    PLSplitViewController *editorSplitViewController() const { return m_editorSplitViewController; }
    PLTypesetterProgressViewController *typesetterProgressViewController() const { return m_typesetterProgressViewController; }
    PLTypesettingLogParserResultsTableViewController *errorsAndWarningsViewController() const
    {
        return m_errorsAndWarningsViewController;
    }

    // The sidebar's choice: the focused pane shows the node.
    void sideBarDidSelectItem(const std::shared_ptr<PLOutlineNode> &node);
    // The error list's choice: the focused pane shows the item's file at the start of its line.
    void errorsAndWarningsViewControllerDidSelectItem(const std::shared_ptr<PLLogItem> &item);
    void errorsAndWarningsViewControllerDisplayView();
    void errorsAndWarningsViewControllerHideView();

protected:
    QWidget *loadView() override;

private:
    void showTypesettingStrip();
    void hideTypesettingStrip();

    PLDocument *m_document;
    PLSplitViewController *m_editorSplitViewController;
    PLTypesetterProgressViewController *m_typesetterProgressViewController;
    PLTypesettingLogParserResultsTableViewController *m_errorsAndWarningsViewController;
    QSplitter *m_bottomSplitView = nullptr;
};

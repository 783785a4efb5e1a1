#pragma once

#include "ui/editor/PLFindAndReplaceViewController.h"
#include "ui/window/XSViewController.h"

#include <memory>

class PLDocument;
class PLOutlineNode;
class PLSplitViewController;
class PLLogItem;
class PLTypesetterProgressViewController;
class PLTypesettingLogParserResultsTableViewController;
class QSplitter;

// The right-hand side of a project window: the typesetting strip above the editor panes while
// a job runs or its outcome is shown, the find bar on demand, the editor panes, and below them,
// on demand, the error list.
class PLMainAreaViewController : public XSViewController,
                                 public PLFindAndReplaceUIDelegate,
                                 public PLFindAndReplaceViewControllerDelegate
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
    PLFindAndReplaceViewController *findAndReplaceViewController() const { return m_findAndReplaceViewController; }

    // The sidebar's choice: the focused pane shows the node.
    void sideBarDidSelectItem(const std::shared_ptr<PLOutlineNode> &node);
    // The error list's choice: the focused pane shows the item's file at the start of its line.
    void errorsAndWarningsViewControllerDidSelectItem(const std::shared_ptr<PLLogItem> &item);
    void errorsAndWarningsViewControllerDisplayView();
    void errorsAndWarningsViewControllerHideView();

    // The find bar's requests go to the focused pane.
    void findAndReplaceViewControllerWillDisplayView(PLFindAndReplaceViewController *controller, QWidget *view) override;
    void findAndReplaceViewControllerWillHideView(PLFindAndReplaceViewController *controller, QWidget *view) override;
    void findAndReplaceViewControllerDidSearchForString(PLFindAndReplaceViewController *controller, const QString &string,
                                                        qint32 direction) override;
    void findAndReplaceViewControllerDidRequestStringReplacement(PLFindAndReplaceViewController *controller,
                                                                 const QString &replacement) override;
    QString findAndReplaceViewControllerDidRequestStringInSelectedRange(PLFindAndReplaceViewController *controller) override;

protected:
    QWidget *loadView() override;

private:
    void showTypesettingStrip();
    void hideTypesettingStrip();

    PLDocument *m_document;
    PLSplitViewController *m_editorSplitViewController;
    PLTypesetterProgressViewController *m_typesetterProgressViewController;
    PLTypesettingLogParserResultsTableViewController *m_errorsAndWarningsViewController;
    PLFindAndReplaceViewController *m_findAndReplaceViewController;
    QSplitter *m_bottomSplitView = nullptr;
};

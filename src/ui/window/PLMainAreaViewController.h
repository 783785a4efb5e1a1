#pragma once

#include "XSViewController.h"

#include <memory>

class PLDocument;
class PLOutlineNode;
class PLSplitViewController;

// The right-hand side of a project window: the editor panes, and below them, on demand, the
// error list or the find bar.
class PLMainAreaViewController : public XSViewController
{
    Q_OBJECT

public:
    PLMainAreaViewController(PLDocument *document, XSWindowController *windowController, QObject *parent = nullptr);
    ~PLMainAreaViewController() override;

    PLSplitViewController *editorSplitViewController() const { return m_editorSplitViewController; }

    // The sidebar's choice: the focused pane shows the node.
    void sideBarDidSelectItem(const std::shared_ptr<PLOutlineNode> &node);

protected:
    QWidget *loadView() override;

private:
    PLDocument *m_document;
    PLSplitViewController *m_editorSplitViewController;
};

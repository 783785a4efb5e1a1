#pragma once

#include "ui/window/XSViewController.h"

#include <memory>

class PLDocument;
class PLDocumentOutlineItemModel;
class PLDocumentOutlineView;
class PLMainAreaViewController;
class PLOutlineNode;

// The sidebar of a project window: the project's files and headings as one tree, kept in step
// with every edit. Choosing a row shows that place in the focused editor pane.
class PLSideBarViewController : public XSViewController
{
    Q_OBJECT

public:
    PLSideBarViewController(PLDocument *document, XSWindowController *windowController, QObject *parent = nullptr);
    ~PLSideBarViewController() override;

    PLDocument *document() const { return m_document; }
    PLDocumentOutlineView *sidebar();
    PLDocumentOutlineItemModel *dataSource() const { return m_dataSource; }
    PLMainAreaViewController *delegate() const { return m_delegate; }
    void setDelegate(PLMainAreaViewController *delegate) { m_delegate = delegate; }

    void documentOutlineViewDidSelectOutlineNode(PLDocumentOutlineView *outlineView, const std::shared_ptr<PLOutlineNode> &node);
    void removeObservations() override;

protected:
    QWidget *loadView() override;
    void awakeFromNib() override;

private:
    void handleNodeUpdateNofitication(const PLOutlineNode *root);
    void fileDidReloadContent();
    void documentDidPerformSaveAsAction();
    void setDataSource(PLDocumentOutlineItemModel *dataSource);

    PLDocument *m_document;
    PLDocumentOutlineView *m_sidebar = nullptr;
    PLDocumentOutlineItemModel *m_dataSource = nullptr;
    PLMainAreaViewController *m_delegate = nullptr;
};

#include "ui/window/PLSideBarViewController.h"

#include "core/document/PLDocument.h"
#include "ui/window/PLDocumentOutlineItemModel.h"
#include "ui/window/PLDocumentOutlineView.h"
#include "ui/window/PLMainAreaViewController.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/latex/PLOutlineNode.h"

#include <QVBoxLayout>

PLSideBarViewController::PLSideBarViewController(PLDocument *document, XSWindowController *windowController, QObject *parent)
    : XSViewController(QStringLiteral("PLDocumentSidebar"), windowController, parent), m_document(document)
{
    PLNotificationCenter &center = PLNotificationCenter::defaultCenter();
    center.addObserver(this, PLNotificationNameNodeDidChangeChildren, nullptr, [this](const PLNotification &notification) {
        if (const PLOutlineNode *root = notification.objectAs<PLOutlineNode>())
            handleNodeUpdateNofitication(root);
    });
    center.addObserver(this, PLDocumentDidPerformSaveAsAction, m_document,
                       [this](const PLNotification &) { documentDidPerformSaveAsAction(); });
    center.addObserver(this, PLNotificationFileDidReloadContent, nullptr, [this](const PLNotification &) { fileDidReloadContent(); });
}

PLSideBarViewController::~PLSideBarViewController()
{
    PLNotificationCenter::defaultCenter().removeObserver(this);
}

void PLSideBarViewController::removeObservations()
{
    PLNotificationCenter::defaultCenter().removeObserver(this);
    XSViewController::removeObservations();
}

PLDocumentOutlineView *PLSideBarViewController::sidebar()
{
    view();
    return m_sidebar;
}

QWidget *PLSideBarViewController::loadView()
{
    auto *view = new QWidget;
    view->setObjectName(nibName());
    auto *layout = new QVBoxLayout(view);
    layout->setContentsMargins(0, 0, 0, 0);
    m_sidebar = new PLDocumentOutlineView(view);
    // Sidebars sit a shade darker than the editor, as in the desktop's file managers.
    QPalette colours = m_sidebar->palette();
    colours.setColor(QPalette::Base, colours.color(QPalette::Window));
    m_sidebar->setPalette(colours);
    m_sidebar->setDelegate(this);
    layout->addWidget(m_sidebar);
    return view;
}

void PLSideBarViewController::awakeFromNib()
{
    setDataSource(new PLDocumentOutlineItemModel(m_document->mainFile(), this));
    m_sidebar->expandAll();
}

void PLSideBarViewController::setDataSource(PLDocumentOutlineItemModel *dataSource)
{
    PLDocumentOutlineItemModel *old = m_dataSource;
    m_dataSource = dataSource;
    m_sidebar->setModel(dataSource);
    delete old;
}

void PLSideBarViewController::handleNodeUpdateNofitication(const PLOutlineNode *root)
{
    if (!m_dataSource)
        return;
    const QModelIndexList inserted = m_dataSource->reloadItem(root);
    for (const QModelIndex &index : inserted)
        m_sidebar->expandRecursively(index);
    for (const QModelIndex &index : m_dataSource->indexesOfNode(root))
        m_sidebar->expand(index);
}

void PLSideBarViewController::fileDidReloadContent()
{
    if (!m_dataSource)
        return;
    m_dataSource->reloadData();
    m_sidebar->expandAll();
}

void PLSideBarViewController::documentDidPerformSaveAsAction()
{
    if (!m_sidebar)
        return;
    setDataSource(new PLDocumentOutlineItemModel(m_document->mainFile(), this));
}

void PLSideBarViewController::documentOutlineViewDidSelectOutlineNode(PLDocumentOutlineView *, const std::shared_ptr<PLOutlineNode> &node)
{
    if (m_delegate)
        m_delegate->sideBarDidSelectItem(node);
}

#include "PLMainAreaViewController.h"

#include "PLSplitViewContentViewController.h"
#include "PLSplitViewController.h"

#include <QSplitter>
#include <QVBoxLayout>

PLMainAreaViewController::PLMainAreaViewController(PLDocument *document, XSWindowController *windowController, QObject *parent)
    : XSViewController(QString(), windowController, parent), m_document(document),
      m_editorSplitViewController(new PLSplitViewController(document, windowController, this))
{
    addChild(m_editorSplitViewController);
}

PLMainAreaViewController::~PLMainAreaViewController() = default;

QWidget *PLMainAreaViewController::loadView()
{
    auto *view = new QWidget;
    view->setObjectName(QStringLiteral("PLMainArea"));
    auto *layout = new QVBoxLayout(view);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_editorSplitViewController->view());
    return view;
}

void PLMainAreaViewController::sideBarDidSelectItem(const std::shared_ptr<PLOutlineNode> &node)
{
    if (PLSplitViewContentViewController *pane = m_editorSplitViewController->selectedSplitViewController())
        pane->selectOutlineNode(node);
}

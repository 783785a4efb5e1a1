#include "ui/window/XSViewController.h"

#include "core/foundation/PLError.h"
#include "ui/window/XSWindowController.h"

#include <QWidget>

XSViewController::XSViewController(const QString &nibName, XSWindowController *windowController, QObject *parent)
    : QObject(parent ? parent : windowController), m_nibName(nibName), m_windowController(windowController)
{
}

XSViewController::XSViewController(const QString &nibName) : m_nibName(nibName)
{
    throw PLException(QStringLiteral("XSViewControllerException"),
                      QStringLiteral("An instance of an XSViewController concrete subclass was initialized using the "
                                     "NSViewController method -initWithNibName:bundle: all view controllers in the "
                                     "enusing tree will have no reference to an XSWindowController object and cannot "
                                     "be automatically added to the responder chain"));
}

XSViewController::~XSViewController()
{
    // Neither the tree nor a later patch of the chain may reach a controller that is gone.
    if (m_parent)
        m_parent->m_children.removeAll(this);
    // A view still shown somewhere belongs to its new parent widget; an orphan goes with us.
    if (m_view && !m_view->parentWidget())
        delete m_view;
}

QWidget *XSViewController::view()
{
    if (!m_view) {
        m_view = loadView();
        awakeFromNib();
    }
    return m_view;
}

void XSViewController::setChildren(const QList<XSViewController *> &children)
{
    if (children != m_children)
        m_children = children;
}

void XSViewController::addChild(XSViewController *child)
{
    insertObjectInChildrenAtIndex(child, int(m_children.size()));
}

void XSViewController::insertObjectInChildrenAtIndex(XSViewController *child, int index)
{
    m_children.insert(index, child);
    child->m_parent = this;
    if (m_windowController)
        m_windowController->patchResponderChain();
}

void XSViewController::insertObjectsInChildrenAtIndex(const QList<XSViewController *> &children, int index)
{
    for (int offset = 0; offset < children.size(); ++offset) {
        m_children.insert(index + offset, children.at(offset));
        children.at(offset)->m_parent = this;
    }
    if (m_windowController)
        m_windowController->patchResponderChain();
}

void XSViewController::removeChild(XSViewController *child)
{
    m_children.removeOne(child);
}

void XSViewController::removeObjectFromChildrenAtIndex(int index)
{
    m_children.removeAt(index);
    if (m_windowController)
        m_windowController->patchResponderChain();
}

XSViewController *XSViewController::rootController()
{
    XSViewController *root = this;
    while (root->m_parent)
        root = root->m_parent;
    return root;
}

QList<XSViewController *> XSViewController::descendants() const
{
    QList<XSViewController *> result;
    for (XSViewController *child : m_children) {
        result << child;
        result << child->descendants();
    }
    return result;
}

void XSViewController::removeObservations()
{
    for (XSViewController *child : std::as_const(m_children))
        child->removeObservations();
}

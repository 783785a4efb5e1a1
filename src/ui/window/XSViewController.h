#pragma once

#include "ui/window/PLResponder.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

class QWidget;
class XSWindowController;

// The base of every view controller of a window. Controllers form a tree under their window
// controller, and every one of them is threaded into the window's responder chain, so that menu
// actions reach whichever controller implements them without the views knowing each other.
class XSViewController : public QObject, public PLResponder
{
    Q_OBJECT

public:
    // `nibName` names the view description the controller builds its view from.
    XSViewController(const QString &nibName, XSWindowController *windowController, QObject *parent = nullptr);
    ~XSViewController() override;

    const QString &nibName() const { return m_nibName; }
    XSWindowController *windowController() const { return m_windowController; }
    // The controller's view, built on first use.
    QWidget *view();
    bool isViewLoaded() const { return !m_view.isNull(); }

    XSViewController *parentController() const { return m_parent; }
    const QList<XSViewController *> &children() const { return m_children; }
    void setChildren(const QList<XSViewController *> &children);
    int countOfChildren() const { return int(m_children.size()); }
    XSViewController *objectInChildrenAtIndex(int index) const { return m_children.at(index); }

    void addChild(XSViewController *child);
    void insertObjectInChildrenAtIndex(XSViewController *child, int index);
    void insertObjectsInChildrenAtIndex(const QList<XSViewController *> &children, int index);
    // Takes the child out of the list only: its parent stays set and the chain is not patched.
    void removeChild(XSViewController *child);
    void removeObjectFromChildrenAtIndex(int index);

    XSViewController *rootController();
    // Every controller below this one, depth first: each child followed by its own descendants.
    QList<XSViewController *> descendants() const;
    // Stops every notification this controller and its children receive; the window is closing.
    virtual void removeObservations();

protected:
    // The platform initialiser without a window controller: refused, because such a controller
    // could never join the responder chain.
    explicit XSViewController(const QString &nibName);

    // Builds the view; called once, by view().
    virtual QWidget *loadView() = 0;
    // Called once the view exists.
    virtual void awakeFromNib() {}

private:
    QString m_nibName;
    XSWindowController *m_windowController = nullptr;
    // Guarded: a parent can go before children it no longer lists (a closed pane not yet deleted).
    QPointer<XSViewController> m_parent;
    QList<XSViewController *> m_children;
    QPointer<QWidget> m_view;
};

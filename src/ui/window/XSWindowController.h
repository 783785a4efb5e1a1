#pragma once

#include "ui/window/PLResponder.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

class QWidget;
class XSViewController;

// The base of the controllers of Plumeo's windows. It keeps the window's top-level view
// controllers and threads them, with all their descendants, into the responder chain behind it.
class XSWindowController : public QObject, public PLResponder
{
    Q_OBJECT

public:
    // `windowNibName` names the window description the controller builds its window from.
    explicit XSWindowController(const QString &windowNibName, QObject *parent = nullptr);
    ~XSWindowController() override;

    const QString &windowNibName() const { return m_windowNibName; }
    // The window, built on first use.
    QWidget *window();
    bool isWindowLoaded() const { return !m_window.isNull(); }
    void showWindow();
    // The controller of a window, when it has one.
    static XSWindowController *controllerForWindow(const QWidget *window);

    const QList<XSViewController *> &viewControllers() const { return m_viewControllers; }
    void setViewControllers(const QList<XSViewController *> &viewControllers);
    int countOfViewControllers() const { return int(m_viewControllers.size()); }
    XSViewController *objectInViewControllersAtIndex(int index) const { return m_viewControllers.at(index); }
    void addViewController(XSViewController *viewController);
    void insertObjectInViewControllersAtIndex(XSViewController *viewController, int index);
    void insertObjectsInViewControllersAtIndex(const QList<XSViewController *> &viewControllers, int index);
    void removeViewController(XSViewController *viewController);
    void removeObjectFromViewControllersAtIndex(int index);

    // Rebuilds the chain: this controller, then each top-level controller followed by its
    // descendants. The last one keeps the next responder it had.
    void patchResponderChain();

    // Every top-level controller drops its observations; called as the window closes.
    virtual void windowWillClose();

protected:
    // Builds the window; called once, by window().
    virtual QWidget *loadWindow() = 0;
    // Called once the window exists.
    virtual void windowDidLoad() {}

private:
    QString m_windowNibName;
    QList<XSViewController *> m_viewControllers;
    QPointer<QWidget> m_window;
};

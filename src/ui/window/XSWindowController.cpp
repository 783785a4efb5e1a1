#include "ui/window/XSWindowController.h"

#include "ui/window/XSViewController.h"

#include <QHash>
#include <QWidget>

namespace {
QHash<const QWidget *, XSWindowController *> &windowControllers()
{
    static QHash<const QWidget *, XSWindowController *> controllers;
    return controllers;
}
}

XSWindowController::XSWindowController(const QString &windowNibName, QObject *parent)
    : QObject(parent), m_windowNibName(windowNibName)
{
}

XSWindowController::~XSWindowController()
{
    if (m_window) {
        windowControllers().remove(m_window);
        delete m_window;
    }
}

QWidget *XSWindowController::window()
{
    if (!m_window) {
        m_window = loadWindow();
        windowControllers().insert(m_window, this);
        windowDidLoad();
    }
    return m_window;
}

void XSWindowController::showWindow()
{
    QWidget *shown = window();
    shown->show();
    shown->raise();
    shown->activateWindow();
}

XSWindowController *XSWindowController::controllerForWindow(const QWidget *window)
{
    return windowControllers().value(window);
}

void XSWindowController::setViewControllers(const QList<XSViewController *> &viewControllers)
{
    if (viewControllers != m_viewControllers)
        m_viewControllers = viewControllers;
}

void XSWindowController::addViewController(XSViewController *viewController)
{
    m_viewControllers.append(viewController);
    patchResponderChain();
}

void XSWindowController::insertObjectInViewControllersAtIndex(XSViewController *viewController, int index)
{
    m_viewControllers.insert(index, viewController);
    patchResponderChain();
}

void XSWindowController::insertObjectsInViewControllersAtIndex(const QList<XSViewController *> &viewControllers, int index)
{
    for (int offset = 0; offset < viewControllers.size(); ++offset)
        m_viewControllers.insert(index + offset, viewControllers.at(offset));
    patchResponderChain();
}

void XSWindowController::removeViewController(XSViewController *viewController)
{
    m_viewControllers.removeOne(viewController);
    patchResponderChain();
}

void XSWindowController::removeObjectFromViewControllersAtIndex(int index)
{
    m_viewControllers.removeAt(index);
    patchResponderChain();
}

void XSWindowController::patchResponderChain()
{
    if (m_viewControllers.isEmpty())
        return;
    QList<XSViewController *> flat;
    for (XSViewController *top : std::as_const(m_viewControllers)) {
        flat << top;
        flat << top->descendants();
    }
    setNextResponder(flat.first());
    for (int index = 0; index + 1 < flat.size(); ++index)
        flat.at(index)->setNextResponder(flat.at(index + 1));
}

void XSWindowController::windowWillClose()
{
    for (XSViewController *top : std::as_const(m_viewControllers))
        top->removeObservations();
}

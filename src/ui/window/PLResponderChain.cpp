#include "ui/window/PLResponderChain.h"

#include "ui/window/XSWindowController.h"

#include <QWidget>

#include <unordered_set>

namespace {
QList<PLResponder *> &applicationResponders()
{
    static QList<PLResponder *> responders;
    return responders;
}
}

QList<PLResponder *> PLResponderChain::respondersForWindow(QWidget *window)
{
    QList<PLResponder *> chain;
    std::unordered_set<PLResponder *> seen;
    const auto append = [&](PLResponder *responder) {
        if (responder && seen.insert(responder).second)
            chain << responder;
    };
    if (window) {
        for (QWidget *widget = window->focusWidget(); widget && widget != window; widget = widget->parentWidget())
            append(dynamic_cast<PLResponder *>(widget));
        append(dynamic_cast<PLResponder *>(window));
        if (XSWindowController *controller = XSWindowController::controllerForWindow(window)) {
            for (PLResponder *responder = controller; responder && !seen.count(responder);
                 responder = responder->nextResponder())
                append(responder);
        }
    }
    for (PLResponder *responder : std::as_const(applicationResponders()))
        append(responder);
    return chain;
}

PLResponder *PLResponderChain::targetForAction(QWidget *window, PLAction action)
{
    for (PLResponder *responder : respondersForWindow(window)) {
        if (responder->respondsToAction(action))
            return responder;
    }
    return nullptr;
}

bool PLResponderChain::sendAction(QWidget *window, PLAction action, QAction *sender)
{
    PLResponder *target = targetForAction(window, action);
    return target && target->tryToPerform(action, sender);
}

bool PLResponderChain::validateMenuItem(QWidget *window, PLAction action, QAction *item)
{
    PLResponder *target = targetForAction(window, action);
    return target && target->validateMenuItem(action, item);
}

void PLResponderChain::setApplicationResponders(const QList<PLResponder *> &responders)
{
    applicationResponders() = responders;
}

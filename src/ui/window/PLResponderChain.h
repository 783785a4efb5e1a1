#pragma once

#include "ui/window/PLResponder.h"

#include <QList>

class QAction;
class QWidget;

// The whole path a menu action takes in a window: the widgets from the focused one up to the
// window, the window's controller and the controllers patched behind it, then the
// application-wide responders (the application and document controllers).
class PLResponderChain
{
public:
    static QList<PLResponder *> respondersForWindow(QWidget *window);
    static PLResponder *targetForAction(QWidget *window, PLAction action);
    // Sends the action to its target when the item is valid there; answers whether it was taken.
    static bool sendAction(QWidget *window, PLAction action, QAction *sender);
    static bool validateMenuItem(QWidget *window, PLAction action, QAction *item);

    static void setApplicationResponders(const QList<PLResponder *> &responders);
};

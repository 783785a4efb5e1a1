#pragma once

#include "ui/window/PLResponder.h"

#include <QKeySequence>
#include <QObject>
#include <QStringList>
#include <QUrl>

class PLDocumentController;
class QAction;
class QActionGroup;
class QMainWindow;
class QMenu;

// The menu bar of a project window: File, Edit, View, Typeset, Window and Help, with the usual
// shortcuts of Linux desktop applications. Each item sends its action along the window's
// responder chain; an item is enabled when some responder there implements and allows it.
class PLMainMenu : public QObject
{
    Q_OBJECT

public:
    PLMainMenu(QMainWindow *window, PLDocumentController *documentController);

    static PLAction actionOfItem(const QAction *item);
    // The number a few items carry beside their action, such as the direction of pane navigation.
    static int tagOfItem(const QAction *item);

    // The Open Recent titles: the file name, followed by as many of its last folders as it takes
    // to tell it from a recent file of the same name ("main.tex — thesis").
    static QStringList recentItemTitles(const QList<QUrl> &urls);

    // Asks the responder chain about every item of the menu.
    void validateMenu(QMenu *menu);

private:
    QAction *addItem(QMenu *menu, const QString &title, PLAction action, const QKeySequence &shortcut = {}, int tag = 0);
    void perform(QAction *item);
    void rebuildRecentMenu(QMenu *menu);
    void rebuildWindowMenu(QMenu *menu);

    QMainWindow *m_window;
    PLDocumentController *m_documentController;
    QList<QAction *> m_windowListItems;
    QActionGroup *m_windowListGroup = nullptr;
};

#include "ui/app/PLMainMenu.h"

#include "ui/app/PLDocumentController.h"
#include "ui/app/PLDocumentWindowController.h"
#include "ui/editor/PLFindAndReplaceViewController.h"
#include "ui/window/PLResponderChain.h"

#include <QAction>
#include <QActionGroup>
#include <QFileInfo>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

#include <algorithm>

namespace {
const char *const actionProperty = "plumeoAction";
const char *const tagProperty = "plumeoTag";
}

PLMainMenu::PLMainMenu(QMainWindow *window, PLDocumentController *documentController)
    : QObject(window), m_window(window), m_documentController(documentController)
{
    QMenuBar *bar = window->menuBar();

    QMenu *file = bar->addMenu(tr("&File"));
    addItem(file, tr("&New"), PLAction::NewDocument, QKeySequence::New);
    addItem(file, tr("&Open…"), PLAction::OpenDocument, QKeySequence::Open);
    QMenu *recent = file->addMenu(tr("Open &Recent"));
    connect(recent, &QMenu::aboutToShow, this, [this, recent] { rebuildRecentMenu(recent); });
    addItem(file, tr("Open &Quickly…"), PLAction::DisplayOpenQuicklyWindow, QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O));
    file->addSeparator();
    addItem(file, tr("&Save"), PLAction::SaveDocument, QKeySequence::Save);
    // Plain X11 desktops define no standard key for Save As or Full Screen; these are the usual ones.
    addItem(file, tr("Save &As…"), PLAction::SaveDocumentAs, QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S));
    file->addSeparator();
    addItem(file, tr("&Export PDF…"), PLAction::ExportPdf);
    addItem(file, tr("&Print…"), PLAction::PrintDocument, QKeySequence::Print);
    file->addSeparator();
    addItem(file, tr("&Close"), PLAction::PerformClose, QKeySequence::Close);
    addItem(file, tr("&Quit"), PLAction::Terminate, QKeySequence::Quit);

    QMenu *edit = bar->addMenu(tr("&Edit"));
    addItem(edit, tr("&Undo"), PLAction::Undo, QKeySequence::Undo);
    addItem(edit, tr("&Redo"), PLAction::Redo, QKeySequence::Redo);
    edit->addSeparator();
    addItem(edit, tr("Cu&t"), PLAction::Cut, QKeySequence::Cut);
    addItem(edit, tr("&Copy"), PLAction::Copy, QKeySequence::Copy);
    addItem(edit, tr("&Paste"), PLAction::Paste, QKeySequence::Paste);
    addItem(edit, tr("Select &All"), PLAction::SelectAll, QKeySequence::SelectAll);
    edit->addSeparator();
    addItem(edit, tr("&Find and Replace…"), PLAction::PerformFindPanelAction, QKeySequence::Find, PLFindAndReplaceViewController::ShowFind);
    addItem(edit, tr("Find Ne&xt"), PLAction::PerformFindPanelAction, {}, PLFindAndReplaceViewController::FindNext)
        ->setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_G), QKeySequence(Qt::Key_F3)});
    addItem(edit, tr("Find Pre&vious"), PLAction::PerformFindPanelAction, {}, PLFindAndReplaceViewController::FindPrevious)
        ->setShortcuts({QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_G), QKeySequence(Qt::SHIFT | Qt::Key_F3)});
    addItem(edit, tr("Use &Selection for Find"), PLAction::PerformFindPanelAction, QKeySequence(Qt::CTRL | Qt::Key_E),
            PLFindAndReplaceViewController::UseSelectionForFind);
    addItem(edit, tr("&Go to Line…"), PLAction::DisplayGoToLineWindow, QKeySequence(Qt::CTRL | Qt::Key_L));
    edit->addSeparator();
    addItem(edit, tr("Co&mment or Uncomment Lines"), PLAction::ToggleCommentOfCurrentLine, QKeySequence(Qt::CTRL | Qt::Key_Slash));
    addItem(edit, tr("&Bold"), PLAction::ToggleBold, QKeySequence::Bold);
    addItem(edit, tr("&Italic"), PLAction::ToggleItalic, QKeySequence::Italic);
    addItem(edit, tr("U&nderline"), PLAction::ToggleUnderline, QKeySequence::Underline);
    edit->addSeparator();
    addItem(edit, tr("Pr&eferences…"), PLAction::DisplayPreferences, QKeySequence(Qt::CTRL | Qt::Key_Comma));

    QMenu *view = bar->addMenu(tr("&View"));
    addItem(view, tr("&Split Pane"), PLAction::SplitView, QKeySequence(Qt::CTRL | Qt::Key_Backslash));
    addItem(view, tr("Split Pane Showing the &PDF"), PLAction::SplitViewAndDisplayPDF,
            QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Backslash));
    addItem(view, tr("&Close Pane"), PLAction::CloseView, QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_W));
    addItem(view, tr("Show &Text or PDF"), PLAction::ToggleDocumentPDF, QKeySequence(Qt::CTRL | Qt::ALT | Qt::Key_P));
    view->addSeparator();
    addItem(view, tr("Pre&vious Pane"), PLAction::NavigateToSplitViewMenuItemPressed, QKeySequence(Qt::CTRL | Qt::Key_PageUp), 0);
    addItem(view, tr("&Next Pane"), PLAction::NavigateToSplitViewMenuItemPressed, QKeySequence(Qt::CTRL | Qt::Key_PageDown), 1);
    view->addSeparator();
    addItem(view, tr("&Back"), PLAction::NavigateBackward, QKeySequence(Qt::ALT | Qt::Key_Left));
    addItem(view, tr("&Forward"), PLAction::NavigateForward, QKeySequence(Qt::ALT | Qt::Key_Right));
    view->addSeparator();
    QAction *fullScreen = addItem(view, tr("F&ull Screen"), PLAction::ToggleFullScreen, QKeySequence(Qt::Key_F11));
    fullScreen->setCheckable(true);

    QMenu *typeset = bar->addMenu(tr("&Typeset"));
    addItem(typeset, tr("&Typeset"), PLAction::Typeset, QKeySequence(Qt::CTRL | Qt::Key_T));
    addItem(typeset, tr("&Stop Typesetting"), PLAction::StopTypesetting, QKeySequence(Qt::CTRL | Qt::Key_Period));
    typeset->addSeparator();
    addItem(typeset, tr("Show &Console"), PLAction::DisplayTransformationConsole);
    addItem(typeset, tr("Show &Errors and Warnings"), PLAction::DisplayErrorsAndWarnings, QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_E));
    typeset->addSeparator();
    // The tag says the direction: from the source to the PDF, or back.
    addItem(typeset, tr("Show in &PDF"), PLAction::PerformTexSyncMenuAction, QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_J), 0);
    addItem(typeset, tr("Show in Sou&rce"), PLAction::PerformTexSyncMenuAction, QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_K), 1);
    typeset->addSeparator();
    addItem(typeset, tr("&Remove Typesetting By-products"), PLAction::RemoveTypesettingRelatedFiles);

    QMenu *windowMenu = bar->addMenu(tr("&Window"));
    addItem(windowMenu, tr("&Minimize"), PLAction::Minimize, QKeySequence(Qt::CTRL | Qt::Key_M));
    windowMenu->addSeparator();
    // Shift+1 reaches an X11 application as "!": depending on the Qt release the shortcut map
    // offers Ctrl+Shift+! or Ctrl+Shift+1 (with Ctrl+!) for it. Ctrl+! is left out, since two
    // keys of one press matching would make the shortcut ambiguous and do nothing.
    addItem(windowMenu, tr("&Welcome to Plumeo"), PLAction::DisplayWelcomeWindow, QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_1))
        ->setShortcuts({QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_1), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Exclam)});
    windowMenu->addSeparator();
    connect(windowMenu, &QMenu::aboutToShow, this, [this, windowMenu] { rebuildWindowMenu(windowMenu); });

    QMenu *help = bar->addMenu(tr("&Help"));
    addItem(help, tr("&About Plumeo"), PLAction::OrderFrontAboutPanel);

    for (QMenu *menu : {file, edit, view, typeset, windowMenu, help}) {
        connect(menu, &QMenu::aboutToShow, this, [this, menu] { validateMenu(menu); });
        // Shortcuts must stay live while the menus are closed: their actions are checked again,
        // against the responder chain as it is then, when they are triggered.
        connect(menu, &QMenu::aboutToHide, this, [menu] {
            for (QAction *item : menu->actions())
                item->setEnabled(true);
        });
    }
}

PLAction PLMainMenu::actionOfItem(const QAction *item)
{
    return PLAction(item->property(actionProperty).toInt());
}

int PLMainMenu::tagOfItem(const QAction *item)
{
    return item ? item->property(tagProperty).toInt() : 0;
}

QAction *PLMainMenu::addItem(QMenu *menu, const QString &title, PLAction action, const QKeySequence &shortcut, int tag)
{
    QAction *item = menu->addAction(title);
    item->setShortcut(shortcut);
    item->setProperty(actionProperty, int(action));
    item->setProperty(tagProperty, tag);
    connect(item, &QAction::triggered, this, [this, item] { perform(item); });
    return item;
}

void PLMainMenu::perform(QAction *item)
{
    PLResponderChain::sendAction(m_window, actionOfItem(item), item);
}

void PLMainMenu::validateMenu(QMenu *menu)
{
    for (QAction *item : menu->actions()) {
        if (item->isSeparator() || item->menu() || !item->property(actionProperty).isValid())
            continue;
        item->setEnabled(PLResponderChain::validateMenuItem(m_window, actionOfItem(item), item));
    }
}

void PLMainMenu::rebuildRecentMenu(QMenu *menu)
{
    menu->clear();
    const QList<QUrl> urls = m_documentController->recentDocumentURLs();
    const QStringList titles = recentItemTitles(urls);
    for (qsizetype index = 0; index < urls.size(); ++index) {
        const QUrl &url = urls.at(index);
        QAction *item = menu->addAction(titles.at(index));
        item->setToolTip(url.toLocalFile());
        connect(item, &QAction::triggered, m_documentController,
                [controller = m_documentController, url] { controller->openDocumentWithContentsOfURL(url, true); });
    }
    menu->addSeparator();
    QAction *clear = menu->addAction(tr("&Clear Menu"));
    clear->setEnabled(!urls.isEmpty());
    connect(clear, &QAction::triggered, m_documentController, &PLDocumentController::clearRecentDocuments);
}

QStringList PLMainMenu::recentItemTitles(const QList<QUrl> &urls)
{
    // Each path as its folders from the file up, so that a title can take one more at a time.
    QList<QStringList> pieces;
    for (const QUrl &url : urls) {
        QStringList reversed = url.toLocalFile().split(u'/', Qt::SkipEmptyParts);
        std::reverse(reversed.begin(), reversed.end());
        pieces << reversed;
    }
    QList<int> depths(urls.size(), 1);
    // A title shared by several files takes one more folder in each of them, until all differ or
    // a path has no folder left.
    for (bool changed = true; changed;) {
        changed = false;
        for (qsizetype i = 0; i < pieces.size(); ++i) {
            const QStringList mine = pieces.at(i).mid(0, depths.at(i));
            for (qsizetype j = 0; j < pieces.size(); ++j) {
                if (j == i || pieces.at(j).mid(0, depths.at(j)) != mine)
                    continue;
                for (const qsizetype k : {i, j}) {
                    if (depths.at(k) < pieces.at(k).size()) {
                        ++depths[k];
                        changed = true;
                    }
                }
            }
        }
    }
    QStringList titles;
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        const QStringList &path = pieces.at(i);
        QString title = path.value(0);
        QStringList folders = path.mid(1, depths.at(i) - 1);
        std::reverse(folders.begin(), folders.end());
        if (!folders.isEmpty())
            title += QStringLiteral(" — ") + folders.join(u'/');
        titles << title;
    }
    return titles;
}

void PLMainMenu::rebuildWindowMenu(QMenu *menu)
{
    qDeleteAll(m_windowListItems);
    m_windowListItems.clear();
    if (!m_windowListGroup)
        m_windowListGroup = new QActionGroup(menu);
    for (PLDocumentWindowController *controller : m_documentController->windowControllers()) {
        QWidget *window = controller->window();
        QAction *item = menu->addAction(window->windowTitle().remove(QStringLiteral("[*]")));
        item->setCheckable(true);
        item->setChecked(window == m_window);
        m_windowListGroup->addAction(item);
        connect(item, &QAction::triggered, controller, &PLDocumentWindowController::showWindow);
        m_windowListItems << item;
    }
}

#include "PLUiTestSupport.h"
#include "ui/editor/PLFindAndReplaceViewController.h"
#include "ui/window/PLWelcomeWindowController.h"

namespace {

using MainMenu = PLTest::LaunchedApplicationTest;

// An open menu enables what the window can do; the typesetting, pane and sync items have their
// windows' tests.
TEST_F(MainMenu, OpenMenusEnableWhatTheWindowCanDoAndClosedOnesLeaveShortcutsLive)
{
    controller->window()->activateWindow();
    const QList<QAction *> menus = controller->documentWindow()->menuBar()->actions();
    controller->mainMenu()->validateMenu(menus.at(1)->menu());
    QAction *find = PLTest::menuItem(controller->documentWindow(), PLAction::PerformFindPanelAction,
                                     PLFindAndReplaceViewController::ShowFind);
    EXPECT_TRUE(find->isEnabled());
    // Plain X11 desktops have no standard keys for these two.
    QMap<PLAction, QKeySequence> keys;
    for (QAction *menu : menus)
        for (QAction *item : menu->menu()->actions())
            keys.insert(PLMainMenu::actionOfItem(item), item->shortcut());
    EXPECT_EQ(keys.value(PLAction::SaveDocumentAs), QKeySequence(QStringLiteral("Ctrl+Shift+S")));
    EXPECT_EQ(keys.value(PLAction::ToggleFullScreen), QKeySequence(Qt::Key_F11));
    // Closed menus leave every shortcut live; a shortcut is checked when it is pressed.
    menus.at(2)->menu()->aboutToHide();
    for (QAction *item : menus.at(2)->menu()->actions())
        EXPECT_TRUE(item->isEnabled());
}

TEST_F(MainMenu, TheWelcomeWindowKeyWorksWhereShiftAndOneTypeAnExclamationMark)
{
    QWidget *window = controller->window();
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    QTest::keyClick(window, Qt::Key_Exclam, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_TRUE(application.welcomeWindowController()->isWindowLoaded() && application.welcomeWindowController()->window()->isVisible());
}

TEST(MainMenuRecentItems, AddFoldersUntilFilesOfTheSameNameDiffer)
{
    const auto titles = [](std::initializer_list<const char *> paths) {
        QList<QUrl> urls;
        for (const char *path : paths)
            urls << QUrl::fromLocalFile(QString::fromUtf8(path));
        return PLMainMenu::recentItemTitles(urls);
    };
    EXPECT_EQ(titles({"/home/a/thesis/main.tex", "/home/a/book/main.tex", "/home/a/notes.tex"}),
              (QStringList{QStringLiteral("main.tex — thesis"), QStringLiteral("main.tex — book"), QStringLiteral("notes.tex")}));
    EXPECT_EQ(titles({"/x/one/ch/main.tex", "/y/one/ch/main.tex"}),
              (QStringList{QStringLiteral("main.tex — x/one/ch"), QStringLiteral("main.tex — y/one/ch")}));
    EXPECT_EQ(titles({"/p/main.tex", "/p/q/main.tex"}), (QStringList{QStringLiteral("main.tex — p"), QStringLiteral("main.tex — q")}));
}

}

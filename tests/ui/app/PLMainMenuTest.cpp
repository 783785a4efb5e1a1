#include "PLUiTestSupport.h"
#include "ui/window/PLWelcomeWindowController.h"

namespace {

class MainMenu : public PLTest::LaunchedApplicationTest
{
protected:
    void SetUp() override
    {
        LaunchedApplicationTest::SetUp();
        controller->window()->activateWindow();
        for (QAction *menuItem : controller->documentWindow()->menuBar()->actions())
            menus << menuItem->menu();
    }

    // The items of a menu as they show once the menu opens: title, then "-" when disabled.
    QStringList shown(int menu)
    {
        controller->mainMenu()->validateMenu(menus.at(menu));
        QStringList items;
        for (QAction *item : menus.at(menu)->actions()) {
            if (!item->isSeparator())
                items << item->text().remove(u'&') + (item->isEnabled() ? QString() : QStringLiteral(" -"));
        }
        return items;
    }

    QList<QMenu *> menus;
};

TEST_F(MainMenu, HasTheUsualMenusWithLaterFeaturesPresentButDisabled)
{
    QStringList titles;
    for (QMenu *menu : menus)
        titles << menu->title().remove(u'&');
    EXPECT_EQ(titles, (QStringList{QStringLiteral("File"), QStringLiteral("Edit"), QStringLiteral("View"),
                                   QStringLiteral("Typeset"), QStringLiteral("Window"), QStringLiteral("Help")}));

    EXPECT_EQ(shown(0), (QStringList{QStringLiteral("New"), QStringLiteral("Open…"), QStringLiteral("Open Recent"),
                                     QStringLiteral("Open Quickly…"), QStringLiteral("Save"), QStringLiteral("Save As…"),
                                     QStringLiteral("Export PDF…"), QStringLiteral("Print…"), QStringLiteral("Close"),
                                     QStringLiteral("Quit")}));
    EXPECT_FALSE(shown(1).contains(QStringLiteral("Find and Replace… -")));
    // No job runs: Typeset is offered, Stop is not.
    EXPECT_EQ(shown(3), (QStringList{QStringLiteral("Typeset"), QStringLiteral("Stop Typesetting -"),
                                     QStringLiteral("Show Console"), QStringLiteral("Show Errors and Warnings"),
                                     // The focused pane shows text: the way to the PDF is offered, the way back is not.
                                     QStringLiteral("Show in PDF"), QStringLiteral("Show in Source -"),
                                     QStringLiteral("Remove Typesetting By-products")}));
    // With one pane there is nowhere to move the focus, and no pane to close.
    const QStringList view = shown(2);
    EXPECT_TRUE(view.contains(QStringLiteral("Next Pane -")));
    EXPECT_TRUE(view.contains(QStringLiteral("Close Pane -")));
    EXPECT_TRUE(view.contains(QStringLiteral("Split Pane")));

    // Plain X11 desktops have no standard keys for these two.
    QMap<PLAction, QKeySequence> keys;
    for (QMenu *menu : std::as_const(menus))
        for (QAction *item : menu->actions())
            keys.insert(PLMainMenu::actionOfItem(item), item->shortcut());
    EXPECT_EQ(keys.value(PLAction::SaveDocumentAs), QKeySequence(QStringLiteral("Ctrl+Shift+S")));
    EXPECT_EQ(keys.value(PLAction::ToggleFullScreen), QKeySequence(Qt::Key_F11));

    // Closed menus leave every shortcut live; a shortcut is checked when it is pressed.
    menus.at(2)->aboutToHide();
    for (QAction *item : menus.at(2)->actions())
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

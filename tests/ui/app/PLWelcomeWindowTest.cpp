#include "ui/app/PLApplicationController.h"
#include "PLUiTestSupport.h"
#include "ui/preferences/PLPreferencesWindowController.h"
#include "ui/window/PLWelcomeWindowController.h"
#include "ui/window/PLWelcomeWindowMainViewController.h"
#include "ui/window/PLWelcomeWindowRecentFilesTableView.h"

namespace {

class WelcomeWindow : public PLTest::ApplicationTest
{
protected:
    PLWelcomeWindowMainViewController *launch(const QStringList &files = {})
    {
        application.applicationDidFinishLaunching(files);
        QCoreApplication::processEvents();
        return application.welcomeWindowController()->mainViewController();
    }
    bool welcomeIsShown() { return application.welcomeWindowController()->window()->isVisible(); }
};

// With nothing to open it shows, with no untitled project; its preferences shortcut always shows
// the one preferences window.
TEST_F(WelcomeWindow, LaunchingWithNothingToOpenShowsItAndReachesThePreferences)
{
    PLWelcomeWindowMainViewController *welcome = launch();
    EXPECT_TRUE(welcomeIsShown());
    EXPECT_TRUE(application.documentController()->documents().isEmpty());
    EXPECT_EQ(welcome->numberOfRowsInTableView(), 0);
    EXPECT_FALSE(welcome->openItemInRecentItemsListAtRow(-1));
    QWidget *window = application.welcomeWindowController()->window();
    QList<PLPreferencesWindowController *> shown;
    for (int press = 0; press < 2; ++press) {
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window));
        QTest::keyClick(window, Qt::Key_Comma, Qt::ControlModifier);
        shown << application.preferencesWindowController();
        EXPECT_TRUE(shown.last()->window()->isVisible());
        shown.last()->close();
    }
    EXPECT_EQ(shown.first(), shown.last());
}

TEST_F(WelcomeWindow, ListsRecentProjectsByDecodedNameAndOpensTheSelectedOne)
{
    const QString older = project.write(QStringLiteral("older.tex"), QStringLiteral("a"));
    const QString spaced = project.write(QStringLiteral("My Thesis.tex"), QStringLiteral("b"));
    application.documentController()->noteNewRecentDocumentURL(QUrl::fromLocalFile(older));
    application.documentController()->noteNewRecentDocumentURL(QUrl::fromLocalFile(spaced));
    PLWelcomeWindowMainViewController *welcome = launch();
    ASSERT_EQ(welcome->numberOfRowsInTableView(), 2);
    EXPECT_EQ(welcome->objectValueForRow(0), QStringLiteral("My Thesis.tex"));
    EXPECT_EQ(welcome->objectValueForRow(1), QStringLiteral("older.tex"));
    // The list is the one the window was made with.
    application.documentController()->noteNewRecentDocumentURL(QUrl::fromLocalFile(project.path(QStringLiteral("new.tex"))));
    EXPECT_EQ(welcome->numberOfRowsInTableView(), 2);
    // The list has the keys as soon as the window appears.
    PLWelcomeWindowRecentFilesTableView *table = welcome->recentFilesTableView();
    ASSERT_TRUE(QTest::qWaitForWindowActive(application.welcomeWindowController()->window()));
    EXPECT_EQ(QApplication::focusWidget(), table);
    table->clearSelection();
    QTest::keyClick(table, Qt::Key_Return);
    EXPECT_TRUE(application.documentController()->documents().isEmpty());
    table->selectRow(1);
    QTest::keyClick(table, Qt::Key_Return);
    ASSERT_EQ(application.documentController()->documents().size(), 1);
    EXPECT_EQ(application.documentController()->documents().constFirst()->mainFile()->stringPath(), older);
    EXPECT_FALSE(welcomeIsShown());
}

TEST_F(WelcomeWindow, ComesBackWhenTheLastProjectWindowCloses)
{
    const QString path = project.write(QStringLiteral("main.tex"), QStringLiteral("a"));
    QString report;
    PLTest::answerNextMessageBox(QMessageBox::Ok, &report);
    launch({path, project.path(QStringLiteral("missing.tex"))});
    EXPECT_TRUE(report.contains(QStringLiteral("missing.tex")));
    EXPECT_FALSE(application.welcomeWindowController()->isWindowLoaded() && welcomeIsShown());
    ASSERT_EQ(application.documentController()->documents().size(), 1);
    application.documentController()->windowControllers().constFirst()->close();
    EXPECT_TRUE(welcomeIsShown());
}

}

#include "ui/app/PLApplication.h"
#include "ui/app/PLInstanceClient.h"
#include "ui/app/PLInstanceServer.h"
#include "ui/editor/PLFindAndReplaceViewController.h"
#include "ui/preferences/PLPreferencesWindowController.h"
#include "ui/window/PLDocumentOutlineItemModel.h"
#include "ui/window/PLSideBarViewController.h"
#include "ui/window/PLWelcomeWindowController.h"
#include "ui/window/PLWelcomeWindowMainViewController.h"
#include "ui/window/PLWelcomeWindowRecentFilesTableView.h"
#include "PLUiTestSupport.h"

#include <QEvent>
#include <QDateTime>
#include <QFile>
#include <QLocalSocket>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

class Throwing : public QObject
{
public:
    bool event(QEvent *event) override
    {
        if (event->type() == QEvent::User)
            throw PLException(QStringLiteral("IndexOutOfBoundsException"), QStringLiteral("from a handler"));
        return QObject::event(event);
    }
};

// An exception thrown while handling an event used to cross Qt's event loop and abort.
TEST(PLApplication, AnExceptionFromAnEventHandlerIsLoggedAndTheEventLoopGoesOn)
{
    ASSERT_NE(qobject_cast<PLApplication *>(QCoreApplication::instance()), nullptr);
    Throwing receiver;
    QEvent sent(QEvent::User);
    EXPECT_FALSE(QCoreApplication::sendEvent(&receiver, &sent));
    QCoreApplication::postEvent(&receiver, new QEvent(QEvent::User));
    QCoreApplication::sendPostedEvents(&receiver, QEvent::User);
    QEvent after(QEvent::None);
    EXPECT_FALSE(QCoreApplication::sendEvent(&receiver, &after));
}

using MainMenu = PLTest::LaunchedApplicationTest;

// An open menu enables what the window can do; the typesetting, pane and sync items have their
// windows' tests.
TEST_F(MainMenu, OpenMenusEnableWhatTheWindowCanDoAndClosedOnesLeaveShortcutsLive)
{
    controller->window()->activateWindow();
    const QList<QAction *> menus = controller->documentWindow()->menuBar()->actions();
    controller->mainMenu()->validateMenu(menus.at(1)->menu());
    QMainWindow *window = controller->documentWindow();
    EXPECT_TRUE(PLTest::menuItem(window, PLAction::PerformFindPanelAction, PLFindAndReplaceViewController::ShowFind)->isEnabled());
    // Plain X11 desktops have no standard keys for these two.
    EXPECT_EQ(PLTest::menuItem(window, PLAction::SaveDocumentAs)->shortcut(), QKeySequence(QStringLiteral("Ctrl+Shift+S")));
    EXPECT_EQ(PLTest::menuItem(window, PLAction::ToggleFullScreen)->shortcut(), QKeySequence(Qt::Key_F11));
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

// Projects opened in windows that are not shown; the fixture's own members hold the last one.
class DocumentController : public PLTest::ProjectWindowTest
{
protected:
    PLDocument *open(const QString &path)
    {
        openWindow(path, QSize(900, 500), false);
        return document;
    }
};

TEST_F(DocumentController, RecentProjectsAreMostRecentFirstWithoutRepeatsAndBounded)
{
    for (int number = 0; number < 12; ++number)
        documents.noteNewRecentDocumentURL(QUrl::fromLocalFile(QStringLiteral("/p/%1.tex").arg(number)));
    documents.noteNewRecentDocumentURL(QUrl::fromLocalFile(QStringLiteral("/p/5.tex")));
    const QList<QUrl> recent = documents.recentDocumentURLs();
    ASSERT_EQ(recent.size(), PLDocumentController::maximumRecentDocumentCount);
    EXPECT_EQ(recent.at(0).toLocalFile(), QStringLiteral("/p/5.tex"));
    EXPECT_EQ(recent.at(1).toLocalFile(), QStringLiteral("/p/11.tex"));
    EXPECT_EQ(recent.count(QUrl::fromLocalFile(QStringLiteral("/p/5.tex"))), 1);
}

TEST_F(DocumentController, OneWindowPerProjectAndOneFileObjectPerPath)
{
    const QString first = project.write(QStringLiteral("first.tex"), QStringLiteral("\\input{common}\n"));
    const QString second = project.write(QStringLiteral("second.tex"), QStringLiteral("\\input{common}\n"));
    project.write(QStringLiteral("common.tex"), QStringLiteral("\\section{Shared}\n"));
    PLDocument *a = open(first);
    EXPECT_EQ(open(project.path(QStringLiteral("./first.tex"))), a);
    EXPECT_EQ(documents.recentDocumentURLs().constFirst().toLocalFile(), first);
    PLDocument *b = open(second);
    ASSERT_NE(b, a);
    const auto commonOfA = a->mainFile()->filesInDocument().constFirst();
    const auto commonOfB = b->mainFile()->filesInDocument().constFirst();
    EXPECT_EQ(commonOfA, commonOfB);
    EXPECT_EQ(commonOfA->openCount(), 2u);
    // Closing one project leaves the other's file intact.
    documents.windowControllerForDocument(a)->close();
    EXPECT_EQ(commonOfB->openCount(), 1u);
    EXPECT_EQ(commonOfB->content(), QStringLiteral("\\section{Shared}\n"));
}

// The answer, whether the window closes and what the file then holds.
using UnsavedChanges = PLTest::WithParam<DocumentController, std::tuple<QMessageBox::StandardButton, bool, const char *>>;

TEST_P(UnsavedChanges, ClosingAnEditedProjectAsksFirst)
{
    const auto [answer, closes, onDisk] = GetParam();
    const QString path = project.write(QStringLiteral("main.tex"), QStringLiteral("Draft.\n"));
    open(path)->mainFile()->contentBuffer()->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("New "));
    EXPECT_TRUE(window->isWindowModified());
    QString question;
    PLTest::answerNextMessageBox(answer, &question);
    EXPECT_EQ(windowController->close(), closes);
    EXPECT_TRUE(question.contains(QStringLiteral("main.tex")));
    EXPECT_EQ(documents.documents().isEmpty(), closes);
    EXPECT_EQ(PLTest::readFile(path), QByteArray(onDisk));
}

INSTANTIATE_TEST_SUITE_P(Answers, UnsavedChanges,
                         ::testing::Values(std::tuple{QMessageBox::Cancel, false, "Draft.\n"},
                                           std::tuple{QMessageBox::Discard, true, "Draft.\n"},
                                           std::tuple{QMessageBox::Save, true, "New Draft.\n"}));

TEST_F(DocumentController, QuittingStopsAtTheFirstProjectTheUserKeeps)
{
    open(project.write(QStringLiteral("clean.tex"), QStringLiteral("a")));
    PLDocument *edited = open(project.write(QStringLiteral("edited.tex"), QStringLiteral("b")));
    edited->mainFile()->contentBuffer()->replaceCharactersInRange(PLRange{1, 0}, QStringLiteral("c"));
    PLTest::answerNextMessageBox(QMessageBox::Cancel);
    EXPECT_FALSE(documents.closeAllDocuments());
    EXPECT_EQ(documents.documents(), QList<PLDocument *>{edited});
}

TEST_F(DocumentController, FilesChangedOnDiskAreReadAgainWhenTheWindowBecomesActive)
{
    const QString chapter = project.write(QStringLiteral("chapter.tex"), QStringLiteral("\\section{Old}\n"));
    open(project.write(QStringLiteral("main.tex"), QStringLiteral("\\input{chapter}\n")));
    const auto file = document->mainFile()->filesInDocument().constFirst();
    pane()->setFile(file);
    project.write(QStringLiteral("chapter.tex"), QStringLiteral("\\section{New}\n"));
    QFile changed(chapter);
    ASSERT_TRUE(changed.open(QIODevice::ReadWrite));
    ASSERT_TRUE(changed.setFileTime(QDateTime::currentDateTime().addSecs(60), QFileDevice::FileModificationTime));
    changed.close();
    QEvent activation(QEvent::WindowActivate);
    QApplication::sendEvent(window, &activation);
    EXPECT_EQ(file->content(), QStringLiteral("\\section{New}\n"));
    EXPECT_EQ(textView()->toPlainText(), QStringLiteral("\\section{New}\n"));
    PLDocumentOutlineItemModel *outline = windowController->splitViewController()->sideBarViewController()->dataSource();
    const QModelIndex included = outline->index(0, 0, outline->index(0, 0));
    EXPECT_EQ(outline->index(0, 0, included).data().toString(), QStringLiteral("New"));
}

// Saving wrote over another program's changes without a word. The window asks, naming the file;
// Reload takes the other program's text and writes nothing over it.
TEST_F(DocumentController, SavingOverAFileChangedOnDiskAsksOverwriteReloadOrCancel)
{
    const QString chapter = project.write(QStringLiteral("chapter.tex"), QStringLiteral("mine\n"));
    open(project.write(QStringLiteral("main.tex"), QStringLiteral("\\input{chapter}\n")));
    const auto file = document->mainFile()->filesInDocument().constFirst();
    file->contentBuffer()->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("more "));
    project.write(QStringLiteral("chapter.tex"), QStringLiteral("theirs\n"));
    QString question;
    PLTest::answerNextMessageBox(QMessageBox::Discard, &question);
    EXPECT_TRUE(windowController->saveDocument());
    EXPECT_TRUE(question.contains(QStringLiteral("chapter.tex")));
    EXPECT_EQ(file->content(), QStringLiteral("theirs\n"));
    EXPECT_EQ(PLTest::readFile(chapter), QByteArray("theirs\n"));
    EXPECT_FALSE(window->isWindowModified());
}

TEST_F(DocumentController, SaveAsMovesEveryPaneToTheNewMainFile)
{
    open(project.write(QStringLiteral("draft.tex"), QStringLiteral("\\section{Kept}\n")));
    pane()->splitView(Qt::NoModifier);
    const QString newPath = project.path(QStringLiteral("final.tex"));
    ASSERT_TRUE(document->saveDocumentAs(newPath));
    for (PLSplitViewContentViewController *pane : editor->contentViewControllers())
        EXPECT_EQ(pane->file()->stringPath(), newPath);
    EXPECT_EQ(PLTest::readFile(newPath), QByteArray("\\section{Kept}\n"));
}

// The first launch's server and controller, and later launches handing files to it, all in
// this process: the hand-over goes through a real socket in a temporary folder.
class InstanceHandOver : public PLTest::ApplicationTest
{
protected:
    void SetUp() override
    {
        ApplicationTest::SetUp();
        serverName = QDir(socketFolder.path()).filePath(QStringLiteral("plumeo.socket"));
        ASSERT_TRUE(server.listen(serverName));
        QObject::connect(&server, &PLInstanceServer::openFilesRequested, &application,
                         [this](const QStringList &paths, const QString &token) {
                             tokens << token;
                             application.openFilesHandedOver(paths);
                         });
    }
    // A later launch: true when the running instance took the files.
    bool launch(const QStringList &files, const QString &token = {})
    {
        PLInstanceClient client;
        QSignalSpy delivered(&client, &PLInstanceClient::delivered);
        QSignalSpy failed(&client, &PLInstanceClient::failed);
        client.send(serverName, files, token);
        EXPECT_TRUE(QTest::qWaitFor([&] { return delivered.count() + failed.count() == 1; }));
        return delivered.count() == 1;
    }
    QList<PLDocument *> documents() const { return application.documentController()->documents(); }
    QTemporaryDir socketFolder;
    QString serverName;
    PLInstanceServer server;
    QStringList tokens;
};

TEST_F(InstanceHandOver, ALaterLaunchOpensItsFileInTheRunningInstanceAndAnOpenFileComesForward)
{
    const QString first = project.write(QStringLiteral("first.tex"), QStringLiteral("First.\n"));
    const QString second = project.write(QStringLiteral("second.tex"), QStringLiteral("Second.\n"));
    // A relative path is the launch's own business: it leaves as an absolute one.
    const QString previousFolder = QDir::currentPath();
    QDir::setCurrent(QFileInfo(first).absolutePath());
    const bool handedOver = launch({QStringLiteral("first.tex")}, QStringLiteral("token-1"));
    QDir::setCurrent(previousFolder);
    ASSERT_TRUE(handedOver);
    ASSERT_EQ(documents().size(), 1);
    EXPECT_EQ(documents().first()->mainFile()->stringPath(), first);
    EXPECT_EQ(tokens, QStringList{QStringLiteral("token-1")});
    ASSERT_TRUE(launch({second}));
    ASSERT_EQ(documents().size(), 2);
    // The first project again: no second window, its own comes forward.
    ASSERT_TRUE(launch({first}));
    ASSERT_EQ(documents().size(), 2);
    QWidget *firstWindow = application.documentController()->windowControllerForDocument(documents().first())->window();
    EXPECT_TRUE(QTest::qWaitForWindowActive(firstWindow));
}

// A launch without files shows the running instance.
TEST_F(InstanceHandOver, AGarbledRequestIsRefusedAndTheServerGoesOnServing)
{
    QLocalSocket garbled;
    QSignalSpy closed(&garbled, &QLocalSocket::disconnected);
    garbled.connectToServer(serverName);
    garbled.write("{\"files\": \"not a list\"}\n");
    EXPECT_TRUE(closed.wait());
    EXPECT_TRUE(tokens.isEmpty());
    ASSERT_TRUE(launch({}));
    EXPECT_TRUE(documents().isEmpty());
    EXPECT_TRUE(application.welcomeWindowController()->window()->isVisible());
}

TEST(InstanceHandOverWithoutServer, FailsWhenNothingRunsAndAStaleSocketIsReplaced)
{
    QTemporaryDir folder;
    const QString name = QDir(folder.path()).filePath(QStringLiteral("plumeo.socket"));
    EXPECT_FALSE(PLInstanceClient::sendAndWait(name, {QStringLiteral("/tmp/a.tex")}, QString(), 5000));
    // What a crashed instance leaves behind must not keep the next one from serving.
    PLTest::writeFile(name, "left over");
    PLInstanceServer server;
    EXPECT_TRUE(server.listen(name));
}

}

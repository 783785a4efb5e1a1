#include "ui/app/PLApplicationController.h"
#include "ui/app/PLInstanceClient.h"
#include "ui/app/PLInstanceServer.h"
#include "PLUiTestSupport.h"
#include "ui/window/PLWelcomeWindowController.h"

#include <QLocalSocket>
#include <QSignalSpy>

namespace {

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

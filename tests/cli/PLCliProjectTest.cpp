#include "PLCliRunner.h"
#include "PLTestSupport.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class CliProject : public ::testing::Test
{
protected:
    void SetUp() override
    {
        PLTest::writeFile(path("main.tex"), "\\part{P}\n\\chapter{C}\n\\section{Intro to \\emph{sets}}\ntext\n\\input{sub/chap}\n"
                                            "\\bibliography{refs,more}\n");
        PLTest::writeFile(path("sub/chap.tex"), "\\section{Inside}\n\\subsubsection{Deep}\n");
        PLTest::writeFile(path("refs.bib"), "@book{a, title={A}}\n");
        PLTest::writeFile(path("more.bib"), "@book{b, title={B}}\n");
    }
    QString path(const char *relative) const { return QDir(m_dir.path()).filePath(QString::fromLatin1(relative)); }

    // Runs the command and expects it to succeed.
    static PLCliRun succeeds(std::initializer_list<QAnyStringView> arguments)
    {
        const PLCliRun run = runCli(arguments);
        EXPECT_EQ(run.exitCode, 0) << run.standardError.toStdString();
        return run;
    }

    // The names of the notifications the edit posted, without their common prefix.
    static QStringList notificationNames(const PLCliRun &run)
    {
        QStringList names;
        for (const QJsonValue &n : run.at("notifications").toArray())
            names << n.toObject().value(QStringLiteral("name")).toString().remove(QStringLiteral("PLNotification"));
        return names;
    }

    QTemporaryDir m_dir;
};

TEST_F(CliProject, OutlineAndSidebarNestHeadingsAndIncludedFiles)
{
    const PLCliRun run = succeeds({"outline", path("main.tex")});
    EXPECT_EQ(run.at("outline.type").toInt(), 0);
    EXPECT_EQ(run.at("outline.name").toString(), u"main.tex");
    // The root holds an empty text node and the part; everything else nests below the part.
    EXPECT_EQ(run.at("outline.children.1.type").toInt(), 1);
    EXPECT_EQ(run.at("outline.children.1.children.1.name").toString(), u"C");
    const QJsonValue section = run.at("outline.children.1.children.1.children.1");
    EXPECT_EQ(jsonAt(section, "content").toString(), u"\\section{Intro to \\emph{sets}}");
    QJsonValue include, bibliography;
    for (const QJsonValue &node : jsonAt(section, "children").toArray()) {
        if (jsonAt(node, "subType").toInt() == 1)
            include = node;
        if (jsonAt(node, "subType").toInt() == 2)
            bibliography = node;
    }
    EXPECT_EQ(jsonAt(include, "children.0.file").toString(), path("sub/chap.tex"));
    EXPECT_EQ(jsonAt(bibliography, "children").toArray().size(), 2);

    EXPECT_FALSE(runCli({"outline", path("main.tex"), "--no-content"}).standardOutput.contains("\"content\""));

    // The sidebar hides the text, shows the heading's plain title and one row per bibliography file.
    const PLCliRun sidebar = succeeds({"outline", path("main.tex"), "--sidebar"});
    const QJsonValue row = sidebar.at("sidebar.children.0.children.0.children.0");
    EXPECT_EQ(jsonAt(row, "title").toString(), u"Intro to sets");
    EXPECT_EQ(jsonAt(row, "children.0.icon").toString(), u"fileIncludes.png");
    EXPECT_EQ(jsonAt(row, "children.2.title").toString(), u"more.bib");
}

TEST_F(CliProject, EditReportsTheTextOutlineAndNotificationsInOrder)
{
    // Typing one character inside the chapter title: the patched node reparses into an empty text,
    // the heading and an empty text, which go in after it (announced last to first) before it goes.
    const PLCliRun run = succeeds({"edit", path("main.tex"), "--replace", "19", "0", "X"});
    EXPECT_TRUE(run.at("text").toString().startsWith(u"\\part{P}\n\\chapter{CX}\n"));
    EXPECT_EQ(notificationNames(run), QStringLiteral("OutlineNodeWasAdded OutlineNodeWasAdded OutlineNodeWasAdded "
                                                     "OutlineNodeWasRemoved NameNodeDidChangeChildren").split(u' '));
    EXPECT_EQ(run.at("notifications.1.object").toString(), u"node");
    EXPECT_EQ(run.at("notifications.1.userInfo.PLDictionaryKeyOutlineNodeAdded.name").toString(), u"CX");
}

TEST_F(CliProject, EditSettlesTheOutlineAfterItsLastStep)
{
    // Deleting from inside the include across the line end leaves an include node holding the
    // file after the edit; the settle turns it into the text it is and gives the file back.
    PLTest::writeFile(path("drift.tex"), "x\n\\input{sub/chap}\ny\n");
    const PLCliRun run = succeeds({"edit", path("drift.tex"), "--replace", "3", "17", ""});
    ASSERT_EQ(run.at("outline.children").toArray().size(), 1);
    EXPECT_EQ(run.at("outline.children.0.subType").toInt(), 0);
    EXPECT_EQ(run.at("outline.children.0.content").toString(), u"x\n\\\n");
    EXPECT_EQ(notificationNames(run), QStringLiteral("OutlineNodeWasRemoved NameNodeDidChangeChildren OutlineNodeWasRemoved "
                                                     "OutlineNodeWasRemoved OutlineNodeWasAdded NameNodeDidChangeChildren")
                                          .split(u' '));
}

TEST_F(CliProject, EditAppliesTypingFiltersAndUndoes)
{
    const PLCliRun typed = succeeds({"edit", path("main.tex"), "--replace", "0", "0", "(", "--replace", "0", "0", "\\t\\\\x\\n"});
    EXPECT_TRUE(typed.at("text").toString().startsWith(u"\t\\x\n()\\part{P}"));
    const PLCliRun undone = succeeds({"edit", path("main.tex"), "--replace", "0", "0", "(", "--undo", "1"});
    EXPECT_TRUE(undone.at("text").toString().startsWith(u"\\part{P}"));
}

TEST_F(CliProject, FilesAndQuickOpen)
{
    const PLCliRun files = succeeds({"files", path("main.tex")});
    ASSERT_EQ(files.at("files").toArray().size(), 4);
    EXPECT_EQ(files.at("files.0.path").toString(), path("main.tex"));
    EXPECT_TRUE(files.at("files.0.readProperly").toBool());

    QStringList names;
    for (const QJsonValue &match : succeeds({"quickopen", path("main.tex"), "IN"}).at("matches").toArray())
        names << jsonAt(match, "name").toString();
    EXPECT_EQ(names, (QStringList{QStringLiteral("Inside"), QStringLiteral("Intro to \\emph{sets}"), QStringLiteral("main.tex")}));
}

// Missing or unreadable projects exit with 1; cyclic includes print every file once.
TEST_F(CliProject, MissingProjectsFailAndCyclicIncludesPrintEveryFileOnce)
{
    EXPECT_EQ(runCli({"outline", path("nope.tex")}).exitCode, 1);
    EXPECT_EQ(runCli({"files", m_dir.path()}).exitCode, 1);
    PLTest::writeFile(path("a.tex"), "\\section{A}\n\\input{b}\n");
    PLTest::writeFile(path("b.tex"), "\\section{B}\n\\input{a}\n");
    EXPECT_EQ(succeeds({"files", path("a.tex")}).at("files").toArray().size(), 2);
    EXPECT_EQ(runCli({"outline", path("a.tex")}).exitCode, 0);
    EXPECT_EQ(runCli({"outline", path("a.tex"), "--sidebar"}).exitCode, 0);
}

}

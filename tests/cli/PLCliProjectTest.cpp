#include "PLCliRunner.h"
#include "PLTestSupport.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class CliProject : public ::testing::Test
{
protected:
    void SetUp() override
    {
        PLTest::writeFile(path(QStringLiteral("main.tex")),
                          "\\part{P}\n\\chapter{C}\n\\section{Intro to \\emph{sets}}\ntext\n\\input{sub/chap}\n"
                          "\\bibliography{refs,more}\n");
        PLTest::writeFile(path(QStringLiteral("sub/chap.tex")), "\\section{Inside}\n\\subsubsection{Deep}\n");
        PLTest::writeFile(path(QStringLiteral("refs.bib")), "@book{a, title={A}}\n");
        PLTest::writeFile(path(QStringLiteral("more.bib")), "@book{b, title={B}}\n");
    }
    QString path(const QString &relative) const { return QDir(m_dir.path()).filePath(relative); }
    QTemporaryDir m_dir;
};

QJsonArray children(const QJsonObject &node)
{
    return node.value(QStringLiteral("children")).toArray();
}

TEST_F(CliProject, OutlineNestsHeadingsAndIncludedFiles)
{
    const PLCliRun run = runCli({QStringLiteral("outline"), path(QStringLiteral("main.tex"))});
    ASSERT_EQ(run.exitCode, 0) << run.standardError.toStdString();
    const QJsonObject root = run.json().object().value(QStringLiteral("outline")).toObject();
    EXPECT_EQ(root.value(QStringLiteral("type")).toInt(), 0);
    EXPECT_EQ(root.value(QStringLiteral("name")).toString(), u"main.tex");
    // The root holds an empty text node and the part; everything else nests below the part.
    const QJsonObject part = children(root).at(1).toObject();
    EXPECT_EQ(part.value(QStringLiteral("type")).toInt(), 1);
    const QJsonObject chapter = children(part).at(1).toObject();
    EXPECT_EQ(chapter.value(QStringLiteral("name")).toString(), u"C");
    const QJsonObject section = children(chapter).at(1).toObject();
    EXPECT_EQ(section.value(QStringLiteral("content")).toString(), u"\\section{Intro to \\emph{sets}}");
    const QJsonArray sectionChildren = children(section);
    QJsonObject include, bibliography;
    for (const QJsonValue &child : sectionChildren) {
        const QJsonObject node = child.toObject();
        if (node.value(QStringLiteral("subType")).toInt() == 1)
            include = node;
        if (node.value(QStringLiteral("subType")).toInt() == 2)
            bibliography = node;
    }
    const QJsonObject includedRoot = children(include).at(0).toObject();
    EXPECT_EQ(includedRoot.value(QStringLiteral("file")).toString(), path(QStringLiteral("sub/chap.tex")));
    EXPECT_EQ(children(bibliography).size(), 2);

    const PLCliRun bare = runCli({QStringLiteral("outline"), path(QStringLiteral("main.tex")), QStringLiteral("--no-content")});
    EXPECT_FALSE(bare.standardOutput.contains("\"content\""));
}

TEST_F(CliProject, SidebarHidesTextAndShowsIncludedRootsAndBibliographyFiles)
{
    const PLCliRun run = runCli({QStringLiteral("outline"), path(QStringLiteral("main.tex")), QStringLiteral("--sidebar")});
    ASSERT_EQ(run.exitCode, 0) << run.standardError.toStdString();
    const QJsonObject root = run.json().object().value(QStringLiteral("sidebar")).toObject();
    EXPECT_TRUE(root.value(QStringLiteral("group")).toBool());
    EXPECT_TRUE(root.value(QStringLiteral("icon")).isNull());
    const QJsonObject part = children(root).at(0).toObject();
    EXPECT_EQ(part.value(QStringLiteral("icon")).toString(), u"parts.png");
    const QJsonObject section = children(children(part).at(0).toObject()).at(0).toObject();
    EXPECT_EQ(section.value(QStringLiteral("title")).toString(), u"Intro to sets");
    const QJsonArray rows = children(section);
    ASSERT_EQ(rows.size(), 3);
    EXPECT_EQ(rows[0].toObject().value(QStringLiteral("title")).toString(), u"chap.tex");
    EXPECT_EQ(rows[0].toObject().value(QStringLiteral("icon")).toString(), u"fileIncludes.png");
    EXPECT_EQ(rows[1].toObject().value(QStringLiteral("title")).toString(), u"refs.bib");
    EXPECT_EQ(rows[2].toObject().value(QStringLiteral("icon")).toString(), u"bibliography_outline_icon.png");
    // The subsubsection shows, without an icon of its own.
    const QJsonObject inside = children(rows[0].toObject()).at(0).toObject();
    EXPECT_TRUE(children(inside).at(0).toObject().value(QStringLiteral("icon")).isNull());
}

TEST_F(CliProject, EditReportsTheTextOutlineAndNotificationsInOrder)
{
    // Typing one character inside the chapter title: the patched node reparses into an empty text,
    // the heading and an empty text, which go in after it (announced last to first) before it goes.
    const PLCliRun run = runCli({QStringLiteral("edit"), path(QStringLiteral("main.tex")), QStringLiteral("--replace"),
                                 QStringLiteral("19"), QStringLiteral("0"), QStringLiteral("X")});
    ASSERT_EQ(run.exitCode, 0) << run.standardError.toStdString();
    const QJsonObject result = run.json().object();
    EXPECT_TRUE(result.value(QStringLiteral("text")).toString().startsWith(u"\\part{P}\n\\chapter{CX}\n"));
    QStringList names;
    for (const QJsonValue &n : result.value(QStringLiteral("notifications")).toArray())
        names << n.toObject().value(QStringLiteral("name")).toString();
    EXPECT_EQ(names, (QStringList{QStringLiteral("PLNotificationOutlineNodeWasAdded"),
                                  QStringLiteral("PLNotificationOutlineNodeWasAdded"),
                                  QStringLiteral("PLNotificationOutlineNodeWasAdded"),
                                  QStringLiteral("PLNotificationOutlineNodeWasRemoved"),
                                  QStringLiteral("PLNotificationNameNodeDidChangeChildren")}));
    const QJsonObject added = result.value(QStringLiteral("notifications")).toArray().at(1).toObject();
    EXPECT_EQ(added.value(QStringLiteral("object")).toString(), u"node");
    EXPECT_EQ(added.value(QStringLiteral("userInfo")).toObject().value(QStringLiteral("PLDictionaryKeyOutlineNodeAdded"))
                  .toObject().value(QStringLiteral("name")).toString(), u"CX");
}

TEST_F(CliProject, EditSettlesTheOutlineAfterItsLastStep)
{
    // Deleting from inside the include across the line end leaves an include node holding the
    // file after the edit; the settle turns it into the text it is and gives the file back.
    PLTest::writeFile(path(QStringLiteral("drift.tex")), "x\n\\input{sub/chap}\ny\n");
    const PLCliRun run = runCli({QStringLiteral("edit"), path(QStringLiteral("drift.tex")), QStringLiteral("--replace"),
                                 QStringLiteral("3"), QStringLiteral("17"), QString()});
    ASSERT_EQ(run.exitCode, 0) << run.standardError.toStdString();
    const QJsonObject result = run.json().object();
    const QJsonArray nodes = children(result.value(QStringLiteral("outline")).toObject());
    ASSERT_EQ(nodes.size(), 1);
    EXPECT_EQ(nodes[0].toObject().value(QStringLiteral("subType")).toInt(), 0);
    EXPECT_EQ(nodes[0].toObject().value(QStringLiteral("content")).toString(), u"x\n\\\n");
    QStringList names;
    for (const QJsonValue &n : result.value(QStringLiteral("notifications")).toArray())
        names << n.toObject().value(QStringLiteral("name")).toString().remove(QStringLiteral("PLNotification"));
    EXPECT_EQ(names, (QStringList{QStringLiteral("OutlineNodeWasRemoved"), QStringLiteral("NameNodeDidChangeChildren"),
                                  QStringLiteral("OutlineNodeWasRemoved"), QStringLiteral("OutlineNodeWasRemoved"),
                                  QStringLiteral("OutlineNodeWasAdded"), QStringLiteral("NameNodeDidChangeChildren")}));
}

TEST_F(CliProject, EditAppliesTypingFiltersAndUndoes)
{
    const PLCliRun typed = runCli({QStringLiteral("edit"), path(QStringLiteral("main.tex")), QStringLiteral("--replace"),
                                   QStringLiteral("0"), QStringLiteral("0"), QStringLiteral("("), QStringLiteral("--replace"),
                                   QStringLiteral("0"), QStringLiteral("0"), QStringLiteral("\\t\\\\x\\n")});
    ASSERT_EQ(typed.exitCode, 0) << typed.standardError.toStdString();
    EXPECT_TRUE(typed.json().object().value(QStringLiteral("text")).toString().startsWith(u"\t\\x\n()\\part{P}"));

    const PLCliRun undone = runCli({QStringLiteral("edit"), path(QStringLiteral("main.tex")), QStringLiteral("--replace"),
                                    QStringLiteral("0"), QStringLiteral("0"), QStringLiteral("("), QStringLiteral("--undo"),
                                    QStringLiteral("1")});
    ASSERT_EQ(undone.exitCode, 0);
    EXPECT_TRUE(undone.json().object().value(QStringLiteral("text")).toString().startsWith(u"\\part{P}"));

    const PLCliRun outside = runCli({QStringLiteral("edit"), path(QStringLiteral("main.tex")), QStringLiteral("--replace"),
                                     QStringLiteral("9999"), QStringLiteral("0"), QStringLiteral("x")});
    EXPECT_EQ(outside.exitCode, 1);
}

TEST_F(CliProject, FilesAndQuickOpen)
{
    const PLCliRun files = runCli({QStringLiteral("files"), path(QStringLiteral("main.tex"))});
    ASSERT_EQ(files.exitCode, 0) << files.standardError.toStdString();
    const QJsonArray list = files.json().object().value(QStringLiteral("files")).toArray();
    ASSERT_EQ(list.size(), 4);
    EXPECT_EQ(list[0].toObject().value(QStringLiteral("path")).toString(), path(QStringLiteral("main.tex")));
    EXPECT_EQ(list[0].toObject().value(QStringLiteral("encoding")).toInt(), 4);
    EXPECT_TRUE(list[0].toObject().value(QStringLiteral("readProperly")).toBool());
    EXPECT_EQ(list[0].toObject().value(QStringLiteral("openCount")).toInt(), 1);

    const PLCliRun found = runCli({QStringLiteral("quickopen"), path(QStringLiteral("main.tex")), QStringLiteral("IN")});
    ASSERT_EQ(found.exitCode, 0);
    QStringList names;
    for (const QJsonValue &match : found.json().object().value(QStringLiteral("matches")).toArray())
        names << match.toObject().value(QStringLiteral("name")).toString();
    EXPECT_EQ(names, (QStringList{QStringLiteral("Inside"), QStringLiteral("Intro to \\emph{sets}"), QStringLiteral("main.tex")}));
}

TEST_F(CliProject, MissingOrUnreadableProjectsExitWithOne)
{
    EXPECT_EQ(runCli({QStringLiteral("outline"), path(QStringLiteral("nope.tex"))}).exitCode, 1);
    EXPECT_EQ(runCli({QStringLiteral("files"), m_dir.path()}).exitCode, 1);
    EXPECT_EQ(runCli({QStringLiteral("quickopen"), path(QStringLiteral("main.tex"))}).exitCode, 2);
}

TEST_F(CliProject, CyclicIncludesPrintEveryFileOnce)
{
    PLTest::writeFile(path(QStringLiteral("a.tex")), "\\section{A}\n\\input{b}\n");
    PLTest::writeFile(path(QStringLiteral("b.tex")), "\\section{B}\n\\input{a}\n");
    const PLCliRun files = runCli({QStringLiteral("files"), path(QStringLiteral("a.tex"))});
    ASSERT_EQ(files.exitCode, 0) << files.standardError.toStdString();
    EXPECT_EQ(files.json().object().value(QStringLiteral("files")).toArray().size(), 2);
    EXPECT_EQ(runCli({QStringLiteral("outline"), path(QStringLiteral("a.tex"))}).exitCode, 0);
    EXPECT_EQ(runCli({QStringLiteral("outline"), path(QStringLiteral("a.tex")), QStringLiteral("--sidebar")}).exitCode, 0);
}

}

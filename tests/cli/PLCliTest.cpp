#include "PLCliRunner.h"
#include "PLTestSupport.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

TEST(Cli, HelpAndVersion)
{
    const PLCliRun help = runCli({QStringLiteral("--help")});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.standardOutput.contains("lines FILE"));
    const PLCliRun version = runCli({QStringLiteral("--version")});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_TRUE(version.standardOutput.startsWith("plumeo-cli "));
}

TEST(Cli, UsageErrorsExitWithTwoAndOneLineOnStandardError)
{
    const QList<QStringList> wrong{{},
                                   {QStringLiteral("frobnicate")},
                                   {QStringLiteral("lines")},
                                   {QStringLiteral("lines"), QStringLiteral("x.tex"), QStringLiteral("--line-of")},
                                   {QStringLiteral("lines"), QStringLiteral("x.tex"), QStringLiteral("--start-of"), QStringLiteral("two")}};
    for (const QStringList &arguments : wrong) {
        const PLCliRun run = runCli(arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments.join(u' ').toStdString();
        if (!arguments.isEmpty()) {
            EXPECT_EQ(run.standardError.count('\n'), 1) << run.standardError.toStdString();
        }
    }
}

TEST(Cli, LinesAnswersLineNumbersAndLineStarts)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("a.tex"));
    PLTest::writeFile(path, QByteArray("a\r\nb\nc\xc3\xa4\n"));
    const PLCliRun run = runCli({QStringLiteral("lines"), path, QStringLiteral("--line-of"), QStringLiteral("3"),
                                 QStringLiteral("--start-of"), QStringLiteral("3"), QStringLiteral("--line-of"),
                                 QStringLiteral("99"), QStringLiteral("--start-of"), QStringLiteral("0")});
    ASSERT_EQ(run.exitCode, 0) << run.standardError.toStdString();
    const QJsonObject result = run.json().object();
    EXPECT_EQ(result.value(QStringLiteral("lineCount")).toInt(), 4);
    const QJsonArray answers = result.value(QStringLiteral("answers")).toArray();
    ASSERT_EQ(answers.size(), 4);
    EXPECT_EQ(answers[0].toObject().value(QStringLiteral("line")).toInt(), 2);
    EXPECT_EQ(answers[1].toObject().value(QStringLiteral("location")).toInt(), 5);
    EXPECT_EQ(answers[2].toObject().value(QStringLiteral("line")).toInt(), -1);
    EXPECT_EQ(answers[3].toObject().value(QStringLiteral("location")).toInt(), 0);
}

TEST(Cli, UnreadableInputExitsWithOne)
{
    QTemporaryDir dir;
    const QString latin1 = dir.filePath(QStringLiteral("latin1.tex"));
    PLTest::writeFile(latin1, QByteArray("Gr\xfc\xdf"));
    EXPECT_EQ(runCli({QStringLiteral("lines"), latin1}).exitCode, 1);
    EXPECT_EQ(runCli({QStringLiteral("lines"), dir.filePath(QStringLiteral("missing.tex"))}).exitCode, 1);
}

}

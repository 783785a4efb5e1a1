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

// Bad arguments exit with 2, input that cannot be read with 1; either way with one line that says why.
TEST(Cli, UsageAndInputErrorsExitWithOneLineOnStandardError)
{
    QTemporaryDir dir;
    const QString latin1 = dir.filePath(QStringLiteral("latin1.tex"));
    PLTest::writeFile(latin1, QByteArray("Gr\xfc\xdf"));
    const QString missing = dir.filePath(QStringLiteral("missing.tex"));
    const QString clean = PLTest::dataPath(QStringLiteral("typesetting/documents/clean/main.tex"));
    const QList<std::pair<QStringList, int>> cases{
        {{QStringLiteral("frobnicate")}, 2},
        {{QStringLiteral("lines")}, 2},
        {{QStringLiteral("lines"), QStringLiteral("x.tex"), QStringLiteral("--line-of")}, 2},
        {{QStringLiteral("lines"), QStringLiteral("x.tex"), QStringLiteral("--start-of"), QStringLiteral("two")}, 2},
        {{QStringLiteral("lines"), latin1}, 1},
        {{QStringLiteral("lines"), missing}, 1},
        {{QStringLiteral("highlight")}, 2},
        {{QStringLiteral("highlight"), QStringLiteral("a.tex"), QStringLiteral("b.tex")}, 2},
        {{QStringLiteral("highlight"), missing}, 1},
        {{QStringLiteral("log"), QStringLiteral("out.txt")}, 2},
        {{QStringLiteral("log"), QStringLiteral("--root")}, 2},
        {{QStringLiteral("log"), QStringLiteral("/nonexistent/out.txt"), QStringLiteral("--root"), QStringLiteral("/p/main.tex")}, 1},
        {{QStringLiteral("typeset")}, 2},
        {{QStringLiteral("typeset"), QStringLiteral("/nonexistent/main.tex")}, 1},
        {{QStringLiteral("typeset"), QStringLiteral("x.tex"), QStringLiteral("--stop-after"), QStringLiteral("soon")}, 2},
        {{QStringLiteral("synctex"), QStringLiteral("sideways"), QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("d")}, 2},
        {{QStringLiteral("synctex"), QStringLiteral("forward"), clean, QStringLiteral("main.tex"), QStringLiteral("three"), QStringLiteral("0")}, 2}};
    for (const auto &[arguments, status] : cases) {
        const PLCliRun run = runCli(arguments);
        EXPECT_EQ(run.exitCode, status) << arguments.join(u' ').toStdString();
        EXPECT_EQ(run.standardError.count('\n'), 1) << run.standardError.toStdString();
    }
    EXPECT_EQ(runCli({}).exitCode, 2);
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

struct NumberCase
{
    QStringList arguments; // FILE stands for a small project
    const char *message;
};

// Regression: numbers were converted blindly: a replacement length near the largest integer
// overflowed past the end check and rewrote the text, --stop-after 1e12 never stopped and nan was
// taken, a line of 1e300 became whatever the conversion made of it.
TEST(Cli, NumbersOutOfRangeAreUsageErrors)
{
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("a.tex"));
    PLTest::writeFile(file, "\\section{A}\n");
    const QString tooLarge = QStringLiteral("9223372036854775807");
    const QList<NumberCase> cases{
        {{QStringLiteral("edit"), file, QStringLiteral("--replace"), QStringLiteral("1"), tooLarge, QStringLiteral("x")},
         "--replace LENGTH needs a whole number from 0 to 2147483647, not 9223372036854775807"},
        {{QStringLiteral("edit"), file, QStringLiteral("--replace"), QStringLiteral("-1"), QStringLiteral("0"), QStringLiteral("x")},
         "--replace LOCATION needs a whole number from 0"},
        {{QStringLiteral("edit"), file, QStringLiteral("--undo"), QStringLiteral("1e3")}, "--undo needs a whole number"},
        {{QStringLiteral("typeset"), file, QStringLiteral("--stop-after"), QStringLiteral("1e12")}, "--stop-after needs a number from 0 to 2147483"},
        {{QStringLiteral("typeset"), file, QStringLiteral("--stop-after"), QStringLiteral("nan")}, "not nan"},
        {{QStringLiteral("typeset"), file, QStringLiteral("--stop-after"), QStringLiteral("inf")}, "not inf"},
        {{QStringLiteral("typeset"), file, QStringLiteral("--stop-after"), QStringLiteral("-1")}, "not -1"},
        {{QStringLiteral("synctex"), QStringLiteral("forward"), file, file, QStringLiteral("1e300"), QStringLiteral("0")},
         "LINE needs a whole number from 1 to 2147483647, not 1e300"},
        {{QStringLiteral("synctex"), QStringLiteral("forward"), file, file, QStringLiteral("2147483648"), QStringLiteral("0")}, "LINE"},
        {{QStringLiteral("synctex"), QStringLiteral("forward"), file, file, QStringLiteral("1"), QStringLiteral("-5")}, "COLUMN"},
        {{QStringLiteral("synctex"), QStringLiteral("backward"), file, QStringLiteral("0"), QStringLiteral("1"), QStringLiteral("1")}, "PAGE"},
        {{QStringLiteral("synctex"), QStringLiteral("backward"), file, QStringLiteral("1"), QStringLiteral("1e300"), QStringLiteral("1")}, "H needs"},
        {{QStringLiteral("synctex"), QStringLiteral("backward"), file, QStringLiteral("1"), QStringLiteral("1"), QStringLiteral("nan")}, "V needs"},
        {{QStringLiteral("lines"), file, QStringLiteral("--start-of"), QStringLiteral("99999999999")}, "--start-of needs a whole number"},
        {{QStringLiteral("lines"), file, QStringLiteral("--line-of"), QStringLiteral("99999999999999999999")}, "--line-of needs a whole number"}};
    for (const NumberCase &c : cases) {
        SCOPED_TRACE(c.arguments.join(u' ').toStdString());
        const PLCliRun run = runCli(c.arguments);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_TRUE(run.standardOutput.isEmpty());
        EXPECT_TRUE(run.standardError.startsWith("plumeo-cli: ")) << run.standardError.toStdString();
        EXPECT_TRUE(run.standardError.contains(c.message)) << run.standardError.toStdString();
        EXPECT_EQ(run.standardError.count('\n'), 1);
    }
    // Within range, a replacement past the end is still refused and the text stays as it was.
    const PLCliRun past = runCli({QStringLiteral("edit"), file, QStringLiteral("--replace"), QStringLiteral("1"),
                                  QStringLiteral("2147483647"), QStringLiteral("x")});
    EXPECT_EQ(past.exitCode, 1);
    EXPECT_TRUE(past.standardOutput.isEmpty());
}

}

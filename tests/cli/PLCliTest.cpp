#include "PLCliRunner.h"
#include "PLTestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// Bad arguments exit with 2, input that cannot be read with 1; either way with nothing on standard
// output and one line on standard error that says why. Regression: numbers were converted blindly:
// a replacement length near the largest integer overflowed past the end check and rewrote the
// text, --stop-after 1e12 never stopped and nan was taken, a line of 1e300 became whatever the
// conversion made of it.
TEST(Cli, UsageAndInputErrorsExitWithOneLineOnStandardError)
{
    QTemporaryDir dir;
    const QString latin1 = dir.filePath(QStringLiteral("latin1.tex"));
    PLTest::writeFile(latin1, QByteArray("Gr\xfc\xdf"));
    const QString file = dir.filePath(QStringLiteral("a.tex"));
    PLTest::writeFile(file, "\\section{A}\n");
    // Arguments split at spaces; LATIN1, MISSING, CLEAN and FILE stand for the files above, the
    // fixture and a small project.
    const struct
    {
        const char *command;
        int status;
        const char *message;
    } cases[] = {
        {"frobnicate", 2, ""}, {"lines", 2, ""}, {"lines x.tex --line-of", 2, ""}, {"lines LATIN1", 1, ""}, {"lines MISSING", 1, ""},
        {"highlight a.tex b.tex", 2, ""}, {"highlight MISSING", 1, ""}, {"log out.txt", 2, ""}, {"log --root", 2, ""},
        {"log /nonexistent/out.txt --root /p/main.tex", 1, ""}, {"typeset", 2, ""}, {"typeset /nonexistent/main.tex", 1, ""},
        {"synctex sideways a b c d", 2, ""}, {"synctex forward CLEAN main.tex three 0", 2, ""}, {"quickopen FILE", 2, ""},
        {"edit FILE --replace 1 9223372036854775807 x", 2,
         "--replace LENGTH needs a whole number from 0 to 2147483647, not 9223372036854775807"},
        {"edit FILE --replace -1 0 x", 2, "--replace LOCATION needs a whole number from 0"},
        // Within range, a replacement past the end is still refused and the text stays as it was.
        {"edit FILE --replace 1 2147483647 x", 1, ""},
        {"edit FILE --undo 1e3", 2, "--undo needs a whole number"},
        {"typeset FILE --stop-after 1e12", 2, "--stop-after needs a number from 0 to 2147483"},
        {"typeset FILE --stop-after nan", 2, "not nan"}, {"typeset FILE --stop-after inf", 2, "not inf"},
        {"typeset FILE --stop-after -1", 2, "not -1"},
        {"synctex forward FILE FILE 1e300 0", 2, "LINE needs a whole number from 1 to 2147483647, not 1e300"},
        {"synctex forward FILE FILE 2147483648 0", 2, "LINE"}, {"synctex forward FILE FILE 1 -5", 2, "COLUMN"},
        {"synctex backward FILE 0 1 1", 2, "PAGE"}, {"synctex backward FILE 1 1e300 1", 2, "H needs"},
        {"synctex backward FILE 1 1 nan", 2, "V needs"}, {"lines FILE --line-of 99999999999999999999", 2, "--line-of needs a whole number"},
    };
    for (const auto &[command, status, message] : cases) {
        SCOPED_TRACE(command);
        QStringList arguments = QString::fromLatin1(command).split(u' ');
        arguments.replaceInStrings(QStringLiteral("LATIN1"), latin1).replaceInStrings(QStringLiteral("FILE"), file);
        arguments.replaceInStrings(QStringLiteral("MISSING"), dir.filePath(QStringLiteral("missing.tex")));
        arguments.replaceInStrings(QStringLiteral("CLEAN"), PLTest::dataPath(QStringLiteral("typesetting/documents/clean/main.tex")));
        const PLCliRun run = runCli(arguments);
        EXPECT_EQ(run.exitCode, status);
        EXPECT_TRUE(run.standardOutput.isEmpty());
        EXPECT_TRUE(run.standardError.startsWith("plumeo-cli: ")) << run.standardError.toStdString();
        EXPECT_TRUE(run.standardError.contains(message)) << run.standardError.toStdString();
        EXPECT_EQ(run.standardError.count('\n'), 1) << run.standardError.toStdString();
    }
    EXPECT_EQ(runCli({}).exitCode, 2);
    EXPECT_EQ(runCli({"--help"}).exitCode, 0);
}

TEST(Cli, LinesAnswersLineNumbersAndLineStarts)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("a.tex"));
    PLTest::writeFile(path, QByteArray("a\r\nb\nc\xc3\xa4\n"));
    const PLCliRun run = runCli({"lines", path, "--line-of", "3", "--start-of", "3", "--line-of", "99", "--start-of", "0"});
    ASSERT_EQ(run.exitCode, 0) << run.standardError.toStdString();
    EXPECT_EQ(run.at("lineCount").toInt(), 4);
    ASSERT_EQ(run.at("answers").toArray().size(), 4);
    EXPECT_EQ(run.at("answers.0.line").toInt(), 2);
    EXPECT_EQ(run.at("answers.1.location").toInt(), 5);
    EXPECT_EQ(run.at("answers.2.line").toInt(), -1);
    EXPECT_EQ(run.at("answers.3.location").toInt(), 0);
}

}

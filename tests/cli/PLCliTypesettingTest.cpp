#include "../core/typesetting/PLTypesettingTestSupport.h"
#include "PLCliRunner.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <signal.h>

namespace {

using namespace PLTypesettingTest;

TEST(CliTypesetting, LogReadsACapturedOutputAsTheRootFilesDocumentWould)
{
    const PLCliRun run = runCli({"log", documentPath(QStringLiteral("subfolder/output.txt")), "--root", "/p/main.tex"});
    ASSERT_EQ(run.exitCode, 0) << run.standardError.toStdString();
    // What each item holds is the parsers' own test; here the root places the files.
    ASSERT_EQ(run.at("errorsFound").toArray().size(), 1);
    EXPECT_EQ(run.at("errorsFound.0.file").toString(), QStringLiteral("/p/chapters/one.tex"));
    EXPECT_EQ(run.at("warningsFound").toArray().size(), 4);
    EXPECT_EQ(run.at("files.0.errors").toInt(), 1);

    const PLCliRun strategies =
        runCli({"log", documentPath(QStringLiteral("missing-package/output.txt")), "--root", "/p/main.tex", "--strategies"});
    ASSERT_EQ(strategies.exitCode, 0) << strategies.standardError.toStdString();
    ASSERT_EQ(strategies.at("items").toArray().size(), 2);
    EXPECT_EQ(strategies.at("items.0.advice").toString(), QStringLiteral("Did you spell the package name ('nosuchpackage') correctly?"));
    EXPECT_EQ(strategies.at("items.1.filename").toString(), QStringLiteral("./main.tex"));
}

// The one run of the real engine through the command: how the engine is chosen and how each log
// is read are the drivers' and the parsers' own tests.
TEST(CliTypesetting, TypesetRunsTheJobAndSummarisesWhatItFound)
{
    QTemporaryDir dir;
    const QString folder = copyDocument(QStringLiteral("subfolder"), dir.path());
    const PLCliRun run = runCli({"typeset", folder + QStringLiteral("main.tex")});
    ASSERT_EQ(run.exitCode, 1) << run.standardError.toStdString();
    EXPECT_EQ(run.at("summary").toString(), QStringLiteral("1 error and 4 warnings found"));
    EXPECT_EQ(run.at("launchPath").toString(), QStringLiteral("/usr/texbin/pdflatex"));
    EXPECT_EQ(run.at("fileNames").toVariant().toStringList(), (QStringList{QStringLiteral("main.tex"), QStringLiteral("chapters/one.tex")}));
    EXPECT_TRUE(run.at("pdfExists").toBool());
    // The engine's output was streamed to standard error.
    EXPECT_TRUE(run.standardError.contains("Output written on main.pdf"));
}

TEST(CliTypesetting, StopAfterEndsAHangingEngine)
{
    QTemporaryDir dir;
    PLTest::writeFile(dir.filePath(QStringLiteral("main.tex")),
                      "\\documentclass{article}\\begin{document}\\def\\a{\\a}\\a\\end{document}\n");
    const PLCliRun run = runCli({"typeset", dir.filePath(QStringLiteral("main.tex")), "--stop-after", "0.5"}, 30000);
    // Stopped before it wrote a PDF, the job did not do its work.
    ASSERT_EQ(run.exitCode, 1) << run.standardError.toStdString();
    EXPECT_TRUE(run.standardError.endsWith("plumeo-cli: no PDF was written\n"));
    EXPECT_TRUE(run.at("stopped").toBool());
    EXPECT_TRUE(run.at("engineFailure").isNull());
}

TEST(CliTypesetting, SyncTexForwardAndBackAgain)
{
    QTemporaryDir dir;
    const QString folder = copyDocument(QStringLiteral("subfolder"), dir.path());
    typeset(dir.path());
    const QString main = folder + QStringLiteral("main.tex");

    const PLCliRun forward = runCli({"synctex", "forward", main, folder + QStringLiteral("chapters/one.tex"), "4", "0"});
    // The places themselves are checked against the synctex tool with the search; here the command
    // must hand them on so that the way back lands where it started.
    ASSERT_GT(forward.at("results.0.page").toInt(), 0) << forward.standardError.toStdString();

    const PLCliRun backward = runCli({"synctex", "backward", main, QString::number(forward.at("results.0.page").toInt()),
                                      QString::number(forward.at("results.0.h").toDouble()),
                                      QString::number(forward.at("results.0.v").toDouble())});
    EXPECT_EQ(backward.at("results.0.filePath").toString(), folder + QStringLiteral("chapters/one.tex"));
    EXPECT_EQ(backward.at("results.0.line").toInt(), 4);
}

// A settings store of its own for the commands run while it lives, with a TeX folder of
// stand-in programs.
class CliWithStandIns : public ::testing::Test
{
protected:
    void SetUp() override
    {
        settings.set(PLUserDefaultsTexLocation, texFolder());
        PLTest::writeFile(dir.filePath(QStringLiteral("main.tex")), "\\documentclass{article}\\begin{document}x\\end{document}\n");
    }

    QString texFolder() const { return dir.filePath(QStringLiteral("texbin")); }
    void writeEngine(const QByteArray &script) { writeProgram(texFolder() + QStringLiteral("/pdflatex"), script); }
    QString mainPath() const { return dir.filePath(QStringLiteral("main.tex")); }

    QTemporaryDir dir;
    const PLCliSettings settings{dir.filePath(QStringLiteral("config"))};
};

// Regression: with no TeX where the settings say, the command ended with status 1, an empty
// summary and not a word why.
TEST_F(CliWithStandIns, AMissingEngineIsToldInTheWordsOfTheWindowsAlert)
{
    QDir().mkpath(texFolder());
    const PLCliRun run = runCli({"typeset", mainPath()});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(QString::fromUtf8(run.standardError),
              QStringLiteral("plumeo-cli: Could not locate pdflatex with path: ") + texFolder() +
                  QStringLiteral("/pdflatex Plumeo relies on MacTeX. Is this installed?\n"));
    EXPECT_FALSE(run.at("engineFound").toBool());
}

// The engine's script (none: the engine is a folder) and how its failure begins.
class CliFailingEngine : public CliWithStandIns, public ::testing::WithParamInterface<std::pair<QByteArray, const char *>>
{
};

// Regression: an engine that could not run, failed or was ended half way ended the command with
// status 0 and an empty summary.
TEST_P(CliFailingEngine, EndsWithStatusOneAndSaysWhy)
{
    const auto &[script, expected] = GetParam();
    if (script.isEmpty())
        QDir().mkpath(texFolder() + QStringLiteral("/pdflatex"));
    else
        writeEngine(script);
    const PLCliRun run = runCli({"typeset", mainPath()});
    EXPECT_EQ(run.exitCode, 1);
    const QString failure = run.at("engineFailure").toString();
    EXPECT_TRUE(failure.startsWith(QString::fromUtf8(expected))) << failure.toStdString();
    EXPECT_TRUE(run.standardError.contains(QByteArray("plumeo-cli: the engine failed: " + failure.toUtf8()))) << run.standardError.toStdString();
    EXPECT_TRUE(run.at("runs.0.failed").toBool());
    EXPECT_EQ(run.at("runs.0.description").toString(), failure);
}

INSTANTIATE_TEST_SUITE_P(
    Table, CliFailingEngine,
    // How each ending is worded is the runner's; here one that ran and one that could not.
    ::testing::Values(std::pair{QByteArray("#!/bin/sh\necho '%PDF-1.5' > main.pdf\nkill -XFSZ $$\n"), "pdflatex was ended by signal 25"},
                      std::pair{QByteArray(), "could not run "}));

// Regression: the engine ran in a process group of its own and outlived a killed plumeo-cli.
TEST_F(CliWithStandIns, KillingTheCommandLeavesNoEngineBehind)
{
    writeEngine("#!/bin/sh\necho $$ > engine.pid\necho '(./main.tex'\nexec /usr/bin/tail -f /dev/null\n");
    QProcess cli;
    cli.start(QStringLiteral(PLUMEO_CLI_PATH), {QStringLiteral("typeset"), mainPath()});
    ASSERT_TRUE(cli.waitForStarted());
    qint64 engine = 0;
    ASSERT_TRUE(QTest::qWaitFor([&] {
        engine = PLTest::readFile(dir.filePath(QStringLiteral("engine.pid"))).trimmed().toLongLong();
        return engine > 0;
    }, 30000));
    EXPECT_FALSE(processHasEnded(engine));
    ::kill(pid_t(cli.processId()), SIGKILL);
    ASSERT_TRUE(cli.waitForFinished());
    EXPECT_TRUE(QTest::qWaitFor([engine] { return processHasEnded(engine); }, 10000));
    ::kill(pid_t(engine), SIGKILL);
}

// Regression: main files whose names the engine reads as an option or a format were not
// typeset at all.
TEST(CliTypesetting, MainFilesNamedLikeOptionsOrFormatsAreTypeset)
{
    for (const QString &name : {QStringLiteral("-ini.tex"), QStringLiteral("&pdflatex.tex")}) {
        SCOPED_TRACE(name.toStdString());
        QTemporaryDir dir;
        PLTest::writeFile(dir.filePath(name), "\\documentclass{article}\\begin{document}x\\end{document}\n");
        const PLCliRun run = runCli({"typeset", dir.filePath(name)});
        EXPECT_EQ(run.exitCode, 0) << run.standardError.toStdString();
        EXPECT_TRUE(run.at("pdfWritten").toBool());
        EXPECT_TRUE(run.at("engineFailure").isNull());
    }
}

}

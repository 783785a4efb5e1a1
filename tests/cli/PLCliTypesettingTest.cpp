#include "../core/typesetting/PLTypesettingTestSupport.h"
#include "PLCliRunner.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <signal.h>

namespace {

using namespace PLTypesettingTest;

// One run per way through the command; what each log item holds is the parsers' own test.
TEST(CliTypesetting, LogPlacesTheFilesUnderTheRootAndReadsStrategies)
{
    const auto log = [](const char *fixture, const QStringList &more = {}) {
        return runCli(QStringList{QStringLiteral("log"), documentPath(QString::fromLatin1(fixture) + QStringLiteral("/output.txt")),
                                  QStringLiteral("--root"), QStringLiteral("/p/main.tex")} + more);
    };
    EXPECT_EQ(log("subfolder").at("errorsFound.0.file").toString(), QStringLiteral("/p/chapters/one.tex"));
    EXPECT_EQ(log("missing-package", {QStringLiteral("--strategies")}).at("items.1.filename").toString(), QStringLiteral("./main.tex"));
}

// The one run of the real engine through the command: the SyncTeX places it hands on are checked
// against the synctex tool by the search's test; here the way back must land where it started.
TEST(CliTypesetting, TypesetSummarisesAndSyncTexGoesForwardAndBackAgain)
{
    QTemporaryDir dir;
    const QString folder = copyDocument(QStringLiteral("subfolder"), dir.path());
    const QString main = folder + QStringLiteral("main.tex"), chapter = folder + QStringLiteral("chapters/one.tex");
    const PLCliRun run = runCli({"typeset", main});
    ASSERT_EQ(run.exitCode, 1) << run.standardError.toStdString();
    EXPECT_EQ(run.at("summary").toString(), QStringLiteral("1 error and 4 warnings found"));
    EXPECT_EQ(run.at("fileNames").toVariant().toStringList(), QStringLiteral("main.tex chapters/one.tex").split(u' '));
    EXPECT_TRUE(run.at("pdfExists").toBool());
    // The engine's output was streamed to standard error.
    EXPECT_TRUE(run.standardError.contains("Output written on main.pdf"));
    const PLCliRun forward = runCli({"synctex", "forward", main, chapter, "4", "0"});
    ASSERT_GT(forward.at("results.0.page").toInt(), 0) << forward.standardError.toStdString();
    const PLCliRun backward = runCli({"synctex", "backward", main, QString::number(forward.at("results.0.page").toInt()),
                                      QString::number(forward.at("results.0.h").toDouble()),
                                      QString::number(forward.at("results.0.v").toDouble())});
    EXPECT_EQ(backward.at("results.0.filePath").toString(), chapter);
    EXPECT_EQ(backward.at("results.0.line").toInt(), 4);
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

// Regression: an engine that was missing, could not run or was ended half way ended the command
// with an empty summary and not a word why, with status 0 once it had run. How each ending is
// worded is the runner's; here one of each kind (no engine, a folder in its place, a script).
TEST_F(CliWithStandIns, AMissingOrFailingEngineEndsWithStatusOneAndSaysWhy)
{
    const std::pair<const char *, const char *> cases[] = {
        {nullptr, "Could not locate pdflatex with path: TEX/pdflatex Plumeo relies on MacTeX. Is this installed?\n"},
        {"", "the engine failed: could not run "},
        {"#!/bin/sh\necho '%PDF-1.5' > main.pdf\nkill -XFSZ $$\n", "the engine failed: pdflatex was ended by signal 25"}};
    for (const auto &[engine, message] : cases) {
        QDir(texFolder()).removeRecursively();
        QDir().mkpath(engine && !*engine ? texFolder() + QStringLiteral("/pdflatex") : texFolder());
        if (engine && *engine)
            writeEngine(engine);
        const PLCliRun run = runCli({"typeset", mainPath()});
        EXPECT_EQ(run.exitCode, 1);
        const QString error = QString::fromUtf8(run.standardError);
        EXPECT_TRUE(error.contains(QStringLiteral("plumeo-cli: ") + QString::fromUtf8(message).replace(QStringLiteral("TEX"), texFolder())))
            << error.toStdString();
        EXPECT_EQ(run.at("engineFound").toBool(), engine != nullptr);
        if (engine)
            EXPECT_TRUE(error.contains(QStringLiteral(": ") + run.at("runs.0.description").toString() + u'\n')) << error.toStdString();
    }
}

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

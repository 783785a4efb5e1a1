#include "core/typesetting/PLTexTaskRunner.h"
#include "PLTypesettingTestSupport.h"

#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <signal.h>

namespace {

using namespace PLTypesettingTest;
using namespace std::chrono_literals;

// One run of a program on a thread of its own, as a typesetting job runs it, with what it wrote.
class BackgroundRun
{
public:
    BackgroundRun(PLTexTaskRunner &runner, const QString &program, const QString &folder, QStringList arguments = {})
    {
        m_result = std::async(std::launch::async, [&runner, program, folder, arguments, this] {
            return runner.run(
                program, folder, arguments,
                [this](const QByteArray &chunk) {
                    std::lock_guard lock(m_mutex);
                    m_output += chunk;
                    m_outputChunks.fetch_add(1);
                    if (!m_errors.isEmpty())
                        m_outputAfterErrors = true;
                },
                [this](const QByteArray &chunk) {
                    std::lock_guard lock(m_mutex);
                    m_errors += chunk;
                });
        });
    }

    // Waits until some output has arrived.
    bool waitForOutput()
    {
        return QTest::qWaitFor([this] { return m_outputChunks.load() > 0; }, 5000);
    }
    bool finishesWithin(std::chrono::milliseconds limit) { return m_result.wait_for(limit) == std::future_status::ready; }
    PLTexRunResult result() { return m_result.get(); }

    QByteArray output()
    {
        std::lock_guard lock(m_mutex);
        return m_output;
    }
    QByteArray errors()
    {
        std::lock_guard lock(m_mutex);
        return m_errors;
    }
    bool outputAfterErrors() const { return m_outputAfterErrors; }

private:
    std::mutex m_mutex;
    QByteArray m_output;
    QByteArray m_errors;
    std::atomic<int> m_outputChunks{0};
    bool m_outputAfterErrors = false;
    std::future<PLTexRunResult> m_result;
};

class TexTaskRunner : public ::testing::Test
{
protected:
    QTemporaryDir folder;
    PLTexTaskRunner runner{QStringLiteral("/usr/texbin/")};
};

TEST_F(TexTaskRunner, ProgramsSeeOnlyTexmfHomeTheirArgumentsAndTheirFolder)
{
    BackgroundRun env(runner, QStringLiteral("/usr/bin/env"), folder.path());
    ASSERT_TRUE(env.finishesWithin(10s));
    EXPECT_TRUE(env.result().started);
    EXPECT_EQ(env.output(), "TEXMFHOME=" + qgetenv("HOME") + "/Library/texmf\n");

    BackgroundRun pwd(runner, QStringLiteral("/bin/pwd"), folder.path(), {QStringLiteral("-P")});
    ASSERT_TRUE(pwd.finishesWithin(10s));
    EXPECT_EQ(pwd.output().trimmed(), QDir(folder.path()).canonicalPath().toUtf8());

    BackgroundRun echo(runner, QStringLiteral("/bin/echo"), folder.path(),
                       {QStringLiteral("--interaction"), QStringLiteral("two words")});
    ASSERT_TRUE(echo.finishesWithin(10s));
    EXPECT_EQ(echo.output(), "--interaction two words\n");
}

TEST_F(TexTaskRunner, OutputLeftInThePipeAfterTheEndIsStillDeliveredBeforeStandardError)
{
    BackgroundRun run(runner, helperPath(QStringLiteral("early-exit")), folder.path());
    ASSERT_TRUE(run.finishesWithin(30s));
    EXPECT_TRUE(run.result().started);
    const QByteArray output = run.output();
    EXPECT_EQ(output.count('\n'), 4000);
    EXPECT_TRUE(output.endsWith("line 3999 of the output of a program that writes a lot and then exits right away......\n"));
    EXPECT_EQ(run.errors(), "the end\n");
    EXPECT_FALSE(run.outputAfterErrors());
}

TEST_F(TexTaskRunner, ACrashEndsTheRunWithWhatWasWritten)
{
    BackgroundRun run(runner, helperPath(QStringLiteral("crash")), folder.path());
    ASSERT_TRUE(run.finishesWithin(10s));
    EXPECT_EQ(run.result().signal, SIGSEGV);
    EXPECT_EQ(run.output(), "(./main.tex\n");
    EXPECT_EQ(run.errors(), "partial output\n");
}

// Regression: an engine in an endless loop used to keep the job (and the caller waiting for it)
// busy for ever; stop() must end a program that hangs, floods its output or closed it, with
// everything it started, and nothing starts after it.
TEST_F(TexTaskRunner, StopEndsAProgramWithItsWholeProcessGroup)
{
    for (const char *helper : {"hang", "flood", "closes-output"}) {
        SCOPED_TRACE(helper);
        PLTexTaskRunner own(QStringLiteral("/usr/texbin/"));
        BackgroundRun run(own, helperPath(QString::fromLatin1(helper)), folder.path());
        const bool closes = QByteArrayView(helper) == "closes-output";
        if (closes) {
            ASSERT_TRUE(QTest::qWaitFor([this] { return QFile::exists(folder.filePath(QStringLiteral("output-closed"))); }, 5000));
        } else {
            ASSERT_TRUE(run.waitForOutput());
        }
        const qint64 sleeper = QByteArrayView(helper) == "hang" ? sleeperPid(folder.path()) : -1;
        ASSERT_NE(sleeper, 0);
        EXPECT_FALSE(run.finishesWithin(0ms));
        own.stop();
        ASSERT_TRUE(run.finishesWithin(5s));
        // Ended by stop(), not by the end of its output.
        const PLTexRunResult result = run.result();
        EXPECT_TRUE(result.stopped);
        EXPECT_FALSE(result.failed());
        EXPECT_TRUE(own.isStopped());
        if (sleeper > 0) {
            EXPECT_TRUE(QTest::qWaitFor([sleeper] { return processHasEnded(sleeper); }, 2000));
        }
        // Standard error comes once the program has ended.
        if (closes) {
            EXPECT_EQ(run.errors(), "closed\n");
        }
        BackgroundRun afterStop(own, QStringLiteral("/bin/echo"), folder.path(), {QStringLiteral("x")});
        ASSERT_TRUE(afterStop.finishesWithin(5s));
        EXPECT_FALSE(afterStop.result().started);
        EXPECT_TRUE(afterStop.output().isEmpty());
    }
}

// Regression: a background child of the engine (started through --shell-escape) outlived the job.
TEST_F(TexTaskRunner, AProgramThatLeavesAChildHoldingItsOutputDoesNotHoldUpTheRunAndTheChildEndsWithIt)
{
    BackgroundRun run(runner, helperPath(QStringLiteral("leaves-child")), folder.path());
    ASSERT_TRUE(run.finishesWithin(10s));
    EXPECT_EQ(run.output(), "done\n");
    EXPECT_FALSE(run.result().failed());
    const qint64 sleeper = sleeperPid(folder.path());
    ASSERT_GT(sleeper, 0);
    EXPECT_TRUE(QTest::qWaitFor([sleeper] { return processHasEnded(sleeper); }, 5000));
    ::kill(pid_t(sleeper), SIGKILL);
}

// Regression: a program that could not be run, that failed or that a signal ended (a file-size
// limit half way through the PDF) went unnoticed.
TEST_F(TexTaskRunner, EndingsAreToldApart)
{
    // The script (none: the folder itself is the program), its permissions, whether it started,
    // its exit code and signal, whether the run failed, and the description (null: not started).
    const struct
    {
        QByteArray script;
        QFile::Permissions permissions;
        bool started;
        int exitCode, signal;
        bool failed;
        const char *description;
    } cases[] = {{"#!/bin/sh\necho ok\n", kExecutable, true, 0, 0, false, "engine ended with exit status 0"},
                 {"#!/bin/sh\nexit 3\n", kExecutable, true, 3, 0, true, "engine ended with exit status 3"},
                 {"#!/bin/sh\nkill -XFSZ $$\n", kExecutable, true, -1, SIGXFSZ, true, "engine was ended by signal 25 (File size limit exceeded)"},
                 {"#!/bin/sh\necho ok\n", QFile::ReadOwner | QFile::WriteOwner, false, -1, 0, true, nullptr},
                 {QByteArray(), {}, false, -1, 0, true, nullptr}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.script.toStdString());
        QString program = folder.path();
        if (!c.script.isEmpty()) {
            program = folder.filePath(QStringLiteral("engine"));
            QFile::remove(program);
            writeProgram(program, c.script, c.permissions);
        }
        BackgroundRun run(runner, program, folder.path());
        ASSERT_TRUE(run.finishesWithin(10s));
        const PLTexRunResult result = run.result();
        EXPECT_EQ(std::tuple(result.started, result.exitCode, result.signal, result.failed()),
                  std::tuple(c.started, c.exitCode, c.signal, c.failed));
        EXPECT_TRUE(c.started ? result.description() == QString::fromUtf8(c.description)
                              : result.description().startsWith(QStringLiteral("could not run ") + program + u':'))
            << result.description().toStdString();
    }
}

// Regression: standard error was read only when the program ended, so a flood of it piled up in
// memory; it is read as it comes and only its last part is kept.
TEST_F(TexTaskRunner, AFloodOnStandardErrorKeepsOnlyItsLastPart)
{
    const QString program = folder.filePath(QStringLiteral("engine"));
    writeProgram(program, "#!/bin/sh\n/usr/bin/yes 'a line of errors' | /usr/bin/head -n 1000000 >&2\necho last line >&2\necho out\n");
    BackgroundRun run(runner, program, folder.path());
    ASSERT_TRUE(run.finishesWithin(60s));
    const PLTexRunResult result = run.result();
    EXPECT_EQ(run.output(), "out\n");
    EXPECT_LE(run.errors().size(), PLTexTaskRunner::kMaximumErrorBytes);
    EXPECT_TRUE(run.errors().startsWith("a line of errors\n"));
    EXPECT_TRUE(run.errors().endsWith("a line of errors\nlast line\n"));
    EXPECT_EQ(result.droppedErrorBytes + run.errors().size(), 17 * 1000000 + 10);
}

}

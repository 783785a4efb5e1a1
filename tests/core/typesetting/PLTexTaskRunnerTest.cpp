#include "PLTexTaskRunner.h"
#include "PLTypesettingTestSupport.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <signal.h>
#include <thread>

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
        for (int i = 0; i < 1000 && m_outputChunks.load() == 0; ++i)
            std::this_thread::sleep_for(5ms);
        return m_outputChunks.load() > 0;
    }
    bool finishesWithin(std::chrono::milliseconds limit) { return m_result.wait_for(limit) == std::future_status::ready; }
    bool result() { return m_result.get(); }

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
    std::future<bool> m_result;
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
    EXPECT_TRUE(env.result());
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
    EXPECT_TRUE(run.result());
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
    EXPECT_TRUE(run.result());
    EXPECT_EQ(run.output(), "(./main.tex\n");
    EXPECT_EQ(run.errors(), "partial output\n");
}

// Regression: an engine in an endless loop used to keep the job (and the caller waiting for it)
// busy for ever; stop() must end the engine and everything it started.
TEST_F(TexTaskRunner, StopEndsAHangingProgramWithItsWholeProcessGroup)
{
    BackgroundRun run(runner, helperPath(QStringLiteral("hang")), folder.path());
    ASSERT_TRUE(run.waitForOutput());
    const qint64 sleeper = sleeperPid(folder.path());
    ASSERT_GT(sleeper, 0);
    EXPECT_FALSE(run.finishesWithin(200ms));
    QElapsedTimer timer;
    timer.start();
    runner.stop();
    ASSERT_TRUE(run.finishesWithin(5s));
    EXPECT_LT(timer.elapsed(), 2000);
    EXPECT_TRUE(run.result());
    for (int i = 0; i < 200 && !processHasEnded(sleeper); ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_TRUE(processHasEnded(sleeper));
    EXPECT_TRUE(runner.isStopped());
}

TEST_F(TexTaskRunner, StopEndsAFloodAndAProgramThatClosedItsOutput)
{
    for (const char *helper : {"flood", "closes-output"}) {
        SCOPED_TRACE(helper);
        PLTexTaskRunner own(QStringLiteral("/usr/texbin/"));
        BackgroundRun run(own, helperPath(QString::fromLatin1(helper)), folder.path());
        const bool flood = QByteArrayView(helper) == "flood";
        if (flood) {
            ASSERT_TRUE(run.waitForOutput());
        }
        EXPECT_FALSE(run.finishesWithin(200ms));
        own.stop();
        ASSERT_TRUE(run.finishesWithin(5s));
        // Standard error comes once the program has ended.
        if (!flood) {
            EXPECT_EQ(run.errors(), "closed\n");
        }
    }
}

TEST_F(TexTaskRunner, AProgramThatLeavesAChildHoldingItsOutputDoesNotHoldUpTheRun)
{
    BackgroundRun run(runner, helperPath(QStringLiteral("leaves-child")), folder.path());
    ASSERT_TRUE(run.finishesWithin(10s));
    EXPECT_EQ(run.output(), "done\n");
    const qint64 sleeper = sleeperPid(folder.path());
    ASSERT_GT(sleeper, 0);
    ::kill(pid_t(sleeper), SIGKILL);
}

TEST_F(TexTaskRunner, NothingStartsAfterStopOrWithoutAProgram)
{
    PLTexTaskRunner stopped(QStringLiteral("/usr/texbin/"));
    stopped.stop();
    BackgroundRun afterStop(stopped, QStringLiteral("/bin/echo"), folder.path(), {QStringLiteral("x")});
    ASSERT_TRUE(afterStop.finishesWithin(5s));
    EXPECT_FALSE(afterStop.result());
    EXPECT_TRUE(afterStop.output().isEmpty());

    BackgroundRun missing(runner, folder.filePath(QStringLiteral("no-such-program")), folder.path());
    ASSERT_TRUE(missing.finishesWithin(5s));
    EXPECT_FALSE(missing.result());
}

}

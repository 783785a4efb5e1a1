#include "core/typesetting/PLSyncTexSearch.h"
#include "PLTypesettingTestSupport.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"
#include "core/typesetting/PLLogItem.h"
#include "core/typesetting/PLStreamDecoder.h"
#include "core/typesetting/PLTexTaskRunner.h"

#include <QThreadPool>
#include <sys/stat.h>
#include <QTemporaryDir>
#include <QTest>
#include <future>
#include <signal.h>

#include <gtest/gtest.h>

namespace {

using namespace PLTypesettingTest;

template<class Job> using TypesettingDriver = DriverTest<Job>;

using Drivers = ::testing::Types<TransformerJob, TypesetterJob>;
TYPED_TEST_SUITE(TypesettingDriver, Drivers);

TYPED_TEST(TypesettingDriver, TellsOutputOnTheJobsThreadAndFilesAndTheEndOnTheMainThread)
{
    this->open(QStringLiteral("subfolder"));
    ASSERT_TRUE(this->waitForFinish());
    Events &events = *this->events;
    EXPECT_EQ(events.kinds(false), TypeParam::jobThreadKinds);
    EXPECT_EQ(events.kinds(true), (QStringList{QStringLiteral("file"), QStringLiteral("finish")}));
    // The engine is the default one, and the job no longer ran when its end was told.
    EXPECT_EQ(std::tuple(events.all().front().number, events.all().back().kind, events.all().back().number),
              std::tuple(0, QStringLiteral("finish"), 0));
    EXPECT_EQ(std::tuple(events.texts(QStringLiteral("file")).join(u' '), this->job->isRunning(), this->job->driver().wasPdfWritten()),
              std::tuple(QStringLiteral("main.tex chapters/one.tex"), false, true));
    // The new SyncTeX data is parsed on a worker after the job, so the first search needs no parse
    // of its own; data that changed on disk since is parsed again.
    const QString pdf = this->mainFile->pdfPath();
    const QString chapter = this->folder + QStringLiteral("chapters/one.tex");
    QThreadPool::globalInstance()->waitForDone();
    EXPECT_TRUE(PLSyncTexSearch::isRead(pdf));
    const quint64 parses = PLSyncTexSearch::parseCount();
    const QList<PLSyncTexForwardResult> first = PLSyncTexSearch(pdf).forwardSearch(chapter, 4, 0);
    EXPECT_FALSE(first.isEmpty());
    EXPECT_EQ(PLSyncTexSearch::parseCount(), parses);
    QFile synctex(this->folder + QStringLiteral("main.synctex.gz"));
    ASSERT_TRUE(synctex.open(QIODevice::ReadWrite));
    ASSERT_TRUE(synctex.setFileTime(synctex.fileTime(QFileDevice::FileModificationTime).addSecs(-60), QFileDevice::FileModificationTime));
    synctex.close();
    EXPECT_FALSE(PLSyncTexSearch::isRead(pdf));
    EXPECT_EQ(PLSyncTexSearch(pdf).forwardSearch(chapter, 4, 0).size(), first.size());
    EXPECT_EQ(PLSyncTexSearch::parseCount(), parses + 1);
}

// Without a file to typeset or an engine to run the job still ends; the missing engine is told.
TYPED_TEST(TypesettingDriver, AJobWithoutAFileOrAnEngineStillEnds)
{
    this->freshJob().start(PLFile::untitledFileWithName(QStringLiteral("Untitled"), nullptr));
    ASSERT_TRUE(this->waitForFinish());
    EXPECT_EQ(this->events->kinds().join(u' '), u"finish");
    QTemporaryDir empty;
    PLUserDefaults::standardUserDefaults().setString(empty.path(), PLUserDefaultsTexLocation);
    this->open(QStringLiteral("clean"));
    ASSERT_TRUE(this->waitForFinish());
    EXPECT_EQ(this->events->kinds().join(u' '), u"engine missing finish");
    EXPECT_EQ(std::tuple(this->events->texts(QStringLiteral("missing")).join(u' '), this->events->all()[1].onMainThread,
                         QFile::exists(this->mainFile->pdfPath())),
              std::tuple(QString(empty.path() + QStringLiteral("/pdflatex")), false, false));
}

TYPED_TEST(TypesettingDriver, ASecondRequestIsDropped)
{
    this->open(QStringLiteral("clean"));
    this->job->start(PLFile::fileWithPath(this->folder + QStringLiteral("other.tex"), nullptr));
    EXPECT_EQ(this->job->file(), this->mainFile);
    ASSERT_TRUE(this->waitForFinish());
    // A request after the end is dropped too: a driver runs one job in its life.
    this->job->start(this->mainFile);
    EXPECT_FALSE(this->job->isRunning());
    QCoreApplication::processEvents();
    EXPECT_EQ(std::tuple(this->events->texts(QStringLiteral("finish")).size(), this->events->texts(QStringLiteral("engine")).size()),
              std::tuple(1, 1));
}

// Regression: an engine in an endless loop kept the job running for ever.
TYPED_TEST(TypesettingDriver, StopEndsAHangingEngineAndSkipsTheRestOfTheJob)
{
    this->open(QStringLiteral("clean"), QStringLiteral("\\documentclass{article}\\begin{document}\\def\\a{\\a}\\a\\end{document}\n"));
    ASSERT_TRUE(this->events->waitFor(QStringLiteral("output"), QStringLiteral("(./main.tex")));
    EXPECT_TRUE(this->job->isRunning());
    this->job->driver().stop();
    ASSERT_TRUE(this->waitForFinish());
    EXPECT_EQ(std::tuple(this->job->driver().isStopped(), this->job->isRunning(), this->events->texts(QStringLiteral("finish")).size()),
              std::tuple(true, false, 1));
    // BibTeX and the later runs were skipped.
    EXPECT_FALSE(QFile::exists(this->folder + QStringLiteral("main.blg")));
    ASSERT_EQ(this->job->driver().runs().size(), 1);
    EXPECT_TRUE(this->job->driver().runs().first().result.stopped);
}

using TypesetterTest = DriverTest<TypesetterJob>;

TEST_F(TypesetterTest, ReadsTheFirstRunWithItsOwnParserBeforeBibTeXRuns)
{
    open(QStringLiteral("undefined-control-sequence"));
    ASSERT_TRUE(waitForFinish());
    // The first run's one error was counted by the time BibTeX spoke.
    const std::vector<Events::Event> all = events->all();
    const auto bibTeX = std::find_if(all.begin(), all.end(), [](const Events::Event &event) {
        return event.kind == u"output" && event.text.contains(QStringLiteral("This is BibTeX"));
    });
    ASSERT_NE(bibTeX, all.end());
    EXPECT_EQ(bibTeX->number, 1);
    ASSERT_EQ(job->finishedParser, job->driver().parser());
    ASSERT_EQ(job->finishedParser->itemCount(), 1);
    EXPECT_EQ(job->finishedParser->itemAtIndex(0)->line(), 3);
}

// The driver's common behaviour is in the typed driver suite; these are the transformer's own.
class LatexTransformerTest : public DriverTest<TransformerJob>
{
protected:
    PLLogStringParser &parser() { return job->parser(); }
};

TEST_F(LatexTransformerTest, ABibTeXProjectRunsFourProgramsAndParsesTheFirstEngineRun)
{
    open(QStringLiteral("citations"));
    EXPECT_TRUE(job->isRunning());
    ASSERT_TRUE(waitForFinish());
    // The log is parsed on the job's thread, before the end is told.
    EXPECT_EQ(events->kinds(false), TransformerJob::jobThreadKinds);
    EXPECT_EQ(events->texts(QStringLiteral("file")), QStringList{QStringLiteral("main.tex")});
    // BibTeX ran and its output was shown; the runs after it resolved the citations.
    const QString output = events->texts(QStringLiteral("output")).join(QString());
    EXPECT_EQ(std::tuple(output.contains(QStringLiteral("This is BibTeX")), output.count(QStringLiteral("This is pdfTeX")),
                         QFile::exists(folder + QStringLiteral("main.bbl")),
                         PLTest::readFile(folder + QStringLiteral("main.log")).contains("Citation `knuth1984'")),
              std::tuple(true, 3, true, false));
    // The parsed log is the first run's, which did not know the citations yet.
    ASSERT_EQ(parser().warningsFound().size(), 4);
    EXPECT_EQ(std::pair(parser().warningsFound().first()->message(), parser().warningsFound().first()->filePath()),
              std::pair(QStringLiteral("Citation `knuth1984' on page 1 undefined "), mainFile->stringPath()));
}

// The magic comment chooses the engine before the setting does.
TEST_F(LatexTransformerTest, FollowsTheMagicCommentThenTheSetting)
{
    for (const auto &[document, setting, engine, banner] : {std::tuple{"xelatex", "pdflatex", 2, "This is XeTeX"},
                                                            {"clean", "xelatex", 0, "This is XeTeX"},
                                                            {"clean", "pdflatex", 0, "This is pdfTeX"}}) {
        SCOPED_TRACE(setting);
        PLUserDefaults::standardUserDefaults().setString(QString::fromUtf8(setting), PLUserDefaultsTypesettingEngine);
        open(QString::fromUtf8(document));
        ASSERT_TRUE(waitForFinish());
        ASSERT_FALSE(events->all().empty());
        EXPECT_EQ(std::tuple(events->all().front().kind, events->all().front().number), std::tuple(QStringLiteral("engine"), engine));
        EXPECT_TRUE(events->texts(QStringLiteral("output")).join(QString()).startsWith(QString::fromUtf8(banner)));
        EXPECT_TRUE(job->driver().wasPdfWritten());
        // The next row's main file is read afresh.
        mainFile->close();
    }
}

// A document from an untrusted source runs any command through shell escape; the setting turns it
// off for the next job.
TEST_F(LatexTransformerTest, ShellEscapeFollowsItsSetting)
{
    for (const bool enabled : {true, false}) {
        SCOPED_TRACE(enabled);
        PLUserDefaults::standardUserDefaults().setBool(enabled, PLUserDefaultsShellEscapeEnabled);
        open(QStringLiteral("clean"), QStringLiteral("\\documentclass{article}\\immediate\\write18{touch escaped}"
                                                     "\\begin{document}x\\end{document}\n"));
        ASSERT_TRUE(waitForFinish());
        EXPECT_EQ(QFile::exists(folder + QStringLiteral("escaped")), enabled);
        EXPECT_TRUE(job->driver().wasPdfWritten());
        QFile::remove(folder + QStringLiteral("escaped"));
    }
}

// A TeX folder of stand-in programs that write down how they were run.
class LatexTransformerWithStandIns : public LatexTransformerTest
{
protected:
    void SetUp() override
    {
        LatexTransformerTest::SetUp();
        texFolder = dir.filePath(QStringLiteral("texbin"));
        writeProgram(texFolder + QStringLiteral("/pdflatex"),
                     "#!/bin/sh\n"
                     "echo \"engine $0 $*\" >> runs.txt\n"
                     "n=$(/usr/bin/wc -l < runs.txt)\n"
                     "echo \"(./main.tex\"\n"
                     "echo \"LaTeX Warning: run $n\"\n"
                     "echo\n");
        writeProgram(texFolder + QStringLiteral("/bibtex"), "#!/bin/sh\necho \"bibtex $0 $*\" >> runs.txt\n");
    }
    QString runs() { return QString::fromUtf8(PLTest::readFile(folder + QStringLiteral("runs.txt"))); }
    // The stand-in engine alone, in the TeX folder in use.
    void useEngine(const QByteArray &script)
    {
        PLTest::writeFile(texFolder + QStringLiteral("/pdflatex"), script);
        QFile::remove(texFolder + QStringLiteral("/bibtex"));
        PLUserDefaults::standardUserDefaults().setString(texFolder, PLUserDefaultsTexLocation);
    }
    QString texFolder;
};

// A setting of two characters or more is a folder whatever its last character; shorter ones are
// used as they are.
TEST_F(LatexTransformerWithStandIns, TheTexFolderRuleLooksAtTheSecondToLastCharacter)
{
    for (const QString &setting : QStringList{texFolder, texFolder + u'/', QStringLiteral("/"), QString()}) {
        SCOPED_TRACE(setting.toStdString());
        PLUserDefaults::standardUserDefaults().setString(setting, PLUserDefaultsTexLocation);
        QFile::remove(dir.filePath(QStringLiteral("runs.txt")));
        open(QStringLiteral("clean"));
        ASSERT_TRUE(waitForFinish());
        if (setting.size() < 2) {
            EXPECT_EQ(events->texts(QStringLiteral("missing")), QStringList{setting + QStringLiteral("pdflatex")});
            continue;
        }
        const QString run = QStringLiteral("engine %1/pdflatex -file-line-error -synctex=1 --interaction nonstopmode --shell-escape main\n")
                                .arg(setting);
        EXPECT_EQ(runs(), run + QStringLiteral("bibtex %1/bibtex main\n").arg(setting) + run + run);
        // Only the first run's output is parsed.
        ASSERT_EQ(parser().warningsFound().size(), 1);
        EXPECT_EQ(parser().warningsFound().first()->message(), QStringLiteral("run 1\n\n"));
    }
}

// Regression: each chunk was decoded on its own, so a character split between two reads made
// the chunk undecodable and lost it, with its warnings and errors. The stand-in stops after the
// first byte of "é" until the job has passed on what it read, so the split falls there.
TEST_F(LatexTransformerWithStandIns, ACharacterSplitBetweenTwoReadsIsKept)
{
    const QString gate = texFolder + QStringLiteral("/gate");
    ASSERT_EQ(mkfifo(QFile::encodeName(gate).constData(), 0600), 0);
    useEngine("#!/bin/sh\n"
              "echo '(./first.tex'\nprintf 'caf\\303'\n"
              "read go < \"$(dirname \"$0\")/gate\"\n"
              "printf '\\251\\n(./last.tex\\n'\n");
    QString seen;
    onOutput = [&seen, gate](const QString &output) {
        seen += output;
        if (!seen.endsWith(QStringLiteral("caf")))
            return;
        QFile release(gate);
        if (release.open(QIODevice::WriteOnly))
            release.write("\n");
    };
    open(QStringLiteral("clean"));
    ASSERT_TRUE(waitForFinish());
    EXPECT_EQ(events->texts(QStringLiteral("output")).join(QString()), QStringLiteral("(./first.tex\ncaf\u00e9\n(./last.tex\n"));
    EXPECT_EQ(events->texts(QStringLiteral("file")), (QStringList{QStringLiteral("first.tex"), QStringLiteral("last.tex")}));
    EXPECT_EQ(parser().currentFilePath(), folder + QStringLiteral("last.tex"));
}

// Regression: a flooding engine's output was kept whole for the parser, until memory ran out; the
// kept part is bounded and the output says what was left out.
TEST_F(LatexTransformerWithStandIns, AFloodingEnginesOutputIsKeptOnlyUpToABound)
{
    useEngine("#!/bin/sh\necho '(./first.tex'\n/usr/bin/yes x | /usr/bin/head -c 20000000\necho '(./late.tex'\n");
    open(QStringLiteral("clean"));
    ASSERT_TRUE(waitForFinish());
    const QStringList output = events->texts(QStringLiteral("output"));
    EXPECT_TRUE(output.join(QString()).contains(QStringLiteral("x\n(./late.tex\n")));
    ASSERT_FALSE(output.isEmpty());
    EXPECT_TRUE(output.last().startsWith(QStringLiteral("\nPlumeo: only the first 16777216 characters of the output of pdflatex")))
        << output.last().toStdString();
    EXPECT_EQ(events->texts(QStringLiteral("file")), QStringList{QStringLiteral("first.tex")});
    EXPECT_EQ(parser().currentFilePath(), folder + QStringLiteral("first.tex"));
}

TEST(StreamDecoder, KeepsACharacterSplitAnywhereAndDropsOnlyPiecesThatDoNotDecode)
{
    const QString text = QStringLiteral("Gr\u00fc\u00dfe \u65e5\u672c \U0001F600.");
    for (const PLStringEncoding encoding : {PLStringEncodings::UTF8, PLStringEncodings::UTF16LittleEndian,
                                            PLStringEncodings::ISOLatin2, PLStringEncodings::MacOSRoman}) {
        SCOPED_TRACE(encoding);
        const QString representable = PLStringEncodings::encode(text, encoding) ? text : QStringLiteral("Gr\u00fc\u00dfe.");
        const QByteArray bytes = *PLStringEncodings::encode(representable, encoding);
        for (qsizetype cut = 0; cut <= bytes.size(); ++cut) {
            PLStreamDecoder decoder(encoding);
            const std::optional<QString> first = decoder.decode(QByteArrayView(bytes).first(cut));
            const std::optional<QString> second = decoder.decode(QByteArrayView(bytes).sliced(cut));
            ASSERT_TRUE(first && second) << cut;
            EXPECT_EQ(*first + *second, representable) << cut;
        }
    }
    PLStreamDecoder decoder(PLStringEncodings::UTF8);
    EXPECT_EQ(decoder.decode("a\xc3"), QStringLiteral("a"));
    EXPECT_FALSE(decoder.decode("\xff b"));
    EXPECT_EQ(decoder.decode("c\xc3\xa9"), QStringLiteral("c\u00e9"));
    EXPECT_FALSE(PLStreamDecoder(0xdeadbeef).decode("a"));
}

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
                    m_outputAfterErrors = m_outputAfterErrors || !m_errors.isEmpty();
                },
                [this](const QByteArray &chunk) {
                    std::lock_guard lock(m_mutex);
                    m_errors += chunk;
                });
        });
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
    const std::tuple<const char *, QStringList, QByteArray> cases[] = {
        {"/usr/bin/env", {}, "TEXMFHOME=" + qgetenv("HOME") + "/Library/texmf\n"},
        {"/bin/pwd", {QStringLiteral("-P")}, QDir(folder.path()).canonicalPath().toUtf8() + '\n'},
        {"/bin/echo", {QStringLiteral("--interaction"), QStringLiteral("two words")}, "--interaction two words\n"}};
    for (const auto &[program, arguments, output] : cases) {
        BackgroundRun run(runner, QString::fromUtf8(program), folder.path(), arguments);
        ASSERT_TRUE(run.finishesWithin(10s));
        EXPECT_TRUE(run.result().started);
        EXPECT_EQ(run.output(), output);
    }
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
        const QString closedMark = folder.filePath(QStringLiteral("output-closed"));
        ASSERT_TRUE(QTest::qWaitFor([&] { return closes ? QFile::exists(closedMark) : !run.output().isEmpty(); }, 5000));
        const qint64 sleeper = QByteArrayView(helper) == "hang" ? sleeperPid(folder.path()) : -1;
        ASSERT_NE(sleeper, 0);
        EXPECT_FALSE(run.finishesWithin(0ms));
        own.stop();
        ASSERT_TRUE(run.finishesWithin(5s));
        // Ended by stop(), not by the end of its output.
        const PLTexRunResult result = run.result();
        EXPECT_EQ(std::tuple(result.stopped, result.failed(), own.isStopped()), std::tuple(true, false, true));
        EXPECT_TRUE(sleeper < 0 || QTest::qWaitFor([sleeper] { return processHasEnded(sleeper); }, 2000));
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
    const std::tuple<QByteArray, QFile::Permissions, bool, int, int, bool, const char *> cases[] = {
        {"#!/bin/sh\necho ok\n", kExecutable, true, 0, 0, false, "engine ended with exit status 0"},
        {"#!/bin/sh\nexit 3\n", kExecutable, true, 3, 0, true, "engine ended with exit status 3"},
        {"#!/bin/sh\nkill -XFSZ $$\n", kExecutable, true, -1, SIGXFSZ, true, "engine was ended by signal 25 (File size limit exceeded)"},
        {"#!/bin/sh\necho ok\n", QFile::ReadOwner | QFile::WriteOwner, false, -1, 0, true, nullptr},
        {QByteArray(), {}, false, -1, 0, true, nullptr}};
    for (const auto &[script, permissions, started, exitCode, signal, failed, description] : cases) {
        SCOPED_TRACE(script.toStdString());
        QString program = folder.path();
        if (!script.isEmpty()) {
            program = folder.filePath(QStringLiteral("engine"));
            QFile::remove(program);
            writeProgram(program, script, permissions);
        }
        BackgroundRun run(runner, program, folder.path());
        ASSERT_TRUE(run.finishesWithin(10s));
        const PLTexRunResult result = run.result();
        EXPECT_EQ(std::tuple(result.started, result.exitCode, result.signal, result.failed()),
                  std::tuple(started, exitCode, signal, failed));
        EXPECT_TRUE(started ? result.description() == QString::fromUtf8(description)
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

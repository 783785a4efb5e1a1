#include "core/typesetting/PLSyncTexSearch.h"
#include "PLTypesettingTestSupport.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"
#include "core/typesetting/PLLogItem.h"
#include "core/typesetting/PLStreamDecoder.h"
#include "core/typesetting/PLTexTaskRunner.h"
#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
#include "core/typesetting/PLLogStringParser.h"
#include "core/typesetting/PLLogStringParserDelegate.h"
#include "core/typesetting/PLTypesettingLogFileParser.h"
#include "core/typesetting/PLTypesettingLogFileParserStrategy.h"
#include "core/typesetting/PLLogScanning.h"
#include "core/typesetting/PLSyncTexCalculationUtil.h"
#include "core/typesetting/PLSyncTexDataCheck.h"
#include "core/typesetting/PLPdfPageRotations.h"

#include <QByteArray>
#include <QMap>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

#include <future>
#include <signal.h>
#include <string>
#include <sys/stat.h>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include <zlib.h>

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
    const QByteArray output = run.output();
    EXPECT_EQ(std::tuple(run.result().started, output.count('\n'), run.errors(), run.outputAfterErrors()),
              std::tuple(true, 4000, QByteArray("the end\n"), false));
    EXPECT_TRUE(output.endsWith("line 3999 of the output of a program that writes a lot and then exits right away......\n"));
}

TEST_F(TexTaskRunner, ACrashEndsTheRunWithWhatWasWritten)
{
    BackgroundRun run(runner, helperPath(QStringLiteral("crash")), folder.path());
    ASSERT_TRUE(run.finishesWithin(10s));
    EXPECT_EQ(std::tuple(run.result().signal, run.output(), run.errors()),
              std::tuple(SIGSEGV, QByteArray("(./main.tex\n"), QByteArray("partial output\n")));
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
    const QByteArray errors = run.errors();
    EXPECT_LE(errors.size(), PLTexTaskRunner::kMaximumErrorBytes);
    EXPECT_EQ(std::tuple(run.output(), errors.startsWith("a line of errors\n"), errors.endsWith("a line of errors\nlast line\n"),
                         result.droppedErrorBytes + errors.size()),
              std::tuple(QByteArray("out\n"), true, true, 17 * 1000000 + 10));
}

const QString kFolder = QStringLiteral("/project/");

// One item as the test tables write it: message, line, and the file relative to the project folder.
using ExpectedItem = std::tuple<std::string, int, std::string>;

std::vector<ExpectedItem> described(const PLLogStringParser::Items &items, int type)
{
    std::vector<ExpectedItem> result;
    for (const std::shared_ptr<PLLogItem> &item : items) {
        EXPECT_EQ(item->type(), type);
        const QString path = item->filePath().isNull() ? QStringLiteral("<none>") : item->filePath();
        result.emplace_back(item->message().toStdString(), item->line(),
                            (path.startsWith(kFolder) ? path.mid(kFolder.size()) : path).toStdString());
    }
    return result;
}

// One item of the strategies' parser: the file as the engine wrote it, line, message and advice.
using StrategyItem = std::tuple<std::string, int, std::string, std::string>;

StrategyItem described(const PLTypesettingLogFileParserItem &item)
{
    return {item.filename().toStdString(), item.line(), item.message().toStdString(), item.advice().toStdString()};
}

std::vector<StrategyItem> described(const PLTypesettingLogFileParser &parser)
{
    std::vector<StrategyItem> result;
    for (const PLTypesettingLogFileParserItem &item : parser.items()) {
        EXPECT_EQ(item.type(), 0);
        EXPECT_EQ(item.column(), 0);
        result.push_back(described(item));
    }
    return result;
}

// What the parser tells its delegate: the kind, the message and the path it gave.
class Recorder : public PLLogStringParserDelegate
{
public:
    explicit Recorder(PLLogStringParser *parser) : m_parser(parser) { parser->setDelegate(this); }
    ~Recorder() override { m_parser->setDelegate(nullptr); }
    void logStringParserDidFindWarning(PLLogStringParser *, std::shared_ptr<PLLogItem> warning, const QString &path) override
    {
        told.push_back({"warning", warning->message().toStdString(), path.isNull() ? "<none>" : path.toStdString()});
    }
    void logStringParserDidFindError(PLLogStringParser *, std::shared_ptr<PLLogItem> error, const QString &path) override
    {
        told.push_back({"error", error->message().toStdString(), path.isNull() ? "<none>" : path.toStdString()});
    }
    std::vector<std::tuple<std::string, std::string, std::string>> told;

private:
    PLLogStringParser *m_parser;
};

class LogParsers : public ::testing::Test
{
protected:
    PLFilePool pool;
    std::shared_ptr<PLFile> root = PLFile::fileWithPath(kFolder + QStringLiteral("main.tex"), nullptr);
    PLLogStringParser parser{root};
    PLTypesettingLogFileParser strategies{root};
};

const std::string kFatal = " ==> Fatal error occurred, no output PDF file produced!";
const std::string kFatalTranscript = kFatal + "Transcript written on main.log.";
const std::string kUndefinedReferences = "There were undefined references.\n\n";
const std::string kLabelsChanged = "Label(s) may have changed. Rerun to get cross-references right.\n\n";
std::string environmentAdvice(const std::string &name)
{
    return "You're beginning an environment named " + name + " which is unknown at this point. This could be because you've "
        "misspelled the environment name (" + name + ") or because you've forgot to add the necesary package to the preamble of the "
        "document (\\usepackage{missing package}).";
}

TEST_F(LogParsers, FindTheWarningsAndErrorsOfARealEngineRun)
{
    // The fixture; the warnings and errors the parser finds; the items of the strategies, which make
    // an item of the first strategy that knows each error.
    const std::tuple<const char *, std::vector<ExpectedItem>, std::vector<ExpectedItem>, std::vector<StrategyItem>> cases[] = {
        {"clean", {}, {}, {}},
        // The strategies that decline move the shared positions down the context lines first, so
        // the general one joins the wrong line to the message and swallows the second error.
        {"undefined-control-sequence", {}, {{"Undefined control sequence.", 3, "main.tex"}, {"Undefined control sequence.", 5, "main.tex"}},
         {{"./main.tex", 3, "Undefined control sequence.l.3 Hello \\undefinedmacro", ""}}},
        // The emergency stop and the fatal error are the located lines of a missing file.
        {"missing-package", {}, {{"Emergency stop.", 3, "main.tex"}, {kFatal, 3, "main.tex"}},
         {{"", 3, "File `nosuchpackage.sty' not found.", "Did you spell the package name ('nosuchpackage') correctly?"},
          {"./main.tex", 3, kFatalTranscript, ""}}},
        {"missing-input", {}, {{"Emergency stop.", 4, "main.tex"}, {kFatal, 4, "main.tex"}},
         {{"", 4, "File `nothere.tex' not found.", "Did you spell the file name ('nothere') correctly?"}, {"./main.tex", 4,
          kFatalTranscript, ""}}},
        // The strategies keep the last digit of line 12 only.
        {"illegal-parameter", {},
         {{"Illegal parameter number in definition of \\foo.", 12, "main.tex"},
          {"You can't use `macro parameter character #' in horizontal mode.", 14, "main.tex"}},
         {{"./main.tex", 2, "Illegal parameter number in definition of \\foo.",
           "This is probably because you are refering to parametre #2 but the new command only accepts 1 parametre."},
          {"./main.tex", 14, "You can't use `macro parameter character #' in horizontal mode.\\foo #1->#1 and ##", ""}}},
        // "LaTeX Error:" is cut off and the blank after it kept.
        {"missing-begin-document", {}, {{" Missing \\begin{document}.", 2, "main.tex"}}, {{"./main.tex", 2, "Missing \\begin{document}.",
         ""}}},
        {"only-in-preamble", {}, {{" Can be used only in preamble.", 3, "main.tex"}},
         {{"./main.tex", 3, "Can be used only in preamble.",
           "Try moving \\usepackage{amsmath} to the preamble of the document (the area before \\begin{document})."}}},
        {"undefined-environment", {},
         {{" Environment theorem undefined.", 3, "main.tex"}, {" \\begin{document} ended by \\end{theorem}.", 5, "main.tex"}},
         {{"./main.tex", 3, "Environment theorem undefined.", environmentAdvice("theorem")},
          {"./main.tex", 5, "\\begin{document} ended by \\end{theorem}.", ""}}},
        {"warnings",
         {{"Reference `nowhere' on page 1 undefined ", 4, "main.tex"}, {"Citation `nobody' on page 1 undefined ", 4, "main.tex"},
          {kUndefinedReferences, 0, "main.tex"}, {kLabelsChanged, 0, "main.tex"}}, {}, {}},
        // Everything after the opening of chapters/one.tex is filed under it, even what the main
        // file says once the chapter is closed again.
        {"subfolder",
         {{"Reference `missing-in-one' on page 1 undefined ", 2, "chapters/one.tex"},
          {"Reference `missing-in-main' on page 1 undefined ", 5, "chapters/one.tex"},
          {kUndefinedReferences, 0, "chapters/one.tex"}, {kLabelsChanged, 0, "chapters/one.tex"}},
         {{"Undefined control sequence.", 4, "chapters/one.tex"}},
         {{"./chapters/one.tex", 4, "Undefined control sequence.l.4 Here is an error: \\oops", ""}}},
        {"xelatex", {}, {{"Undefined control sequence.", 4, "main.tex"}},
         {{"./main.tex", 4, "Undefined control sequence.l.4 \u00dcn\u00efc\u00f6d\u00e9 text and \\nosuchcommand", ""}}},
        // Without -file-line-error the engine's own form is only recognised at the "?" prompt.
        {"classic-messages", {{"Reference `nowhere' on page 1 undefined ", 4, "main.tex"}, {kUndefinedReferences, 0, "main.tex"}}, {}, {}},
        {"interactive-prompt", {}, {{"error", 8, "main.tex"}}, {}}};
    for (const auto &[document, warnings, errors, items] : cases) {
        SCOPED_TRACE(document);
        PLLogStringParser fresh(root);
        fresh.parseLogString(capturedOutput(QString::fromUtf8(document)));
        EXPECT_EQ(described(fresh.warningsFound(), PLLogItem::Warning), warnings);
        EXPECT_EQ(described(fresh.errorsFound(), PLLogItem::Error), errors);
        PLTypesettingLogFileParser freshStrategies(root);
        freshStrategies.parseLogString(capturedOutput(QString::fromUtf8(document)));
        EXPECT_EQ(described(freshStrategies), items);
    }
}

TEST_F(LogParsers, PerFileCountsGrowOverJobsWhileTheFoundListsHoldTheLatestOnly)
{
    const QString log = QStringLiteral("(./main.tex\nLaTeX Warning: Reference `x' on page 1 undefined on input line 12.\n\n)");
    parser.parseLogString(log);
    parser.parseLogString(log);
    // An empty output changes nothing.
    parser.parseLogString(QString());
    ASSERT_EQ(parser.warningsFound().size(), 1);
    EXPECT_EQ(std::tuple(parser.warningCountForFile(*root), parser.warningForFile(*root, 1), parser.warningForFile(*root, 2),
                         parser.errorCountForFile(*root)),
              std::tuple(2, parser.warningsFound().first(), nullptr, 0));
}

// Messages before the first opening are told without a file in the first parse and filed under the
// last file later; of the errors, only those found without a location are told.
TEST_F(LogParsers, TheDelegateIsToldUnlocatedMessages)
{
    Recorder recorder(&parser);
    const QString log = QStringLiteral("LaTeX Warning: early\n\n(./chapter.tex\nLaTeX Warning: inside\n\n");
    parser.parseLogString(log);
    EXPECT_EQ(parser.warningsFound().size(), 1);
    parser.parseLogString(log);
    EXPECT_EQ(described(parser.warningsFound(), PLLogItem::Warning),
              (std::vector<ExpectedItem>{{"early\n\n", 0, "chapter.tex"}, {"inside\n\n", 0, "chapter.tex"}}));
    parser.parseLogString(QStringLiteral("(./a.tex\n! Undefined control sequence.\nl.5 \\foo\n   x\n? \n"
                                         "./b.tex:7: LaTeX Error: Missing \\begin{document}.\n\n"));
    const std::string folder = kFolder.toStdString();
    EXPECT_EQ(recorder.told, (std::vector<std::tuple<std::string, std::string, std::string>>{
                                 {"warning", "early\n\n", "<none>"}, {"warning", "inside\n\n", folder + "chapter.tex"},
                                 {"warning", "early\n\n", folder + "chapter.tex"}, {"warning", "inside\n\n", folder + "chapter.tex"},
                                 {"error", "error", folder + "a.tex"}}));
    EXPECT_EQ(described(parser.errorsFound(), PLLogItem::Error),
              (std::vector<ExpectedItem>{{"error", 8, "a.tex"}, {" Missing \\begin{document}.", 7, "b.tex"}}));
    EXPECT_EQ(parser.errorCountForFile(*PLFile::fileWithPath(kFolder + QStringLiteral("b.tex"), nullptr)), 1);
}

TEST_F(LogParsers, TheBracketCountLeavesOutTheLastCharacterOfEachPiece)
{
    // Counted in full, each piece "(./a.tex)" would balance; without its closing parenthesis it
    // opens one, so both openings are pushed.
    parser.parseLogString(QStringLiteral("(./a.tex)(./b.tex)"));
    EXPECT_EQ(parser.stackWithFilePaths(), (QStringList{QStringLiteral("(./a.tex)"), QStringLiteral("(./b.tex)")}));
    // A piece that closes more than it opens pops one entry.
    parser.parseLogString(QStringLiteral("(./c.tex\n)))\n"));
    EXPECT_EQ(parser.stackWithFilePaths(), QStringList{QStringLiteral("(./a.tex)")});
    for (const auto &[area, unclosed] : {std::pair{u"(()", 2}, {u"(", 0}, {u")))x", -3}})
        EXPECT_EQ(PLTypesettingLogFileParser::countUnclosedBracketsInArea(area), unclosed);
}

TEST_F(LogParsers, OnlyWholeLinesOfTheirFormAreItems)
{
    EXPECT_FALSE(parser.errorInLine(QStringLiteral("see ./chap.tex:7: x")));
    EXPECT_FALSE(parser.warningInLine(QStringLiteral("Package foo Warning: bar")));
    EXPECT_EQ(PLLogStringParser::fileNamesInLine(QStringLiteral("(./intro.tex and (./chapters/one.tex")),
              (QStringList{QStringLiteral("intro.tex"), QStringLiteral("chapters/one.tex")}));
    EXPECT_EQ(PLLogStringParser::fileNamesInLine(QStringLiteral("(./main.aux)\n(/usr/x.tex) (./int")), QStringList());
}

// Regression: the parsers opened every file the output named, and the document being typeset
// writes that output (\typeout): a name that led to /dev/zero read until memory ran out, a FIFO
// blocked the job. Items name their files by path, and nothing named is opened.
TEST(LogParsingOfHostileOutput, FilesNamedByTheOutputAreNeitherOpenedNorRead)
{
    QTemporaryDir dir;
    PLTest::writeFile(dir.filePath(QStringLiteral("plain.tex")), "text\n");
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), dir.filePath(QStringLiteral("zero.tex"))));
    ASSERT_EQ(::mkfifo(QFile::encodeName(dir.filePath(QStringLiteral("fifo.tex"))).constData(), 0600), 0);
    PLFilePool pool;
    const auto root = PLFile::fileWithPath(dir.filePath(QStringLiteral("main.tex")), nullptr);
    const QString folder = root->directoryOfFile();
    // The first name is a plain file, so that a parser that opens files fails here before it
    // reaches the ones that would hang it.
    for (const QString &name : {QStringLiteral("plain.tex"), QStringLiteral("zero.tex"), QStringLiteral("fifo.tex"),
                                QStringLiteral("../../../../../../../../../../dev/zero")}) {
        SCOPED_TRACE(name.toStdString());
        const QString output = QStringLiteral("(./") + name + QStringLiteral("\nLaTeX Warning: w on input line 2.\n\n./") + name +
                               QStringLiteral(":3: LaTeX Error: e.\n\nl.3 x\n\n");
        PLLogStringParser parser(root);
        parser.parseLogString(output);
        PLTypesettingLogFileParser strategies(root);
        strategies.parseLogString(output);
        ASSERT_EQ(pool.filesOpened().keys(), QStringList{root->stringPath()});
        ASSERT_EQ(parser.errorsFound().size(), 1);
        const QString path = folder + name;
        EXPECT_EQ(std::pair(parser.errorsFound().first()->filePath(), parser.errorsFound().first()->line()), std::pair(path, 3));
        if (name.endsWith(QStringLiteral(".tex"))) {
            ASSERT_EQ(std::pair(parser.warningsFound().size(), strategies.itemCount()), std::pair(qsizetype(1), qsizetype(1)));
            EXPECT_EQ(std::tuple(parser.currentFilePath(), strategies.currentFilePath(), parser.warningsFound().first()->filePath(),
                                 parser.warningCountForFilePath(path), strategies.items().first().filename()),
                      std::tuple(path, path, path, 1, QString(QStringLiteral("./") + name)));
        }
    }
}

TEST(StrategiesRules, Hold)
{
    const std::pair<const char16_t *, std::vector<StrategyItem>> cases[] = {
        {u"./a.tex:12: LaTeX Error: Environment foo undefined.\n\nmore\n",
         {{"./a.tex", 12, "Environment foo undefined.", environmentAdvice("foo")}}},
        // The line of an illegal parameter keeps its last digit only.
        {u"./a.tex:123: Illegal parameter number in definition of \\cmd.\n<to be read again>\n   3\n"
         u"l.123 \\newcommand{\\cmd}[2]{#3}\nend\n",
         {{"./a.tex", 3, "Illegal parameter number in definition of \\cmd.",
           "This is probably because you are refering to parametre #3 but the new command only accepts 2 parametres."}}},
        // Four lines down there is no line number: the missing-file strategy declines with the
        // positions moved there, so the error in between is never looked at.
        {u"! LaTeX Error: File `x.sty' not found.\n./b.tex:2: Skipped.\nmore\nmore\nno number here\n./c.tex:3: Seen.\n\nend\n",
         {{"./c.tex", 3, "Seen.", ""}}},
        // An error on the last line of a piece is lost.
        {u"(./a.tex\n./a.tex:1: Lost.\n(./b.tex\nx\n./b.tex:2: Also lost.", {}},
        {u"(./a.tex\n./a.tex:1: Found.\n\nx\n(./b.tex\n./b.tex:2: Found too.\n\n", {{"./a.tex", 1, "Found.", ""}, {"./b.tex", 2,
         "Found too.", ""}}},
        // A preamble command without its argument in the context gets no advice.
        {u"./a.tex:3: LaTeX Error: Can be used only in preamble.\n\n1\n2\n3\n4\n5\n6\n7\n8\n", {{"./a.tex", 3,
         "Can be used only in preamble.", ""}}}};
    for (const auto &[log, items] : cases) {
        PLTypesettingLogFileParser strategies(nullptr);
        strategies.parseLogString(QString::fromUtf16(log));
        EXPECT_EQ(described(strategies), items) << QString::fromUtf16(log).toStdString();
    }
}

TEST_F(LogParsers, ALaterParseOfTheStrategiesAppends)
{
    strategies.parseLogString(capturedOutput(QStringLiteral("undefined-environment")));
    strategies.parseLogString(capturedOutput(QStringLiteral("missing-begin-document")));
    EXPECT_EQ(strategies.itemCount(), 3);
}

// Lines that hold no strategy's literal are passed over without asking the strategies: the items
// must be those of asking them about every line, on logs where strategies move the positions
// across empty lines, CR LF pairs and the segment's end.
TEST(StrategiesLines, SkippingLinesGivesTheItemsOfReadingEveryLine)
{
    const QStringList pieces{QStringLiteral("\n"), QStringLiteral("\n"), QStringLiteral("\r\n"), QStringLiteral("\r"),
                             QStringLiteral("x"), QStringLiteral("./a.tex:12: "), QStringLiteral("LaTeX Error: "),
                             QStringLiteral("Environment foo undefined."), QStringLiteral("Can be used only in preamble."),
                             QStringLiteral("./b.tex:123: Illegal parameter number in definition of \\c."),
                             QStringLiteral("[2]"), QStringLiteral("{pkg}"), QStringLiteral("l.7 x:7: y"),
                             QStringLiteral("! LaTeX Error: File `m.sty' not found."), QStringLiteral("./")};
    QRandomGenerator random(20261125);
    for (int round = 0; round < 1000; ++round) {
        QString content;
        for (int i = random.bounded(1, 60); i > 0; --i)
            content += pieces[random.bounded(int(pieces.size()))];
        PLTypesettingLogFileParser skipping(nullptr);
        skipping.parseLogContent(content);
        PLTypesettingLogFileParser reading(nullptr);
        std::vector<StrategyItem> expected;
        qsizetype lineStart = 0;
        qsizetype lineEnd = 0;
        PLTypesettingLogFileParserStrategy::moveToLineContaining(content, 0, &lineStart, &lineEnd);
        while (lineEnd < content.size()) {
            if (const auto item = reading.makeItemFromContent(content, &lineStart, &lineEnd))
                expected.push_back(described(*item));
            PLTypesettingLogFileParserStrategy::moveToNextLine(content, &lineStart, &lineEnd);
        }
        ASSERT_EQ(described(skipping), expected) << content.toStdString();
    }
}

using PLLogScanning::LiteralFollower;

// Random texts made of the pieces a pattern cares about, every kind of line end and a few other
// characters, so that a literal-driven search that skipped a real match, or found one too many,
// shows up.
// The pieces of a list written with bars between them.
QStringList pieces(const char *list)
{
    return QString::fromUtf8(list).split(u'|');
}

QString randomLog(QRandomGenerator &random, const QStringList &patternPieces)
{
    static const QStringList common = pieces("\n|\n|\r|\r\n|\f|\v|\u2028| |a|\t|.");
    QString text;
    const int count = random.bounded(1, 40);
    for (int i = 0; i < count; ++i) {
        const QStringList &from = random.bounded(3) == 0 ? common : patternPieces;
        text += from[random.bounded(int(from.size()))];
    }
    return text;
}

// The matches' groups as a search of the range with the expression finds them; every group when none
// are named.
QList<PLRange> plainSearch(const QString &pattern, const QString &text, PLRange range, const QList<int> &groups)
{
    QList<PLRange> found;
    PLRegularExpressionHelper::enumerateMatches(pattern, text, range, [&](const PLRegexMatch &match) {
        for (int group = 0; group < (groups.isEmpty() ? match.numberOfRanges() : groups.size()); ++group)
            found.append(match.range(groups.isEmpty() ? group : groups[group]));
        return true;
    });
    return found;
}

using Scan = std::function<QList<PLRange>(const QString &pattern, const QString &text, PLRange range)>;

Scan expressionScan(const char16_t *literal, LiteralFollower follower)
{
    return [=](const QString &pattern, const QString &text, PLRange range) {
        QList<PLRange> found;
        PLLogScanning::enumerateMatchesAfterLiteral(pattern, QStringView(literal), follower, text, range, [&](const PLRegexMatch &match) {
            for (int group = 0; group < match.numberOfRanges(); ++group)
                found.append(match.range(group));
            return true;
        });
        return found;
    };
}

Scan matcherScan(PLLogScanning::Matcher matcher, const char16_t *literal, LiteralFollower follower)
{
    return [=](const QString &, const QString &text, PLRange range) {
        QList<PLRange> found;
        PLLogScanning::enumerateMatchesAfterLiteral(matcher, QStringView(literal), follower, text, range, [&](PLRange match) {
            found.append(match);
            return true;
        });
        return found;
    };
}

QList<PLRange> firstGeneralErrorLine(const QString &, const QString &text, PLRange range)
{
    const std::optional<PLRegexMatch> scanned = PLLogScanning::firstGeneralErrorLine(text, range);
    QList<PLRange> found;
    for (int group = 0; scanned && group <= 5; ++group)
        found.append(scanned->range(group));
    return found;
}

QList<PLRange> locatedErrors(const QString &, const QString &text, PLRange range)
{
    QList<PLRange> found;
    PLLogScanning::enumerateLocatedErrors(text, range, [&](const PLLogScanning::LocatedError &error) {
        found << error.match << error.fileName << error.lineNumber << error.message;
    });
    return found;
}

PLRange locatedErrorAtStart(const QString &text)
{
    const std::optional<PLLogScanning::LocatedError> first = PLLogScanning::locatedErrorAt(text, 0, text.size());
    return first ? first->match : PLNotFoundRange;
}

// A literal-driven scan, with the expression or a hand-written matcher, must find exactly what a
// search of the range with the expression finds, with the same groups, on random logs made of the
// pieces the pattern cares about (surrogate pairs and lone halves among them): a scan that skipped
// a real match, or found one too many, shows up.
struct ScannerCase
{
    const char *pattern;
    QStringList pieces;
    Scan scan;
    // The groups the scan gives; empty for all of them.
    QList<int> groups = {};
    bool firstMatchOnly = false;
    quint32 seed = 20240229;
    int rounds = 3000;
    // Where the scanner also reads a match anchored at the start of a text: that match.
    std::function<PLRange(const QString &text)> anchored = {};
};

using LogScanningAgreesWithAPlainSearch = ::testing::TestWithParam<ScannerCase>;

TEST_P(LogScanningAgreesWithAPlainSearch, OnRandomLogs)
{
    const ScannerCase &c = GetParam();
    const QString pattern = QString::fromUtf8(c.pattern);
    QRandomGenerator random(c.seed);
    for (int round = 0; round < c.rounds; ++round) {
        const QString text = randomLog(random, c.pieces);
        const qsizetype from = random.bounded(int(text.size() + 1));
        const PLRange range{from, random.bounded(int(text.size() - from + 1))};
        QList<PLRange> expected = plainSearch(pattern, text, range, c.groups);
        if (c.firstMatchOnly)
            expected = expected.mid(0, c.groups.size());
        ASSERT_EQ(c.scan(pattern, text, range), expected)
            << c.pattern << " on " << text.toStdString() << " range " << range.location << "+" << range.length;
        if (c.anchored) {
            ASSERT_EQ(c.anchored(text), PLRegularExpressionHelper::firstMatchInRange(pattern, text, PLRange{0, text.size()},
                                                                                     PLRegularExpressionHelper::Anchored, 0))
                << text.toStdString();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    EveryLogPattern, LogScanningAgreesWithAPlainSearch,
    ::testing::Values(
        ScannerCase{"\\(\\./(.*?)\\.tex", pieces("(./|.tex|)|x"), expressionScan(u"(./", LiteralFollower::AnyRunInLine)},
        ScannerCase{"((\\./.*\\.tex):([0-9])*: (Illegal parameter number in definition of (\\\\.*)))",
                    pieces("./|.tex|:|123|: |Illegal parameter number in definition of \\|foo|./a.tex:123: Illegal parameter number in "
                           "definition of \\foo."),
                    expressionScan(u"./", LiteralFollower::AnyRunInLine)},
        ScannerCase{"(! LaTeX Error: (File `((.*)\\.(tex|sty))' not found.))",
                    pieces("! LaTeX Error: File `|name|.tex|.sty|' not found.|'"),
                    expressionScan(u"! LaTeX Error: File `", LiteralFollower::AnyRunInLine)},
        ScannerCase{":([0-9]*):", pieces(":|1|23|::"), expressionScan(u":", LiteralFollower::Fixed)},
        ScannerCase{"\\./.*\\.tex:[0-9]*:", pieces("./|.tex|:|7|b|./a.tex:7:"), expressionScan(u"./", LiteralFollower::AnyRunInLine)},
        ScannerCase{"\\[([0-9])\\]", pieces("[|1|]|12|[["), expressionScan(u"[", LiteralFollower::Fixed)},
        ScannerCase{"\\{(.*)\\}", pieces("{|}|pkg|{}"), expressionScan(u"{", LiteralFollower::AnyRunInLine)},
        ScannerCase{"Environment (.*) undefined.", pieces("Environment | undefined.| undefined|foo"),
                    expressionScan(u"Environment ", LiteralFollower::AnyRunInLine)},
        ScannerCase{"LaTeX Warning: (.)*\\n(.)*\\n", pieces("LaTeX Warning: |\n|\n|text|\xf0\x9f\x98\x80|on input line 3."),
                    matcherScan(PLLogScanning::warningMatchEnd, u"LaTeX Warning: ", LiteralFollower::AnyRunInLine), {0}, false,
                    20261123, 4000},
        ScannerCase{"! Undefined control sequence.\\n(.)*\\n(.)*\\n\\?",
                    pieces("! Undefined control sequence.|! Undefined control sequence|\n|\n|?|\xf0\x9f\x98\x80|l.3 \\x|"
                           "! Undefined control sequence.\nl.3 \\x\n  y\n?"),
                    matcherScan(PLLogScanning::undefinedControlSequenceMatchEnd, u"! Undefined control sequence", LiteralFollower::Fixed),
                    {0}, false, 20261123, 4000},
        ScannerCase{"\\(\\./(.*?)\\.tex(\\)|\\n|\\s)",
                    pieces("(./|(./|.tex|.tex|)|(|ch/one|\n|\v|\xc2\x85|\xc2\xa0|\xe2\x80\x8b|\xe3\x80\x80|\xe2\x80\xa8|\xf0\x9f\x98\x80"),
                    matcherScan(PLLogScanning::fileOpeningMatchEnd, u"(./", LiteralFollower::AnyRunInLine), {0}, false, 20261123, 4000},
        ScannerCase{"((\\./.*\\.tex):([0-9]*): (LaTeX Error: )?(.*\\n.*))",
                    pieces("./|.tex|:|12|: |LaTeX Error: |\n|\n|msg|.tex:|./a.tex:12: LaTeX Error: msg\nnext|./b.tex:3: x\n|"
                           "\xf0\x9f\x98\x80"),
                    firstGeneralErrorLine, {0, 1, 2, 3, 4, 5}, true, 20261126, 6000},
        ScannerCase{"((\\./?)((.)*)):([0-9]*): (LaTeX Error:)?((.)*)", pieces("./|.|:|12|: |LaTeX Error:|a.tex|::|\xf0\x9f\x98\x80"),
                    locatedErrors, {0, 3, 5, 7}, false, 20261124, 6000, locatedErrorAtStart}));

TEST(FileOpeningScanning, NamesTheFileOfEachOpeningFound)
{
    const QString text = QStringLiteral("(./a.tex.tex) (./b c.tex\n(./d.texx.tex\u00a0(./e.tex");
    QStringList names;
    for (std::optional<PLRange> opening = PLLogScanning::nextFileOpening(text, 0); opening;
         opening = PLLogScanning::nextFileOpening(text, opening->end()))
        names.append(PLLogScanning::nameOfOpenedFile(text, *opening));
    EXPECT_EQ(names, (QStringList{QStringLiteral("a.tex.tex"), QStringLiteral("b c.tex"), QStringLiteral("d.texx.tex")}));
    EXPECT_EQ(PLLogScanning::nameOfOpenedFile(text, PLRange{text.size(), 0}), QString());
}

// Leading digits are read like the platform reads them.
TEST(LogIntegerValue, ReadsLeadingDigitsLikeThePlatform)
{
    for (const auto &[text, value] : {std::pair{u"", 0}, {u"  7\n", 7}, {u"3a", 3}, {u"x3", 0}, {u"-4", -4}, {u"+5", 5},
                                      {u"99999999999999", 2147483647}, {u"-99999999999999", -2147483647 - 1}})
        EXPECT_EQ(PLLogScanning::integerValue(QStringView(text)), value) << QString::fromUtf16(text).toStdString();
}

// The line of the range's start and its offset in the line; only the start counts, even when the
// range reaches into later lines.
TEST(SyncTexConvertRange, GivesTheLineOfTheStartAndItsOffsetInTheLine)
{
    for (const auto &[text, range, expectedLine, expectedColumn] :
         {std::tuple<const char16_t *, PLRange, int, int>{u"", {0, 0}, 1, 0}, {u"abc\ndef", {2, 0}, 1, 2}, {u"abc\ndef", {4, 2}, 2, 0},
          {u"ab\r\ncd\u2028ef", {5, 4}, 2, 1}, {u"a\n\n\n\n\n\n\n\n\n\n\nline twelve", {12, 5}, 12, 0}}) {
        int line = -2;
        int column = -2;
        PLSyncTexCalculationUtil().convertRange(range, QString::fromUtf16(text), &line, &column);
        EXPECT_EQ(std::pair(line, column), std::pair(expectedLine, expectedColumn)) << QString::fromUtf16(text).toStdString();
    }
}

class SyncTexSearch : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        folder = std::make_unique<QTemporaryDir>();
        copyDocument(QStringLiteral("subfolder"), folder->path());
        typeset(folder->path());
    }
    static void TearDownTestSuite() { folder.reset(); }
    static QString path(const QString &name) { return folder->path() + u'/' + name; }
    static inline std::unique_ptr<QTemporaryDir> folder;
};

double number(const QMap<QString, QString> &record, const char *key)
{
    return record.value(QString::fromLatin1(key)).toDouble();
}

// Our forward results for a line must be the synctex tool's, place for place.
void expectForwardAgreesWithTheTool(const QString &folder, const QString &file, int line)
{
    SCOPED_TRACE(QString(file + u':' + QString::number(line)).toStdString());
    const QString source = folder + u'/' + file;
    const QList<PLSyncTexForwardResult> ours = PLSyncTexSearch(folder + QStringLiteral("/main.pdf")).forwardSearch(source, line, 0);
    const auto tool = syncTexToolRecords({QStringLiteral("view"), QStringLiteral("-i"), QStringLiteral("%1:0:%2").arg(line).arg(source),
                                          QStringLiteral("-o"), QStringLiteral("main.pdf")},
                                         folder);
    ASSERT_FALSE(tool.isEmpty());
    ASSERT_EQ(ours.size(), tool.size());
    for (qsizetype i = 0; i < ours.size(); ++i) {
        const PLSyncTexForwardResult &r = ours[i];
        const std::pair<double, const char *> values[] = {{r.page, "Page"}, {r.h, "x"}, {r.v, "y"}, {r.boxH, "h"},
                                                          {r.boxV + r.boxDepth, "v"}, {r.boxWidth, "W"}, {r.boxHeight + r.boxDepth, "H"}};
        for (const auto &[value, key] : values)
            EXPECT_NEAR(value, number(tool[i], key), 1e-3) << key;
    }
}

// Main-folder files are found by name; a subfolder file needs its path with this library.
TEST_F(SyncTexSearch, ForwardResultsAgreeWithTheSyncTexTool)
{
    for (const auto &[file, line] : {std::pair{QStringLiteral("main.tex"), 3}, std::pair{QStringLiteral("main.tex"), 5},
                                     std::pair{QStringLiteral("chapters/one.tex"), 1}, std::pair{QStringLiteral("chapters/one.tex"), 4}})
        expectForwardAgreesWithTheTool(folder->path(), file, line);
}

TEST_F(SyncTexSearch, BackwardResultsAgreeWithTheSyncTexToolAndNameOpenableFiles)
{
    const PLSyncTexSearch search(path(QStringLiteral("main.pdf")));
    for (const auto &[file, line] : {std::pair{QStringLiteral("main.tex"), 3}, {QStringLiteral("chapters/one.tex"), 2}}) {
        const QList<PLSyncTexForwardResult> there = search.forwardSearch(path(file), line, 0);
        ASSERT_FALSE(there.isEmpty());
        const PLSyncTexForwardResult &point = there.first();
        const QList<PLSyncTexBackwardResult> ours = search.backwardSearch(point.page, point.h, point.v, folder->path() + u'/');
        const auto tool = syncTexToolRecords({QStringLiteral("edit"), QStringLiteral("-o"),
                                              QStringLiteral("%1:%2:%3:main.pdf").arg(point.page).arg(point.h).arg(point.v)},
                                             folder->path());
        ASSERT_EQ(ours.size(), tool.size());
        ASSERT_FALSE(ours.isEmpty());
        for (qsizetype i = 0; i < ours.size(); ++i) {
            EXPECT_EQ(std::tuple(ours[i].fileName, ours[i].line, ours[i].column),
                      std::tuple(tool[i].value(QStringLiteral("Input")), tool[i].value(QStringLiteral("Line")).toInt(),
                                 tool[i].value(QStringLiteral("Column")).toInt()));
        }
        EXPECT_EQ(ours.first().line, line);
        EXPECT_EQ(ours.first().filePath, path(file));
    }
    // Places outside the document give no results.
    EXPECT_TRUE(search.forwardSearch(path(QStringLiteral("other.tex")), 3, 0).isEmpty());
    EXPECT_TRUE(search.backwardSearch(7, 100, 100, folder->path()).isEmpty());
}

// A search that comes while the data is parsed on a worker waits for that parse or does it
// itself: either way the data is parsed once, and the answers are those of a plain parse.
TEST_F(SyncTexSearch, ASearchRightAfterPreparingIsAnsweredByOneParse)
{
    const QString pdf = path(QStringLiteral("main.pdf"));
    const PLSyncTexSearch search(pdf);
    const QList<PLSyncTexForwardResult> before = search.forwardSearch(path(QStringLiteral("chapters/one.tex")), 4, 0);
    QThreadPool::globalInstance()->waitForDone();
    const quint64 parses = PLSyncTexSearch::parseCount();
    PLSyncTexSearch::prepare(pdf);
    const QList<PLSyncTexForwardResult> after = search.forwardSearch(path(QStringLiteral("chapters/one.tex")), 4, 0);
    QThreadPool::globalInstance()->waitForDone();
    EXPECT_EQ(PLSyncTexSearch::parseCount(), parses + 1);
    EXPECT_TRUE(PLSyncTexSearch::isRead(pdf));
    ASSERT_FALSE(after.isEmpty());
    ASSERT_EQ(after.size(), before.size());
    for (qsizetype i = 0; i < after.size(); ++i)
        EXPECT_EQ(std::tuple(after[i].page, after[i].h, after[i].v), std::tuple(before[i].page, before[i].h, before[i].v)) << i;
}

TEST(SyncTexSearchFiles, RelativeNamesAreJoinedToTheMainFolderWithASeparator)
{
    QTemporaryDir dir;
    copyDocument(QStringLiteral("clean"), dir.path());
    typeset(dir.path());
    // Engines that record names relative to the PDF's folder: rewrite the file that way.
    const ProgramRun rewrite = runProgram(
        QStringLiteral("sh"),
        {QStringLiteral("-c"), QStringLiteral("zcat main.synctex.gz | sed 's#^Input:1:.*#Input:1:main.tex#' | gzip > "
                                              "relative.gz && mv relative.gz main.synctex.gz")},
        dir.path());
    ASSERT_EQ(rewrite.exitCode, 0) << rewrite.output.toStdString();
    const PLSyncTexSearch search(dir.filePath(QStringLiteral("main.pdf")));
    const QList<PLSyncTexForwardResult> there = search.forwardSearch(dir.filePath(QStringLiteral("main.tex")), 4, 0);
    ASSERT_FALSE(there.isEmpty());
    const QList<PLSyncTexBackwardResult> back =
        search.backwardSearch(there.first().page, there.first().h, there.first().v, dir.path() + u'/');
    ASSERT_FALSE(back.isEmpty());
    EXPECT_EQ(std::tuple(back.first().fileName, back.first().filePath, back.first().line),
              std::tuple(QStringLiteral("main.tex"), QString(dir.path() + QStringLiteral("//main.tex")), 4));
}

// One gzip member holding the text, as the engine writes it.
QByteArray gzip(const QByteArray &text)
{
    z_stream stream{};
    deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
    QByteArray compressed(qsizetype(deflateBound(&stream, uLong(text.size()))), Qt::Uninitialized);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(text.constData()));
    stream.avail_in = uInt(text.size());
    stream.next_out = reinterpret_cast<Bytef *>(compressed.data());
    stream.avail_out = uInt(compressed.size());
    deflate(&stream, Z_FINISH);
    compressed.resize(qsizetype(stream.total_out));
    deflateEnd(&stream);
    return compressed;
}

// SyncTeX data of a real job, and the ways such a file ends up damaged.
class SyncTexDamagedData : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        folder = std::make_unique<QTemporaryDir>();
        copyDocument(QStringLiteral("clean"), folder->path());
        typeset(folder->path());
        whole = std::make_unique<QByteArray>(PLTest::readFile(folder->filePath(QStringLiteral("main.synctex.gz"))));
        text = std::make_unique<QByteArray>(
            runProgram(QStringLiteral("zcat"), {QStringLiteral("main.synctex.gz")}, folder->path()).output.toUtf8());
    }
    static void TearDownTestSuite() { text.reset(), whole.reset(), folder.reset(); }
    static QList<std::pair<std::string, QByteArray>> damagedCopies()
    {
        QByteArray flipped = *whole;
        flipped[flipped.size() / 2] = char(flipped[flipped.size() / 2] ^ 0x40);
        QList<std::pair<std::string, QByteArray>> copies{
            {"empty", QByteArray()}, {"one byte", whole->left(1)}, {"a byte changed in the middle", flipped},
            {"without the gzip trailer", whole->chopped(8)}, {"junk after the last member", QByteArray(*whole + "junk")},
            {"text without its postamble, compressed whole", gzip(text->left(text->lastIndexOf("Postamble:")))},
            {"text cut inside the post scriptum", gzip(text->chopped(3))}, {"plain text cut short", text->left(text->size() / 2)},
            {"not SyncTeX at all", gzip("Postamble:\nCount:1\nPost scriptum:\n")}};
        // Whole files whose records were damaged: the library trusts every line it reads.
        const auto edited = [](const char *from, const char *to) {
            QByteArray copy = *text;
            const qsizetype at = copy.indexOf(from);
            return at < 0 ? QByteArray() : gzip(copy.replace(at, qsizetype(qstrlen(from)), to));
        };
        copies.append({{"an input line without the colon after its tag", edited("Input:1:", "Input11:")},
                       {"an input line without a path", edited("Input:1:", "Input:1:\nInput:7:")},
                       {"an unknown record", edited("Content:\n", "Content:\nQ1\n")}, {"a box closed twice", edited("\n]\n", "\n]\n]\n")},
                       {"a box left open", edited("\n]\n", "\n")},
                       {"a box outside any page", edited("Content:\n", "Content:\n[1,1:0,0:0,0,0\n]\n")},
                       {"a record with a number missing", edited("\nx1,", "\nx1:")},
                       {"a number no engine writes", edited("\n!", "\n!123456789012345678901234567890\n!")},
                       {"a blank line among the records", edited("Content:\n", "Content:\n\n")}});
        for (const int eighth : {1, 2, 3, 4, 5, 6, 7})
            copies.append({"cut at " + std::to_string(eighth) + "/8", whole->left(whole->size() * eighth / 8)});
        return copies;
    }
    static inline std::unique_ptr<QTemporaryDir> folder;
    // The file as the engine wrote it, and its text.
    static inline std::unique_ptr<QByteArray> whole, text;
};

TEST_F(SyncTexDamagedData, WholeDataIsAcceptedInEveryFormTheLibraryReads)
{
    EXPECT_TRUE(PLSyncTexDataCheck::isComplete(*whole));
    EXPECT_TRUE(PLSyncTexDataCheck::isComplete(*text));
    EXPECT_TRUE(PLSyncTexDataCheck::isComplete(QByteArray(gzip(text->left(100)) + gzip(text->mid(100)))));
    // Megabytes of text from a small file, fed a few bytes at a time: the text the inflater
    // still holds when a piece is used up must be looked at too.
    const qsizetype content = text->indexOf("Content:\n") + 9;
    const QByteArray large = gzip(text->left(content) + QByteArray("!1\n").repeated(3 * 1024 * 1024) + text->mid(content));
    PLSyncTexDataCheck check;
    for (qsizetype at = 0; at < large.size(); at += 7)
        check.append(QByteArrayView(large).sliced(at, qMin<qsizetype>(7, large.size() - at)));
    EXPECT_TRUE(check.isComplete());
}

// Regression: the SyncTeX library read through a null pointer on data cut short (a job stopped
// half way, a full disk); damaged data must give no results, as no data does.
TEST_F(SyncTexDamagedData, GivesNoResultsAndIsNotHandedToTheLibrary)
{
    const QString synctex = folder->filePath(QStringLiteral("main.synctex.gz"));
    const QString main = folder->filePath(QStringLiteral("main.tex"));
    const PLSyncTexSearch search(folder->filePath(QStringLiteral("main.pdf")));
    ASSERT_FALSE(search.forwardSearch(main, 4, 0).isEmpty());
    for (const auto &[what, bytes] : damagedCopies()) {
        SCOPED_TRACE(what);
        EXPECT_FALSE(PLSyncTexDataCheck::isComplete(bytes));
        PLTest::writeFile(synctex, bytes);
        EXPECT_FALSE(PLSyncTexDataCheck::isCompleteFile(synctex));
        EXPECT_TRUE(search.forwardSearch(main, 4, 0).isEmpty());
        EXPECT_TRUE(search.backwardSearch(1, 150, 120, folder->path()).isEmpty());
    }
    PLTest::writeFile(synctex, *whole);
    EXPECT_FALSE(search.forwardSearch(main, 4, 0).isEmpty());
    QFile::remove(synctex);
    EXPECT_TRUE(search.forwardSearch(main, 4, 0).isEmpty());
    EXPECT_TRUE(PLSyncTexSearch(folder->filePath(QStringLiteral("nothing.pdf"))).backwardSearch(1, 1, 1, folder->path()).isEmpty());
    PLTest::writeFile(synctex, *whole);
}

// Regression: forward search asked the library by the file's name first, so a line of
// b/intro.tex was looked up in intro.tex of the main folder.
TEST(SyncTexSearchFiles, TwoFilesOfOneNameAreToldApartByTheirFolder)
{
    QTemporaryDir dir;
    PLTest::writeFile(dir.filePath(QStringLiteral("main.tex")),
                      "\\documentclass{article}\n\\begin{document}\n\\input{intro}\n\\newpage\n\\input{b/intro}\n\\end{document}\n");
    PLTest::writeFile(dir.filePath(QStringLiteral("intro.tex")), "The introduction of the book.\n\nIts second paragraph.\n");
    PLTest::writeFile(dir.filePath(QStringLiteral("b/intro.tex")), "\n\nThe introduction of part b.\n");
    typeset(dir.path());
    const PLSyncTexSearch search(dir.filePath(QStringLiteral("main.pdf")));
    for (const auto &[file, line, page] : {std::tuple{QStringLiteral("intro.tex"), 1, 1}, std::tuple{QStringLiteral("intro.tex"), 3, 1},
                                           std::tuple{QStringLiteral("b/intro.tex"), 3, 2}}) {
        expectForwardAgreesWithTheTool(dir.path(), file, line);
        EXPECT_EQ(search.forwardSearch(dir.filePath(file), line, 0).value(0).page, page);
    }
}

QByteArray deflated(const QByteArray &data)
{
    uLongf size = compressBound(uLong(data.size()));
    QByteArray out(qsizetype(size), '\0');
    compress(reinterpret_cast<Bytef *>(out.data()), &size, reinterpret_cast<const Bytef *>(data.constData()), uLong(data.size()));
    out.truncate(qsizetype(size));
    return out;
}

// Writes the objects (number to body) as a PDF with a classic cross-reference table.
QByteArray classicPdf(const QMap<int, QByteArray> &objects, const QByteArray &root = "1 0 R")
{
    QByteArray pdf = "%PDF-1.4\n";
    QMap<int, qsizetype> offsets;
    for (auto it = objects.cbegin(); it != objects.cend(); ++it) {
        offsets.insert(it.key(), pdf.size());
        pdf += QByteArray::number(it.key()) + " 0 obj\n" + it.value() + "\nendobj\n";
    }
    const int size = objects.isEmpty() ? 1 : objects.lastKey() + 1;
    const qsizetype table = pdf.size();
    pdf += "xref\n0 " + QByteArray::number(size) + "\n0000000000 65535 f \n";
    for (int number = 1; number < size; ++number) {
        pdf += QByteArray::number(offsets.value(number)).rightJustified(10, '0');
        pdf += offsets.contains(number) ? " 00000 n \n" : " 00000 f \n";
    }
    pdf += "trailer\n<< /Size " + QByteArray::number(size) + " /Root " + root + " >>\nstartxref\n";
    pdf += QByteArray::number(table) + "\n%%EOF\n";
    return pdf;
}

// The same objects packed into one object stream, found through a cross-reference stream whose
// rows are PNG-predicted ("Up"), as pdfTeX writes at its highest object compression.
QByteArray compressedPdf(const QMap<int, QByteArray> &objects)
{
    const int streamNumber = objects.lastKey() + 1;
    const int xrefNumber = streamNumber + 1;
    QByteArray header;
    QByteArray body;
    for (auto it = objects.cbegin(); it != objects.cend(); ++it) {
        header += QByteArray::number(it.key()) + ' ' + QByteArray::number(body.size()) + ' ';
        body += it.value() + '\n';
    }
    const QByteArray packed = deflated(header + body);
    QByteArray pdf = "%PDF-1.5\n";
    const qsizetype streamOffset = pdf.size();
    pdf += QByteArray::number(streamNumber) + " 0 obj\n<< /Type /ObjStm /N " + QByteArray::number(objects.size()) + " /First "
           + QByteArray::number(header.size()) + " /Length " + QByteArray::number(packed.size()) + " /Filter /FlateDecode >>\nstream\n"
           + packed + "\nendstream\nendobj\n";
    const qsizetype xrefOffset = pdf.size();
    // Rows of type (1 byte), field 2 (2 bytes), field 3 (1 byte), each stored as its difference from
    // the row above: packed objects name their stream and index, the two streams their offset.
    QByteArray predicted;
    QByteArray previous(4, '\0');
    for (int number = 0; number <= xrefNumber; ++number) {
        const bool inStream = objects.contains(number);
        const char type = inStream ? 2 : number >= streamNumber ? 1 : 0;
        const qsizetype field = inStream ? streamNumber : type ? (number == streamNumber ? streamOffset : xrefOffset) : 0;
        const char index = inStream ? char(std::distance(objects.cbegin(), objects.find(number))) : 0;
        const char row[] = {type, char(field >> 8), char(field), index};
        predicted += char(2);
        for (int i = 0; i < 4; ++i)
            predicted += char(quint8(row[i]) - quint8(previous.at(i)));
        previous = QByteArray(row, 4);
    }
    const QByteArray xref = deflated(predicted);
    pdf += QByteArray::number(xrefNumber) + " 0 obj\n<< /Type /XRef /Size " + QByteArray::number(xrefNumber + 1)
           + " /W [1 2 1] /Root 1 0 R /Filter /FlateDecode /DecodeParms << /Columns 4 /Predictor 12 >> /Length "
           + QByteArray::number(xref.size()) + " >>\nstream\n" + xref + "\nendstream\nendobj\nstartxref\n"
           + QByteArray::number(xrefOffset) + "\n%%EOF\n";
    return pdf;
}

// A catalog, a root node that turns its pages by the given amount, and an inner node with its
// own turn around the last two pages; page 3 also turns itself, page 5 is cropped partly beyond
// the media box.
QMap<int, QByteArray> tree(const QByteArray &rootRotate, const QByteArray &innerRotate, const QByteArray &pageRotate)
{
    return {
        {1, "<< /Type /Catalog /Pages 2 0 R >>"},
        {2, "<< /Type /Pages /Kids [3 0 R 4 0 R] /Count 3 " + rootRotate + " /MediaBox [0 0 300 200] >>"},
        {3, "<< /Type /Page /Parent 2 0 R " + pageRotate + " >>"},
        {4, "<< /Type /Pages /Parent 2 0 R /Kids [5 0 R 6 0 R] /Count 2 " + innerRotate + " >>"},
        {5, "<< /Type /Page /Parent 4 0 R /Contents 7 0 R /CropBox [-10 10 110 60] >>"},
        {6, "<< /Type /Page /Parent 4 0 R /Rotate 7 0 R >>"},
        {7, "-90"},
    };
}

// The turns read, 0 for every page when the file cannot be followed.
QList<int> rotations(QByteArrayView pdf, int pageCount)
{
    const QList<PLPdfPageRotations::Page> pages = PLPdfPageRotations::readPages(pdf, pageCount);
    QList<int> turns(pageCount, 0);
    for (qsizetype page = 0; page < pages.size(); ++page)
        turns[page] = pages.at(page).rotation;
    return turns;
}

// Turns are inherited from the nearest node that has one, may be indirect, and come out as a
// quarter turn between 0 and 270 whatever their sign or size; both file layouts agree. A page is
// drawn at its crop box within its media box, turned.
TEST(PdfPageRotations, InheritAndNormaliseInClassicAndCompressedFiles)
{
    for (const auto &[rootRotate, innerRotate, pageRotate, expected] :
         {std::tuple<const char *, const char *, const char *, QList<int>>{"", "", "", {0, 0, 270}},
          {"/Rotate 90", "", "", {90, 90, 270}},
          {"/Rotate 180", "/Rotate 0", "/Rotate 450", {90, 0, 270}},
          {"/Rotate -90", "/Rotate 135", "/Rotate 45", {0, 90, 270}},
          {"/Rotate 720", "/Rotate -540", "/Rotate /Ninety", {0, 180, 270}}}) {
        SCOPED_TRACE(testing::Message() << rootRotate << innerRotate << pageRotate);
        const QMap<int, QByteArray> objects = tree(rootRotate, innerRotate, pageRotate);
        EXPECT_EQ(rotations(classicPdf(objects), 3), expected);
        EXPECT_EQ(rotations(compressedPdf(objects), 3), expected);
        const QList<PLPdfPageRotations::Page> pages = PLPdfPageRotations::readPages(classicPdf(objects), 3);
        ASSERT_EQ(pages.size(), 3);
        const QSizeF upright[] = {{300, 200}, {110, 50}, {300, 200}};
        for (int page = 0; page < 3; ++page)
            EXPECT_EQ(pages.at(page).size, expected.at(page) % 180 ? upright[page].transposed() : upright[page]) << page;
        // Bytes before the header move every offset along.
        EXPECT_EQ(rotations(QByteArray("junk\n").append(classicPdf(objects)), 3), expected);
    }
}

// What cannot be followed gives 0 for every page, at once: cycles, lies, cuts and wrong counts.
TEST(PdfPageRotationsDamage, GiveUprightPages)
{
    QMap<int, QByteArray> cycle = tree("/Rotate 90", "", "");
    cycle[4] = "<< /Type /Pages /Kids [5 0 R 2 0 R] /Count 2 >>";
    QMap<int, QByteArray> deep = tree("/Rotate 90", "", "");
    deep[1] = "<< /Type /Catalog /Pages 2 0 R /Deep " + QByteArray(100, '[') + QByteArray(100, ']') + " >>";
    const QByteArray whole = classicPdf(tree("/Rotate 90", "", ""));
    const QByteArray compressed = compressedPdf(tree("/Rotate 90", "", ""));
    QByteArray wrongOffset = whole;
    wrongOffset.replace("startxref\n", "startxref\n9");
    const QByteArray inputs[] = {
        QByteArray(),
        "%PDF-1.4\nnot a pdf at all",
        classicPdf(cycle),
        whole.left(whole.size() / 2),
        wrongOffset,
        classicPdf(tree("/Rotate 90", "", ""), "99 0 R"),
        QByteArray(compressed).replace("/Filter /FlateDecode >>", "/Filter /RunLengthDe >>"),
        QByteArray(compressed).replace("/Predictor 12", "/Predictor 2 "),
        QByteArray(whole).replace("[3 0 R 4 0 R]", "[3 0 R 3 0 R]"),
        classicPdf(deep),
    };
    for (const QByteArray &input : inputs)
        EXPECT_EQ(rotations(input, 3), QList<int>(3, 0)) << input.left(80).toStdString();
    EXPECT_EQ(rotations(whole, 2), QList<int>(2, 0));
    EXPECT_TRUE(PLPdfPageRotations::readPages(whole, 0).isEmpty());
}

// A later update overrides a page of the first one; the reader follows /Prev back for the rest.
TEST(PdfPageRotationsUpdates, TheNewestSectionWins)
{
    QByteArray pdf = classicPdf(tree("", "", ""));
    const qsizetype previous = pdf.mid(pdf.lastIndexOf("startxref") + 10).trimmed().split('\n').first().toLongLong();
    const qsizetype offset = pdf.size();
    pdf += "5 0 obj\n<< /Type /Page /Parent 4 0 R /Rotate 180 >>\nendobj\n";
    const qsizetype table = pdf.size();
    pdf += "xref\n5 1\n" + QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \ntrailer\n<< /Size 8 /Root 1 0 R /Prev "
           + QByteArray::number(previous) + " >>\nstartxref\n" + QByteArray::number(table) + "\n%%EOF\n";
    EXPECT_EQ(rotations(pdf, 3), (QList<int>{0, 180, 270}));
}

}

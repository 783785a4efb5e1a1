#pragma once

#include "PLTestSupport.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/project/PLFile.h"
#include "core/project/PLFileFactory.h"
#include "core/project/PLFilePool.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/typesetting/PLLatexTransformer.h"
#include "core/typesetting/PLLatexTransformerDelegate.h"
#include "core/typesetting/PLLogStringParser.h"
#include "core/typesetting/PLTypesetter.h"
#include "core/typesetting/PLTypesetterDelegate.h"
#include "core/typesetting/PLTypesettingLogFileParser.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QThreadPool>

#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <optional>

// Helpers of the typesetting tests: fixture documents are always typeset in a temporary copy, so
// nothing is ever written into tests/data.
namespace PLTypesettingTest {

inline QString documentPath(const QString &name)
{
    return PLTest::dataPath(QStringLiteral("typesetting/documents/") + name);
}

// The captured standard output of the engine for a fixture document.
inline QString capturedOutput(const QString &name)
{
    return QString::fromUtf8(PLTest::readFile(documentPath(name + QStringLiteral("/output.txt"))));
}

// Copies a fixture document's sources (not its captured outputs) into the folder, over what is
// there; answers the folder with a trailing separator, as a file's directory is written.
inline QString copyDocument(const QString &name, const QString &folder)
{
    const QString source = documentPath(name);
    QDirIterator it(source, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (path.endsWith(QStringLiteral(".txt")))
            continue;
        const QString target = folder + u'/' + QDir(source).relativeFilePath(path);
        QDir().mkpath(QFileInfo(target).absolutePath());
        QFile::remove(target);
        QFile::copy(path, target);
    }
    return folder + u'/';
}

struct ProgramRun
{
    int exitCode = -1;
    QString output;
};

inline ProgramRun runProgram(const QString &program, const QStringList &arguments, const QString &folder)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (process.waitForFinished(60000))
        return {process.exitCode(), QString::fromUtf8(process.readAll())};
    process.kill();
    process.waitForFinished();
    return {};
}

// Typesets main.tex in the folder the way the editor does, to get a PDF and its SyncTeX file.
inline void typeset(const QString &folder, const QString &engine = QStringLiteral("pdflatex"))
{
    runProgram(engine,
               {QStringLiteral("-file-line-error"), QStringLiteral("-synctex=1"), QStringLiteral("--interaction"),
                QStringLiteral("nonstopmode"), QStringLiteral("main")},
               folder);
    ASSERT_TRUE(QFile::exists(folder + QStringLiteral("/main.synctex.gz"))) << folder.toStdString();
}

// The records of the synctex tool's answer: one map of "Key:value" lines per result; every
// result starts with its "Output" line.
inline QList<QMap<QString, QString>> syncTexToolRecords(const QStringList &arguments, const QString &folder)
{
    const ProgramRun run = runProgram(QStringLiteral("synctex"), arguments, folder);
    QList<QMap<QString, QString>> records;
    bool inside = false;
    for (const QString &line : run.output.split(u'\n')) {
        if (line == u"SyncTeX result begin") {
            inside = true;
            continue;
        }
        if (line == u"SyncTeX result end")
            break;
        const qsizetype colon = line.indexOf(u':');
        if (!inside || colon < 0)
            continue;
        const QString key = line.left(colon);
        if (key == u"Output" || records.isEmpty())
            records.append(QMap<QString, QString>());
        records.last().insert(key, line.mid(colon + 1));
    }
    return records;
}

constexpr QFile::Permissions kExecutable = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;

// Writes a stand-in program, executable unless told otherwise.
inline void writeProgram(const QString &path, const QByteArray &script, QFile::Permissions permissions = kExecutable)
{
    PLTest::writeFile(path, script);
    QFile::setPermissions(path, permissions);
}

// The stand-ins for a misbehaving engine, in tests/data/typesetting/helpers.
inline QString helperPath(const QString &name)
{
    return PLTest::dataPath(QStringLiteral("typesetting/helpers/") + name);
}

// Whether a process has ended: gone, or a zombie that nobody has reaped yet.
inline bool processHasEnded(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return true;
    const QByteArray text = stat.readAll();
    const qsizetype close = text.lastIndexOf(')');
    return close >= 0 && text.mid(close + 2, 1) == "Z";
}

// The id a helper wrote to sleeper.pid in its working folder, waiting for it to appear.
inline qint64 sleeperPid(const QString &folder)
{
    QByteArray text;
    const bool written = QTest::qWaitFor([&] {
        text = PLTest::readFile(folder + QStringLiteral("/sleeper.pid")).trimmed();
        return !text.isEmpty();
    });
    return written ? text.toLongLong() : 0;
}

// What a driver told its delegate, in order, with the thread it came on. `number` is the parser's
// item count for output, the engine for "engine", and whether the job still ran for "finish".
class Events
{
public:
    struct Event
    {
        QString kind;
        QString text;
        qsizetype number = 0;
        bool onMainThread = false;
    };
    void record(const QString &kind, const QString &text = QString(), qsizetype number = 0)
    {
        const bool main = QThread::currentThread() == QCoreApplication::instance()->thread();
        {
            std::lock_guard lock(m_mutex);
            m_events.push_back(Event{kind, text, number, main});
        }
        if (kind == u"output" && onOutput)
            onOutput(text);
    }
    std::vector<Event> all()
    {
        std::lock_guard lock(m_mutex);
        return m_events;
    }
    // The kinds in order, repeats folded; only those on the main thread or only those off it
    // when asked.
    QStringList kinds(std::optional<bool> onMainThread = std::nullopt)
    {
        QStringList kinds;
        for (const Event &event : all()) {
            if (onMainThread && event.onMainThread != *onMainThread)
                continue;
            if (kinds.isEmpty() || kinds.last() != event.kind)
                kinds.append(event.kind);
        }
        return kinds;
    }
    QStringList texts(const QString &kind)
    {
        QStringList texts;
        for (const Event &event : all()) {
            if (event.kind == kind)
                texts.append(event.text);
        }
        return texts;
    }
    bool waitFor(const QString &kind, const QString &containing = QString())
    {
        return QTest::qWaitFor([&] { return !texts(kind).isEmpty() && texts(kind).join(QString()).contains(containing); }, 60000);
    }
    // Called on the job's thread with each piece of output, after it was recorded.
    std::function<void(const QString &)> onOutput;

private:
    std::mutex m_mutex;
    std::vector<Event> m_events;
};

// The two drivers behind one face: the editor's PLLatexTransformer and the document-level
// PLTypesetter share their job, so the same cases hold for both.
class TransformerJob : public PLLatexTransformerDelegate
{
public:
    // Besides the driver's own calls, the parser's end is told as "parsed".
    static inline const QStringList jobThreadKinds{QStringLiteral("engine"), QStringLiteral("output"), QStringLiteral("parsed")};
    explicit TransformerJob(Events &events) : m_events(events) {}
    ~TransformerJob() override
    {
        if (m_driver)
            m_driver->setDelegate(nullptr);
        PLNotificationCenter::defaultCenter().removeObserver(this);
    }
    void start(const std::shared_ptr<PLFile> &file)
    {
        if (!m_driver) {
            m_parser = std::make_shared<PLLogStringParser>(file);
            const auto parsed = [this](const PLNotification &) { m_events.record(QStringLiteral("parsed")); };
            PLNotificationCenter::defaultCenter().addObserver(this, PLNotificationLogStringParserDidFinishParsing, m_parser.get(), parsed);
            m_driver = PLLatexTransformer::create(m_parser);
            m_driver->setDelegate(this);
        }
        m_driver->transformLatexFile(file);
    }
    PLLatexTransformer &driver() { return *m_driver; }
    PLLogStringParser &parser() { return *m_parser; }
    const std::shared_ptr<PLFile> &file() const { return m_driver->documentFile(); }
    bool isRunning() const { return m_driver->isTransforming(); }
    void latexTransformerDidChooseEngine(int engine) override { m_events.record(QStringLiteral("engine"), QString(), engine); }
    void latexTransformerDidStartWorkingOnFileWithName(const QString &name) override { m_events.record(QStringLiteral("file"), name); }
    void latexTransformerDidOutputString(const QString &output) override { m_events.record(QStringLiteral("output"), output); }
    void latexTransformerCouldNotFindEngine(int, const QString &path) override { m_events.record(QStringLiteral("missing"), path); }
    void latexTransformerDidFinish(PLLatexTransformer *driver) override
    {
        m_events.record(QStringLiteral("finish"), QString(), driver->isTransforming());
    }

private:
    Events &m_events;
    std::shared_ptr<PLLogStringParser> m_parser;
    std::shared_ptr<PLLatexTransformer> m_driver;
};

class TypesetterJob : public PLTypesetterDelegate
{
public:
    static inline const QStringList jobThreadKinds{QStringLiteral("engine"), QStringLiteral("output")};
    explicit TypesetterJob(Events &events) : m_events(events) {}
    ~TypesetterJob() override
    {
        if (m_driver)
            m_driver->setDelegate(nullptr);
    }
    void start(const std::shared_ptr<PLFile> &file)
    {
        if (!m_driver) {
            m_driver = PLTypesetter::create();
            m_driver->setDelegate(this);
        }
        m_driver->typesetDocument(file);
    }
    PLTypesetter &driver() { return *m_driver; }
    const std::shared_ptr<PLFile> &file() const { return m_driver->mainFile(); }
    bool isRunning() const { return m_driver->isTypesetting(); }
    void typesetterWillStartTypesettingUsingEngine(PLTypesetter *, int engine) override
    {
        m_events.record(QStringLiteral("engine"), QString(), engine);
    }
    void typesetterDidReachFileInclusionForFileWithName(PLTypesetter *, const QString &name) override
    {
        m_events.record(QStringLiteral("file"), name);
    }
    // The parser is only read here on the job's thread, where it is written.
    void typesetterDidOutputString(PLTypesetter *driver, const QString &output) override
    {
        m_events.record(QStringLiteral("output"), output, driver->parser()->itemCount());
    }
    void typesetterWasUnableToLocateEngine(PLTypesetter *, int, const QString &path) override
    {
        m_events.record(QStringLiteral("missing"), path);
    }
    void typesetterDidFinish(PLTypesetter *driver, std::shared_ptr<PLTypesettingLogFileParser> parser) override
    {
        finishedParser = std::move(parser);
        m_events.record(QStringLiteral("finish"), QString(), driver->isTypesetting());
    }
    std::shared_ptr<PLTypesettingLogFileParser> finishedParser;

private:
    Events &m_events;
    std::shared_ptr<PLTypesetter> m_driver;
};

// One job of a driver on a temporary copy of a fixture document, opened as a document opens its
// main file.
template<class Job> class DriverTest : public ::testing::Test
{
protected:
    void SetUp() override { PLTest::resetSettings(); }
    // A job's SyncTeX data is parsed on a worker after the job; the folder stays until it is done.
    void TearDown() override { QThreadPool::globalInstance()->waitForDone(); }
    // A new job with no events yet; the last one is let go first.
    Job &freshJob()
    {
        job.reset();
        events = std::make_unique<Events>();
        events->onOutput = onOutput;
        job = std::make_unique<Job>(*events);
        return *job;
    }
    void open(const QString &document, const QString &mainText = QString())
    {
        folder = copyDocument(document, dir.path());
        if (!mainText.isNull())
            PLTest::writeFile(folder + QStringLiteral("main.tex"), mainText.toUtf8());
        const PLFileFactory factory(std::make_shared<PLLatexFileContentOutlineParser>());
        mainFile = factory.fileWithPath(folder + QStringLiteral("main.tex"));
        freshJob().start(mainFile);
    }
    bool waitForFinish() { return events->waitFor(QStringLiteral("finish")); }
    QTemporaryDir dir;
    PLFilePool pool;
    QString folder;
    std::shared_ptr<PLFile> mainFile;
    // Handed to each new job's events.
    std::function<void(const QString &)> onOutput;
    std::unique_ptr<Events> events;
    std::unique_ptr<Job> job;
};

}

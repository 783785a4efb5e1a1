#include "core/project/PLFile.h"
#include "core/project/PLFileFactory.h"
#include "core/project/PLFilePool.h"
#include "core/typesetting/PLLatexTransformer.h"
#include "core/typesetting/PLLatexTransformerDelegate.h"
#include "core/typesetting/PLLogStringParser.h"
#include "core/typesetting/PLSyncTexSearch.h"
#include "core/typesetting/PLTypesetter.h"
#include "core/typesetting/PLTypesetterDelegate.h"
#include "core/typesetting/PLTypesettingLogFileParser.h"
#include "PLTypesettingTestSupport.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/project/PLUserDefaultsConstants.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <mutex>

namespace {

using namespace PLTypesettingTest;

// What a driver told its delegate, in order, with the thread it came on.
class Events
{
public:
    struct Event
    {
        QString kind;
        QString text;
        bool onMainThread = false;
    };

    void record(const QString &kind, const QString &text = QString())
    {
        const bool main = QThread::currentThread() == QCoreApplication::instance()->thread();
        std::lock_guard lock(m_mutex);
        m_events.push_back(Event{kind, text, main});
    }
    std::vector<Event> all()
    {
        std::lock_guard lock(m_mutex);
        return m_events;
    }
    QStringList kinds()
    {
        QStringList kinds;
        for (const Event &event : all()) {
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
        return QTest::qWaitFor([&] { return texts(kind).join(QString()).contains(containing) && !texts(kind).isEmpty(); },
                               60000);
    }

private:
    std::mutex m_mutex;
    std::vector<Event> m_events;
};

// The two drivers behind one face: the editor's PLLatexTransformer and the document-level
// PLTypesetter share their job, so the same cases hold for both.
class TransformerJob : public PLLatexTransformerDelegate
{
public:
    explicit TransformerJob(Events &events) : m_events(events) {}
    ~TransformerJob() override
    {
        if (m_driver)
            m_driver->setDelegate(nullptr);
    }
    void start(const std::shared_ptr<PLFile> &file)
    {
        if (!m_driver) {
            m_driver = PLLatexTransformer::create(std::make_shared<PLLogStringParser>(file));
            m_driver->setDelegate(this);
        }
        m_driver->transformLatexFile(file);
    }
    PLLatexTransformer &driver() { return *m_driver; }
    const std::shared_ptr<PLFile> &file() const { return m_driver->documentFile(); }
    bool isRunning() const { return m_driver->isTransforming(); }

    void latexTransformerDidChooseEngine(int engine) override { m_events.record(QStringLiteral("engine"), QString::number(engine)); }
    void latexTransformerDidStartWorkingOnFileWithName(const QString &name) override { m_events.record(QStringLiteral("file"), name); }
    void latexTransformerDidOutputString(const QString &output) override { m_events.record(QStringLiteral("output"), output); }
    void latexTransformerCouldNotFindEngine(int, const QString &path) override { m_events.record(QStringLiteral("missing"), path); }
    void latexTransformerDidFinish(PLLatexTransformer *) override { m_events.record(QStringLiteral("finish")); }

private:
    Events &m_events;
    std::shared_ptr<PLLatexTransformer> m_driver;
};

class TypesetterJob : public PLTypesetterDelegate
{
public:
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
        m_events.record(QStringLiteral("engine"), QString::number(engine));
    }
    void typesetterDidReachFileInclusionForFileWithName(PLTypesetter *, const QString &name) override
    {
        m_events.record(QStringLiteral("file"), name);
    }
    void typesetterDidOutputString(PLTypesetter *, const QString &output) override { m_events.record(QStringLiteral("output"), output); }
    void typesetterWasUnableToLocateEngine(PLTypesetter *, int, const QString &path) override
    {
        m_events.record(QStringLiteral("missing"), path);
    }
    void typesetterDidFinish(PLTypesetter *, std::shared_ptr<PLTypesettingLogFileParser>) override
    {
        m_events.record(QStringLiteral("finish"));
    }

private:
    Events &m_events;
    std::shared_ptr<PLTypesetter> m_driver;
};

template<class Job>
class TypesettingDriver : public ::testing::Test
{
protected:
    void SetUp() override { PLTest::resetSettings(); }

    void open(const QString &document, const QString &mainText = QString())
    {
        folder = copyDocument(document, dir.path());
        if (!mainText.isNull())
            PLTest::writeFile(folder + QStringLiteral("main.tex"), mainText.toUtf8());
        mainFile = PLFileFactory().fileWithPath(folder + QStringLiteral("main.tex"));
        job.start(mainFile);
    }
    bool waitForFinish() { return events.waitFor(QStringLiteral("finish")); }

    QTemporaryDir dir;
    PLFilePool pool;
    QString folder;
    std::shared_ptr<PLFile> mainFile;
    Events events;
    Job job{events};
};

using Drivers = ::testing::Types<TransformerJob, TypesetterJob>;
TYPED_TEST_SUITE(TypesettingDriver, Drivers);

TYPED_TEST(TypesettingDriver, TellsOutputOnTheJobsThreadAndFilesAndTheEndOnTheMainThread)
{
    this->open(QStringLiteral("subfolder"));
    ASSERT_TRUE(this->waitForFinish());
    QStringList jobThread;
    QStringList mainThread;
    for (const Events::Event &event : this->events.all()) {
        QStringList &kinds = event.onMainThread ? mainThread : jobThread;
        if (kinds.isEmpty() || kinds.last() != event.kind)
            kinds.append(event.kind);
    }
    EXPECT_EQ(jobThread, (QStringList{QStringLiteral("engine"), QStringLiteral("output")}));
    EXPECT_EQ(mainThread, (QStringList{QStringLiteral("file"), QStringLiteral("finish")}));
    EXPECT_EQ(this->events.all().back().kind, QStringLiteral("finish"));
    EXPECT_EQ(this->events.texts(QStringLiteral("file")), (QStringList{QStringLiteral("main.tex"), QStringLiteral("chapters/one.tex")}));
    EXPECT_FALSE(this->job.isRunning());
    EXPECT_TRUE(this->job.driver().wasPdfWritten());
    // The new SyncTeX data is read after the job without being asked, so the first search is quick.
    const QString pdf = this->mainFile->pdfPath();
    EXPECT_TRUE(QTest::qWaitFor([&] { return PLSyncTexSearch::isRead(pdf); }, 60000));
    EXPECT_FALSE(PLSyncTexSearch(pdf).forwardSearch(this->folder + QStringLiteral("chapters/one.tex"), 4, 0).isEmpty());
}

TYPED_TEST(TypesettingDriver, AMissingEngineIsToldAndTheJobStillEnds)
{
    QTemporaryDir empty;
    PLUserDefaults::standardUserDefaults().setString(empty.path(), PLUserDefaultsTexLocation);
    this->open(QStringLiteral("clean"));
    ASSERT_TRUE(this->waitForFinish());
    EXPECT_EQ(this->events.kinds(), (QStringList{QStringLiteral("engine"), QStringLiteral("missing"), QStringLiteral("finish")}));
    EXPECT_EQ(this->events.texts(QStringLiteral("missing")), QStringList{empty.path() + QStringLiteral("/pdflatex")});
    EXPECT_FALSE(this->events.all()[1].onMainThread);
    EXPECT_FALSE(QFile::exists(this->mainFile->pdfPath()));
}

TYPED_TEST(TypesettingDriver, AnUntitledFileOnlyEndsTheJob)
{
    this->job.start(PLFile::untitledFileWithName(QStringLiteral("Untitled"), nullptr));
    ASSERT_TRUE(this->waitForFinish());
    EXPECT_EQ(this->events.kinds(), QStringList{QStringLiteral("finish")});
}

TYPED_TEST(TypesettingDriver, ASecondRequestIsDropped)
{
    this->open(QStringLiteral("clean"));
    this->job.start(PLFile::fileWithPath(this->folder + QStringLiteral("other.tex"), nullptr));
    EXPECT_EQ(this->job.file(), this->mainFile);
    ASSERT_TRUE(this->waitForFinish());
    // A request after the end is dropped too: a driver runs one job in its life.
    this->job.start(this->mainFile);
    EXPECT_FALSE(this->job.isRunning());
    QCoreApplication::processEvents();
    EXPECT_EQ(this->events.texts(QStringLiteral("finish")).size(), 1);
    EXPECT_EQ(this->events.texts(QStringLiteral("engine")).size(), 1);
}

// Regression: an engine in an endless loop kept the job running for ever.
TYPED_TEST(TypesettingDriver, StopEndsAHangingEngineAndSkipsTheRestOfTheJob)
{
    this->open(QStringLiteral("clean"),
               QStringLiteral("\\documentclass{article}\\begin{document}\\def\\a{\\a}\\a\\end{document}\n"));
    ASSERT_TRUE(this->events.waitFor(QStringLiteral("output"), QStringLiteral("(./main.tex")));
    EXPECT_TRUE(this->job.isRunning());
    this->job.driver().stop();
    ASSERT_TRUE(this->waitForFinish());
    EXPECT_TRUE(this->job.driver().isStopped());
    EXPECT_FALSE(this->job.isRunning());
    EXPECT_EQ(this->events.texts(QStringLiteral("finish")).size(), 1);
    // BibTeX and the later runs were skipped.
    EXPECT_FALSE(QFile::exists(this->folder + QStringLiteral("main.blg")));
    ASSERT_EQ(this->job.driver().runs().size(), 1);
    EXPECT_TRUE(this->job.driver().runs().first().result.stopped);
}

}

#include "core/project/PLFile.h"
#include "core/project/PLFileFactory.h"
#include "core/project/PLFilePool.h"
#include "core/typesetting/PLTypesetter.h"
#include "core/typesetting/PLTypesetterDelegate.h"
#include "core/typesetting/PLTypesettingLogFileParser.h"
#include "PLTypesettingTestSupport.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <mutex>

namespace {

using namespace PLTypesettingTest;

// What the typesetter tells, in order; for each output, how many items its parser held then.
class Recorder : public PLTypesetterDelegate
{
public:
    struct Event
    {
        QString kind;
        QString text;
        bool onMainThread = false;
        qsizetype parsedItems = 0;
    };

    void typesetterWillStartTypesettingUsingEngine(PLTypesetter *typesetter, int engine) override
    {
        record(typesetter, QStringLiteral("engine"), QString::number(engine));
    }
    void typesetterDidReachFileInclusionForFileWithName(PLTypesetter *typesetter, const QString &name) override
    {
        record(typesetter, QStringLiteral("file"), name);
    }
    void typesetterDidOutputString(PLTypesetter *typesetter, const QString &output) override
    {
        record(typesetter, QStringLiteral("output"), output);
    }
    void typesetterWasUnableToLocateEngine(PLTypesetter *typesetter, int, const QString &path) override
    {
        record(typesetter, QStringLiteral("missing"), path);
    }
    void typesetterDidFinish(PLTypesetter *typesetter, std::shared_ptr<PLTypesettingLogFileParser> parser) override
    {
        finishedParser = parser;
        record(typesetter, QStringLiteral("finish"));
    }

    std::vector<Event> events()
    {
        std::lock_guard lock(m_mutex);
        return m_events;
    }
    bool waitForFinish()
    {
        return QTest::qWaitFor([this] { return finishedParser != nullptr; }, 60000);
    }

    std::shared_ptr<PLTypesettingLogFileParser> finishedParser;

private:
    void record(PLTypesetter *typesetter, const QString &kind, const QString &text = QString())
    {
        const bool main = QThread::currentThread() == QCoreApplication::instance()->thread();
        // The parser is only read here on the job's thread, where it is written.
        const qsizetype items = main ? 0 : typesetter->parser()->itemCount();
        std::lock_guard lock(m_mutex);
        m_events.push_back(Event{kind, text, main, items});
    }

    std::mutex m_mutex;
    std::vector<Event> m_events;
};

class TypesetterTest : public ::testing::Test
{
protected:
    void SetUp() override { PLTest::resetSettings(); }

    void typeset(const QString &document)
    {
        const QString folder = copyDocument(document, dir.path());
        mainFile = PLFileFactory().fileWithPath(folder + QStringLiteral("main.tex"));
        typesetter = PLTypesetter::create();
        typesetter->setDelegate(&recorder);
        typesetter->typesetDocument(mainFile);
    }

    void TearDown() override { typesetter->setDelegate(nullptr); }

    QTemporaryDir dir;
    PLFilePool pool;
    std::shared_ptr<PLFile> mainFile;
    Recorder recorder;
    std::shared_ptr<PLTypesetter> typesetter;
};

TEST_F(TypesetterTest, ReadsTheFirstRunWithItsOwnParserBeforeBibTeXRuns)
{
    typeset(QStringLiteral("undefined-control-sequence"));
    ASSERT_TRUE(recorder.waitForFinish());
    const std::vector<Recorder::Event> events = recorder.events();
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.front().kind, QStringLiteral("engine"));
    EXPECT_EQ(events.front().text, QStringLiteral("0"));
    EXPECT_EQ(events.back().kind, QStringLiteral("finish"));
    EXPECT_TRUE(events.back().onMainThread);

    bool sawBibTeX = false;
    for (const Recorder::Event &event : events) {
        if (event.kind == u"file") {
            EXPECT_TRUE(event.onMainThread);
            EXPECT_EQ(event.text, QStringLiteral("main.tex"));
        }
        if (event.kind == u"output") {
            EXPECT_FALSE(event.onMainThread);
            if (event.text.contains(QStringLiteral("This is BibTeX"))) {
                sawBibTeX = true;
                EXPECT_EQ(event.parsedItems, 1);
            }
        }
    }
    EXPECT_TRUE(sawBibTeX);
    ASSERT_EQ(recorder.finishedParser, typesetter->parser());
    ASSERT_EQ(recorder.finishedParser->itemCount(), 1);
    EXPECT_EQ(recorder.finishedParser->itemAtIndex(0)->line(), 3);
    EXPECT_FALSE(typesetter->isTypesetting());
}

}

#include "core/typesetting/PLSyncTexSearch.h"
#include "PLTypesettingTestSupport.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QThreadPool>

#include <gtest/gtest.h>

namespace {

using namespace PLTypesettingTest;

template<class Job>
using TypesettingDriver = DriverTest<Job>;

using Drivers = ::testing::Types<TransformerJob, TypesetterJob>;
TYPED_TEST_SUITE(TypesettingDriver, Drivers);

TYPED_TEST(TypesettingDriver, TellsOutputOnTheJobsThreadAndFilesAndTheEndOnTheMainThread)
{
    this->open(QStringLiteral("subfolder"));
    ASSERT_TRUE(this->waitForFinish());
    Events &events = *this->events;
    EXPECT_EQ(events.kinds(false), TypeParam::jobThreadKinds);
    EXPECT_EQ(events.kinds(true), (QStringList{QStringLiteral("file"), QStringLiteral("finish")}));
    EXPECT_EQ(events.all().front().number, 0);
    EXPECT_EQ(events.all().back().kind, QStringLiteral("finish"));
    EXPECT_EQ(events.all().back().number, 0) << "still running when the end was told";
    EXPECT_EQ(events.texts(QStringLiteral("file")), (QStringList{QStringLiteral("main.tex"), QStringLiteral("chapters/one.tex")}));
    EXPECT_FALSE(this->job->isRunning());
    EXPECT_TRUE(this->job->driver().wasPdfWritten());
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
    ASSERT_TRUE(synctex.setFileTime(synctex.fileTime(QFileDevice::FileModificationTime).addSecs(-60),
                                    QFileDevice::FileModificationTime));
    synctex.close();
    EXPECT_FALSE(PLSyncTexSearch::isRead(pdf));
    EXPECT_EQ(PLSyncTexSearch(pdf).forwardSearch(chapter, 4, 0).size(), first.size());
    EXPECT_EQ(PLSyncTexSearch::parseCount(), parses + 1);
}

TYPED_TEST(TypesettingDriver, AMissingEngineIsToldAndTheJobStillEnds)
{
    QTemporaryDir empty;
    PLUserDefaults::standardUserDefaults().setString(empty.path(), PLUserDefaultsTexLocation);
    this->open(QStringLiteral("clean"));
    ASSERT_TRUE(this->waitForFinish());
    EXPECT_EQ(this->events->kinds(), (QStringList{QStringLiteral("engine"), QStringLiteral("missing"), QStringLiteral("finish")}));
    EXPECT_EQ(this->events->texts(QStringLiteral("missing")), QStringList{empty.path() + QStringLiteral("/pdflatex")});
    EXPECT_FALSE(this->events->all()[1].onMainThread);
    EXPECT_FALSE(QFile::exists(this->mainFile->pdfPath()));
}

TYPED_TEST(TypesettingDriver, AnUntitledFileOnlyEndsTheJob)
{
    this->freshJob().start(PLFile::untitledFileWithName(QStringLiteral("Untitled"), nullptr));
    ASSERT_TRUE(this->waitForFinish());
    EXPECT_EQ(this->events->kinds(), QStringList{QStringLiteral("finish")});
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
    EXPECT_EQ(this->events->texts(QStringLiteral("finish")).size(), 1);
    EXPECT_EQ(this->events->texts(QStringLiteral("engine")).size(), 1);
}

// Regression: an engine in an endless loop kept the job running for ever.
TYPED_TEST(TypesettingDriver, StopEndsAHangingEngineAndSkipsTheRestOfTheJob)
{
    this->open(QStringLiteral("clean"),
               QStringLiteral("\\documentclass{article}\\begin{document}\\def\\a{\\a}\\a\\end{document}\n"));
    ASSERT_TRUE(this->events->waitFor(QStringLiteral("output"), QStringLiteral("(./main.tex")));
    EXPECT_TRUE(this->job->isRunning());
    this->job->driver().stop();
    ASSERT_TRUE(this->waitForFinish());
    EXPECT_TRUE(this->job->driver().isStopped());
    EXPECT_FALSE(this->job->isRunning());
    EXPECT_EQ(this->events->texts(QStringLiteral("finish")).size(), 1);
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
    bool sawBibTeX = false;
    for (const Events::Event &event : events->all()) {
        if (event.kind == u"output" && event.text.contains(QStringLiteral("This is BibTeX"))) {
            sawBibTeX = true;
            EXPECT_EQ(event.number, 1);
        }
    }
    EXPECT_TRUE(sawBibTeX);
    ASSERT_EQ(job->finishedParser, job->driver().parser());
    ASSERT_EQ(job->finishedParser->itemCount(), 1);
    EXPECT_EQ(job->finishedParser->itemAtIndex(0)->line(), 3);
}

}

#include "PLSyncTexCalculationUtil.h"
#include "PLSyncTexSearch.h"
#include "PLTypesettingTestSupport.h"

#include <QRandomGenerator>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using namespace PLTypesettingTest;

struct ConvertRangeCase
{
    const char16_t *text;
    PLRange range;
    int line;
    int column;
};

class SyncTexConvertRange : public ::testing::TestWithParam<ConvertRangeCase>
{
};

TEST_P(SyncTexConvertRange, GivesTheLineOfTheStartAndItsOffsetInTheLine)
{
    const ConvertRangeCase &c = GetParam();
    int line = -2;
    int column = -2;
    PLSyncTexCalculationUtil().convertRange(c.range, QString::fromUtf16(c.text), &line, &column);
    EXPECT_EQ(line, c.line);
    EXPECT_EQ(column, c.column);
}

INSTANTIATE_TEST_SUITE_P(
    Table, SyncTexConvertRange,
    ::testing::Values(ConvertRangeCase{u"", {0, 0}, 1, 0}, ConvertRangeCase{u"abc\ndef", {0, 3}, 1, 0},
                      ConvertRangeCase{u"abc\ndef", {2, 0}, 1, 2}, ConvertRangeCase{u"abc\ndef", {4, 2}, 2, 0},
                      ConvertRangeCase{u"abc\ndef", {6, 1}, 2, 2},
                      // Only the start of the range counts, even when it reaches into later lines.
                      ConvertRangeCase{u"ab\r\ncd\u2028ef", {5, 4}, 2, 1},
                      ConvertRangeCase{u"a\n\n\n\n\n\n\n\n\n\n\nline twelve", {12, 5}, 12, 0}));

class SyncTexSearch : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        folder = new QTemporaryDir;
        copyDocument(QStringLiteral("subfolder"), folder->path());
        typeset(folder->path());
    }
    static void TearDownTestSuite()
    {
        delete folder;
        folder = nullptr;
    }

    static QString path(const QString &name) { return folder->path() + u'/' + name; }

    static QTemporaryDir *folder;
};

QTemporaryDir *SyncTexSearch::folder = nullptr;

double number(const QMap<QString, QString> &record, const char *key)
{
    return record.value(QString::fromLatin1(key)).toDouble();
}

TEST_F(SyncTexSearch, ForwardResultsAgreeWithTheSyncTexTool)
{
    const PLSyncTexSearch search(path(QStringLiteral("main.pdf")));
    // Main-folder files are found by name; a subfolder file needs its path with this library.
    const QList<std::pair<QString, int>> places{{QStringLiteral("main.tex"), 3},
                                                {QStringLiteral("main.tex"), 5},
                                                {QStringLiteral("chapters/one.tex"), 1},
                                                {QStringLiteral("chapters/one.tex"), 4}};
    for (const auto &[file, line] : places) {
        SCOPED_TRACE(QString(file + u':' + QString::number(line)).toStdString());
        const QList<PLSyncTexForwardResult> ours = search.forwardSearch(path(file), line, 0);
        const auto tool = syncTexToolRecords(
            {QStringLiteral("view"), QStringLiteral("-i"), QStringLiteral("%1:0:%2").arg(line).arg(path(file)),
             QStringLiteral("-o"), QStringLiteral("main.pdf")},
            folder->path());
        ASSERT_FALSE(tool.isEmpty());
        ASSERT_EQ(ours.size(), tool.size());
        for (qsizetype i = 0; i < ours.size(); ++i) {
            const PLSyncTexForwardResult &r = ours[i];
            EXPECT_EQ(r.page, number(tool[i], "Page"));
            EXPECT_NEAR(r.h, number(tool[i], "x"), 1e-3);
            EXPECT_NEAR(r.v, number(tool[i], "y"), 1e-3);
            EXPECT_NEAR(r.boxH, number(tool[i], "h"), 1e-3);
            EXPECT_NEAR(r.boxV + r.boxDepth, number(tool[i], "v"), 1e-3);
            EXPECT_NEAR(r.boxWidth, number(tool[i], "W"), 1e-3);
            EXPECT_NEAR(r.boxHeight + r.boxDepth, number(tool[i], "H"), 1e-3);
        }
    }
}

TEST_F(SyncTexSearch, BackwardResultsAgreeWithTheSyncTexToolAndNameOpenableFiles)
{
    const PLSyncTexSearch search(path(QStringLiteral("main.pdf")));
    const QList<std::tuple<QString, int, QString>> places{
        {QStringLiteral("main.tex"), 3, QStringLiteral("main.tex")},
        {QStringLiteral("chapters/one.tex"), 2, QStringLiteral("chapters/one.tex")}};
    for (const auto &[file, line, expectedFile] : places) {
        const QList<PLSyncTexForwardResult> there = search.forwardSearch(path(file), line, 0);
        ASSERT_FALSE(there.isEmpty());
        const PLSyncTexForwardResult &point = there.first();
        const QList<PLSyncTexBackwardResult> ours =
            search.backwardSearch(point.page, point.h, point.v, folder->path() + u'/');
        const auto tool = syncTexToolRecords({QStringLiteral("edit"), QStringLiteral("-o"),
                                              QStringLiteral("%1:%2:%3:main.pdf").arg(point.page).arg(point.h).arg(point.v)},
                                             folder->path());
        ASSERT_EQ(ours.size(), tool.size());
        ASSERT_FALSE(ours.isEmpty());
        for (qsizetype i = 0; i < ours.size(); ++i) {
            EXPECT_EQ(ours[i].fileName, tool[i].value(QStringLiteral("Input")));
            EXPECT_EQ(ours[i].line, tool[i].value(QStringLiteral("Line")).toInt());
            EXPECT_EQ(ours[i].column, tool[i].value(QStringLiteral("Column")).toInt());
        }
        EXPECT_EQ(ours.first().line, line);
        EXPECT_EQ(ours.first().filePath, path(expectedFile));
    }
}

TEST_F(SyncTexSearch, PlacesOutsideTheDocumentGiveNoResults)
{
    const PLSyncTexSearch search(path(QStringLiteral("main.pdf")));
    EXPECT_TRUE(search.forwardSearch(path(QStringLiteral("other.tex")), 3, 0).isEmpty());
    EXPECT_TRUE(search.backwardSearch(7, 100, 100, folder->path()).isEmpty());
}

TEST(SyncTexSearchFiles, RelativeNamesAreJoinedToTheMainFolderWithASeparator)
{
    QTemporaryDir dir;
    copyDocument(QStringLiteral("clean"), dir.path());
    typeset(dir.path());
    // Engines that record names relative to the PDF's folder: rewrite the file that way.
    const QString synctex = dir.filePath(QStringLiteral("main.synctex.gz"));
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
    EXPECT_EQ(back.first().fileName, QStringLiteral("main.tex"));
    EXPECT_EQ(back.first().filePath, dir.path() + QStringLiteral("//main.tex"));
    EXPECT_EQ(back.first().line, 4);
}

TEST(SyncTexSearchFiles, MissingOrCorruptDataGivesNoResults)
{
    QTemporaryDir dir;
    copyDocument(QStringLiteral("clean"), dir.path());
    typeset(dir.path());
    const QString synctex = dir.filePath(QStringLiteral("main.synctex.gz"));
    const QByteArray good = PLTest::readFile(synctex);
    QByteArray garbage(4096, Qt::Uninitialized);
    QRandomGenerator random(7);
    for (char &byte : garbage)
        byte = char(random.bounded(256));
    const QList<std::pair<const char *, QByteArray>> variants{
        {"empty", QByteArray()}, {"garbage", garbage}, {"truncated", good.left(good.size() / 2)},
        {"garbage after a valid header", good.left(20) + garbage}};
    const PLSyncTexSearch search(dir.filePath(QStringLiteral("main.pdf")));
    for (const auto &[what, bytes] : variants) {
        SCOPED_TRACE(what);
        PLTest::writeFile(synctex, bytes);
        const QList<PLSyncTexForwardResult> forward = search.forwardSearch(dir.filePath(QStringLiteral("main.tex")), 4, 0);
        const QList<PLSyncTexBackwardResult> backward = search.backwardSearch(1, 150, 120, dir.path());
        if (QByteArrayView(what) != "truncated") {
            EXPECT_TRUE(forward.isEmpty());
            EXPECT_TRUE(backward.isEmpty());
        }
    }
    QFile::remove(synctex);
    EXPECT_TRUE(search.forwardSearch(dir.filePath(QStringLiteral("main.tex")), 4, 0).isEmpty());
    EXPECT_TRUE(PLSyncTexSearch(dir.filePath(QStringLiteral("nothing.pdf"))).backwardSearch(1, 1, 1, dir.path()).isEmpty());
}

}

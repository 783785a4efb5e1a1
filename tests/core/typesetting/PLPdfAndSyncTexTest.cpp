#include "core/typesetting/PLSyncTexCalculationUtil.h"
#include "core/typesetting/PLSyncTexDataCheck.h"
#include "core/typesetting/PLSyncTexSearch.h"
#include "PLTypesettingTestSupport.h"
#include "core/typesetting/PLPdfPageRotations.h"

#include <QByteArray>
#include <QMap>
#include <QTemporaryDir>
#include <QThreadPool>

#include <gtest/gtest.h>

#include <zlib.h>

namespace {

using namespace PLTypesettingTest;

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

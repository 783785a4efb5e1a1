#include "core/project/PLFileFactory.h"
#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "PLOutlineTestSupport.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"
#include "core/editor/PLTextContentBuffer.h"

#include "core/project/PLRegularFileReader.h"
#include "core/project/PLTextViewHistoryHandler.h"

#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

using namespace PLTest;

namespace {

class PLFileTest : public ProjectTest
{
protected:
    std::shared_ptr<PLFile> open(const QString &path, PLStringEncoding encoding = PLStringEncodings::UTF8)
    {
        return PLFile::fileWithPath(path, parser, encoding);
    }
    std::shared_ptr<PLLatexFileContentOutlineParser> parser = std::make_shared<PLLatexFileContentOutlineParser>();
};

TEST_F(PLFileTest, derivedNames)
{
    // The path, then its name, type, base name, folder and PDF.
    const std::pair<const char *, const char *> cases[] = {
        {"/p/a.tex", "a.tex|tex|a|/p/|/p/a.pdf"}, {"/p/report.final.tex", "report.final.tex|tex|report.final|/p/|/p/report.final.pdf"},
        {"/p/Makefile", "Makefile||Makefile|/p/|/p/Makefile.pdf"},
        // A path is never a URL: a "%" in it is part of the name, escapes or not.
        {"/p/a b%.tex", "a b%.tex|tex|a b%|/p/|/p/a b%.pdf"},
        {"/p%20q/my%20file%2e.tex", "my%20file%2e.tex|tex|my%20file%2e|/p%20q/|/p%20q/my%20file%2e.pdf"}};
    for (const auto &[path, names] : cases) {
        const auto file = open(QString::fromUtf8(path));
        EXPECT_EQ(QStringList({file->name(), file->type(), file->nameWithOutFileExtension(), file->directoryOfFile(), file->pdfPath()})
                      .join(u'|'),
                  QString::fromUtf8(names));
    }
    EXPECT_EQ(open(QStringLiteral("/p%20q/my%20file.tex"))->directoryPathOfFile(), QStringLiteral("/p%20q/"));
    EXPECT_EQ(open(QStringLiteral("/p/a b#ü.tex"))->url(), QStringLiteral("file://localhost/p/a%20b%23%C3%BC.tex"));
}

TEST_F(PLFileTest, missingPathOpensEmptyAndCountsAsChangedOnDisk)
{
    const auto file = open(path(QStringLiteral("new.tex")), PLStringEncodings::ISOLatin1);
    // Untitled, content, read properly, changed on disk, encoding, edited, nodes.
    EXPECT_EQ(std::tuple(file->isUntitled(), file->content(), file->wasContentReadProperly(), file->hasFileOnHarddriveChanged(),
                         file->encoding(), file->hasFileBeenEdited(), file->outlineRootNode()->childCount()),
              std::tuple(false, QString(), true, true, PLStringEncodings::UTF8, false, 1));
}

// A pipe blocked the open forever and /dev/zero read until memory ran out: only regular files of
// a sane size are read, the rest open empty with a reason, and typing into them saves nothing over
// what is there.
TEST_F(PLFileTest, unreadablePathsOpenEmptyAndNeverBreakTheParse)
{
    QDir().mkpath(path(QStringLiteral("folder.tex")));
    ASSERT_EQ(::mkfifo(QFile::encodeName(path(QStringLiteral("pipe.tex"))).constData(), 0644), 0);
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), path(QStringLiteral("zero.tex"))));
    QFile huge(path(QStringLiteral("huge.tex")));
    ASSERT_TRUE(huge.open(QIODevice::WriteOnly) && huge.resize(PLRegularFileReader::maximumSize + 1));
    huge.close();
    const QString main = write(QStringLiteral("main.tex"),
                               QStringLiteral("\\input{folder}\\input{pipe}\\input{zero}\\input{huge}\\input{binary}"));
    writeFile(path(QStringLiteral("binary.tex")), QByteArray("\x00\xff\xfe\\section{\x00", 10));
    const auto file = open(main);
    for (const char *name : {"folder.tex", "pipe.tex", "zero.tex", "huge.tex"}) {
        SCOPED_TRACE(name);
        const auto unreadable = pool.fileForPath(path(QString::fromLatin1(name)));
        ASSERT_NE(unreadable, nullptr);
        EXPECT_EQ(std::pair(unreadable->wasContentReadProperly(), unreadable->content()), std::pair(false, QString()));
        EXPECT_TRUE(unreadable->unreadableReason().contains(QString::fromLatin1(name)));
        unreadable->replaceContentStringInRange(PLRange{0, 0}, QStringLiteral("typed"));
        PLError error;
        EXPECT_FALSE(unreadable->save(&error));
        EXPECT_TRUE(error.message.contains(unreadable->unreadableReason()));
    }
    struct stat pipe;
    ASSERT_EQ(::stat(QFile::encodeName(path(QStringLiteral("pipe.tex"))).constData(), &pipe), 0);
    EXPECT_EQ(std::tuple(S_ISFIFO(pipe.st_mode), QFileInfo(path(QStringLiteral("zero.tex"))).isSymLink(),
                         QFileInfo(path(QStringLiteral("huge.tex"))).size()),
              std::tuple(true, true, PLRegularFileReader::maximumSize + 1));
    const auto binary = pool.fileForPath(path(QStringLiteral("binary.tex")));
    ASSERT_NE(binary, nullptr);
    EXPECT_EQ(std::tuple(binary->wasContentReadProperly(), binary->content().size(), outlineText(binary->outlineRootNode())),
              std::tuple(false, 10, binary->content()));
}

// Sizes around the reader's first buffer, which holds one byte more than the file, and its growth.
TEST_F(PLFileTest, regularFilesAreReadWholeWhateverTheirSize)
{
    for (const qsizetype size : {0, 1, 4095, 4096, 4097, 70001}) {
        SCOPED_TRACE(size);
        QByteArray bytes(size, Qt::Uninitialized);
        for (qsizetype i = 0; i < size; ++i)
            bytes[i] = char(' ' + i % 90);
        const QString name = path(QStringLiteral("sized%1.tex").arg(size));
        writeFile(name, bytes);
        const PLRegularFileReader::Result read = PLRegularFileReader::read(name);
        EXPECT_EQ(std::tuple(read.bytes, read.state.size, read.state.digest), std::tuple(bytes, size, PLFileDiskState::digestOf(bytes)));
        EXPECT_EQ(open(name)->content(), QString::fromLatin1(bytes));
    }
}

// A Latin-1 file opened with the UTF-8 setting was written back as UTF-8 at the first save, so
// every accented letter changed on disk. It goes back in the encoding it was decoded with.
TEST_F(PLFileTest, aFileReadInTheFallbackEncodingIsSavedBackByteForByte)
{
    QByteArray everyByte;
    for (int byte = 0; byte < 256; ++byte)
        everyByte.append(char(byte));
    const QString latin = path(QStringLiteral("latin.tex"));
    writeFile(latin, everyByte);
    const auto file = open(latin);
    ASSERT_FALSE(file->wasContentReadProperly());
    // Undecodable as UTF-8, the text is read as Mac OS Roman.
    EXPECT_EQ(file->content().at(0xe9), QChar(0x00c8));
    file->replaceContentStringInRange(PLRange{file->content().size(), 0}, QStringLiteral("x"));
    ASSERT_TRUE(file->save());
    EXPECT_EQ(std::pair(readFile(latin), file->encoding()), std::pair(QByteArray(everyByte + "x"), PLStringEncodings::UTF8));
    // Re-opened in the right encoding, the file is written in that one from then on.
    ASSERT_TRUE(file->reloadContentUsingEncoding(PLStringEncodings::ISOLatin1));
    ASSERT_TRUE(file->wasContentReadProperly());
    file->replaceContentStringInRange(PLRange{file->content().size(), 0}, QStringLiteral("\u00e9"));
    ASSERT_TRUE(file->save());
    EXPECT_EQ(readFile(latin), everyByte + "x\xe9");
    // A character the encoding cannot hold fails the save and leaves the file as it was.
    file->replaceContentStringInRange(PLRange{0, 0}, QStringLiteral("\u20ac"));
    PLError error;
    // Braces: the save comes before what it leaves.
    EXPECT_EQ((std::tuple{file->save(&error), error.isSet(), readFile(latin)}), std::tuple(false, true, QByteArray(everyByte + "x\xe9")));
}

TEST_F(PLFileTest, saveAsClosesTheFileAndAnswersThePooledNewOne)
{
    const QString main = write(QStringLiteral("main.tex"), QStringLiteral("\\section{A}\n\\input{a}\n"));
    write(QStringLiteral("a.tex"), QStringLiteral("inside"));
    const auto file = open(main);
    const QString target = path(QStringLiteral("copy/renamed.tex"));
    QDir().mkpath(path(QStringLiteral("copy")));
    const QString tmp = path(QStringLiteral("copy/tmp"));
    const auto saved = file->saveToPath(target, tmp);
    ASSERT_NE(saved, nullptr);
    EXPECT_EQ(std::tuple(pool.fileForPath(main), pool.fileForPath(target), saved->content(), outlineText(saved->outlineRootNode())),
              std::tuple(nullptr, saved, file->content(), file->content()));
    EXPECT_EQ(std::tuple(readFile(target), readFile(tmp), saved->filesInDocument().size()),
              std::tuple(QByteArray(), file->content().toUtf8(), 1));
    EXPECT_EQ(file->saveToPath(path(QStringLiteral("missing/x.tex")), QString()), nullptr);
}

// The parser makes a file's outline and what keeps it in step; without one a file has text only.
TEST_F(PLFileTest, onlyAFileWithAParserHasAnOutlineThatFollowsEdits)
{
    for (const bool withParser : {true, false}) {
        const QString text = QStringLiteral("%!TEX TS-program = xelatex\n");
        const auto file = PLFile::fileWithPath(write(withParser ? QStringLiteral("a.tex") : QStringLiteral("b.tex"), text),
                                               withParser ? parser : nullptr);
        EXPECT_EQ(file->engine(), int(withParser ? PLFile::XeLaTeXEngine : PLFile::DefaultEngine));
        EXPECT_TRUE(file->replaceContentStringInRange(PLRange{0, 1}, QStringLiteral("\\section{A}")));
        EXPECT_EQ(std::tuple(file->engine(), file->outlineRootNode() != nullptr, file->contentBuffer()->editObserver() != nullptr),
                  std::tuple(int(PLFile::DefaultEngine), withParser, withParser));
        if (withParser) {
            EXPECT_EQ(outlineText(file->outlineRootNode()), file->content());
        }
        file->reloadContent();
        EXPECT_EQ(std::pair(file->content(), file->engine()),
                  std::pair(text, int(withParser ? PLFile::XeLaTeXEngine : PLFile::DefaultEngine)));
        file->close();
    }
}

TEST_F(PLFileTest, searchResultsAreCachedForTheLastStringEvenAfterEdits)
{
    const auto file = open(write(QStringLiteral("a.tex"), QStringLiteral("  one two\n\tone\r\nxoneone")));
    std::vector<std::tuple<PLRange, QString, std::shared_ptr<PLFile>>> found;
    for (const auto &result : file->searchResultsInContentForString(QStringLiteral("one")))
        found.emplace_back(result.range(), result.lineWithSearchResult(), result.file());
    const QString line1 = QStringLiteral("one two"), line2 = QStringLiteral("one"), line3 = QStringLiteral("xoneone");
    EXPECT_EQ(found, (decltype(found){{{2, 3}, line1, file}, {{11, 3}, line2, file}, {{17, 3}, line3, file}, {{20, 3}, line3, file}}));
    file->replaceContentStringInRange(PLRange{0, 0}, QStringLiteral("one "));
    EXPECT_EQ(file->searchResultsInContentForString(QStringLiteral("one"))[0].range(), (PLRange{2, 3}));
    EXPECT_EQ(file->searchResultsInContentForString(QStringLiteral("two")).size(), 1);
    EXPECT_EQ(file->searchResultsInContentForString(QStringLiteral("one"))[0].range(), (PLRange{0, 3}));
    EXPECT_TRUE(file->searchResultsInContentForString(QString()).isEmpty());
}

// Includes are found by path through an index, which must answer what a search of the include
// set in order does: the first file with the path, until it leaves the set.
TEST_F(PLFileTest, includesAreFoundByPathUntilTheyLeaveTheIncludeSet)
{
    const QString main = write(QStringLiteral("main.tex"), QStringLiteral("\\input{a}\\input{b}\\input{./a}"));
    write({{"a.tex", "a"}, {"b.tex", "b"}});
    const auto file = open(main);
    const auto a = pool.fileForPath(path(QStringLiteral("a.tex")));
    const auto b = pool.fileForPath(path(QStringLiteral("b.tex")));
    const auto inDocument = [&](const char *name) { return file->fileInDocumentWithPath(path(QString::fromUtf8(name))); };
    EXPECT_EQ(std::tuple(inDocument("a.tex"), inDocument("b.tex"), inDocument("c.tex")), std::tuple(a, b, nullptr));
    file->removeFileFromFilesContaindInDocument(a);
    EXPECT_EQ(inDocument("a.tex"), nullptr);
    write(QStringLiteral("main.tex"), QStringLiteral("\\input{a}"));
    ASSERT_TRUE(file->reloadContent());
    EXPECT_EQ(std::tuple(inDocument("a.tex"), inDocument("b.tex")), std::tuple(pool.fileForPath(path(QStringLiteral("a.tex"))), nullptr));
    // Untitled files share the empty path: the next one in order takes the place of a removed one.
    const auto untitled = PLFile::untitledFileWithName(QStringLiteral("u"), parser);
    untitled->replaceContentStringInRange(PLRange{0, 0}, QStringLiteral("\\input{x}\\input{y}"));
    const QList<std::shared_ptr<PLFile>> included = untitled->filesInDocument();
    ASSERT_EQ(included.size(), 2);
    EXPECT_EQ(untitled->fileInDocumentWithPath(QString()), included[0]);
    untitled->removeFileFromFilesContaindInDocument(included[0]);
    EXPECT_EQ(untitled->fileInDocumentWithPath(QString()), included[1]);
}

TEST_F(PLFileTest, preferredEncodingFollowsTheSetting)
{
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    defaults.setInteger(PLStringEncodings::ISOLatin2, PLUserDefaultsFileEncoding);
    EXPECT_EQ(PLFile::preferedEncoding(), PLStringEncodings::ISOLatin2);
    writeFile(path(QStringLiteral("latin.tex")), QByteArrayLiteral("\xb1"));
    EXPECT_EQ(PLFileFactory(parser).fileWithPath(path(QStringLiteral("latin.tex")))->content(), QStringLiteral("\u0105"));
    defaults.setInteger(0, PLUserDefaultsFileEncoding);
    EXPECT_EQ(PLFileFactory::encodingToUse(), PLStringEncodings::UTF8);
    defaults.removeObjectForKey(PLUserDefaultsFileEncoding);
    EXPECT_EQ(PLFile::preferedEncoding(), PLStringEncodings::UTF8);
}

class PLTextViewHistoryHandlerTest : public ::testing::Test
{
protected:
    std::shared_ptr<PLFile> open(const QString &name) { return files.emplace_back(PLFile::fileWithPath(folder.filePath(name), nullptr)); }
    std::shared_ptr<PLFile> untitled(const QString &name) { return files.emplace_back(PLFile::untitledFileWithName(name, nullptr)); }
    QTemporaryDir folder;
    PLTest::OpenedFiles files;
    PLTextViewHistoryHandler history;
    static constexpr PLRange a{1, 0}, b{5, 2}, c{9, 0}, d{12, 3};
};

// Walking the ranges is the editor pane's test; here, what the trail keeps.
TEST_F(PLTextViewHistoryHandlerTest, aRangePushedTwiceIsKeptOnceAndAPushStartsANewBranch)
{
    history.switchToFile(open(QStringLiteral("a.tex")));
    for (PLRange range : {a, b, b, c})
        history.pushRangeToHistoryStack(range);
    const auto back = [this] { return history.getRangeInDirection(PLHistoryDirectionBackwards); };
    EXPECT_EQ((std::array{back(), back(), back()}), (std::array{b, a, PLNotFoundRange}));
    history.pushRangeToHistoryStack(d);
    EXPECT_FALSE(history.hasMoreRangesInDirection(PLHistoryDirectionForwards));
    EXPECT_EQ((std::array{back(), history.getRangeInDirection(PLHistoryDirectionForwards)}), (std::array{a, d}));
}

TEST_F(PLTextViewHistoryHandlerTest, theFileTrailGoesBackAndForwardAndBranchesOnANewFile)
{
    const auto first = open(QStringLiteral("a.tex"));
    // An untitled file is tracked by its name.
    const auto second = untitled(QStringLiteral("Untitled 3"));
    const auto third = open(QStringLiteral("c.tex"));
    for (const auto &file : {first, second, third})
        history.switchToFile(file);
    EXPECT_FALSE(history.hasMoreFilesInDirection(PLHistoryDirectionForwards));
    EXPECT_EQ(history.getFileInDirection(PLHistoryDirectionBackwards), second);
    // The pane then shows the file, which is current already: the forward trail stays.
    history.switchToFile(second);
    const auto back = [this] { return history.getFileInDirection(PLHistoryDirectionBackwards); };
    EXPECT_EQ((std::tuple{back(), history.hasMoreFilesInDirection(PLHistoryDirectionBackwards), back(),
                          history.getFileInDirection(PLHistoryDirectionForwards), history.currentFile()}),
              (std::tuple{first, false, nullptr, second, second}));
    history.switchToFile(first);
    EXPECT_FALSE(history.hasMoreFilesInDirection(PLHistoryDirectionForwards));
    EXPECT_EQ(history.getFileInDirection(PLHistoryDirectionBackwards), second);
}

TEST_F(PLTextViewHistoryHandlerTest, aFileWithNeitherPathNorNameIsNotTracked)
{
    const auto named = open(QStringLiteral("a.tex"));
    history.switchToFile(named);
    history.pushRangeToHistoryStack(a);
    EXPECT_EQ(history.switchToFile(untitled(QString())), PLNotFoundRange);
    EXPECT_EQ(history.currentFile(), named);
    EXPECT_FALSE(history.hasMoreFilesInDirection(PLHistoryDirectionBackwards));
    EXPECT_EQ(history.switchToFile(nullptr), PLNotFoundRange);
}

}

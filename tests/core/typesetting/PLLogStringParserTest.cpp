#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
#include "core/typesetting/PLLogItem.h"
#include "core/typesetting/PLLogStringParser.h"
#include "core/typesetting/PLLogStringParserDelegate.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "PLTypesettingTestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace PLTypesettingTest;

const QString kFolder = QStringLiteral("/project/");

// One item as the test tables write it: the file relative to the project folder.
struct ExpectedItem
{
    std::string message;
    int line;
    std::string file;
    friend bool operator==(const ExpectedItem &, const ExpectedItem &) = default;
};

void PrintTo(const ExpectedItem &item, std::ostream *os)
{
    *os << "{" << ::testing::PrintToString(item.message) << ", " << item.line << ", " << item.file << "}";
}

std::vector<ExpectedItem> described(const PLLogStringParser::Items &items, int type)
{
    std::vector<ExpectedItem> result;
    for (const std::shared_ptr<PLLogItem> &item : items) {
        EXPECT_EQ(item->type(), type);
        const QString path = item->filePath().isNull() ? QStringLiteral("<none>") : item->filePath();
        result.push_back({item->message().toStdString(), item->line(),
                          (path.startsWith(kFolder) ? path.mid(kFolder.size()) : path).toStdString()});
    }
    return result;
}

// Records what the parser tells its delegate and whether it announced its end.
class Recorder : public PLLogStringParserDelegate
{
public:
    explicit Recorder(PLLogStringParser *parser) : m_parser(parser)
    {
        parser->setDelegate(this);
        PLNotificationCenter::defaultCenter().addObserver(this, PLNotificationLogStringParserDidFinishParsing, parser,
                                                          [this](const PLNotification &) { ++finishNotifications; });
    }
    ~Recorder() override
    {
        PLNotificationCenter::defaultCenter().removeObserver(this);
        m_parser->setDelegate(nullptr);
    }

    void logStringParserDidFindWarning(PLLogStringParser *, std::shared_ptr<PLLogItem> warning, const QString &path) override
    {
        told.push_back({QStringLiteral("warning"), warning, path});
    }
    void logStringParserDidFindError(PLLogStringParser *, std::shared_ptr<PLLogItem> error, const QString &path) override
    {
        told.push_back({QStringLiteral("error"), error, path});
    }

    struct Message
    {
        QString kind;
        std::shared_ptr<PLLogItem> item;
        QString path;
    };
    std::vector<Message> told;
    int finishNotifications = 0;

private:
    PLLogStringParser *m_parser;
};

class LogStringParserTest : public ::testing::Test
{
protected:
    PLFilePool pool;
    std::shared_ptr<PLFile> root = PLFile::fileWithPath(kFolder + QStringLiteral("main.tex"), nullptr);
    PLLogStringParser parser{root};
};

struct CapturedLogCase
{
    const char *document;
    std::vector<ExpectedItem> warnings;
    std::vector<ExpectedItem> errors;
};

void PrintTo(const CapturedLogCase &c, std::ostream *os)
{
    *os << c.document;
}

class LogStringParserOnCapturedOutput : public LogStringParserTest, public ::testing::WithParamInterface<CapturedLogCase>
{
};

TEST_P(LogStringParserOnCapturedOutput, FindsTheWarningsAndErrorsOfARealEngineRun)
{
    const CapturedLogCase &c = GetParam();
    Recorder recorder(&parser);
    parser.parseLogString(capturedOutput(QString::fromUtf8(c.document)));
    EXPECT_EQ(described(parser.warningsFound(), PLLogItem::Warning), c.warnings);
    EXPECT_EQ(described(parser.errorsFound(), PLLogItem::Error), c.errors);
    EXPECT_EQ(recorder.finishNotifications, 1);
}

const std::string kFatal = " ==> Fatal error occurred, no output PDF file produced!";
const std::string kUndefinedReferences = "There were undefined references.\n\n";
const std::string kLabelsChanged = "Label(s) may have changed. Rerun to get cross-references right.\n\n";

INSTANTIATE_TEST_SUITE_P(
    EveryKindOfMessage, LogStringParserOnCapturedOutput,
    ::testing::Values(
        CapturedLogCase{"clean", {}, {}},
        CapturedLogCase{"undefined-control-sequence",
                        {},
                        {{"Undefined control sequence.", 3, "main.tex"}, {"Undefined control sequence.", 5, "main.tex"}}},
        // The emergency stop and the fatal error are the located lines of a missing file.
        CapturedLogCase{"missing-package", {}, {{"Emergency stop.", 3, "main.tex"}, {kFatal, 3, "main.tex"}}},
        CapturedLogCase{"missing-input", {}, {{"Emergency stop.", 4, "main.tex"}, {kFatal, 4, "main.tex"}}},
        CapturedLogCase{"illegal-parameter",
                        {},
                        {{"Illegal parameter number in definition of \\foo.", 12, "main.tex"},
                         {"You can't use `macro parameter character #' in horizontal mode.", 14, "main.tex"}}},
        // "LaTeX Error:" is cut off and the blank after it kept.
        CapturedLogCase{"missing-begin-document", {}, {{" Missing \\begin{document}.", 2, "main.tex"}}},
        CapturedLogCase{"only-in-preamble", {}, {{" Can be used only in preamble.", 3, "main.tex"}}},
        CapturedLogCase{"undefined-environment",
                        {},
                        {{" Environment theorem undefined.", 3, "main.tex"},
                         {" \\begin{document} ended by \\end{theorem}.", 5, "main.tex"}}},
        CapturedLogCase{"warnings",
                        {{"Reference `nowhere' on page 1 undefined ", 4, "main.tex"},
                         {"Citation `nobody' on page 1 undefined ", 4, "main.tex"},
                         {kUndefinedReferences, 0, "main.tex"},
                         {kLabelsChanged, 0, "main.tex"}},
                        {}},
        CapturedLogCase{"citations",
                        {{"Citation `knuth1984' on page 1 undefined ", 3, "main.tex"},
                         {"Citation `lamport1994' on page 1 undefined ", 3, "main.tex"},
                         {"Citation `ghost' on page 1 undefined ", 3, "main.tex"},
                         {kUndefinedReferences, 0, "main.tex"}},
                        {}},
        // Everything after the opening of chapters/one.tex is filed under it, even what the main
        // file says once the chapter is closed again.
        CapturedLogCase{"subfolder",
                        {{"Reference `missing-in-one' on page 1 undefined ", 2, "chapters/one.tex"},
                         {"Reference `missing-in-main' on page 1 undefined ", 5, "chapters/one.tex"},
                         {kUndefinedReferences, 0, "chapters/one.tex"},
                         {kLabelsChanged, 0, "chapters/one.tex"}},
                        {{"Undefined control sequence.", 4, "chapters/one.tex"}}},
        CapturedLogCase{"xelatex", {}, {{"Undefined control sequence.", 4, "main.tex"}}},
        // Without -file-line-error the engine's own form is only recognised at the "?" prompt.
        CapturedLogCase{"classic-messages",
                        {{"Reference `nowhere' on page 1 undefined ", 4, "main.tex"}, {kUndefinedReferences, 0, "main.tex"}},
                        {}},
        CapturedLogCase{"interactive-prompt", {}, {{"error", 8, "main.tex"}}}));

TEST_F(LogStringParserTest, AnEmptyOutputChangesNothingAndPostsNothing)
{
    Recorder recorder(&parser);
    parser.parseLogString(capturedOutput(QStringLiteral("warnings")));
    ASSERT_EQ(parser.warningsFound().size(), 4);
    parser.parseLogString(QString());
    parser.parseLogString(QStringLiteral(""));
    EXPECT_EQ(parser.warningsFound().size(), 4);
    EXPECT_EQ(recorder.finishNotifications, 1);
}

TEST_F(LogStringParserTest, PerFileCountsGrowOverJobsWhileTheFoundListsHoldTheLatestOnly)
{
    const QString log = QStringLiteral("(./main.tex\nLaTeX Warning: Reference `x' on page 1 undefined on input line 12.\n\n)");
    parser.parseLogString(log);
    parser.parseLogString(log);
    ASSERT_EQ(parser.warningsFound().size(), 1);
    EXPECT_EQ(parser.warningsFound().first()->line(), 12);
    EXPECT_EQ(parser.warningsFound().first()->message(), QStringLiteral("Reference `x' on page 1 undefined "));
    EXPECT_EQ(parser.warningCountForFile(*root), 2);
    EXPECT_EQ(parser.warningForFile(*root, 1), parser.warningsFound().first());
    EXPECT_EQ(parser.warningForFile(*root, 2), nullptr);
    EXPECT_EQ(parser.errorCountForFile(*root), 0);
    EXPECT_EQ(parser.warningsFound().first()->filePath(), root->stringPath());
}

TEST_F(LogStringParserTest, MessagesBeforeTheFirstOpeningAreOnlyToldInTheFirstParseAndFiledUnderTheLastFileLater)
{
    Recorder recorder(&parser);
    const QString log = QStringLiteral("LaTeX Warning: early\n\n(./chapter.tex\nLaTeX Warning: inside\n\n");
    parser.parseLogString(log);
    ASSERT_EQ(recorder.told.size(), 2u);
    EXPECT_EQ(recorder.told[0].kind, QStringLiteral("warning"));
    EXPECT_TRUE(recorder.told[0].path.isNull());
    EXPECT_EQ(recorder.told[0].item->message(), QStringLiteral("early\n\n"));
    EXPECT_EQ(recorder.told[1].path, kFolder + QStringLiteral("chapter.tex"));
    ASSERT_EQ(parser.warningsFound().size(), 1);
    EXPECT_EQ(parser.warningsFound().first()->message(), QStringLiteral("inside\n\n"));

    parser.parseLogString(log);
    ASSERT_EQ(parser.warningsFound().size(), 2);
    EXPECT_EQ(parser.warningsFound().first()->filePath(), kFolder + QStringLiteral("chapter.tex"));
    EXPECT_EQ(parser.currentFilePath(), kFolder + QStringLiteral("chapter.tex"));
}

TEST_F(LogStringParserTest, OnlyUnlocatedErrorsAreToldToTheDelegate)
{
    Recorder recorder(&parser);
    parser.parseLogString(QStringLiteral("(./a.tex\n! Undefined control sequence.\nl.5 \\foo\n   x\n? \n"
                                         "./b.tex:7: LaTeX Error: Missing \\begin{document}.\n\n"));
    ASSERT_EQ(recorder.told.size(), 1u);
    EXPECT_EQ(recorder.told[0].kind, QStringLiteral("error"));
    EXPECT_EQ(recorder.told[0].path, kFolder + QStringLiteral("a.tex"));
    EXPECT_EQ(described(parser.errorsFound(), PLLogItem::Error),
              (std::vector<ExpectedItem>{{"error", 8, "a.tex"}, {" Missing \\begin{document}.", 7, "b.tex"}}));
    EXPECT_EQ(parser.errorCountForFile(*PLFile::fileWithPath(kFolder + QStringLiteral("b.tex"), nullptr)), 1);
}

TEST_F(LogStringParserTest, TheBracketCountLeavesOutTheLastCharacterOfEachPiece)
{
    // Counted in full, each piece "(./a.tex)" would balance; without its closing parenthesis it
    // opens one, so both openings are pushed.
    parser.parseLogString(QStringLiteral("(./a.tex)(./b.tex)"));
    EXPECT_EQ(parser.stackWithFilePaths(), (QStringList{QStringLiteral("(./a.tex)"), QStringLiteral("(./b.tex)")}));
    // A piece that closes more than it opens pops one entry.
    parser.parseLogString(QStringLiteral("(./c.tex\n)))\n"));
    EXPECT_EQ(parser.stackWithFilePaths(), QStringList{QStringLiteral("(./a.tex)")});
}

TEST_F(LogStringParserTest, ItemsFromLinesOnTheirOwn)
{
    const std::shared_ptr<PLLogItem> error =
        parser.errorInLine(QStringLiteral("./chap.tex:7: LaTeX Error: Missing \\begin{document}."));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->type(), PLLogItem::Error);
    EXPECT_EQ(error->line(), 7);
    EXPECT_EQ(error->message(), QStringLiteral(" Missing \\begin{document}."));
    EXPECT_EQ(error->filePath(), kFolder + QStringLiteral("chap.tex"));
    EXPECT_FALSE(parser.errorInLine(QStringLiteral("see ./chap.tex:7: x")));

    const std::shared_ptr<PLLogItem> warning =
        parser.warningInLine(QStringLiteral("LaTeX Warning: Reference `x' on page 1 undefined on input line 12."));
    ASSERT_TRUE(warning);
    EXPECT_EQ(warning->line(), 12);
    EXPECT_EQ(warning->message(), QStringLiteral("Reference `x' on page 1 undefined "));
    EXPECT_FALSE(parser.warningInLine(QStringLiteral("Package foo Warning: bar")));
}

TEST(LogStringParserFileNames, AreTheTexFilesOpenedInAPieceOfOutput)
{
    EXPECT_EQ(PLLogStringParser::fileNamesInLine(QStringLiteral("(./intro.tex and (./chapters/one.tex")),
              (QStringList{QStringLiteral("intro.tex"), QStringLiteral("chapters/one.tex")}));
    EXPECT_EQ(PLLogStringParser::fileNamesInLine(QStringLiteral("(./main.aux)\n(/usr/x.tex) (./int")), QStringList());
    EXPECT_EQ(PLLogStringParser::fileNamesInLine(QString()), QStringList());
}

}

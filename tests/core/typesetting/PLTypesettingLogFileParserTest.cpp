#include "core/project/PLFile.h"
#include "core/project/PLFilePool.h"
#include "core/typesetting/PLTypesettingLogFileParser.h"
#include "core/typesetting/PLTypesettingLogFileParserStrategy.h"
#include "PLTypesettingTestSupport.h"

#include <QLoggingCategory>
#include <QRandomGenerator>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace PLTypesettingTest;

struct ExpectedItem
{
    std::string filename;
    int line;
    std::string message;
    std::string advice;
    friend bool operator==(const ExpectedItem &, const ExpectedItem &) = default;
};

void PrintTo(const ExpectedItem &item, std::ostream *os)
{
    *os << "{" << item.filename << ", " << item.line << ", " << ::testing::PrintToString(item.message) << ", "
        << ::testing::PrintToString(item.advice) << "}";
}

std::vector<ExpectedItem> described(const PLTypesettingLogFileParser &parser)
{
    std::vector<ExpectedItem> result;
    for (const PLTypesettingLogFileParserItem &item : parser.items()) {
        EXPECT_EQ(item.type(), 0);
        EXPECT_EQ(item.column(), 0);
        result.push_back({item.filename().toStdString(), item.line(), item.message().toStdString(),
                          item.advice().toStdString()});
    }
    return result;
}

class TypesettingLogFileParserTest : public ::testing::Test
{
protected:
    std::vector<ExpectedItem> parse(const QString &log)
    {
        parser.parseLogString(log);
        return described(parser);
    }

    PLFilePool pool;
    std::shared_ptr<PLFile> mainFile = PLFile::fileWithPath(QStringLiteral("/project/main.tex"), nullptr);
    PLTypesettingLogFileParser parser{mainFile};
};

struct CapturedCase
{
    const char *document;
    std::vector<ExpectedItem> items;
};

void PrintTo(const CapturedCase &c, std::ostream *os)
{
    *os << c.document;
}

class TypesettingLogFileParserOnCapturedOutput : public TypesettingLogFileParserTest,
                                                 public ::testing::WithParamInterface<CapturedCase>
{
};

TEST_P(TypesettingLogFileParserOnCapturedOutput, MakesTheItemsOfTheFirstStrategyThatKnowsEachError)
{
    EXPECT_EQ(parse(capturedOutput(QString::fromUtf8(GetParam().document))), GetParam().items);
}

const std::string kFatal = " ==> Fatal error occurred, no output PDF file produced!Transcript written on main.log.";

INSTANTIATE_TEST_SUITE_P(
    EveryKindOfMessage, TypesettingLogFileParserOnCapturedOutput,
    ::testing::Values(
        CapturedCase{"clean", {}},
        CapturedCase{"warnings", {}},
        CapturedCase{"classic-messages", {}},
        // The strategies that decline move the shared positions down the context lines first, so
        // the general one joins the wrong line to the message and swallows the second error.
        CapturedCase{"undefined-control-sequence",
                     {{"./main.tex", 3, "Undefined control sequence.l.3 Hello \\undefinedmacro", ""}}},
        CapturedCase{"missing-package",
                     {{"", 3, "File `nosuchpackage.sty' not found.",
                       "Did you spell the package name ('nosuchpackage') correctly?"},
                      {"./main.tex", 3, kFatal, ""}}},
        CapturedCase{"missing-input",
                     {{"", 4, "File `nothere.tex' not found.", "Did you spell the file name ('nothere') correctly?"},
                      {"./main.tex", 4, kFatal, ""}}},
        // Line 12 keeps its last digit only.
        CapturedCase{"illegal-parameter",
                     {{"./main.tex", 2, "Illegal parameter number in definition of \\foo.",
                       "This is probably because you are refering to parametre #2 but the new command only accepts 1 "
                       "parametre."},
                      {"./main.tex", 14, "You can't use `macro parameter character #' in horizontal mode.\\foo #1->#1 and ##",
                       ""}}},
        CapturedCase{"missing-begin-document", {{"./main.tex", 2, "Missing \\begin{document}.", ""}}},
        CapturedCase{"only-in-preamble",
                     {{"./main.tex", 3, "Can be used only in preamble.",
                       "Try moving \\usepackage{amsmath} to the preamble of the document (the area before "
                       "\\begin{document})."}}},
        CapturedCase{"undefined-environment",
                     {{"./main.tex", 3, "Environment theorem undefined.",
                       "You're beginning an environment named theorem which is unknown at this point. This could be "
                       "because you've misspelled the environment name (theorem) or because you've forgot to add the "
                       "necesary package to the preamble of the document (\\usepackage{missing package})."},
                      {"./main.tex", 5, "\\begin{document} ended by \\end{theorem}.", ""}}},
        CapturedCase{"subfolder", {{"./chapters/one.tex", 4, "Undefined control sequence.l.4 Here is an error: \\oops", ""}}},
        CapturedCase{"xelatex",
                     {{"./main.tex", 4, "Undefined control sequence.l.4 \u00dcn\u00efc\u00f6d\u00e9 text and \\nosuchcommand",
                       ""}}}));

struct SyntheticCase
{
    const char *what;
    const char16_t *log;
    std::vector<ExpectedItem> items;
};

void PrintTo(const SyntheticCase &c, std::ostream *os)
{
    *os << c.what;
}

class TypesettingLogFileParserRules : public TypesettingLogFileParserTest,
                                      public ::testing::WithParamInterface<SyntheticCase>
{
};

TEST_P(TypesettingLogFileParserRules, Hold)
{
    EXPECT_EQ(parse(QString::fromUtf16(GetParam().log)), GetParam().items);
}

INSTANTIATE_TEST_SUITE_P(
    Table, TypesettingLogFileParserRules,
    ::testing::Values(
        SyntheticCase{"empty", u"", {}},
        SyntheticCase{"environment with an empty line after it",
                      u"./a.tex:12: LaTeX Error: Environment foo undefined.\n\nmore\n",
                      {{"./a.tex", 12, "Environment foo undefined.",
                        "You're beginning an environment named foo which is unknown at this point. This could be "
                        "because you've misspelled the environment name (foo) or because you've forgot to add the "
                        "necesary package to the preamble of the document (\\usepackage{missing package})."}}},
        SyntheticCase{"three-digit line of an illegal parameter",
                      u"./a.tex:123: Illegal parameter number in definition of \\cmd.\n<to be read again>\n   3\n"
                      u"l.123 \\newcommand{\\cmd}[2]{#3}\nend\n",
                      {{"./a.tex", 3, "Illegal parameter number in definition of \\cmd.",
                        "This is probably because you are refering to parametre #3 but the new command only accepts 2 "
                        "parametres."}}},
        // Four lines down there is no line number: the missing-file strategy declines with the
        // positions moved there, so the error in between is never looked at.
        SyntheticCase{"missing file without a located line",
                      u"! LaTeX Error: File `x.sty' not found.\n./b.tex:2: Skipped.\nmore\nmore\nno number here\n"
                      u"./c.tex:3: Seen.\n\nend\n",
                      {{"./c.tex", 3, "Seen.", ""}}},
        SyntheticCase{"error on the last line of a piece",
                      u"(./a.tex\n./a.tex:1: Lost.\n(./b.tex\nx\n./b.tex:2: Also lost.",
                      {}},
        SyntheticCase{"error in every piece but on its last line",
                      u"(./a.tex\n./a.tex:1: Found.\n\nx\n(./b.tex\n./b.tex:2: Found too.\n\n",
                      {{"./a.tex", 1, "Found.", ""}, {"./b.tex", 2, "Found too.", ""}}},
        SyntheticCase{"preamble command without its argument in the context",
                      u"./a.tex:3: LaTeX Error: Can be used only in preamble.\n\n1\n2\n3\n4\n5\n6\n7\n8\n",
                      {{"./a.tex", 3, "Can be used only in preamble.", ""}}}));

TEST_F(TypesettingLogFileParserTest, ItemsAreCountedAndReachedByIndex)
{
    parse(capturedOutput(QStringLiteral("undefined-environment")));
    ASSERT_EQ(parser.itemCount(), 2);
    EXPECT_EQ(parser.itemAtIndex(1)->line(), 5);
    EXPECT_FALSE(parser.itemAtIndex(parser.itemCount()));
    EXPECT_FALSE(parser.itemAtIndex(-1));
    EXPECT_EQ(parser.currentFilePath(), QStringLiteral("/project/main.tex"));

    // A later parse appends.
    parse(capturedOutput(QStringLiteral("missing-begin-document")));
    EXPECT_EQ(parser.itemCount(), 3);
    // The last character never counts.
    EXPECT_EQ(PLTypesettingLogFileParser::countUnclosedBracketsInArea(u"(()"), 2);
    EXPECT_EQ(PLTypesettingLogFileParser::countUnclosedBracketsInArea(u"()"), 1);
    EXPECT_EQ(PLTypesettingLogFileParser::countUnclosedBracketsInArea(u"("), 0);
    EXPECT_EQ(PLTypesettingLogFileParser::countUnclosedBracketsInArea(u")))x"), -3);
}


// Lines that hold no strategy's literal are passed over without asking the strategies: the items
// must be those of asking them about every line, on logs where strategies move the positions
// across empty lines, CR LF pairs and the segment's end.
// A log of thousands of files must not write a line for each unless debug output is asked for;
// when it is, the lines are exactly these.
TEST_F(TypesettingLogFileParserTest, OpenedFilesAreLoggedOnlyWhenDebugOutputIsOn)
{
    static QStringList logged;
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &context, const QString &message) {
            if (QByteArrayView(context.category) == "plumeo.typesetting")
                logged.append(message);
        });
    for (const bool debug : {false, true}) {
        QLoggingCategory::setFilterRules(debug ? QStringLiteral("plumeo.typesetting.debug=true") : QString());
        logged.clear();
        parser.parseLogString(QStringLiteral("(./one.tex (./two.tex\n) )\n"));
        const QStringList expected{QStringLiteral("current file is now: /project/one.tex"),
                                   QStringLiteral("current file is now: /project/two.tex")};
        EXPECT_EQ(logged, debug ? expected : QStringList());
        EXPECT_EQ(parser.currentFilePath(), QStringLiteral("/project/two.tex"));
    }
    QLoggingCategory::setFilterRules(QString());
    qInstallMessageHandler(previous);
}

TEST(TypesettingLogFileParserLines, SkippingLinesGivesTheItemsOfReadingEveryLine)
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
        std::vector<ExpectedItem> expected;
        qsizetype lineStart = 0;
        qsizetype lineEnd = 0;
        PLTypesettingLogFileParserStrategy::moveToLineContaining(content, 0, &lineStart, &lineEnd);
        while (lineEnd < content.size()) {
            if (const auto item = reading.makeItemFromContent(content, &lineStart, &lineEnd))
                expected.push_back({item->filename().toStdString(), item->line(), item->message().toStdString(),
                                    item->advice().toStdString()});
            PLTypesettingLogFileParserStrategy::moveToNextLine(content, &lineStart, &lineEnd);
        }
        ASSERT_EQ(described(skipping), expected) << content.toStdString();
    }
}

}

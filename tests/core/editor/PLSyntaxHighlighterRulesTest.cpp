#include "core/editor/PLBIBSyntaxHightlighterDelegate.h"
#include "core/editor/PLLatexSyntaxHighlighterDelegate.h"
#include "core/editor/PLSyntaxHighlighter.h"
#include "PLSyntaxHighlighterTestSupport.h"
#include "PLTestSupport.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <gtest/gtest.h>

namespace {

// Every token class gets colours of its own, so each character's colours name the rule that won.
struct TokenClass
{
    char code;
    const QString &foregroundKey;
    const QString *backgroundKey;
};

const TokenClass kClasses[] = {
    {'t', PLUserDefaultsEditorColorText, nullptr},
    {'f', PLUserDefaultsEditorColorFunctions, &PLUserDefaultsEditorColorFunctionsBackground},
    {'s', PLUserDefaultsEditorColorStructureDividers, &PLUserDefaultsEditorColorStructureDividersBackground},
    {'b', PLUserDefaultsEditorColorBrackets, &PLUserDefaultsEditorColorBracketsBackground},
    {'d', PLUserDefaultsEditorColorDollarSignAreas, &PLUserDefaultsEditorColorDollarSignAreasBackground},
    {'c', PLUserDefaultsEditorColorCommentedAreas, &PLUserDefaultsEditorColorCommentedAreasBackground},
    {'y', PLUserDefaultsEditorColorBIBType, &PLUserDefaultsEditorColorBIBTypeBackground},
    {'k', PLUserDefaultsEditorColorBIBKey, &PLUserDefaultsEditorColorBIBKeyBackground},
};

PLColor foregroundOf(char code)
{
    return PLColor::rgb(code / 256.0, 0.25, 0.5, 1.0);
}

PLColor backgroundOf(char code)
{
    return PLColor::rgb(0.5, code / 256.0, 0.25, 0.5);
}

void giveEveryClassItsOwnColours()
{
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    for (const TokenClass &tokenClass : kClasses) {
        defaults.setColor(foregroundOf(tokenClass.code), tokenClass.foregroundKey);
        if (tokenClass.backgroundKey)
            defaults.setColor(backgroundOf(tokenClass.code), *tokenClass.backgroundKey);
    }
}

// One letter per character: the class whose colour it carries, '.' for none, '?' for a stranger.
template<class Read>
std::string classesOf(const PLTextStorage &storage, Read read, PLColor (*colourOf)(char))
{
    std::string result;
    for (qsizetype i = 0; i < storage.string().size(); ++i) {
        const std::optional<PLColor> colour = read(storage.attributesAtIndex(i));
        char code = colour ? '?' : '.';
        for (const TokenClass &tokenClass : kClasses) {
            if (colour && *colour == colourOf(tokenClass.code))
                code = tokenClass.code;
        }
        result += code;
    }
    return result;
}

std::string foregroundClasses(const PLTextStorage &storage)
{
    return classesOf(storage, [](const PLTextAttributes &a) { return a.foregroundColor(); }, foregroundOf);
}

std::string backgroundClasses(const PLTextStorage &storage)
{
    return classesOf(storage, [](const PLTextAttributes &a) { return a.backgroundColor(); }, backgroundOf);
}

std::string links(const PLTextStorage &storage)
{
    std::string result;
    for (qsizetype i = 0; i < storage.string().size(); ++i) {
        const std::optional<QString> link = storage.attributesAtIndex(i).link();
        result += !link ? '.' : *link == u"file://" ? 'l' : '?';
    }
    return result;
}

struct RuleCase
{
    const char *what;
    bool bibliography;
    const char16_t *line;
    // The class of each character's foreground; its background is the same class, none for 't'.
    const char *foreground;
    // 'l' where the character links to "file://"; null when nothing links.
    const char *link;
};

class PLSyntaxHighlighterRules : public ::testing::TestWithParam<RuleCase>
{
protected:
    void SetUp() override
    {
        PLTest::resetSettings();
        giveEveryClassItsOwnColours();
    }
};

TEST_P(PLSyntaxHighlighterRules, PaintTheTokensOfALineInOrder)
{
    const RuleCase &c = GetParam();
    const QString line = QString::fromUtf16(c.line);
    ASSERT_EQ(qsizetype(std::strlen(c.foreground)), line.size()) << c.what;

    PLPlainTextStorage storage(line);
    std::unique_ptr<PLSyntaxHighlighterDelegate> rules;
    if (c.bibliography)
        rules = std::make_unique<PLBIBSyntaxHightlighterDelegate>();
    else
        rules = std::make_unique<PLLatexSyntaxHighlighterDelegate>();
    PLSyntaxHighlighter highlighter(&storage, std::move(rules));
    highlighter.userDefaultsDidChangeEditorTextColor();

    std::string background = c.foreground;
    std::replace(background.begin(), background.end(), 't', '.');
    EXPECT_EQ(foregroundClasses(storage), c.foreground) << c.what;
    EXPECT_EQ(backgroundClasses(storage), background) << c.what;
    EXPECT_EQ(links(storage), c.link ? std::string(c.link) : std::string(size_t(line.size()), '.')) << c.what;
    PLRange fontRun;
    EXPECT_EQ(storage.attributesAtIndex(0, &fontRun).font(), (PLFont{QStringLiteral("Monaco"), 12.0}));
}

// Text whose colouring once backtracked for minutes: a field whose value wraps onto the next lines
// (exponential in its spaces) and a long line without any field (quadratic in its length).
TEST(PLSyntaxHighlighterHostileText, WrappedFieldsAndLongLinesAreColouredInOnePass)
{
    PLTest::resetSettings();
    giveEveryClassItsOwnColours();
    const QString words = QStringLiteral("word ").repeated(24);
    const QString entry = QStringLiteral("@article{key,\n  author = {A. Author},\n  abstract = {") + words
        + QStringLiteral("\n") + words + QStringLiteral("\nmore},\n  year = {2024},\n}\n");
    const QString longLine = QStringLiteral("a").repeated(20000) + QStringLiteral("\n");
    const auto t = [](qsizetype n) { return std::string(size_t(n), 't'); };
    const std::string entryColours = "yyyyyyyy" "b" "ttttt" "kkkkkkkkkkk" "b" "kkkkkkkkk" "b" "tt" + t(13) + "b"
        + t(words.size() + 1) + t(words.size() + 1) + "tttt" "b" "tt" "kkkkkkkkk" "b" "kkkk" "b" "tt" "bt";

    PLPlainTextStorage storage(entry + longLine);
    PLSyntaxHighlighter highlighter(&storage, std::make_unique<PLBIBSyntaxHightlighterDelegate>());
    highlighter.userDefaultsDidChangeEditorTextColor();
    const std::string colours = foregroundClasses(storage);
    EXPECT_EQ(colours.substr(0, entryColours.size()), entryColours);
    EXPECT_EQ(colours.find_first_not_of('t', entryColours.size()), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Latex, PLSyntaxHighlighterRules,
    ::testing::Values(
        RuleCase{"escaped percent, command, braces and a comment", false, u"50\\% of \\textbf{x} % note\n",
                 "ttfffttt" "fffffff" "btbt" "cccccc" "t", nullptr},
        RuleCase{"a comment at column 0 wins over everything", false, u"%\\section{A} $x$\n",
                 "cccccccccccccccc" "t", nullptr},
        RuleCase{"starred heading, braces repainted", false, u"\\section*{Intro} text\n",
                 "sssssssss" "b" "sssss" "b" "tttttt", nullptr},
        RuleCase{"heading then comment", false, u"\\section{A} % c\n", "ssssssss" "bsb" "t" "ccc" "t", nullptr},
        RuleCase{"only the first brace group belongs to the heading", false, u"\\paragraph{P}{Q}\n",
                 "ssssssssss" "bsb" "btb" "t", nullptr},
        RuleCase{"dollar signs alone, not the mathematics", false, u"Let $x^2$ be\n", "tttt" "d" "ttt" "d" "tttt",
                 nullptr},
        RuleCase{"a command takes one following space", false, u"\\item one\n", "ffffff" "tttt", nullptr},
        RuleCase{"a line break command", false, u"a\\\\ b\n", "tffftt", nullptr},
        RuleCase{"escaped percent at the start, comment later", false, u"\\% x % y\n", "fff" "tt" "ccc" "t",
                 nullptr},
        RuleCase{"a comment after a word character", false, u"x% y\n", "tccct", nullptr},
        RuleCase{"input without extension", false, u"\\input{chapters/intro}\n",
                 "ffffff" "b" "tttttttttttttt" "b" "t", "......." "llllllllllllll" ".."},
        RuleCase{"include with extension", false, u"\\include{a.tex}\n", "ffffffff" "b" "ttttt" "b" "t",
                 "........." "lllll" ".."},
        RuleCase{"bibliography with extension", false, u"\\bibliography{refs.bib}\n",
                 "fffffffffffff" "b" "tttttttt" "b" "t", ".............." "llllllll" ".."},
        RuleCase{"a commented include still links", false, u"% \\input{old}\n", "ccccccccccccc" "t",
                 "........." "lll" ".."},
        RuleCase{"a heading's argument runs to its first closing brace", false, u"\\section{A \\section{B} x\n",
                 "ssssssss" "b" "ss" "ssssssss" "b" "s" "b" "ttt", nullptr},
        RuleCase{"a heading whose argument does not close is a command", false, u"\\section{\n",
                 "ffffffff" "b" "t", nullptr},
        RuleCase{"a star is only allowed right before the brace", false, u"\\section*x{A}\n",
                 "ffffffff" "tt" "btb" "t", nullptr},
        RuleCase{"an include's argument is at least one character, a brace too", false, u"\\input{}}\n",
                 "ffffff" "bbb" "t", "......." "l" ".."},
        RuleCase{"no terminator on the last line", false, u"$a$", "dtd", nullptr}));

INSTANTIATE_TEST_SUITE_P(
    Bibliography, PLSyntaxHighlighterRules,
    ::testing::Values(RuleCase{"entry type", true, u"@article{key,\n", "yyyyyyyy" "b" "ttttt", nullptr},
                      RuleCase{"a field, its braces repainted", true, u"  title = {A},\n", "kkkkkkkkkk" "bkb" "tt",
                               nullptr},
                      RuleCase{"LaTeX rules win inside a field", true, u"  note = {50\\% done}\n",
                               "kkkkkkkkk" "b" "kk" "fff" "kkkk" "b" "t", nullptr},
                      RuleCase{"a field needs spaces around the equals sign", true, u"  title={A},\n",
                               "tttttttt" "btb" "tt", nullptr},
                      RuleCase{"LaTeX rules alone do not know entry types", false, u"@article{key,\n",
                               "tttttttt" "b" "ttttt", nullptr}));

}

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

// Which characters each class paints alone is the pattern equivalence test's; here, which class
// wins where several paint. Each line's tokens are painted in order: per character, the class of its foreground (its
// background is the same class, none for 't') and 'l' where it links to "file://".
TEST(PLSyntaxHighlighterRules, PaintTheTokensOfALineInOrder)
{
    PLTest::resetSettings();
    giveEveryClassItsOwnColours();
    // Whether the bibliography rules apply; the line; the foreground classes; the links (null: none).
    const std::tuple<bool, const char16_t *, const char *, const char *> cases[] = {
        {false, u"50\\% of \\textbf{x} % note\n", "ttfffttt" "fffffff" "btbt" "cccccc" "t", nullptr},
        // A comment at column 0 wins over everything.
        {false, u"%\\section{A} $x$\n", "cccccccccccccccc" "t", nullptr},
        // A starred heading, its braces repainted.
        {false, u"\\section*{Intro} text\n", "sssssssss" "b" "sssss" "b" "tttttt", nullptr},
        // Only the first brace group belongs to the heading.
        {false, u"\\paragraph{P}{Q}\n", "ssssssssss" "bsb" "btb" "t", nullptr},
        {false, u"\\% x % y\n", "fff" "tt" "ccc" "t", nullptr},
        {false, u"\\input{chapters/intro}\n", "ffffff" "b" "tttttttttttttt" "b" "t", "......." "llllllllllllll" ".."},
        {false, u"\\bibliography{refs.bib}\n", "fffffffffffff" "b" "tttttttt" "b" "t", ".............." "llllllll" ".."},
        // A commented include still links.
        {false, u"% \\input{old}\n", "ccccccccccccc" "t", "........." "lll" ".."},
        // A heading's argument runs to its first closing brace.
        {false, u"\\section{A \\section{B} x\n", "ssssssss" "b" "ss" "ssssssss" "b" "s" "b" "ttt", nullptr},
        // An include's argument is at least one character, a brace too.
        {false, u"\\input{}}\n", "ffffff" "bbb" "t", "......." "l" ".."},
        {true, u"@article{key,\n", "yyyyyyyy" "b" "ttttt", nullptr},
        // A field, its braces repainted.
        {true, u"  title = {A},\n", "kkkkkkkkkk" "bkb" "tt", nullptr},
        // LaTeX rules win inside a field.
        {true, u"  note = {50\\% done}\n", "kkkkkkkkk" "b" "kk" "fff" "kkkk" "b" "t", nullptr},
        // A field needs spaces around the equals sign.
        {true, u"  title={A},\n", "tttttttt" "btb" "tt", nullptr},
        // LaTeX rules alone do not know entry types.
        {false, u"@article{key,\n", "tttttttt" "b" "ttttt", nullptr}};
    for (const auto &[bibliography, text, foreground, link] : cases) {
        const QString line = QString::fromUtf16(text);
        SCOPED_TRACE(line.toStdString());
        ASSERT_EQ(qsizetype(std::strlen(foreground)), line.size());
        PLPlainTextStorage storage(line);
        PLSyntaxHighlighter highlighter(&storage, bibliography ? std::unique_ptr<PLSyntaxHighlighterDelegate>(std::make_unique<PLBIBSyntaxHightlighterDelegate>())
                                                               : std::make_unique<PLLatexSyntaxHighlighterDelegate>());
        highlighter.userDefaultsDidChangeEditorTextColor();
        std::string background = foreground;
        std::replace(background.begin(), background.end(), 't', '.');
        EXPECT_EQ(foregroundClasses(storage), foreground);
        EXPECT_EQ(backgroundClasses(storage), background);
        EXPECT_EQ(links(storage), link ? std::string(link) : std::string(size_t(line.size()), '.'));
        EXPECT_EQ(storage.attributesAtIndex(0).font(), (PLFont{QStringLiteral("Monaco"), 12.0}));
    }
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

}

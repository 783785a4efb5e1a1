#include "core/editor/PLLatexSyntaxHighlighterDelegate.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"
#include "core/editor/PLSyntaxHighlighter.h"
#include "PLSyntaxHighlighterTestSupport.h"
#include "PLTestSupport.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"
#include "core/editor/PLBIBSyntaxHightlighterDelegate.h"
#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "PLOutlineTestSupport.h"
#include "core/editor/PLTextContentBuffer.h"
#include "core/editor/PLSyntaxHighlightingColorReset.h"
#include "core/foundation/PLRegularExpressionHelper.h"
#include "core/editor/PLTextContentBufferEditObserver.h"
#include "core/editor/PLTextSearch.h"
#include "core/editor/PLUndoManager.h"
#include "core/editor/PLGapBuffer.h"
#include "core/editor/PLLineIndices.h"
#include "core/foundation/PLStringLineCalculations.h"
#include "core/editor/PLTextAttributeRuns.h"

#include <QDir>
#include <QDirIterator>
#include <QRandomGenerator>
#include <QSettings>
#include <QSignalSpy>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

#include <gtest/gtest.h>

using namespace PLTest;

namespace {

using RecordedLines = std::vector<std::pair<QString, qsizetype>>;

class PLSyntaxHighlighterTest : public ::testing::Test
{
protected:
    void SetUp() override { PLTest::resetSettings(); }
    PLUserDefaults &defaults() { return PLUserDefaults::standardUserDefaults(); }
};

// An edit recolours exactly the whole lines it touched; a style change (no replacement) the whole text once.
TEST_F(PLSyntaxHighlighterTest, EditsRecolourExactlyTheWholeLinesTheyTouched)
{
    const std::tuple<const char16_t *, PLRange, const char16_t *, RecordedLines> cases[] = {
        {u"one\ntwo\nthree\n", {5, 0}, u"x", {{QStringLiteral("txwo\n"), 4}}},
        {u"one\ntwo\nthree\n", {4, 0}, u"a\nb\nc", {{QStringLiteral("a\n"), 4}, {QStringLiteral("b\n"), 6}, {QStringLiteral("ctwo\n"), 8}}},
        {u"one\ntwo\nthree\n", {2, 4}, u"X", {{QStringLiteral("onXo\n"), 0}}},
        // A new line feed belongs to the line it ends.
        {u"one\ntwo\n", {3, 0}, u"\n", {{QStringLiteral("one\n"), 0}}},
        {u"one\n", {4, 0}, u"four", {{QStringLiteral("four"), 4}}},
        {u"a\r\nb\r\nc", {4, 0}, u"x", {{QStringLiteral("bx\r\n"), 3}}},
        // A line of a lone line feed is stepped over.
        {u"a\nb", {1, 0}, u"\n\nz\n", {{QStringLiteral("a\n"), 0}, {QStringLiteral("z\n"), 3}}},
        {u"a\r\n\nb\r\rc", {}, nullptr, {{QStringLiteral("a\r\n"), 0}, {QStringLiteral("b\r"), 4}, {QStringLiteral("c"), 7}}}};
    for (const auto &[text, replaced, replacement, expected] : cases) {
        SCOPED_TRACE(QString::fromUtf16(text).toStdString());
        PLPlainTextStorage storage(QString::fromUtf16(text));
        RecordedLines lines;
        PLSyntaxHighlighter highlighter(&storage, std::make_unique<PLRecordingHighlighterDelegate>(&lines));
        std::vector<PLRange> received;
        QObject::connect(&storage, &PLTextStorage::didProcessEditing,
                         [&](PLRange editedRange, qsizetype) { received.push_back(editedRange); });
        if (!replacement) {
            PLNotificationCenter::defaultCenter().post(PLNotificationEditorTextStyleDidChange);
            EXPECT_EQ(lines, expected);
            continue;
        }
        storage.replaceCharactersInRange(replaced, QString::fromUtf16(replacement));
        EXPECT_EQ(lines, expected);
        EXPECT_EQ(received, std::vector<PLRange>{(PLRange{replaced.location, QString::fromUtf16(replacement).size()})});
    }
}

// A plain text storage coloured by a rule set.
struct Highlighted
{
    explicit Highlighted(const QString &text,
                         std::unique_ptr<PLSyntaxHighlighterDelegate> rules = std::make_unique<PLLatexSyntaxHighlighterDelegate>())
        : storage(text), highlighter(&storage, std::move(rules))
    {
    }
    PLPlainTextStorage storage;
    PLSyntaxHighlighter highlighter;
};

TEST_F(PLSyntaxHighlighterTest, NothingIsColouredOutsideTheTextOrWithoutATextColour)
{
    Highlighted outside(QStringLiteral("abc"));
    outside.highlighter.highlightTextInRange(PLRange{2, 2});
    outside.highlighter.highlightTextInRange(PLNotFoundRange);
    EXPECT_TRUE(outside.storage.attributesAtIndex(0).isEmpty());
    defaults().setString(QStringLiteral("not a colour"), PLUserDefaultsEditorColorText);
    Highlighted uncoloured(QStringLiteral("\\section{A}\n"));
    uncoloured.storage.replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("x"));
    EXPECT_EQ(uncoloured.storage.attributeRunCount(), 1);
    EXPECT_TRUE(uncoloured.storage.attributesAtIndex(3).isEmpty());
}

// Colours are read from the settings line by line; one that does not read is skipped, not painted.
TEST_F(PLSyntaxHighlighterTest, ColoursAreReadForEachLineAndAMissingOneIsSkipped)
{
    Highlighted h(QStringLiteral("$a$\n$b$\n\\emph{x}"));
    const PLColor first = PLColor::rgb(0.1, 0.2, 0.3, 1.0);
    const PLColor second = PLColor::rgb(0.4, 0.5, 0.6, 1.0);
    defaults().setColor(first, PLUserDefaultsEditorColorDollarSignAreas);
    defaults().setString(QStringLiteral("garbage"), PLUserDefaultsEditorColorFunctionsBackground);
    defaults().setString(QStringLiteral("garbage"), PLUserDefaultsEditorColorBrackets);
    h.highlighter.userDefaultsDidChangeEditorTextColor();
    defaults().setColor(second, PLUserDefaultsEditorColorDollarSignAreas);
    h.storage.replaceCharactersInRange(PLRange{5, 1}, QStringLiteral("c"));
    const auto colours = [&](qsizetype at) {
        const PLTextAttributes attributes = h.storage.attributesAtIndex(at);
        return std::pair(attributes.foregroundColor(), attributes.backgroundColor());
    };
    const auto setting = [&](const QString &key) { return defaults().colorForKey(key); };
    const std::optional<PLColor> none;
    EXPECT_EQ(colours(0).first, first);
    EXPECT_EQ(colours(4).first, second);
    EXPECT_EQ(colours(5).first, setting(PLUserDefaultsEditorColorText));
    EXPECT_EQ(colours(9), std::pair(setting(PLUserDefaultsEditorColorFunctions), none));
    EXPECT_EQ(colours(13), std::pair(setting(PLUserDefaultsEditorColorText), setting(PLUserDefaultsEditorColorBracketsBackground)));
}

// Uncommenting and un-including: the characters go back to the text colour and the font of the
// settings (Tahoma without a name), yet keep the background and link painted before.
TEST_F(PLSyntaxHighlighterTest, ForegroundAndFontAreResetButOtherAttributesStay)
{
    Highlighted h(QStringLiteral("%a \\input{b}\n"));
    h.highlighter.userDefaultsDidChangeEditorTextColor();
    const std::optional<PLColor> commentBackground = defaults().colorForKey(PLUserDefaultsEditorColorCommentedAreasBackground);
    ASSERT_EQ(h.storage.attributesAtIndex(1).backgroundColor(), commentBackground);
    defaults().setInteger(15, PLUserDefaultsEditorFontSize);
    h.storage.replaceCharactersInRange(PLRange{0, 1}, QString());
    const PLTextAttributes a = h.storage.attributesAtIndex(0);
    EXPECT_EQ(std::tuple(a.foregroundColor(), a.backgroundColor(), a.font()),
              std::tuple(defaults().colorForKey(PLUserDefaultsEditorColorText), commentBackground, PLFont{QStringLiteral("Monaco"), 15.0}));
    defaults().setString(QString(), PLUserDefaultsEditorFontName);
    h.storage.replaceCharactersInRange(PLRange{3, 5}, QStringLiteral("emph"));
    EXPECT_EQ(h.storage.attributesAtIndex(8).link(), QStringLiteral("file://"));
    EXPECT_EQ(h.storage.attributesAtIndex(8).font(), (PLFont{QStringLiteral("Tahoma"), 16.0}));
}

TEST_F(PLSyntaxHighlighterTest, ViewsHearOfTheEditFirstAndOfItsColoursOnceAfterwards)
{
    Highlighted h(QStringLiteral("a\nb\n"));
    PLPlainTextStorage &storage = h.storage;
    QStringList heard;
    QObject::connect(&storage, &PLTextStorage::didProcessEditing, [&](PLRange range, qsizetype) {
        // The highlighter was attached first, so the new text is coloured by now.
        const bool coloured = storage.attributesAtIndex(range.location).foregroundColor().has_value();
        heard << QStringLiteral("edit %1 coloured %2").arg(toString(range)).arg(coloured ? 1 : 0);
    });
    QObject::connect(&storage, &PLTextStorage::didEditAttributes,
                     [&](PLRange range) { heard << QStringLiteral("attributes %1").arg(toString(range)); });
    storage.replaceCharactersInRange(PLRange{2, 0}, QStringLiteral("\\x "));
    EXPECT_EQ(heard, QStringList({QStringLiteral("edit {2, 3} coloured 1"), QStringLiteral("attributes {2, 5}")}));
}

TEST(PLTextStorage, AttributeEditsWaitingForTheEndOfAGroupMoveWithTheText)
{
    PLPlainTextStorage storage(QStringLiteral("0123456789"));
    std::vector<PLRange> reported;
    QObject::connect(&storage, &PLTextStorage::didEditAttributes, [&](PLRange range) { reported.push_back(range); });
    storage.beginEditing();
    storage.addAttribute(PLTextAttributeName::Link, QStringLiteral("file://"), PLRange{5, 2});
    storage.replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("ab"));
    storage.addAttribute(PLTextAttributeName::Link, QStringLiteral("file://"), PLRange{1, 1});
    EXPECT_TRUE(reported.empty());
    storage.endEditing();
    EXPECT_EQ(reported, (std::vector<PLRange>{{1, 8}}));
    PLRange link;
    EXPECT_TRUE(storage.attributesAtIndex(7, &link).link());
    EXPECT_EQ(link, (PLRange{7, 2}));
}

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

// One letter per character: the class whose foreground ('f') or background ('b') colour it carries,
// or, asked for links ('l'), 'l' where it links to "file://"; '.' for none, '?' for a stranger.
std::string classesOf(const PLTextStorage &storage, char paint = 'f')
{
    std::string result;
    for (qsizetype i = 0; i < storage.string().size(); ++i) {
        const PLTextAttributes attributes = storage.attributesAtIndex(i);
        const std::optional<PLColor> colour = paint == 'b' ? attributes.backgroundColor() : attributes.foregroundColor();
        char code = paint == 'l' ? (!attributes.link() ? '.' : *attributes.link() == u"file://" ? 'l' : '?') : colour ? '?' : '.';
        for (const TokenClass &tokenClass : kClasses) {
            if (paint != 'l' && colour && *colour == (paint == 'b' ? backgroundOf : foregroundOf)(tokenClass.code))
                code = tokenClass.code;
        }
        result += code;
    }
    return result;
}

// Which characters each class paints alone, and so each rule's extent, is the pattern equivalence
// test's; here, which class wins where several paint. Each line's tokens are painted in order: per
// character, the class of its foreground (its background is the same class, none for 't') and 'l'
// where it links to "file://".
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
        {true, u"@article{key,\n", "yyyyyyyy" "b" "ttttt", nullptr},
        // A field, its braces repainted.
        {true, u"  title = {A},\n", "kkkkkkkkkk" "bkb" "tt", nullptr},
        // LaTeX rules win inside a field.
        {true, u"  note = {50\\% done}\n", "kkkkkkkkk" "b" "kk" "fff" "kkkk" "b" "t", nullptr}};
    for (const auto &[bibliography, text, foreground, link] : cases) {
        const QString line = QString::fromUtf16(text);
        SCOPED_TRACE(line.toStdString());
        ASSERT_EQ(qsizetype(std::strlen(foreground)), line.size());
        PLPlainTextStorage storage(line);
        std::unique_ptr<PLSyntaxHighlighterDelegate> rules = std::make_unique<PLLatexSyntaxHighlighterDelegate>();
        if (bibliography)
            rules = std::make_unique<PLBIBSyntaxHightlighterDelegate>();
        PLSyntaxHighlighter highlighter(&storage, std::move(rules));
        highlighter.userDefaultsDidChangeEditorTextColor();
        std::string background = foreground;
        std::replace(background.begin(), background.end(), 't', '.');
        EXPECT_EQ(classesOf(storage), foreground);
        EXPECT_EQ(classesOf(storage, 'b'), background);
        EXPECT_EQ(classesOf(storage, 'l'), link ? std::string(link) : std::string(size_t(line.size()), '.'));
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
    Highlighted h(entry + longLine, std::make_unique<PLBIBSyntaxHightlighterDelegate>());
    h.highlighter.userDefaultsDidChangeEditorTextColor();
    EXPECT_EQ(classesOf(h.storage), entryColours + t(longLine.size()));
}

class PLSyntaxHighlighterBufferTest : public ProjectTest
{
protected:
    void SetUp() override
    {
        resetSettings();
        giveEveryClassItsOwnColours();
    }
    PLTextContentBuffer *open(const QString &name, const QString &text)
    {
        return files.emplace_back(ProjectTest::open(name, text))->contentBuffer();
    }
    std::vector<std::shared_ptr<PLFile>> files;
};

// Regression: a file opened with text showed no colours until its first edit.
TEST_F(PLSyntaxHighlighterBufferTest, TheTextAFileOpensWithIsColouredWhenFirstRead)
{
    PLTextContentBuffer *buffer = open(QStringLiteral("b.tex"), QStringLiteral("plain\n\\section{A}\n"));
    QSignalSpy painted(buffer, &PLTextStorage::didEditAttributes);
    EXPECT_TRUE(painted.isEmpty());
    EXPECT_EQ(classesOf(*buffer), "tttttt" "ssssssss" "bsb" "t");
    EXPECT_EQ(painted.size(), 1);
}

TEST_F(PLSyntaxHighlighterBufferTest, ColoursMoveWithEditsAndUndo)
{
    PLTextContentBuffer *buffer = open(QStringLiteral("a.tex"), QStringLiteral("x\n$y$ % c\n"));
    buffer->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("\\emph"));
    EXPECT_EQ(classesOf(*buffer), "fffffff" "dtd" "t" "ccc" "t");
    buffer->undoManager()->undo();
    EXPECT_EQ(classesOf(*buffer), "tt" "dtd" "t" "ccc" "t");
}

// Reloaded text took on the heading background of the old first line over its whole length.
TEST_F(PLSyntaxHighlighterBufferTest, ReloadedTextHasTheColoursOfAFreshlyReadOne)
{
    PLTextContentBuffer *buffer = open(QStringLiteral("a.tex"), QStringLiteral("\\section{Old}\n$a$\n"));
    ASSERT_EQ(classesOf(*buffer, 'b').front(), 's');
    const QString reloaded = QStringLiteral("plain text\n$b$\n\\chapter{New}\nend\n");
    buffer->setString(reloaded);
    PLTextContentBuffer *fresh = open(QStringLiteral("b.tex"), reloaded);
    for (const char paint : {'f', 'b', 'l'})
        EXPECT_EQ(classesOf(*buffer, paint), classesOf(*fresh, paint)) << paint;
}

// The preferences pane's reset test checks the notifications and a sample of the colours; here:
// every colour is written to disk as the user's own value, and nothing but colours is touched.
TEST(PLSyntaxHighlightingColorReset, WritesEveryColourToDiskAndLeavesTheRestAlone)
{
    PLTest::resetSettings();
    PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
    defaults.setString(QStringLiteral("Courier"), PLUserDefaultsEditorFontName);
    PLResetSyntaxHighlightingColors();
    QSettings onDisk(defaults.fileName(), QSettings::IniFormat);
    int colourKeys = 0;
    for (const QString &key : onDisk.allKeys())
        colourKeys += PLColor::fromArchived(onDisk.value(key).toString()).has_value() ? 1 : 0;
    EXPECT_EQ(colourKeys, 22);
    EXPECT_EQ(PLColor::fromArchived(onDisk.value(PLUserDefaultsEditorColorBIBKey).toString()), PLColor::rgb(0.81, 0.254, 0.331, 1.0));
    EXPECT_EQ(defaults.stringForKey(PLUserDefaultsEditorFontName), QStringLiteral("Courier"));
}

// The colouring patterns were rewritten so that none can backtrack badly. The rule sets they
// replaced live on here only, as the reference: both must paint the same characters.

const QString kOldFunctions = QStringLiteral(R"re((\\(\w|%)*)(\s)?)re");
const QString kOldStructureDividers = QStringLiteral(R"re(\\(part|chapter|section|subsection|subsubsection|paragraph)(\*)?\{(.+?)\})re");
const QString kOldBrackets = QStringLiteral(R"re(\[|\]|\{|\})re");
const QString kOldComment = QStringLiteral(R"re(((\s|\w)?(%(.)*)()re") + u'\n' + QStringLiteral(R"re()?))re");
const QString kOldInclude = QStringLiteral(R"re(\\(input|include|bibliography)\{((.+?)(\.tex|\.bib)?)\})re");
const QString kOldEntryType = QStringLiteral(R"re(@(\w)*)re");
const QString kOldKeyValue = QStringLiteral(R"re((.)+ = \{(.|\s|\\n)+\})re");

class OldLatexRules : public PLLatexSyntaxHighlighterDelegate
{
public:
    void syntaxHighlighterWillProcessStringForHighlighting(PLSyntaxHighlighter *highlighter, const QString &string,
                                                           qsizetype lineStart) override
    {
        paint(highlighter, PLUserDefaultsEditorColorFunctionsBackground, PLUserDefaultsEditorColorFunctions, kOldFunctions, string,
              lineStart);
        paint(highlighter, PLUserDefaultsEditorColorStructureDividersBackground, PLUserDefaultsEditorColorStructureDividers,
              kOldStructureDividers, string, lineStart);
        paint(highlighter, PLUserDefaultsEditorColorBracketsBackground, PLUserDefaultsEditorColorBrackets, kOldBrackets, string, lineStart);
        paint(highlighter, PLUserDefaultsEditorColorDollarSignAreasBackground, PLUserDefaultsEditorColorDollarSignAreas,
              QStringLiteral(R"re(\$)re"), string, lineStart);
        paint(highlighter, PLUserDefaultsEditorColorCommentedAreasBackground, PLUserDefaultsEditorColorCommentedAreas, oldCommentLocator,
              string, lineStart);
        highlighter->setAttribute(PLTextAttributeName::Link, QStringLiteral("file://"), string, lineStart,
                                  [](const QString &s, qsizetype location, qsizetype length) {
                                      return PLRegularExpressionHelper::firstMatchInRange(kOldInclude, s, PLRange{location, length},
                                                                                          PLRegularExpressionHelper::NoOptions, 2);
                                  });
    }
    static PLRange oldCommentLocator(const QString &string, qsizetype location, qsizetype length)
    {
        PLRange found = PLRegularExpressionHelper::firstMatchInRange(kOldComment, string, PLRange{location, length},
                                                                     PLRegularExpressionHelper::NoOptions, 3);
        while (found.isFound() && found.location > 0 && QStringView(string).mid(found.location - 1, 2) == u"\\%") {
            const qsizetype from = found.location + 1;
            found = PLRegularExpressionHelper::firstMatchInRange(
                kOldComment, string, PLRange{from, string.size() - from}, PLRegularExpressionHelper::NoOptions, 3);
        }
        return found;
    }
};

class OldBibliographyRules : public OldLatexRules
{
public:
    void syntaxHighlighterWillProcessStringForHighlighting(PLSyntaxHighlighter *highlighter, const QString &string,
                                                           qsizetype lineStart) override
    {
        paint(highlighter, PLUserDefaultsEditorColorBIBTypeBackground, PLUserDefaultsEditorColorBIBType, kOldEntryType, string, lineStart);
        paint(highlighter, PLUserDefaultsEditorColorBIBKeyBackground, PLUserDefaultsEditorColorBIBKey, kOldKeyValue, string, lineStart);
        OldLatexRules::syntaxHighlighterWillProcessStringForHighlighting(highlighter, string, lineStart);
    }
};

// The .tex and .bib files of the test data and of the sample project.
QString fixtureCorpus()
{
    QString corpus;
    for (const QString &folder : {PLTest::dataPath(QString()), PLTest::dataPath(QStringLiteral("../../samples"))}) {
        QDirIterator files(folder, {QStringLiteral("*.tex"), QStringLiteral("*.bib")}, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext())
            corpus += QString::fromUtf8(PLTest::readFile(files.next())) + u'\n';
    }
    return corpus;
}

// Lines made of the pieces the patterns care about, line terminators of every kind, surrogates
// whole and broken included; short enough that the old patterns still finish.
QString generatedCorpus()
{
    const auto S = [](const char16_t *text) { return QString::fromUtf16(text); };
    const QStringList pieces = {
        S(u"a"), S(u" "), S(u"  "), S(u"="), S(u" = {"), S(u"{"), S(u"}"), S(u"\\"), S(u"%"), S(u"\\%"), S(u"\r"),
        QString(QChar(0x0b)), QString(QChar(0x0c)), QString(QChar(0x85)), QString(QChar(0x2028)), S(u"\t"), S(u"@"),
        S(u"$"), S(u"["), S(u"]"), S(u"\\section"), S(u"\\part{"), S(u"\\input{"), S(u"\\include"),
        S(u"\\bibliography{"), S(u".tex"), S(u".bib"), S(u"*"), S(u"\\n"), QString::fromUtf16(u"𝔸"),
        QString(QChar(0xd800)), QString(QChar(0xdc00)), QString(QChar(0xa0)), S(u"_"), S(u"x")};
    std::mt19937 random(19);
    QString corpus;
    for (int line = 0; line < 3000; ++line) {
        const int length = int(random() % 14);
        for (int i = 0; i < length; ++i)
            corpus += pieces[int(random() % pieces.size())];
        corpus += u'\n';
    }
    // The shapes that made the old patterns slow, at sizes they still finish.
    corpus += S(u"  abstract = {") + S(u"word ").repeated(8) + S(u"\n  title = {A} and {B},\n");
    corpus += S(u"a").repeated(300) + S(u"\n") + S(u"\\input{").repeated(40) + S(u"\n") + S(u"\\section{").repeated(40)
        + S(u"\n") + S(u"\\%").repeated(100) + S(u"\n") + QString(S(u"a = {x") + QChar(0x0b)).repeated(6) + S(u"}\n");
    return corpus;
}

const PLColor kPainted = PLColor::rgb(0.9, 0.1, 0.2, 1.0);

// Per character, a digit of three bits: painted foreground, painted background, link.
std::string paintedCharacters(const QString &text, std::unique_ptr<PLSyntaxHighlighterDelegate> rules)
{
    PLPlainTextStorage storage(text);
    PLSyntaxHighlighter highlighter(&storage, std::move(rules));
    highlighter.userDefaultsDidChangeEditorTextColor();
    std::string painted;
    for (qsizetype i = 0; i < text.size();) {
        PLRange run;
        const PLTextAttributes attributes = storage.attributesAtIndex(i, &run);
        const char marks = char('0' + (attributes.foregroundColor() == kPainted ? 1 : 0)
                                 + (attributes.backgroundColor() == kPainted ? 2 : 0) + (attributes.link() ? 4 : 0));
        painted.append(size_t(run.end() - i), marks);
        i = run.end();
    }
    return painted;
}

// One class at a time has colours, so no other rule can paint over what it painted.
TEST(PLSyntaxHighlighterPatternEquivalence, RewrittenRulesPaintWhatTheOldOnesPainted)
{
    const QString corpora[] = {fixtureCorpus(), generatedCorpus()};
    for (const TokenClass &painted : kClasses) {
        if (!painted.backgroundKey)
            continue;
        SCOPED_TRACE(painted.code);
        PLTest::resetSettings();
        PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
        for (const TokenClass &tokenClass : kClasses) {
            if (tokenClass.backgroundKey) {
                defaults.removeObjectForKey(tokenClass.foregroundKey);
                defaults.removeObjectForKey(*tokenClass.backgroundKey);
            }
        }
        defaults.setColor(kPainted, painted.foregroundKey);
        defaults.setColor(kPainted, *painted.backgroundKey);
        for (const QString &text : corpora) {
            const std::string oldLatex = paintedCharacters(text, std::make_unique<OldLatexRules>());
            const std::string newLatex = paintedCharacters(text, std::make_unique<PLLatexSyntaxHighlighterDelegate>());
            EXPECT_TRUE(oldLatex == newLatex) << "LaTeX rules differ";
            const std::string oldBibliography = paintedCharacters(text, std::make_unique<OldBibliographyRules>());
            const std::string newBibliography = paintedCharacters(text, std::make_unique<PLBIBSyntaxHightlighterDelegate>());
            EXPECT_TRUE(oldBibliography == newBibliography) << "bibliography rules differ";
        }
    }
}

// Commands are read by hand, not by the expression engine: they must end on exactly the
// characters the old expression ended on, for every code point (astral ones sampled, lone
// surrogates included), as a name character, after a percent sign and as the space after it.
TEST(PLSyntaxHighlighterCommandScan, EndsEachCommandWhereTheExpressionDid)
{
    QString text;
    const auto append = [&text](char32_t c) { text.append(QStringView(QChar::fromUcs4(c))); };
    for (char32_t c = 1; c < 0x110000; c += c < 0x10000 ? 1 : 97) {
        if (QChar::isSurrogate(c))
            continue;
        text += u'\\';
        append(c);
        append(c);
        text += QStringLiteral("\\%");
        append(c);
        text += QStringLiteral("x\\");
        append(c);
    }
    text += QStringLiteral("\\a") + QChar(0xd800) + u'b' + QChar(0xdc00) + QStringLiteral("\\") + QChar(0xdbff);
    std::vector<std::pair<qsizetype, qsizetype>> expected;
    PLRegularExpressionHelper::enumerateMatches(kOldFunctions, text, PLRange{0, text.size()}, [&](const PLRegexMatch &match) {
        expected.emplace_back(match.range(0).location, match.range(0).length);
        return true;
    });
    std::vector<std::pair<qsizetype, qsizetype>> scanned;
    for (PLRange found = PLLatexSyntaxHighlighterDelegate::functionLocator(text, 0, text.size()); found.isFound();
         found = PLLatexSyntaxHighlighterDelegate::functionLocator(text, found.end(), text.size() - found.end()))
        scanned.emplace_back(found.location, found.length);
    EXPECT_TRUE(scanned == expected);
}

class PLTextContentBufferTest : public ProjectTest
{
protected:
    PLTextContentBuffer *bufferWith(const QString &text) { return (file = open(QStringLiteral("a.tex"), text))->contentBuffer(); }
    std::shared_ptr<PLFile> file;
};

// The typing filters: brackets and quotes are paired, a new line copies the tabs before the caret.
TEST_F(PLTextContentBufferTest, filtersRewriteWhatIsTyped)
{
    const std::tuple<const char16_t *, PLRange, const char16_t *, const char16_t *> cases[] = {
        {u"", {0, 0}, u"\"", u"``\""}, {u"ab", {1, 0}, u"(", u"a()b"}, {u"abc", {0, 3}, u"{", u"{}"}, {u"", {0, 0}, u"[", u"[]"},
        // A closing bracket is never swallowed; pasted text and a single quote are left alone.
        {u"()", {1, 0}, u")", u"())"}, {u"", {0, 0}, u"(x", u"(x"}, {u"", {0, 0}, u"'", u"'"},
        // Tabs are copied, spaces and tabs after text are not; only the tabs before the caret.
        {u"\t\tword", {6, 0}, u"\n", u"\t\tword\n\t\t"}, {u"  word", {6, 0}, u"\n", u"  word\n"}, {u"a\tb", {3, 0}, u"\n", u"a\tb\n"},
        {u"\t\tword", {1, 0}, u"\n", u"\t\n\t\tword"}, {u"\tone\n\t\t\ttwo", {11, 0}, u"\n", u"\tone\n\t\t\ttwo\n\t\t\t"},
        {u"\tab", {2, 1}, u"\n", u"\ta\n\t"},
        // A carriage return or CR LF gets no indent.
        {u"\tx", {2, 0}, u"\r", u"\tx\r"}, {u"\tx", {2, 0}, u"\r\n", u"\tx\r\n"}};
    for (const auto &[before, range, typed, after] : cases) {
        PLTextContentBuffer *buffer = bufferWith(QString::fromUtf16(before));
        buffer->replaceCharactersInRange(range, QString::fromUtf16(typed));
        EXPECT_EQ(visible(buffer->string()).toStdString(), visible(QString::fromUtf16(after)).toStdString());
        EXPECT_EQ(outlineText(file->outlineRootNode()), buffer->string());
        file->close();
    }
}

// Each edit is reported with the new text's range and the change in length, once the outline
// followed; an edit outside the text is not made.
TEST_F(PLTextContentBufferTest, reportsTheNewTextsRangeAfterTheOutlineFollowed)
{
    PLTextContentBuffer *buffer = bufferWith(QStringLiteral("abc"));
    QStringList reports;
    QObject::connect(buffer, &PLTextContentBuffer::didProcessEditing, [&](PLRange range, qsizetype delta) {
        reports << QStringLiteral("%1 %2 %3").arg(toString(range)).arg(delta).arg(outlineText(file->outlineRootNode()));
    });
    buffer->replaceCharactersInRange(PLRange{1, 1}, QStringLiteral("("));
    buffer->undoManager()->undo();
    buffer->replaceCharactersInRange(PLRange{4, 0}, QStringLiteral("x"));
    EXPECT_EQ(reports, QStringList({QStringLiteral("{1, 2} 1 a()c"), QStringLiteral("{1, 1} -1 abc")}));
    EXPECT_EQ(buffer->string(), QStringLiteral("abc"));
}

TEST_F(PLTextContentBufferTest, outlineUpdatingCanBeSwitchedOff)
{
    PLTextContentBuffer *buffer = bufferWith(QStringLiteral("abc"));
    OutlineNotificationRecorder recorder;
    buffer->setUpdateOutlineWhenReplacingCharacters(false);
    buffer->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("%!TEX TS-program = xelatex\n"));
    EXPECT_TRUE(recorder.notifications.empty());
    EXPECT_EQ(file->engine(), int(PLFile::DefaultEngine));
    EXPECT_EQ(outlineText(file->outlineRootNode()), QStringLiteral("abc"));
}

TEST_F(PLTextContentBufferTest, magicCommentInTheFirstNodeChoosesXeLaTeX)
{
    const std::pair<const char *, int> cases[] = {
        {"%!TEX TS-program = xelatex\n\\section{A}", PLFile::XeLaTeXEngine}, {"x %!TEX TS-program=xelatex  \n", PLFile::XeLaTeXEngine},
        {"%!TEX TS-program = xelatex", PLFile::DefaultEngine}, {"%!TEX TS-program = XeLaTeX\n", PLFile::DefaultEngine},
        {"\\section{A}\n%!TEX TS-program = xelatex\n", PLFile::DefaultEngine}};
    for (const auto &[text, engine] : cases) {
        bufferWith(QString::fromUtf8(text));
        EXPECT_EQ(file->engine(), engine) << text;
        file->close();
    }
    PLTextContentBuffer *buffer = bufferWith(QStringLiteral("\\section{A}"));
    buffer->replaceCharactersInRange(PLRange{0, 0}, QStringLiteral("%!TEX TS-program = xelatex\n"));
    EXPECT_EQ(file->engine(), int(PLFile::XeLaTeXEngine));
}

// Writes down each replacement it hears of with the text as it then stands, into the same log as
// the views' signal, so the order between the two shows.
class RecordingEditObserver : public PLTextContentBufferEditObserver
{
public:
    explicit RecordingEditObserver(QStringList *log) : m_log(log) {}
    void textContentBufferDidReplaceCharactersInRange(PLTextContentBuffer *buffer, PLRange range, const QString &string) override
    {
        m_log->append(QStringLiteral("%1+%2 \"%3\" -> %4").arg(range.location).arg(range.length).arg(string, buffer->string()));
    }

private:
    QStringList *m_log;
};

// A buffer needs no file and no outline: what follows its text hears each replacement once the
// characters changed (filtered when typed, as recorded when replayed) and before the views.
TEST(PLTextContentBufferObserverTest, theObserverHearsEveryReplacementBeforeTheViews)
{
    const std::pair<std::function<void(PLTextContentBuffer &)>, QStringList> cases[] = {
        {[](PLTextContentBuffer &b) { b.replaceCharactersInRange({1, 0}, QStringLiteral("(")); },
         {QStringLiteral("1+0 \"()\" -> a()b"), QStringLiteral("views")}},
        {[](PLTextContentBuffer &b) {
             b.replaceCharactersInRange({0, 2}, QStringLiteral("("));
             b.replaceCharactersInRange({0, 1}, QString());
             b.undoManager()->undo();
             b.undoManager()->redo();
         },
         {QStringLiteral("0+2 \"()\" -> ()"), QStringLiteral("views"), QStringLiteral("0+1 \"\" -> )"), QStringLiteral("views"),
          QStringLiteral("0+0 \"(\" -> ()"), QStringLiteral("views"), QStringLiteral("0+1 \"\" -> )"), QStringLiteral("views")}},
        {[](PLTextContentBuffer &b) { b.setString(QStringLiteral("(")); }, {QStringLiteral("0+2 \"(\" -> ("), QStringLiteral("views")}},
        {[](PLTextContentBuffer &b) { b.replaceCharactersInRange({3, 0}, QStringLiteral("x")); }, {}}};
    for (const auto &[edit, expected] : cases) {
        PLTextContentBuffer buffer(QStringLiteral("a.tex"), nullptr, QStringLiteral("ab"));
        QStringList heard;
        buffer.setEditObserver(std::make_unique<RecordingEditObserver>(&heard));
        QObject::connect(&buffer, &PLTextContentBuffer::didProcessEditing, [&] { heard.append(QStringLiteral("views")); });
        edit(buffer);
        EXPECT_EQ(heard, expected);
    }
}

// The bibliography colouring goes by the extension of the buffer's name, in any case.
TEST(PLTextContentBufferRulesTest, aBibNameGetsTheBibliographyColouring)
{
    for (const auto &[name, bibliography] : {std::pair{"refs.bib", true}, {"REFS.Bib", true}, {".bib", true}, {"bib", false},
                                             {"refs.bib.tex", false}, {"a.tex", false}}) {
        const PLTextContentBuffer buffer(QString::fromUtf8(name), nullptr, QStringLiteral("@book{k,}"));
        EXPECT_EQ(dynamic_cast<PLBIBSyntaxHightlighterDelegate *>(buffer.syntaxHighlighter()->delegate()) != nullptr, bibliography) << name;
    }
}

using PLTextSearch::Backwards;
using PLTextSearch::Forwards;

TEST(TextSearch, FindsTheExpectedRange)
{
    // The three alphas start at 0, 11 and 23.
    const char *const alphas = "Alpha beta ALPHA gamma alpha";
    // The text, the string, the selection, the direction and the range found.
    const std::tuple<const char *, const char *, PLRange, qint32, PLRange> cases[] = {
        // Forwards from the selection's end or the caret, a match may start right there, and wraps.
        {alphas, "alpha", {0, 5}, Forwards, {11, 5}}, {alphas, "ALPHA", {12, 0}, Forwards, {23, 5}},
        {alphas, "beta", {0, 6}, Forwards, {6, 4}}, {alphas, "aLpHa", {24, 0}, Forwards, {0, 5}},
        // Backwards the last before the selection, not one overlapping its start, and wraps.
        {alphas, "alpha", {23, 5}, Backwards, {11, 5}}, {alphas, "alpha", {14, 0}, Backwards, {0, 5}},
        {alphas, "alpha", {3, 0}, Backwards, {23, 5}},
        // Inside the only occurrence, it is found again either way.
        {"one Word here", "word", {6, 0}, Backwards, {4, 4}}, {"one Word here", "WORD", {6, 0}, Forwards, {4, 4}},
        {"axb a.b", ".", {0, 0}, Forwards, {5, 1}}, {alphas, "delta", {3, 0}, Forwards, PLNotFoundRange},
        {alphas, "", {3, 0}, Backwards, PLNotFoundRange}, {"abc", "b", {10, 0}, Forwards, {1, 1}}};
    for (const auto &[text, string, selection, direction, expected] : cases)
        EXPECT_EQ(PLTextSearch::rangeOfString(QString::fromUtf8(text), QString::fromUtf8(string), selection, direction), expected)
            << text << " / " << string << " from " << selection.location;
}

// What the history should hold: the text after each step, the step it stands at and the saved one
// (-1 once a new step replaced the saved one).
struct Model
{
    std::vector<QString> texts;
    int index = 0;
    int clean = 0;
    bool isClean() const { return index == clean; }
    void record(const QString &text)
    {
        texts.resize(size_t(index) + 1);
        if (clean > index)
            clean = -1;
        texts.push_back(text);
        ++index;
    }
};

class PLUndoManagerTest : public ::testing::TestWithParam<unsigned>
{
protected:
    // A replacement somewhere in the text, with the brackets and line breaks the typing filters rewrite.
    void editRandomly()
    {
        static const QStringList pieces{QString(), QStringLiteral("x"), QStringLiteral("("), QStringLiteral("\n"),
                                        QStringLiteral("\"q\""), QStringLiteral("\t{")};
        const qsizetype size = buffer.length();
        const qsizetype location = pick(0, int(size));
        const qsizetype length = pick(0, int(std::min<qsizetype>(3, size - location)));
        buffer.replaceCharactersInRange(PLRange{location, length}, pieces[pick(0, int(pieces.size()) - 1)]);
    }
    int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); }
    std::mt19937 random{GetParam()};
    PLTextContentBuffer buffer{QStringLiteral("a.tex"), nullptr, QStringLiteral("\tstart\n")};
    PLUndoManager *history = buffer.undoManager();
};

// Every step of a seeded run of edits, groups, undos, redos, saves and clears leaves the text, the
// counts, the clean state and the signals where the model says, as the document's edited state needs.
TEST_P(PLUndoManagerTest, keepsInStepWithTheModel)
{
    Model model{{buffer.string()}};
    QSignalSpy indexChanges(history, &PLUndoManager::indexChanged);
    QSignalSpy cleanChanges(history, &PLUndoManager::cleanChanged);
    for (int step = 0; step < 300; ++step) {
        SCOPED_TRACE(step);
        const Model before = model;
        const int action = pick(0, 39);
        if (action < 14) {
            editRandomly();
            model.record(buffer.string());
        } else if (action < 20) {
            // Nested groups and empty ones still make one step; nothing is taken back meanwhile.
            history->beginMacro();
            for (int edits = pick(0, 3); edits > 0; --edits) {
                const bool nested = pick(0, 1) == 1;
                if (nested)
                    history->beginMacro();
                editRandomly();
                if (nested)
                    history->endMacro();
            }
            const QString grouped = buffer.string();
            EXPECT_FALSE(history->canUndo() || history->canRedo() || history->isClean());
            history->undo();
            history->setClean();
            EXPECT_EQ(buffer.string(), grouped);
            history->endMacro();
            model.record(grouped);
        } else if (action < 28) {
            history->undo();
            model.index = std::max(0, model.index - 1);
        } else if (action < 35) {
            history->redo();
            model.index = std::min(int(model.texts.size()) - 1, model.index + 1);
        } else if (action < 39) {
            history->setClean();
            model.clean = model.index;
        } else {
            history->clear();
            model = Model{{buffer.string()}};
        }
        ASSERT_EQ(buffer.string(), model.texts[size_t(model.index)]);
        EXPECT_EQ(std::tuple(history->count(), history->index(), history->canUndo(), history->canRedo(), history->isClean()),
                  std::tuple(int(model.texts.size()) - 1, model.index, model.index > 0, model.index < history->count(), model.isClean()));
        // A clear announces the index even where it stays 0, as long as there were steps to forget.
        const bool cleared = action == 39 && before.texts.size() > 1;
        ASSERT_EQ(indexChanges.size(), model.index != before.index || cleared ? 1 : 0);
        if (!indexChanges.isEmpty()) {
            EXPECT_EQ(indexChanges.takeFirst().at(0).toInt(), model.index);
        }
        ASSERT_EQ(cleanChanges.size(), model.isClean() != before.isClean() ? 1 : 0);
        if (!cleanChanges.isEmpty()) {
            EXPECT_EQ(cleanChanges.takeFirst().at(0).toBool(), model.isClean());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, PLUndoManagerTest, ::testing::Values(1u, 2u, 3u, 5u, 8u, 13u));

// Pieces that end lines in every way, split CR LF pairs and surrogate pairs when cut, and tabs.
QString randomPiece(QRandomGenerator &random)
{
    static const QString pieces[] = {QStringLiteral("ab"), QStringLiteral("\n"), QStringLiteral("\r"),
                                     QStringLiteral("\r\n"), QStringLiteral("\t"), QString::fromUtf16(u"\U0001F600"),
                                     QString::fromUtf16(u"x\u2028"), QString::fromUtf16(u"\u0085")};
    QString piece;
    for (int n = random.bounded(1, 5); n > 0; --n)
        piece += pieces[random.bounded(int(std::size(pieces)))];
    // Now and then more than the gap holds, so it has to grow.
    if (random.bounded(40) == 0)
        piece = piece.repeated(600);
    return piece;
}

void expectSameAsModel(const PLGapBuffer &buffer, const QString &model, QRandomGenerator &random, bool askLines)
{
    ASSERT_EQ(buffer.toString(), model);
    ASSERT_EQ(buffer.size(), model.size());
    if (!askLines)
        return;
    std::vector<qsizetype> starts;
    for (qsizetype p = 0; p <= model.size(); ++p) {
        if (PLLineIndices::isLineStart(model, p))
            starts.push_back(p);
    }
    ASSERT_EQ(buffer.lineCount(), qsizetype(starts.size()));
    for (qsizetype line = 0; line < buffer.lineCount(); ++line)
        ASSERT_EQ(buffer.lineStart(line), starts[size_t(line)]) << "line " << line;
    for (int probe = 0; probe < 8; ++probe) {
        const qsizetype location = random.bounded(model.size() + 1);
        ASSERT_EQ(buffer.lineForLocation(location), PLLineIndices::lineNumberForCharacterIndex(starts, location));
        const qsizetype length = random.bounded(model.size() - location + 1);
        ASSERT_EQ(buffer.mid(location, length), model.mid(location, length));
        const PLRange range{location, std::min<qsizetype>(length, 3)};
        const auto bounds = PLStringLineCalculations::lineBoundsIn(buffer, range);
        const auto expected = PLStringLineCalculations::lineBoundsForRange(model, range);
        ASSERT_EQ(std::tuple(bounds.start, bounds.end, bounds.contentsEnd), std::tuple(expected.start, expected.end, expected.contentsEnd));
    }
}

TEST(PLGapBufferRandomTest, editsKeepTextAndLinesAsAPlainStringWould)
{
    for (const quint32 seed : {1u, 7u, 2024u, 90210u}) {
        QRandomGenerator random(seed);
        QString model = QStringLiteral("first line\r\nsecond\rthird\n");
        PLGapBuffer buffer(model);
        expectSameAsModel(buffer, model, random, true);
        for (int step = 0; step < 300; ++step) {
            // Now and then the text is taken in whole again, as a reload does, so it starts without a gap.
            if (step % 25 == 0)
                buffer = PLGapBuffer(model);
            const qsizetype location = random.bounded(model.size() + 1);
            // Inserts, deletes and replacements, mostly near the previous edit as typing goes.
            const qsizetype length = random.bounded(3) == 0 ? 0 : random.bounded(std::min<qsizetype>(model.size() - location, 12) + 1);
            const QString inserted = random.bounded(3) == 0 ? QString() : randomPiece(random);
            // A text handed out before the edit, sharing the characters when no gap is open, keeps them.
            const QString handedOut = buffer.toString();
            const QString before = model;
            buffer.replace(location, length, inserted);
            model.replace(location, length, inserted);
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", step " << step << " at " << location << " replacing " << length);
            ASSERT_EQ(handedOut, before);
            // Lines not asked about for a few edits after a reload are found in the edited text.
            expectSameAsModel(buffer, model, random, step % 25 >= 3);
        }
    }
}

TEST(PLLineIndicesTest, listsTheFirstCharacterOfEveryLine)
{
    for (const auto &[text, indices] : {std::pair<QString, std::vector<qsizetype>>{QString(), {0}}, {QStringLiteral("a\nb\n"), {0, 2, 4}},
                                        {QStringLiteral("a\r\n\rb\n\nc"), {0, 3, 4, 6, 7}},
                                        {QStringLiteral("a\u0085b\u2028c\u2029"), {0, 2, 4, 6}}})
        EXPECT_EQ(PLLineIndices().indicesForText(text), indices) << text.toStdString();
}

TEST(PLLineIndicesTest, findsTheLineHoldingALocation)
{
    const std::vector<qsizetype> indices{0, 4, 9, 10, 20};
    for (const auto &[location, line] :
         {std::pair<qsizetype, qsizetype>{0, 0}, {3, 0}, {4, 1}, {8, 1}, {9, 2}, {10, 3}, {19, 3}, {20, 4}, {500, 4}})
        EXPECT_EQ(PLLineIndices::lineNumberForCharacterIndex(indices, location), line) << location;
    EXPECT_EQ(PLLineIndices::lineNumberForCharacterIndex({0}, 7), 0);
}

// The list after noted edits must always equal the list scanned anew: edits that split and join
// CR LF pairs, insert and remove whole lines, and several edits between two requests.
TEST(PLLineIndicesTest, notedEditsGiveTheSameListAsAFullScan)
{
    const QString pieces[] = {QStringLiteral("\r"), QStringLiteral("\n"), QStringLiteral("\r\n"), QStringLiteral("word"),
                              QStringLiteral("x\ny\n"), QStringLiteral("\u2029"), QString()};
    QRandomGenerator random(20261121);
    QString text = QStringLiteral("\\section{A}\r\nfirst\nsecond\r\rthird\n");
    PLLineIndices lines;
    lines.indicesForText(text);
    for (int round = 0; round < 3000; ++round) {
        const int editsBeforeRequest = random.bounded(1, 4);
        for (int edit = 0; edit < editsBeforeRequest; ++edit) {
            const qsizetype location = random.bounded(int(text.size()) + 1);
            const qsizetype length = random.bounded(int(std::min<qsizetype>(4, text.size() - location)) + 1);
            const QString &inserted = pieces[random.bounded(int(std::size(pieces)))];
            text.replace(location, length, inserted);
            lines.noteReplacement(PLRange{location, inserted.size()}, inserted.size() - length);
        }
        PLLineIndices scanned;
        ASSERT_EQ(lines.indicesForText(text), scanned.indicesForText(text)) << "round " << round << ": " << ::testing::PrintToString(text);
        if (text.size() > 200)
            text.truncate(50);
        if (text.size() == 50)
            lines.invalidate();
    }
}

PLColor shade(int n)
{
    return PLColor::rgb(n / 8.0, 0.5, 1.0 - n / 8.0, 1.0);
}

PLTextAttributes withForeground(int n)
{
    PLTextAttributes attributes;
    attributes.setValue(PLTextAttributeName::ForegroundColor, shade(n));
    return attributes;
}

// The attributes of every character, run by run, checking on the way that runs are maximal.
std::vector<PLTextAttributes> characters(const PLTextAttributeRuns &runs)
{
    std::vector<PLTextAttributes> result;
    qsizetype counted = 0;
    for (qsizetype index = 0; index < runs.length();) {
        PLRange run;
        const PLTextAttributes attributes = runs.attributesAtIndex(index, &run);
        EXPECT_EQ(run.location, index);
        EXPECT_GT(run.length, 0);
        if (!result.empty()) {
            EXPECT_FALSE(result.back() == attributes) << "runs at " << index << " should have been merged";
        }
        result.insert(result.end(), size_t(run.length), attributes);
        index = run.end();
        ++counted;
    }
    EXPECT_EQ(counted, runs.runCount());
    return result;
}

TEST(PLTextAttributeRuns, AgreesWithAPlainListOfCharacterAttributesUnderRandomEdits)
{
    std::mt19937 random(20240611);
    PLTextAttributeRuns runs(40);
    std::vector<PLTextAttributes> model(40);
    const auto pick = [&](int below) { return int(std::uniform_int_distribution<int>(0, below)(random)); };
    // Shared attributes, as a colouring pass hands them out, beside equal but separate copies.
    const std::vector<PLTextAttributes> palette = {PLTextAttributes(), withForeground(0), withForeground(1)};
    const auto anyAttributes = [&] { return pick(1) == 0 ? palette[size_t(pick(2))] : withForeground(pick(2)); };
    for (int step = 0; step < 3000; ++step) {
        const int length = int(model.size());
        const int location = pick(length);
        const int count = pick(std::min(12, length - location));
        const PLRange range{location, count};
        const auto begin = model.begin() + location;
        switch (pick(5)) {
        case 0: {
            const PLTextAttributes attributes = pick(5) == 0 ? PLTextAttributes() : withForeground(pick(3));
            runs.setAttributes(attributes, range);
            std::fill(begin, begin + count, attributes);
            break;
        }
        case 1: {
            const PLFont font{QStringLiteral("Monaco"), double(10 + pick(2))};
            runs.addAttribute(PLTextAttributeName::Font, font, range);
            for (auto it = begin; it != begin + count; ++it)
                it->setValue(PLTextAttributeName::Font, font);
            break;
        }
        case 2:
            runs.removeAttribute(PLTextAttributeName::ForegroundColor, range);
            for (auto it = begin; it != begin + count; ++it)
                it->removeValue(PLTextAttributeName::ForegroundColor);
            break;
        case 3: {
            // Runs laid over the range or over the whole text; lengths below one are skipped and
            // the runs stop at the end of the text.
            const int start = pick(2) == 0 ? 0 : location;
            const int span = start == 0 && pick(1) == 0 ? length : count;
            std::vector<std::pair<qsizetype, PLTextAttributes>> laid;
            const int overshoot = pick(1) * 3;
            for (int covered = 0; covered < span + overshoot;) {
                laid.emplace_back(pick(5) - 1, anyAttributes());
                covered += std::max<int>(int(laid.back().first), 0);
            }
            runs.replaceRuns(start, laid);
            auto at = model.begin() + start;
            for (const auto &[runLength, attributes] : laid) {
                const auto stop = at + std::min<qsizetype>(std::max<qsizetype>(runLength, 0), model.end() - at);
                std::fill(at, stop, attributes);
                at = stop;
            }
            break;
        }
        default: {
            const int inserted = length > 200 ? 0 : pick(6);
            PLTextAttributes inherited;
            if (count > 0)
                inherited = model[size_t(location)];
            else if (location > 0)
                inherited = model[size_t(location - 1)];
            else if (length > 0)
                inherited = model[0];
            runs.replaceCharacters(range, inserted);
            model.erase(begin, begin + count);
            model.insert(model.begin() + location, size_t(inserted), inherited);
            break;
        }
        }
        ASSERT_EQ(runs.length(), qsizetype(model.size()));
        if (step % 10 == 0 || step > 2950) {
            const std::vector<PLTextAttributes> actual = characters(runs);
            ASSERT_TRUE(actual == model) << "after step " << step;
        }
        // Enumerating a range, its start possibly before the text, yields it clipped and whole.
        const int size = int(model.size());
        const int first = pick(size + 2) - 2;
        const int span = pick(size + 4);
        const int from = std::clamp(first, 0, size);
        std::vector<PLTextAttributes> enumerated;
        runs.enumerateAttributes(PLRange{first, span}, [&](const PLTextAttributes &attributes, PLRange run) {
            EXPECT_EQ(run.location, from + qsizetype(enumerated.size()));
            enumerated.insert(enumerated.end(), size_t(run.length), attributes);
        });
        const auto to = model.begin() + std::clamp(first + span, from, size);
        ASSERT_TRUE(enumerated == std::vector<PLTextAttributes>(model.begin() + from, to)) << "enumerating after step " << step;
    }
    PLRange effective;
    EXPECT_TRUE(runs.attributesAtIndex(runs.length(), &effective).isEmpty());
    EXPECT_EQ(effective, PLNotFoundRange);
}

// New characters take the attributes the text system gives them: inside a run its own, at a
// boundary or the end the character's before, at the start the one after, in a replacement the
// first replaced one's. Starts from six characters coloured 0, 0, 1, 1, 2, 2.
TEST(PLTextAttributeRuns, NewCharactersTakeTheAttributesTheTextSystemGivesThem)
{
    for (const auto &[replaced, insertedLength, expected] :
         {std::tuple<PLRange, qsizetype, const char *>{{1, 0}, 2, "00001122"}, {{2, 0}, 1, "0001122"}, {{0, 0}, 1, "0001122"},
          {{6, 0}, 1, "0011222"}, {{3, 2}, 3, "0011112"}, {{2, 2}, 0, "0022"}, {{0, 6}, 0, ""},
          // A length past the end is clipped; a location past the end changes nothing.
          {{4, 99}, 1, "00112"}, {{7, 0}, 3, "001122"}}) {
        PLTextAttributeRuns runs(6);
        for (int n = 0; n < 3; ++n)
            runs.setAttributes(withForeground(n), PLRange{2 * n, 2});
        runs.replaceCharacters(replaced, insertedLength);
        QString actual;
        for (const PLTextAttributes &attributes : characters(runs)) {
            const std::optional<PLColor> color = attributes.foregroundColor();
            actual += !color ? u'-' : color == shade(0) ? u'0' : color == shade(1) ? u'1' : u'2';
        }
        EXPECT_EQ(actual.toStdString(), expected) << replaced.location << "+" << replaced.length;
    }
}

}

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

#include <QSignalSpy>
#include <QSettings>
#include <QDir>
#include <QDirIterator>
#include <random>

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

}

#include "core/editor/PLBIBSyntaxHightlighterDelegate.h"
#include "core/editor/PLLatexSyntaxHighlighterDelegate.h"
#include "core/foundation/PLRegularExpressionHelper.h"
#include "core/editor/PLSyntaxHighlighter.h"
#include "PLSyntaxHighlighterTestSupport.h"
#include "PLTestSupport.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QDir>
#include <QDirIterator>

#include <random>

#include <gtest/gtest.h>

// The colouring patterns were rewritten so that none can backtrack badly. The rule sets they
// replaced live on here only, as the reference: both must paint the same characters.
namespace {

const QString kOldFunctions = QStringLiteral(R"re((\\(\w|%)*)(\s)?)re");
const QString kOldStructureDividers =
    QStringLiteral(R"re(\\(part|chapter|section|subsection|subsubsection|paragraph)(\*)?\{(.+?)\})re");
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
        paint(highlighter, PLUserDefaultsEditorColorFunctionsBackground, PLUserDefaultsEditorColorFunctions,
              kOldFunctions, string, lineStart);
        paint(highlighter, PLUserDefaultsEditorColorStructureDividersBackground,
              PLUserDefaultsEditorColorStructureDividers, kOldStructureDividers, string, lineStart);
        paint(highlighter, PLUserDefaultsEditorColorBracketsBackground, PLUserDefaultsEditorColorBrackets,
              kOldBrackets, string, lineStart);
        paint(highlighter, PLUserDefaultsEditorColorDollarSignAreasBackground,
              PLUserDefaultsEditorColorDollarSignAreas, QStringLiteral(R"re(\$)re"), string, lineStart);
        paint(highlighter, PLUserDefaultsEditorColorCommentedAreasBackground, PLUserDefaultsEditorColorCommentedAreas,
              oldCommentLocator, string, lineStart);
        highlighter->setAttribute(PLTextAttributeName::Link, QStringLiteral("file://"), string, lineStart,
                                  [](const QString &s, qsizetype location, qsizetype length) {
                                      return PLRegularExpressionHelper::firstMatchInRange(
                                          kOldInclude, s, PLRange{location, length},
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
        paint(highlighter, PLUserDefaultsEditorColorBIBTypeBackground, PLUserDefaultsEditorColorBIBType,
              kOldEntryType, string, lineStart);
        paint(highlighter, PLUserDefaultsEditorColorBIBKeyBackground, PLUserDefaultsEditorColorBIBKey, kOldKeyValue,
              string, lineStart);
        OldLatexRules::syntaxHighlighterWillProcessStringForHighlighting(highlighter, string, lineStart);
    }
};

// The .tex and .bib files of the test data and of the sample project.
QString fixtureCorpus()
{
    QString corpus;
    for (const QString &folder : {PLTest::dataPath(QString()), PLTest::dataPath(QStringLiteral("../../samples"))}) {
        QDirIterator files(folder, {QStringLiteral("*.tex"), QStringLiteral("*.bib")}, QDir::Files,
                           QDirIterator::Subdirectories);
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

struct TokenClass
{
    const QString &foregroundKey;
    const QString &backgroundKey;
};

const TokenClass kClasses[] = {
    {PLUserDefaultsEditorColorFunctions, PLUserDefaultsEditorColorFunctionsBackground},
    {PLUserDefaultsEditorColorStructureDividers, PLUserDefaultsEditorColorStructureDividersBackground},
    {PLUserDefaultsEditorColorBrackets, PLUserDefaultsEditorColorBracketsBackground},
    {PLUserDefaultsEditorColorDollarSignAreas, PLUserDefaultsEditorColorDollarSignAreasBackground},
    {PLUserDefaultsEditorColorCommentedAreas, PLUserDefaultsEditorColorCommentedAreasBackground},
    {PLUserDefaultsEditorColorBIBType, PLUserDefaultsEditorColorBIBTypeBackground},
    {PLUserDefaultsEditorColorBIBKey, PLUserDefaultsEditorColorBIBKeyBackground},
};

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

// Where the two paintings first differ, with the line it happens in.
std::string firstDifference(const QString &text, const std::string &expected, const std::string &actual)
{
    qsizetype i = 0;
    while (i < qsizetype(expected.size()) && expected[i] == actual[i])
        ++i;
    const qsizetype start = text.lastIndexOf(u'\n', i) + 1;
    return "at " + std::to_string(i) + " in line \"" + text.mid(start, text.indexOf(u'\n', i) - start).toStdString()
        + "\"";
}

class PLSyntaxHighlighterPatternEquivalence : public ::testing::TestWithParam<TokenClass>
{
protected:
    // Only this class has colours, so no other rule can paint over what it painted.
    void SetUp() override
    {
        PLTest::resetSettings();
        PLUserDefaults &defaults = PLUserDefaults::standardUserDefaults();
        for (const TokenClass &tokenClass : kClasses) {
            defaults.removeObjectForKey(tokenClass.foregroundKey);
            defaults.removeObjectForKey(tokenClass.backgroundKey);
        }
        defaults.setColor(kPainted, GetParam().foregroundKey);
        defaults.setColor(kPainted, GetParam().backgroundKey);
    }
};

TEST_P(PLSyntaxHighlighterPatternEquivalence, RewrittenRulesPaintWhatTheOldOnesPainted)
{
    for (const QString &text : {fixtureCorpus(), generatedCorpus()}) {
        const std::string oldLatex = paintedCharacters(text, std::make_unique<OldLatexRules>());
        const std::string newLatex = paintedCharacters(text, std::make_unique<PLLatexSyntaxHighlighterDelegate>());
        EXPECT_EQ(oldLatex, newLatex) << "LaTeX rules differ " << firstDifference(text, oldLatex, newLatex);
        const std::string oldBibliography = paintedCharacters(text, std::make_unique<OldBibliographyRules>());
        const std::string newBibliography =
            paintedCharacters(text, std::make_unique<PLBIBSyntaxHightlighterDelegate>());
        EXPECT_EQ(oldBibliography, newBibliography)
            << "bibliography rules differ " << firstDifference(text, oldBibliography, newBibliography);
    }
}

INSTANTIATE_TEST_SUITE_P(EachTokenClass, PLSyntaxHighlighterPatternEquivalence, ::testing::ValuesIn(kClasses));

}

namespace {

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
    ASSERT_EQ(scanned.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i)
        ASSERT_EQ(scanned[i], expected[i]) << "command " << i << " at U+" << std::hex << int(text.at(expected[i].first + 1).unicode());
}

}

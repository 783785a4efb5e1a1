#include "core/latex/PLLatexFileContentOutlineParser.h"
#include "core/latex/PLLatexStringParser.h"
#include "PLOutlineTestSupport.h"
#include "core/foundation/PLRegularExpressionHelper.h"

#include <random>

#include <gtest/gtest.h>

using namespace PLTest;

namespace {

Lines flatLines(const QList<std::shared_ptr<PLOutlineNode>> &nodes)
{
    QStringList lines;
    for (const auto &node : nodes)
        lines.append(nodeLine(*node));
    return toLines(lines);
}

// Parsing in an untitled file: no include resolves to a path, so these cases touch no disk. The
// random outline test pins what plain headings, includes and comments give; these rows are the
// shapes its edits do not make.
TEST(PLLatexStringParserTableTest, cutsTextIntoNodesThatJoinBackToIt)
{
    PLFilePool pool;
    const auto file = PLFile::untitledFileWithName(QStringLiteral("untitled"), nullptr);
    const std::pair<const char16_t *, Lines> cases[] = {
        {u"\\section*{A {nested} title}", {"text ||", "section \"A {nested} title\" |\\\\section*{A {nested} title}|", "text ||"}},
        {u"\\part{P}\\chapter{C}\\subsection{S}\\subsubsection{T}\\paragraph{U}", {"text ||", "part \"P\" |\\\\part{P}|", "text ||",
         "chapter \"C\" |\\\\chapter{C}|", "text ||", "subsection \"S\" |\\\\subsection{S}|", "text ||",
         "subsubsection \"T\" |\\\\subsubsection{T}|", "text ||", "paragraph \"U\" |\\\\paragraph{U}|", "text ||"}},
        // Unknown sectioning name.
        {u"\\subparagraph{X}", {"text |\\\\subparagraph{X}|"}},
        // Doubled backslash still escapes.
        {u"\\\\% \\section{A}", {"text |\\\\\\\\% |", "section \"A\" |\\\\section{A}|", "text ||"}},
        // Carriage return stays in the title.
        {u"\\section{A\r\nB}", {"text ||", "text |\\\\section{A\\r|", "text |\\nB}|"}},
        {u"\\chapter[Short]{Long title}", {"text ||", "chapter \"Long title\" |\\\\chapter[Short]{Long title}|", "text ||"}},
        {u"\\section[A {]} [b]{T}", {"text ||", "section \"T\" |\\\\section[A {]} [b]{T}|", "text ||"}},
        // Short title not closed on its line.
        {u"\\section[A\n]{T}", {"text |\\\\section[A\\n]{T}|"}},
        // Short title without a title after it.
        {u"\\section[A] {T}\\section{U}", {"text |\\\\section[A] {T}|", "section \"U\" |\\\\section{U}|", "text ||"}},
        {u"\\input {chap}", {"text |\\\\input {chap}|"}},
        {u"\\input{}", {"text |\\\\input{}|"}},
        // Graphics are no include.
        {u"\\includegraphics{x}", {"text |\\\\includegraphics{x}|"}}, {u"x % \\input{a} y", {"text |x % \\\\input{a}|", "text | y|"}},
        {u"x\n%\\chapter{Intro}\\input{intro}\ny\\input{b}", {"text |x\\n%\\\\chapter{|", "text |Intro}\\\\input{intro}|", "text |\\ny|",
         "input |\\\\input{b}|", "text ||"}},
        // Commands sharing one line: the comment state follows the line from command to command.
        {u"\\input{a}\\%\\input{b}%\\input{c}\r\\input{d}", {"text ||", "input |\\\\input{a}|", "text |\\\\%|", "input |\\\\input{b}|",
         "text |%\\\\input{c}|", "text |\\r|", "input |\\\\input{d}|", "text ||"}},
        {u"\\section{A} % \\section{B} \\section{C}\u2029\\section{D}", {"text ||", "section \"A\" |\\\\section{A}|",
         "text | % \\\\section{|", "text |B} \\\\section{|", "text |C}\u2029|", "section \"D\" |\\\\section{D}|", "text ||"}}};
    for (const auto &[input, nodes] : cases) {
        const QString text = QString::fromUtf16(input);
        const auto parsed = PLLatexStringParser(file).parseString(text);
        EXPECT_EQ(flatLines(parsed), nodes);
        QString joined;
        for (const auto &node : parsed)
            joined += node->content();
        EXPECT_EQ(joined, text);
    }
}

TEST(PLLatexStringParserTest, commentTestLooksAtTheLineBeforeTheLocation)
{
    const std::tuple<const char16_t *, qsizetype, bool> cases[] = {
        {u"% a", 3, true},        {u"a % b", 1, false},     {u"a % b", 3, true},
        {u"%", 0, false},         {u"%", 1, true},          {u"\\% b", 4, false},
        {u"% x \\% b", 8, true},  {u"%\nabc", 4, false},    {u"a\r\n% b", 6, true},
        {u"ab\\\\% c", 7, false}, {u"x\u2028% c", 4, true}, {u"% a\r\n", 4, true},
    };
    for (const auto &[text, location, commented] : cases) {
        EXPECT_EQ(PLLatexStringParser::isLineCommentedInString(QString::fromUtf16(text), location), commented)
            << visible(QString::fromUtf16(text)).toStdString() << " at " << location;
    }
}

TEST(PLLatexStringParserTest, sectionStringNeedsBothBraces)
{
    PLFilePool pool;
    PLLatexStringParser parser(nullptr);
    EXPECT_EQ(parser.parseSectionString(QStringLiteral("\\section")), nullptr);
    EXPECT_EQ(parser.parseSectionString(QStringLiteral("\\section{A")), nullptr);
    const auto node = parser.parseSectionString(QStringLiteral("\\chapter*{A} tail"));
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(nodeLine(*node), QStringLiteral("chapter \"A\" |\\\\chapter*{A}|"));
    EXPECT_FALSE(parser.parseTextNodeForFileIncludes(node).has_value());
}

class PLLatexStringParserFilesTest : public ProjectTest
{
protected:
    std::shared_ptr<PLFile> open(const QString &relative)
    {
        return PLFile::fileWithPath(path(relative), std::make_shared<PLLatexFileContentOutlineParser>());
    }

    QStringList includedPaths(const std::shared_ptr<PLFile> &file) const
    {
        QStringList paths;
        for (const auto &included : file->filesInDocument())
            paths.append(QDir(folder.path()).relativeFilePath(included->stringPath()));
        return paths;
    }
};

TEST_F(PLLatexStringParserFilesTest, includesResolveAgainstTheIncludingFilesFolder)
{
    write(QStringLiteral("main.tex"),
          QStringLiteral("\\input{chap1}\n\\input{sub/two.tex}\n\\input{a.tex.old}\n\\include{sub/three}\n% \\input{gone}\n"));
    write(QStringLiteral("chap1.tex"), QStringLiteral("one"));
    write(QStringLiteral("sub/two.tex"), QStringLiteral("\\include{deeper}"));
    write(QStringLiteral("sub/deeper.tex"), QStringLiteral("deep"));
    const auto main = open(QStringLiteral("main.tex"));
    EXPECT_EQ(includedPaths(main), (QStringList{QStringLiteral("chap1.tex"), QStringLiteral("sub/two.tex"),
                                                QStringLiteral("a.tex.old"), QStringLiteral("sub/three.tex")}));
    const auto two = pool.fileForPath(path(QStringLiteral("sub/two.tex")));
    ASSERT_NE(two, nullptr);
    EXPECT_EQ(includedPaths(two), QStringList{QStringLiteral("sub/deeper.tex")});
    EXPECT_EQ(pool.fileForPath(path(QStringLiteral("gone.tex"))), nullptr);
    // The included roots hang under their include nodes, in the including file's outline.
    EXPECT_EQ(toLines(dumpOutline(main->outlineRootNode()).mid(0, 3)),
              (Lines{"text ||", "input |\\\\input{chap1}|", "  root chap1.tex"}));
    EXPECT_EQ(main->outlineRootNode()->childAtIndex(1)->childAtIndex(0),
              pool.fileForPath(path(QStringLiteral("chap1.tex")))->outlineRootNode());
}

TEST_F(PLLatexStringParserFilesTest, bibliographyNamesEachOpenAFile)
{
    write(QStringLiteral("main.tex"), QStringLiteral("\\bibliography{refs, more ,, x.bib}"));
    const auto main = open(QStringLiteral("main.tex"));
    EXPECT_EQ(includedPaths(main),
              (QStringList{QStringLiteral("refs.bib"), QStringLiteral("more.bib"), QStringLiteral("x.bib")}));
    const auto bibliography = main->outlineRootNode()->childAtIndex(1);
    ASSERT_EQ(bibliography->childCount(), 3);
    EXPECT_EQ(bibliography->childAtIndex(1)->name(), QStringLiteral("more.bib"));
}

TEST_F(PLLatexStringParserFilesTest, untitledFilesIncludeUntitledFilesByName)
{
    const auto parser = std::make_shared<PLLatexFileContentOutlineParser>();
    const auto untitled = PLFile::untitledFileWithName(QStringLiteral("Untitled"), parser);
    untitled->replaceContentStringInRange(PLRange{0, 0}, QStringLiteral("\\input{chapter}\\bibliography{refs}"));
    ASSERT_NE(pool.untitledFileWithName(QStringLiteral("chapter")), nullptr);
    ASSERT_NE(pool.untitledFileWithName(QStringLiteral("refs")), nullptr);
    EXPECT_TRUE(pool.filesOpened().isEmpty());
}

// Headings and file references are found by hand instead of by the expression engine. The
// expressions they replaced live on here only, as the reference: both must find the same commands.

const std::pair<QString, PLRange (*)(const QString &text, PLRange range)> kScans[] = {
    {QStringLiteral(R"re(\\(part|chapter|section|subsection|subsubsection|paragraph)(\*)?[\{\[])re"),
     PLLatexStringParser::headingCommandInRange},
    {QStringLiteral(R"re(\\(input|include|bibliography)\{(.+?)(\.tex|\.bib)?\})re"),
     PLLatexStringParser::fileReferenceInRange},
};

// Lines made of command names and their near misses, braces, brackets, stars, every character the
// expressions' "." refuses, and surrogates whole and broken.
QString generatedCorpus()
{
    const auto S = [](const char16_t *text) { return QString::fromUtf16(text); };
    const QStringList pieces = {
        S(u"\\"), S(u"\\"), S(u"part"), S(u"chapter"), S(u"section"), S(u"subsection"), S(u"subsubsection"),
        S(u"paragraph"), S(u"par"), S(u"sub"), S(u"input"), S(u"include"), S(u"bibliography"), S(u"in"), S(u"*"),
        S(u"\\input{"), S(u"\\include{"), S(u"\\bibliography{"), S(u"\\section{"), S(u"\\part*["),
        S(u"\\subsection*{"), S(u"\\chapter["),
        S(u"{"), S(u"{"), S(u"}"), S(u"}"), S(u"["), S(u"]"), S(u".tex"), S(u".bib"), S(u"a"), S(u" "), S(u"%"),
        S(u"\r"), S(u"\r\n"), QString(QChar(0x0b)), QString(QChar(0x0c)), QString(QChar(0x85)),
        QString(QChar(0x2028)), QString(QChar(0x2029)), S(u"𝔸"), QString(QChar(0xd800)), QString(QChar(0xdc00))};
    std::mt19937 random(23);
    QString corpus;
    for (int line = 0; line < 4000; ++line) {
        const int length = int(random() % 16);
        for (int i = 0; i < length; ++i)
            corpus += pieces[int(random() % pieces.size())];
        corpus += u'\n';
    }
    return corpus;
}

std::string describe(const QString &text, PLRange range)
{
    return "in \"" + text.mid(range.location, range.length).toStdString() + "\"";
}

TEST(PLLatexStringParserScan, FindsWhatTheExpressionFound)
{
    const QString text = generatedCorpus();
    for (const auto &[expression, scan] : kScans) {
        // Every command of the whole text, each search going on from the end of the last match.
        PLRange found = scan(text, PLRange{0, text.size()});
        PLRegularExpressionHelper::enumerateMatches(expression, text, PLRange{0, text.size()}, [&](const PLRegexMatch &match) {
            EXPECT_EQ(found, match.range()) << describe(text, PLRange{match.range().location, 40});
            found = scan(text, PLRange{match.range().end(), text.size() - match.range().end()});
            return true;
        });
        EXPECT_FALSE(found.isFound());
        // Ranges that start and end anywhere, cutting commands and lines.
        std::mt19937 random(5);
        for (int i = 0; i < 3000; ++i) {
            const qsizetype location = qsizetype(random() % quint32(text.size()));
            const PLRange range{location, std::min<qsizetype>(qsizetype(random() % 120), text.size() - location)};
            ASSERT_EQ(scan(text, range), PLRegularExpressionHelper::firstMatchInRange(expression, text, range))
                << describe(text, range);
        }
    }
}

}

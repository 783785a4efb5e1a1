#include "core/foundation/PLRegularExpressionHelper.h"
#include "core/latex/PLLatexStringParser.h"

#include <random>

#include <gtest/gtest.h>

// Headings and file references are found by hand instead of by the expression engine. The
// expressions they replaced live on here only, as the reference: both must find the same commands.
namespace {

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

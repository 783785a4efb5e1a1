#include "core/typesetting/PLLogScanning.h"

#include <QRandomGenerator>

#include <gtest/gtest.h>

namespace {

using PLLogScanning::LiteralFollower;

struct ScannedPattern
{
    const char *pattern;
    const char16_t *literal;
    LiteralFollower follower;
    // Pieces of text the pattern cares about; random logs are made of these and of line ends.
    QStringList pieces;
};

void PrintTo(const ScannedPattern &p, std::ostream *os)
{
    *os << p.pattern;
}

QList<QList<PLRange>> groupsOf(const QList<PLRegexMatch> &matches)
{
    QList<QList<PLRange>> all;
    for (const PLRegexMatch &match : matches) {
        QList<PLRange> groups;
        for (int g = 0; g < match.numberOfRanges(); ++g)
            groups.append(match.range(g));
        all.append(groups);
    }
    return all;
}

// Random texts made of the pieces a pattern cares about, every kind of line end and a few other
// characters, so that a literal-driven search that skipped a real match, or found one too many,
// shows up.
QString randomLog(QRandomGenerator &random, const QStringList &patternPieces)
{
    static const QStringList common{QStringLiteral("\n"),     QStringLiteral("\n"), QStringLiteral("\r"),
                                    QStringLiteral("\r\n"),   QStringLiteral("\f"), QStringLiteral("\v"),
                                    QStringLiteral("\u2028"), QStringLiteral(" "),  QStringLiteral("a"),
                                    QStringLiteral("\t"),     QStringLiteral(".")};
    QString text;
    const int count = random.bounded(1, 40);
    for (int i = 0; i < count; ++i) {
        const QStringList &from = random.bounded(3) == 0 ? common : patternPieces;
        text += from[random.bounded(int(from.size()))];
    }
    return text;
}

class LogScanningAgreesWithAPlainSearch : public ::testing::TestWithParam<ScannedPattern>
{
};

TEST_P(LogScanningAgreesWithAPlainSearch, OnRandomLogs)
{
    const ScannedPattern &p = GetParam();
    const QString pattern = QString::fromUtf8(p.pattern);
    const QStringView literal(p.literal);
    QRandomGenerator random(20240229);
    for (int round = 0; round < 3000; ++round) {
        const QString text = randomLog(random, p.pieces);
        const qsizetype from = random.bounded(int(text.size() + 1));
        const PLRange range{from, random.bounded(int(text.size() - from + 1))};
        QList<PLRegexMatch> expected;
        PLRegularExpressionHelper::enumerateMatches(pattern, text, range, [&](const PLRegexMatch &match) {
            expected.append(match);
            return true;
        });
        QList<PLRegexMatch> scanned;
        PLLogScanning::enumerateMatchesAfterLiteral(pattern, literal, p.follower, text, range,
                                                    [&](const PLRegexMatch &match) {
                                                        scanned.append(match);
                                                        return true;
                                                    });
        ASSERT_EQ(groupsOf(scanned), groupsOf(expected)) << "text " << text.toStdString() << " range "
                                                         << range.location << "+" << range.length;
    }
}

QStringList pieces(std::initializer_list<const char *> list)
{
    QStringList result;
    for (const char *piece : list)
        result.append(QString::fromUtf8(piece));
    return result;
}

INSTANTIATE_TEST_SUITE_P(
    EveryLogPattern, LogScanningAgreesWithAPlainSearch,
    ::testing::Values(
        ScannedPattern{"\\(\\./(.*?)\\.tex(\\)|\\n|\\s)", u"(./", LiteralFollower::AnyRunInLine,
                       pieces({"(./", "(./", ".tex", ")", "(", "ch/one", "\n"})},
        ScannedPattern{"\\(\\./(.*?)\\.tex", u"(./", LiteralFollower::AnyRunInLine,
                       pieces({"(./", ".tex", ")", "x"})},
        ScannedPattern{"LaTeX Warning: (.)*\\n(.)*\\n", u"LaTeX Warning: ", LiteralFollower::AnyRunInLine,
                       pieces({"LaTeX Warning: ", "\n", "\n", "text", "on input line 3."})},
        ScannedPattern{"! Undefined control sequence.\\n(.)*\\n(.)*\\n\\?", u"! Undefined control sequence",
                       LiteralFollower::Fixed,
                       pieces({"! Undefined control sequence.", "! Undefined control sequence", "\n", "\n", "?",
                               "l.3 \\x", "?", "! Undefined control sequence.\nl.3 \\x\n  y\n?"})},
        ScannedPattern{"((\\./?)((.)*)):([0-9]*): (LaTeX Error:)?((.)*)", u".", LiteralFollower::AnyRunInLine,
                       pieces({"./", ".", ":", "12", ": ", "LaTeX Error:", "a.tex", "::"})},
        ScannedPattern{"((\\./.*\\.tex):([0-9]*): (LaTeX Error: )?(.*\\n.*))", u"./",
                       LiteralFollower::AnyRunInLine,
                       pieces({"./", ".tex", ":", "12", ": ", "LaTeX Error: ", "\n", "msg",
                               "./a.tex:12: LaTeX Error: msg\nnext", "./b.tex:3: x\n"})},
        ScannedPattern{"((\\./.*\\.tex):([0-9])*: (Illegal parameter number in definition of (\\\\.*)))", u"./",
                       LiteralFollower::AnyRunInLine,
                       pieces({"./", ".tex", ":", "123", ": ", "Illegal parameter number in definition of \\",
                               "foo", "./a.tex:123: Illegal parameter number in definition of \\foo."})},
        ScannedPattern{"(! LaTeX Error: (File `((.*)\\.(tex|sty))' not found.))", u"! LaTeX Error: File `",
                       LiteralFollower::AnyRunInLine,
                       pieces({"! LaTeX Error: File `", "name", ".tex", ".sty", "' not found.", "'"})},
        ScannedPattern{":([0-9]*):", u":", LiteralFollower::Fixed, pieces({":", "1", "23", "::"})},
        ScannedPattern{"\\./.*\\.tex:[0-9]*:", u"./", LiteralFollower::AnyRunInLine,
                       pieces({"./", ".tex", ":", "7", "b", "./a.tex:7:"})},
        ScannedPattern{"\\[([0-9])\\]", u"[", LiteralFollower::Fixed, pieces({"[", "1", "]", "12", "[["})},
        ScannedPattern{"\\{(.*)\\}", u"{", LiteralFollower::AnyRunInLine, pieces({"{", "}", "pkg", "{}"})},
        ScannedPattern{"Environment (.*) undefined.", u"Environment ", LiteralFollower::AnyRunInLine,
                       pieces({"Environment ", " undefined.", " undefined", "foo"})}));

// The hand-written matchers must find exactly what their expressions find, wherever a search of the
// whole range would: same matches, same groups, on random logs with surrogate pairs and lone halves.
struct HandWrittenMatcher
{
    const char *pattern;
    const char16_t *literal;
    LiteralFollower follower;
    PLLogScanning::Matcher matcher;
    QStringList pieces;
};

void PrintTo(const HandWrittenMatcher &m, std::ostream *os)
{
    *os << m.pattern;
}

class HandWrittenMatcherAgreesWithItsExpression : public ::testing::TestWithParam<HandWrittenMatcher>
{
};

QList<PLRange> plainSearch(const QString &pattern, const QString &text, PLRange range, QList<int> groups)
{
    QList<PLRange> found;
    PLRegularExpressionHelper::enumerateMatches(pattern, text, range, [&](const PLRegexMatch &match) {
        for (const int group : groups)
            found.append(match.range(group));
        return true;
    });
    return found;
}

TEST_P(HandWrittenMatcherAgreesWithItsExpression, OnRandomLogs)
{
    const HandWrittenMatcher &m = GetParam();
    QRandomGenerator random(20261123);
    for (int round = 0; round < 4000; ++round) {
        const QString text = randomLog(random, m.pieces);
        const qsizetype from = random.bounded(int(text.size() + 1));
        const PLRange range{from, random.bounded(int(text.size() - from + 1))};
        QList<PLRange> scanned;
        PLLogScanning::enumerateMatchesAfterLiteral(m.matcher, QStringView(m.literal), m.follower, text, range,
                                                    [&](PLRange match) {
                                                        scanned.append(match);
                                                        return true;
                                                    });
        ASSERT_EQ(scanned, plainSearch(QString::fromUtf8(m.pattern), text, range, {0}))
            << "text " << text.toStdString() << " range " << range.location << "+" << range.length;
    }
}

INSTANTIATE_TEST_SUITE_P(
    LogStringParser, HandWrittenMatcherAgreesWithItsExpression,
    ::testing::Values(
        HandWrittenMatcher{"LaTeX Warning: (.)*\\n(.)*\\n", u"LaTeX Warning: ", LiteralFollower::AnyRunInLine,
                           PLLogScanning::warningMatchEnd,
                           pieces({"LaTeX Warning: ", "\n", "\n", "text", "\xf0\x9f\x98\x80", "on input line 3."})},
        HandWrittenMatcher{"! Undefined control sequence.\\n(.)*\\n(.)*\\n\\?", u"! Undefined control sequence",
                           LiteralFollower::Fixed, PLLogScanning::undefinedControlSequenceMatchEnd,
                           pieces({"! Undefined control sequence.", "! Undefined control sequence", "\n", "\n", "?",
                                   "\xf0\x9f\x98\x80", "l.3 \\x", "! Undefined control sequence.\nl.3 \\x\n  y\n?"})},
        HandWrittenMatcher{"\\(\\./(.*?)\\.tex(\\)|\\n|\\s)", u"(./", LiteralFollower::AnyRunInLine,
                           PLLogScanning::fileOpeningMatchEnd,
                           pieces({"(./", "(./", ".tex", ".tex", ")", "(", "ch/one", "\n", "\v", "\xc2\x85", "\xc2\xa0",
                                   "\xe2\x80\x8b", "\xe3\x80\x80", "\xe2\x80\xa8", "\xf0\x9f\x98\x80"})}));

TEST(GeneralErrorLineScanning, AgreesWithItsExpressionOnRandomLogs)
{
    const QString pattern = QStringLiteral("((\\./.*\\.tex):([0-9]*): (LaTeX Error: )?(.*\\n.*))");
    const QStringList errorLine = pieces({"./", ".tex", ":", "12", ": ", "LaTeX Error: ", "\n", "\n", "msg", ".tex:",
                                          "./a.tex:12: LaTeX Error: msg\nnext", "./b.tex:3: x\n", "\xf0\x9f\x98\x80"});
    QRandomGenerator random(20261126);
    for (int round = 0; round < 6000; ++round) {
        const QString text = randomLog(random, errorLine);
        const qsizetype from = random.bounded(int(text.size() + 1));
        const PLRange range{from, random.bounded(int(text.size() - from + 1))};
        const std::optional<PLRegexMatch> scanned = PLLogScanning::firstGeneralErrorLine(text, range);
        QList<PLRange> expected = plainSearch(pattern, text, range, {0, 1, 2, 3, 4, 5}).mid(0, 6);
        QList<PLRange> found;
        for (int group = 0; scanned && group <= 5; ++group)
            found.append(scanned->range(group));
        ASSERT_EQ(found, expected) << "text " << text.toStdString() << " range " << range.location << "+" << range.length;
    }
}

TEST(FileOpeningScanning, NamesTheFileOfEachOpeningFound)
{
    const QString text = QStringLiteral("(./a.tex.tex) (./b c.tex\n(./d.texx.tex\u00a0(./e.tex");
    QStringList names;
    for (std::optional<PLRange> opening = PLLogScanning::nextFileOpening(text, 0); opening;
         opening = PLLogScanning::nextFileOpening(text, opening->end()))
        names.append(PLLogScanning::nameOfOpenedFile(text, *opening));
    EXPECT_EQ(names, (QStringList{QStringLiteral("a.tex.tex"), QStringLiteral("b c.tex"), QStringLiteral("d.texx.tex")}));
    EXPECT_EQ(PLLogScanning::nameOfOpenedFile(text, PLRange{text.size(), 0}), QString());
}

TEST(LocatedErrorScanning, AgreesWithItsExpressionOnRandomLogs)
{
    const QString pattern = QStringLiteral("((\\./?)((.)*)):([0-9]*): (LaTeX Error:)?((.)*)");
    const QStringList located = pieces({"./", ".", ":", "12", ": ", "LaTeX Error:", "a.tex", "::", "\xf0\x9f\x98\x80"});
    QRandomGenerator random(20261124);
    for (int round = 0; round < 6000; ++round) {
        const QString text = randomLog(random, located);
        const qsizetype from = random.bounded(int(text.size() + 1));
        const PLRange range{from, random.bounded(int(text.size() - from + 1))};
        QList<PLRange> scanned;
        PLLogScanning::enumerateLocatedErrors(text, range, [&](const PLLogScanning::LocatedError &error) {
            scanned << error.match << error.fileName << error.lineNumber << error.message;
        });
        ASSERT_EQ(scanned, plainSearch(pattern, text, range, {0, 3, 5, 7}))
            << "text " << text.toStdString() << " range " << range.location << "+" << range.length;
        // Anchored at the start, as an error text is read back.
        const std::optional<PLLogScanning::LocatedError> first = PLLogScanning::locatedErrorAt(text, 0, text.size());
        const PLRange anchored = PLRegularExpressionHelper::firstMatchInRange(
            pattern, text, PLRange{0, text.size()}, PLRegularExpressionHelper::Anchored, 0);
        ASSERT_EQ(first ? first->match : PLNotFoundRange, anchored) << text.toStdString();
    }
}

struct IntegerCase
{
    const char16_t *text;
    int value;
};

class LogIntegerValue : public ::testing::TestWithParam<IntegerCase>
{
};

TEST_P(LogIntegerValue, ReadsLeadingDigitsLikeThePlatform)
{
    EXPECT_EQ(PLLogScanning::integerValue(QStringView(GetParam().text)), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Table, LogIntegerValue,
                         ::testing::Values(IntegerCase{u"", 0}, IntegerCase{u"12", 12}, IntegerCase{u"  7\n", 7},
                                           IntegerCase{u"3a", 3}, IntegerCase{u"x3", 0}, IntegerCase{u"-4", -4},
                                           IntegerCase{u"+5", 5}, IntegerCase{u"99999999999999", 2147483647},
                                           IntegerCase{u"-99999999999999", -2147483647 - 1}));

}

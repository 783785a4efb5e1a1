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
        ScannedPattern{"\\(\\./(.*?)\\.tex", u"(./", LiteralFollower::AnyRunInLine,
                       pieces({"(./", ".tex", ")", "x"})},
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

using Scan = std::function<QList<PLRange>(const QString &text, PLRange range)>;

Scan matcherScan(PLLogScanning::Matcher matcher, const char16_t *literal, LiteralFollower follower)
{
    return [=](const QString &text, PLRange range) {
        QList<PLRange> found;
        PLLogScanning::enumerateMatchesAfterLiteral(matcher, QStringView(literal), follower, text, range, [&](PLRange match) {
            found.append(match);
            return true;
        });
        return found;
    };
}

// A hand-written scanner must find exactly what its expression finds wherever a search of the range
// would, with the same groups, on random logs with surrogate pairs and lone halves.
struct HandWrittenScanner
{
    const char *pattern;
    QList<int> groups;
    bool firstMatchOnly;
    quint32 seed;
    int rounds;
    QStringList pieces;
    Scan scan;
    // Where the scanner also reads a match anchored at the start of a text: that match.
    std::function<PLRange(const QString &text)> anchored;
};

void PrintTo(const HandWrittenScanner &m, std::ostream *os)
{
    *os << m.pattern;
}

class HandWrittenScannerAgreesWithItsExpression : public ::testing::TestWithParam<HandWrittenScanner>
{
};

TEST_P(HandWrittenScannerAgreesWithItsExpression, OnRandomLogs)
{
    const HandWrittenScanner &m = GetParam();
    const QString pattern = QString::fromUtf8(m.pattern);
    QRandomGenerator random(m.seed);
    for (int round = 0; round < m.rounds; ++round) {
        const QString text = randomLog(random, m.pieces);
        const qsizetype from = random.bounded(int(text.size() + 1));
        const PLRange range{from, random.bounded(int(text.size() - from + 1))};
        QList<PLRange> expected = plainSearch(pattern, text, range, m.groups);
        if (m.firstMatchOnly)
            expected = expected.mid(0, m.groups.size());
        ASSERT_EQ(m.scan(text, range), expected)
            << "text " << text.toStdString() << " range " << range.location << "+" << range.length;
        if (m.anchored) {
            ASSERT_EQ(m.anchored(text), PLRegularExpressionHelper::firstMatchInRange(pattern, text, PLRange{0, text.size()},
                                                                                     PLRegularExpressionHelper::Anchored, 0))
                << text.toStdString();
        }
    }
}

QList<PLRange> firstGeneralErrorLine(const QString &text, PLRange range)
{
    const std::optional<PLRegexMatch> scanned = PLLogScanning::firstGeneralErrorLine(text, range);
    QList<PLRange> found;
    for (int group = 0; scanned && group <= 5; ++group)
        found.append(scanned->range(group));
    return found;
}

QList<PLRange> locatedErrors(const QString &text, PLRange range)
{
    QList<PLRange> found;
    PLLogScanning::enumerateLocatedErrors(text, range, [&](const PLLogScanning::LocatedError &error) {
        found << error.match << error.fileName << error.lineNumber << error.message;
    });
    return found;
}

PLRange locatedErrorAtStart(const QString &text)
{
    const std::optional<PLLogScanning::LocatedError> first = PLLogScanning::locatedErrorAt(text, 0, text.size());
    return first ? first->match : PLNotFoundRange;
}

INSTANTIATE_TEST_SUITE_P(
    LogParsers, HandWrittenScannerAgreesWithItsExpression,
    ::testing::Values(
        HandWrittenScanner{"LaTeX Warning: (.)*\\n(.)*\\n", {0}, false, 20261123, 4000,
                           pieces({"LaTeX Warning: ", "\n", "\n", "text", "\xf0\x9f\x98\x80", "on input line 3."}),
                           matcherScan(PLLogScanning::warningMatchEnd, u"LaTeX Warning: ", LiteralFollower::AnyRunInLine), {}},
        HandWrittenScanner{"! Undefined control sequence.\\n(.)*\\n(.)*\\n\\?", {0}, false, 20261123, 4000,
                           pieces({"! Undefined control sequence.", "! Undefined control sequence", "\n", "\n", "?",
                                   "\xf0\x9f\x98\x80", "l.3 \\x", "! Undefined control sequence.\nl.3 \\x\n  y\n?"}),
                           matcherScan(PLLogScanning::undefinedControlSequenceMatchEnd, u"! Undefined control sequence",
                                       LiteralFollower::Fixed),
                           {}},
        HandWrittenScanner{"\\(\\./(.*?)\\.tex(\\)|\\n|\\s)", {0}, false, 20261123, 4000,
                           pieces({"(./", "(./", ".tex", ".tex", ")", "(", "ch/one", "\n", "\v", "\xc2\x85", "\xc2\xa0",
                                   "\xe2\x80\x8b", "\xe3\x80\x80", "\xe2\x80\xa8", "\xf0\x9f\x98\x80"}),
                           matcherScan(PLLogScanning::fileOpeningMatchEnd, u"(./", LiteralFollower::AnyRunInLine), {}},
        HandWrittenScanner{"((\\./.*\\.tex):([0-9]*): (LaTeX Error: )?(.*\\n.*))", {0, 1, 2, 3, 4, 5}, true, 20261126, 6000,
                           pieces({"./", ".tex", ":", "12", ": ", "LaTeX Error: ", "\n", "\n", "msg", ".tex:",
                                   "./a.tex:12: LaTeX Error: msg\nnext", "./b.tex:3: x\n", "\xf0\x9f\x98\x80"}),
                           firstGeneralErrorLine, {}},
        HandWrittenScanner{"((\\./?)((.)*)):([0-9]*): (LaTeX Error:)?((.)*)", {0, 3, 5, 7}, false, 20261124, 6000,
                           pieces({"./", ".", ":", "12", ": ", "LaTeX Error:", "a.tex", "::", "\xf0\x9f\x98\x80"}),
                           locatedErrors, locatedErrorAtStart}));

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

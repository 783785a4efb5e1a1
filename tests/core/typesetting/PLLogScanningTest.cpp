#include "core/typesetting/PLLogScanning.h"

#include <QRandomGenerator>

#include <gtest/gtest.h>

namespace {

using PLLogScanning::LiteralFollower;

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

QStringList pieces(std::initializer_list<const char *> list)
{
    QStringList result;
    for (const char *piece : list)
        result.append(QString::fromUtf8(piece));
    return result;
}

// The matches' groups as a search of the range with the expression finds them; every group when none
// are named.
QList<PLRange> plainSearch(const QString &pattern, const QString &text, PLRange range, const QList<int> &groups)
{
    QList<PLRange> found;
    PLRegularExpressionHelper::enumerateMatches(pattern, text, range, [&](const PLRegexMatch &match) {
        for (int group = 0; group < (groups.isEmpty() ? match.numberOfRanges() : groups.size()); ++group)
            found.append(match.range(groups.isEmpty() ? group : groups[group]));
        return true;
    });
    return found;
}

using Scan = std::function<QList<PLRange>(const QString &pattern, const QString &text, PLRange range)>;

Scan expressionScan(const char16_t *literal, LiteralFollower follower)
{
    return [=](const QString &pattern, const QString &text, PLRange range) {
        QList<PLRange> found;
        PLLogScanning::enumerateMatchesAfterLiteral(pattern, QStringView(literal), follower, text, range,
                                                    [&](const PLRegexMatch &match) {
                                                        for (int group = 0; group < match.numberOfRanges(); ++group)
                                                            found.append(match.range(group));
                                                        return true;
                                                    });
        return found;
    };
}

Scan matcherScan(PLLogScanning::Matcher matcher, const char16_t *literal, LiteralFollower follower)
{
    return [=](const QString &, const QString &text, PLRange range) {
        QList<PLRange> found;
        PLLogScanning::enumerateMatchesAfterLiteral(matcher, QStringView(literal), follower, text, range, [&](PLRange match) {
            found.append(match);
            return true;
        });
        return found;
    };
}

QList<PLRange> firstGeneralErrorLine(const QString &, const QString &text, PLRange range)
{
    const std::optional<PLRegexMatch> scanned = PLLogScanning::firstGeneralErrorLine(text, range);
    QList<PLRange> found;
    for (int group = 0; scanned && group <= 5; ++group)
        found.append(scanned->range(group));
    return found;
}

QList<PLRange> locatedErrors(const QString &, const QString &text, PLRange range)
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

// A literal-driven scan, with the expression or a hand-written matcher, must find exactly what a
// search of the range with the expression finds, with the same groups, on random logs made of the
// pieces the pattern cares about (surrogate pairs and lone halves among them): a scan that skipped
// a real match, or found one too many, shows up.
struct ScannerCase
{
    const char *pattern;
    // The groups the scan gives; empty for all of them.
    QList<int> groups;
    bool firstMatchOnly;
    quint32 seed;
    int rounds;
    QStringList pieces;
    Scan scan;
    // Where the scanner also reads a match anchored at the start of a text: that match.
    std::function<PLRange(const QString &text)> anchored;
};

using LogScanningAgreesWithAPlainSearch = ::testing::TestWithParam<ScannerCase>;

TEST_P(LogScanningAgreesWithAPlainSearch, OnRandomLogs)
{
    const ScannerCase &c = GetParam();
    const QString pattern = QString::fromUtf8(c.pattern);
    QRandomGenerator random(c.seed);
    for (int round = 0; round < c.rounds; ++round) {
        const QString text = randomLog(random, c.pieces);
        const qsizetype from = random.bounded(int(text.size() + 1));
        const PLRange range{from, random.bounded(int(text.size() - from + 1))};
        QList<PLRange> expected = plainSearch(pattern, text, range, c.groups);
        if (c.firstMatchOnly)
            expected = expected.mid(0, c.groups.size());
        ASSERT_EQ(c.scan(pattern, text, range), expected)
            << c.pattern << " on " << text.toStdString() << " range " << range.location << "+" << range.length;
        if (c.anchored) {
            ASSERT_EQ(c.anchored(text), PLRegularExpressionHelper::firstMatchInRange(pattern, text, PLRange{0, text.size()},
                                                                                     PLRegularExpressionHelper::Anchored, 0))
                << text.toStdString();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    EveryLogPattern, LogScanningAgreesWithAPlainSearch,
    ::testing::Values(
        ScannerCase{"\\(\\./(.*?)\\.tex", {}, false, 20240229, 3000, pieces({"(./", ".tex", ")", "x"}),
                    expressionScan(u"(./", LiteralFollower::AnyRunInLine), {}},
        ScannerCase{"((\\./.*\\.tex):([0-9])*: (Illegal parameter number in definition of (\\\\.*)))", {}, false, 20240229, 3000,
                    pieces({"./", ".tex", ":", "123", ": ", "Illegal parameter number in definition of \\", "foo",
                            "./a.tex:123: Illegal parameter number in definition of \\foo."}),
                    expressionScan(u"./", LiteralFollower::AnyRunInLine), {}},
        ScannerCase{"(! LaTeX Error: (File `((.*)\\.(tex|sty))' not found.))", {}, false, 20240229, 3000,
                    pieces({"! LaTeX Error: File `", "name", ".tex", ".sty", "' not found.", "'"}),
                    expressionScan(u"! LaTeX Error: File `", LiteralFollower::AnyRunInLine), {}},
        ScannerCase{":([0-9]*):", {}, false, 20240229, 3000, pieces({":", "1", "23", "::"}),
                    expressionScan(u":", LiteralFollower::Fixed), {}},
        ScannerCase{"\\./.*\\.tex:[0-9]*:", {}, false, 20240229, 3000, pieces({"./", ".tex", ":", "7", "b", "./a.tex:7:"}),
                    expressionScan(u"./", LiteralFollower::AnyRunInLine), {}},
        ScannerCase{"\\[([0-9])\\]", {}, false, 20240229, 3000, pieces({"[", "1", "]", "12", "[["}),
                    expressionScan(u"[", LiteralFollower::Fixed), {}},
        ScannerCase{"\\{(.*)\\}", {}, false, 20240229, 3000, pieces({"{", "}", "pkg", "{}"}),
                    expressionScan(u"{", LiteralFollower::AnyRunInLine), {}},
        ScannerCase{"Environment (.*) undefined.", {}, false, 20240229, 3000, pieces({"Environment ", " undefined.", " undefined", "foo"}),
                    expressionScan(u"Environment ", LiteralFollower::AnyRunInLine), {}},
        ScannerCase{"LaTeX Warning: (.)*\\n(.)*\\n", {0}, false, 20261123, 4000,
                    pieces({"LaTeX Warning: ", "\n", "\n", "text", "\xf0\x9f\x98\x80", "on input line 3."}),
                    matcherScan(PLLogScanning::warningMatchEnd, u"LaTeX Warning: ", LiteralFollower::AnyRunInLine), {}},
        ScannerCase{"! Undefined control sequence.\\n(.)*\\n(.)*\\n\\?", {0}, false, 20261123, 4000,
                    pieces({"! Undefined control sequence.", "! Undefined control sequence", "\n", "\n", "?",
                            "\xf0\x9f\x98\x80", "l.3 \\x", "! Undefined control sequence.\nl.3 \\x\n  y\n?"}),
                    matcherScan(PLLogScanning::undefinedControlSequenceMatchEnd, u"! Undefined control sequence", LiteralFollower::Fixed),
                    {}},
        ScannerCase{"\\(\\./(.*?)\\.tex(\\)|\\n|\\s)", {0}, false, 20261123, 4000,
                    pieces({"(./", "(./", ".tex", ".tex", ")", "(", "ch/one", "\n", "\v", "\xc2\x85", "\xc2\xa0",
                            "\xe2\x80\x8b", "\xe3\x80\x80", "\xe2\x80\xa8", "\xf0\x9f\x98\x80"}),
                    matcherScan(PLLogScanning::fileOpeningMatchEnd, u"(./", LiteralFollower::AnyRunInLine), {}},
        ScannerCase{"((\\./.*\\.tex):([0-9]*): (LaTeX Error: )?(.*\\n.*))", {0, 1, 2, 3, 4, 5}, true, 20261126, 6000,
                    pieces({"./", ".tex", ":", "12", ": ", "LaTeX Error: ", "\n", "\n", "msg", ".tex:",
                            "./a.tex:12: LaTeX Error: msg\nnext", "./b.tex:3: x\n", "\xf0\x9f\x98\x80"}), firstGeneralErrorLine, {}},
        ScannerCase{"((\\./?)((.)*)):([0-9]*): (LaTeX Error:)?((.)*)", {0, 3, 5, 7}, false, 20261124, 6000,
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

// Leading digits are read like the platform reads them.
TEST(LogIntegerValue, ReadsLeadingDigitsLikeThePlatform)
{
    for (const auto &[text, value] : {std::pair{u"", 0}, {u"  7\n", 7}, {u"3a", 3}, {u"x3", 0}, {u"-4", -4}, {u"+5", 5},
                                      {u"99999999999999", 2147483647}, {u"-99999999999999", -2147483647 - 1}})
        EXPECT_EQ(PLLogScanning::integerValue(QStringView(text)), value) << QString::fromUtf16(text).toStdString();
}

}

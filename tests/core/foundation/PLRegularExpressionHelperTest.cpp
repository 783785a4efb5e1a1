#include "core/foundation/PLRegularExpressionHelper.h"
#include "PLTestSupport.h"

#include <QStringList>

#include <thread>

#include <gtest/gtest.h>

using R = PLRegularExpressionHelper;

namespace {

// "𝔸" (U+1D538) takes two UTF-16 units: every index after it must count both.
const QString kWide = QString::fromUtf16(u"𝔸 \\section{Ä𝔸} x \\input{b}");

TEST(RegularExpressionHelper, FirstMatchAndItsGroupsUseUtf16Indices)
{
    EXPECT_EQ(R::rangeOfFirstMatch(QStringLiteral("\\\\section\\{"), kWide), (PLRange{3, 9}));
    EXPECT_EQ(R::rangeOfFirstMatch(QStringLiteral("\\{[^}]*\\}"), kWide), (PLRange{11, 5}));
    EXPECT_EQ(R::rangeOfFirstMatch(QStringLiteral("nowhere"), kWide), PLNotFoundRange);
    const QString pattern = QStringLiteral("\\\\(input|include)\\{(.+?)(\\.tex)?\\}");
    EXPECT_EQ(R::rangeOfCaptureGroup(pattern, kWide, 1), (PLRange{20, 5}));
    EXPECT_EQ(R::rangeOfCaptureGroup(pattern, kWide, 2), (PLRange{26, 1}));
    // A group that took no part answers not found, as does a group that does not exist.
    EXPECT_EQ(R::rangeOfCaptureGroup(pattern, kWide, 3), PLNotFoundRange);
    EXPECT_EQ(R::rangeOfCaptureGroup(pattern, kWide, 9), PLNotFoundRange);
}

TEST(RegularExpressionHelper, SearchesStayInsideTheRange)
{
    const QString text = QStringLiteral("\t\tab\n\t\tcd");
    EXPECT_EQ(R::firstMatchInRange(QStringLiteral("(\\t)*"), text, PLRange{5, 4}), (PLRange{5, 2}));
    EXPECT_EQ(R::firstMatchInRange(QStringLiteral("c"), text, PLRange{0, 7}), PLNotFoundRange);
    // Anchoring bounds by default: ^ matches at the start of the range.
    EXPECT_EQ(R::firstMatchInRange(QStringLiteral("^b"), text, PLRange{3, 3}), (PLRange{3, 1}));
    EXPECT_EQ(R::firstMatchInRange(QStringLiteral("^b"), text, PLRange{3, 3}, R::WithoutAnchoringBounds, 0),
              PLNotFoundRange);
    // Transparent bounds let look-behind see before the range.
    EXPECT_EQ(R::firstMatchInRange(QStringLiteral("(?<=a)b"), text, PLRange{3, 3}, R::WithTransparentBounds, 0),
              (PLRange{3, 1}));
    EXPECT_EQ(R::firstMatchInRange(QStringLiteral("(c)d"), text, PLRange{0, 9}, R::NoOptions, 1), (PLRange{7, 1}));
    EXPECT_EQ(R::firstMatchInRange(QStringLiteral("b"), text, PLRange{0, 9}, R::Anchored, 0), PLNotFoundRange);
    EXPECT_EQ(R::firstMatchInRange(QStringLiteral("ab"), text, PLRange{2, 3}, R::Anchored, 0), (PLRange{2, 2}));
    // A range outside the text finds nothing rather than reading past it.
    EXPECT_EQ(R::firstMatchInRange(QStringLiteral("a"), text, PLRange{8, 5}), PLNotFoundRange);
}

TEST(RegularExpressionHelper, EnumeratesEveryMatchAndStopsOnRequest)
{
    const QString text = QStringLiteral("$a$ and $b$ and $c$");
    const auto matches = R::allMatches(QStringLiteral("\\$[^$]*\\$"), text);
    ASSERT_EQ(matches.size(), 3);
    EXPECT_EQ(matches[2].range(), (PLRange{16, 3}));

    // A nested search with the same pattern keeps the outer one's place.
    int seen = 0;
    R::enumerateMatches(QStringLiteral("\\$"), text, PLRange{0, text.size()}, [&](const PLRegexMatch &) {
        EXPECT_EQ(R::rangeOfFirstMatch(QStringLiteral("\\$"), QStringLiteral("zz $")), (PLRange{3, 1}));
        return ++seen < 2;
    });
    EXPECT_EQ(seen, 2);
    // Empty matches advance instead of looping for ever.
    EXPECT_EQ(R::allMatches(QStringLiteral("x*"), QStringLiteral("ab")).size(), 3);
}

TEST(RegularExpressionHelper, InvalidPatternsNeverMatch)
{
    EXPECT_FALSE(R::isValidPattern(QStringLiteral("(unclosed")));
    EXPECT_EQ(R::rangeOfFirstMatch(QStringLiteral("(unclosed"), QStringLiteral("(unclosed")), PLNotFoundRange);
    EXPECT_TRUE(R::allMatches(QStringLiteral("[z-a]"), QStringLiteral("abc")).isEmpty());
    EXPECT_TRUE(R::isValidPattern(QStringLiteral("%!TEX TS-program( )*=( )*xelatex( )*\\n")));
}

// A pattern that backtracks exponentially once stalled typing for minutes; now it gives up and
// reads as no match.
TEST(RegularExpressionHelper, RunawaySearchGivesUpAsNoMatch)
{
    const QString runaway = QStringLiteral("(.)+ = \\{(.|\\s|\\\\n)+\\}");
    const QString line = QStringLiteral("  abstract = {") + QStringLiteral("word ").repeated(40) + u'\n';
    EXPECT_EQ(R::rangeOfFirstMatch(runaway, line), PLNotFoundRange);
    EXPECT_EQ(R::firstMatchInRange(runaway, line, PLRange{0, line.size()}, R::Anchored, 0), PLNotFoundRange);
    // The same expression still matches where it does not run away.
    EXPECT_EQ(R::rangeOfFirstMatch(runaway, QStringLiteral("  title = {A},\n")), (PLRange{0, 13}));
}

// The allowance grows with the text: a plain scan of a long text is never cut short.
TEST(RegularExpressionHelper, LongTextKeepsItsWholeAllowance)
{
    const QString text = QString(3'000'000, u'a') + QStringLiteral("bc");
    EXPECT_EQ(R::rangeOfFirstMatch(QStringLiteral("(?:a|b)c"), text), (PLRange{3'000'000, 2}));
}

TEST(RegularExpressionHelper, TwoThreadsSearchAtOnce)
{
    QString text;
    for (int i = 0; i < 2000; ++i)
        text += QStringLiteral("line %1 \\section{S%1}\n").arg(i);
    auto count = [&] {
        int n = 0;
        for (int round = 0; round < 20; ++round)
            n += int(R::allMatches(QStringLiteral("\\\\section\\{S\\d+\\}"), text).size());
        return n;
    };
    int a = 0, b = 0;
    std::thread other([&] { a = count(); });
    b = count();
    other.join();
    EXPECT_EQ(a, 40000);
    EXPECT_EQ(b, 40000);
}

}

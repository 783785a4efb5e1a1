#include "core/foundation/PLStringLineCalculations.h"

#include <gtest/gtest.h>

using namespace PLStringLineCalculations;

namespace {

struct LineOfLocationCase
{
    const char16_t *text;
    qsizetype location;
    int line;
};

class LineNumberOfLocation : public ::testing::TestWithParam<LineOfLocationCase>
{
};

TEST_P(LineNumberOfLocation, AnswersTheLineOrMinusOnePastTheEnd)
{
    const auto &c = GetParam();
    EXPECT_EQ(lineNumberOfLocation(QString::fromUtf16(c.text), c.location), c.line)
        << "text " << QString::fromUtf16(c.text).toStdString() << " location " << c.location;
}

INSTANTIATE_TEST_SUITE_P(
    AllTerminators, LineNumberOfLocation,
    ::testing::Values(
        LineOfLocationCase{u"", 0, 1}, LineOfLocationCase{u"", 1, -1}, LineOfLocationCase{u"a\nb", 0, 1},
        LineOfLocationCase{u"a\nb", 1, 1}, LineOfLocationCase{u"a\nb", 2, 2}, LineOfLocationCase{u"a\nb", 3, 2},
        LineOfLocationCase{u"a\nb", 4, -1}, LineOfLocationCase{u"a\n", 2, 2}, LineOfLocationCase{u"a\r", 2, 2},
        // CR LF is one terminator: the LF still belongs to the first line.
        LineOfLocationCase{u"a\r\nb", 1, 1}, LineOfLocationCase{u"a\r\nb", 2, 1}, LineOfLocationCase{u"a\r\nb", 3, 2},
        LineOfLocationCase{u"a\r\n", 3, 2}, LineOfLocationCase{u"\r\n\r\n", 4, 3}, LineOfLocationCase{u"\n\r", 2, 3},
        LineOfLocationCase{u"a\u0085b", 2, 2}, LineOfLocationCase{u"a\u2028b", 2, 2},
        LineOfLocationCase{u"a\u2029b\u2029c", 4, 3}, LineOfLocationCase{u"\n\n\n", 3, 4},
        LineOfLocationCase{u"x\ty\rz\nw", 6, 3}));

struct LineStartCase
{
    const char16_t *text;
    int line;
    int location;
};

class LocationOfLineStart : public ::testing::TestWithParam<LineStartCase>
{
};

TEST_P(LocationOfLineStart, AnswersTheFirstCharacterOfTheLine)
{
    const auto &c = GetParam();
    EXPECT_EQ(locationOfLineStart(QString::fromUtf16(c.text), c.line), c.location)
        << "text " << QString::fromUtf16(c.text).toStdString() << " line " << c.line;
}

INSTANTIATE_TEST_SUITE_P(
    AllTerminatorsAndBounds, LocationOfLineStart,
    ::testing::Values(LineStartCase{u"a\nb", -3, 0}, LineStartCase{u"a\nb", 0, 0}, LineStartCase{u"a\nb", 1, 0},
                      LineStartCase{u"a\nb", 2, 2}, LineStartCase{u"a\nb", 10, 3}, LineStartCase{u"a\r\nb", 2, 3},
                      LineStartCase{u"a\rb", 2, 2}, LineStartCase{u"a\u0085b", 2, 2}, LineStartCase{u"a\u2028b", 2, 2},
                      LineStartCase{u"a\u2029b", 2, 2}, LineStartCase{u"a\n", 2, 2}, LineStartCase{u"a\n", 3, 2},
                      LineStartCase{u"", 5, 0}, LineStartCase{u"\r\n\r\nx", 3, 4}, LineStartCase{u"ab\ncd\nef", 3, 6}));

// Line starts and line numbers agree on every line of a text with every kind of line end; a range
// reaches from the start of its first character's line through the whole terminator of its last.
TEST(LineArithmetic, StartsLinesAndRangesAgree)
{
    const QString text = QStringLiteral("one\rtwo\r\nthree\nfour") + QChar(0x2028) + QStringLiteral("five")
        + QChar(0x2029) + QStringLiteral("six") + QChar(0x85) + QStringLiteral("seven");
    for (int line = 1; line <= 7; ++line) {
        const int start = locationOfLineStart(text, line);
        EXPECT_EQ(lineNumberOfLocation(text, start), line);
        EXPECT_EQ(locationOfLineStartInRange(text, PLRange{start, 0}), start);
        if (start > 0) {
            EXPECT_EQ(lineNumberOfLocation(text, start - 1), line - 1);
        }
    }
    const QString crlf = QStringLiteral("ab\r\ncd\nef");
    EXPECT_EQ(locationOfLineStartInRange(crlf, PLRange{5, 3}), 4);
    EXPECT_EQ(locationOfLineStartInRange(crlf, PLRange{3, 0}), 0);
    EXPECT_EQ(locationOfLineStartInRange(crlf, PLRange{9, 0}), 7);
    EXPECT_EQ(lineRangeForRange(crlf, PLRange{0, 1}), (PLRange{0, 4}));
    EXPECT_EQ(lineRangeForRange(crlf, PLRange{1, 3}), (PLRange{0, 4}));
    EXPECT_EQ(lineRangeForRange(crlf, PLRange{2, 3}), (PLRange{0, 7}));
    EXPECT_EQ(lineRangeForRange(crlf, PLRange{9, 0}), (PLRange{7, 2}));
    const auto bounds = lineBoundsForRange(crlf, PLRange{1, 0});
    EXPECT_EQ(bounds.contentsEnd, 2);
    EXPECT_EQ(bounds.end, 4);
}

}

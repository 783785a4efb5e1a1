#include "core/foundation/PLStringLineCalculations.h"

#include <gtest/gtest.h>

using namespace PLStringLineCalculations;

namespace {

// The line of a location, -1 past the end; CR LF is one terminator, so its LF still belongs to the
// first line.
TEST(LineNumberOfLocation, AnswersTheLineOrMinusOnePastTheEnd)
{
    for (const auto &[text, location, line] :
         {std::tuple<const char16_t *, qsizetype, int>{u"", 0, 1}, {u"", 1, -1}, {u"a\nb", 1, 1}, {u"a\nb", 2, 2}, {u"a\nb", 3, 2},
          {u"a\nb", 4, -1}, {u"a\r", 2, 2}, {u"a\r\nb", 2, 1}, {u"a\r\nb", 3, 2}, {u"\r\n\r\n", 4, 3}, {u"\n\r", 2, 3},
          {u"a\u0085b", 2, 2}, {u"a\u2029b\u2029c", 4, 3}})
        EXPECT_EQ(lineNumberOfLocation(QString::fromUtf16(text), location), line)
            << QString::fromUtf16(text).toStdString() << " at " << location;
}

// The first character of a line: lines before the first are the first, lines past the last the end.
TEST(LocationOfLineStart, AnswersTheFirstCharacterOfTheLine)
{
    for (const auto &[text, line, location] :
         {std::tuple<const char16_t *, int, int>{u"a\nb", -3, 0}, {u"a\nb", 1, 0}, {u"a\nb", 2, 2}, {u"a\nb", 10, 3}, {u"a\r\nb", 2, 3},
          {u"a\u2028b", 2, 2}, {u"a\n", 3, 2}, {u"", 5, 0}, {u"\r\n\r\nx", 3, 4}})
        EXPECT_EQ(locationOfLineStart(QString::fromUtf16(text), line), location)
            << QString::fromUtf16(text).toStdString() << " line " << line;
}

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
    // The range; the start of its first line; the lines it covers, terminators and all.
    for (const auto &[range, lineStart, lines] : {std::tuple{PLRange{5, 3}, 4, PLRange{4, 5}}, {PLRange{3, 0}, 0, PLRange{0, 4}},
                                                  {PLRange{9, 0}, 7, PLRange{7, 2}}, {PLRange{0, 1}, 0, PLRange{0, 4}},
                                                  {PLRange{1, 3}, 0, PLRange{0, 4}}, {PLRange{2, 3}, 0, PLRange{0, 7}}})
        EXPECT_EQ(std::tuple(locationOfLineStartInRange(crlf, range), lineRangeForRange(crlf, range)), std::tuple(lineStart, lines));
    const auto bounds = lineBoundsForRange(crlf, PLRange{1, 0});
    EXPECT_EQ(std::tuple(bounds.contentsEnd, bounds.end), std::tuple(2, 4));
}

}

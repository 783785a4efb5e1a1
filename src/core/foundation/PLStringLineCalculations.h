#pragma once

#include "core/foundation/PLRange.h"

#include <QString>

#include <algorithm>

// Line arithmetic on any text. A line ends after LF, CR, CR LF (one terminator), U+0085, U+2028 or
// U+2029; lines count from 1.
namespace PLStringLineCalculations {

// Inline: the line walks of the log parsers call it for every character.
inline bool isLineTerminator(QChar c)
{
    const char16_t u = c.unicode();
    return u == u'\n' || u == u'\r' || u == 0x0085 || u == 0x2028 || u == 0x2029;
}

// The characters that end a line's content for the expression engine's ".": the terminators, a
// vertical tab and a form feed. The hand-written scans stop where the expressions they replace did.
inline bool endsLineContent(QChar c)
{
    return isLineTerminator(c) || c.unicode() == 0x0b || c.unicode() == 0x0c;
}

// The line that holds a range: where it starts, where its terminator starts and where the next
// line starts. An empty range at the end of text that ends with a terminator is the empty last line.
struct PLLineBounds
{
    qsizetype start = 0;
    qsizetype end = 0;
    qsizetype contentsEnd = 0;
};
PLLineBounds lineBoundsForRange(const QString &text, PLRange range);

// The same arithmetic on any text that answers size() and at().
template <typename Text>
qsizetype lineStartIn(const Text &text, qsizetype location)
{
    qsizetype p = std::clamp<qsizetype>(location, 0, text.size());
    // A location between the CR and the LF of one terminator still belongs to the line it ends.
    if (p > 0 && p < text.size() && text.at(p - 1) == u'\r' && text.at(p) == u'\n')
        --p;
    while (p > 0 && !isLineTerminator(text.at(p - 1)))
        --p;
    return p;
}

template <typename Text>
PLLineBounds lineBoundsIn(const Text &text, PLRange range)
{
    PLLineBounds bounds;
    bounds.start = lineStartIn(text, range.location);
    // A non-empty range reaches to the line of its last character.
    const qsizetype last = range.length > 0 ? range.location + range.length - 1 : range.location;
    qsizetype p = std::clamp<qsizetype>(last, 0, text.size());
    if (p > 0 && p < text.size() && text.at(p - 1) == u'\r' && text.at(p) == u'\n') {
        bounds.contentsEnd = p - 1;
        bounds.end = p + 1;
        return bounds;
    }
    while (p < text.size() && !isLineTerminator(text.at(p)))
        ++p;
    bounds.contentsEnd = p;
    if (p < text.size())
        bounds.end = (text.at(p) == u'\r' && p + 1 < text.size() && text.at(p + 1) == u'\n') ? p + 2 : p + 1;
    else
        bounds.end = p;
    return bounds;
}
inline PLRange lineRangeForRange(const QString &text, PLRange range)
{
    const PLLineBounds b = lineBoundsForRange(text, range);
    return PLRange{b.start, b.end - b.start};
}

// The line number of a location; the text's length belongs to the last line; -1 past it.
int lineNumberOfLocation(const QString &text, qsizetype location);
// The location where a line starts; line 1 and below give 0, a line past the last gives the end.
int locationOfLineStart(const QString &text, int lineNumber);
// The start of the line that holds the first character of the range (no bounds check).
qsizetype locationOfLineStartInRange(const QString &text, PLRange range);

}

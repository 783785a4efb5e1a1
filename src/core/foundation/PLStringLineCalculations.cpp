#include "core/foundation/PLStringLineCalculations.h"

#include <algorithm>

namespace PLStringLineCalculations {

namespace {
qsizetype lineStartAt(const QString &text, qsizetype location)
{
    qsizetype p = std::clamp<qsizetype>(location, 0, text.size());
    // A location between the CR and the LF of one terminator still belongs to the line it ends.
    if (p > 0 && p < text.size() && text[p - 1] == u'\r' && text[p] == u'\n')
        --p;
    while (p > 0 && !isLineTerminator(text[p - 1]))
        --p;
    return p;
}

void lineEndFrom(const QString &text, qsizetype from, qsizetype *contentsEnd, qsizetype *end)
{
    qsizetype p = std::clamp<qsizetype>(from, 0, text.size());
    if (p > 0 && p < text.size() && text[p - 1] == u'\r' && text[p] == u'\n') {
        *contentsEnd = p - 1;
        *end = p + 1;
        return;
    }
    while (p < text.size() && !isLineTerminator(text[p]))
        ++p;
    *contentsEnd = p;
    if (p < text.size())
        *end = (text[p] == u'\r' && p + 1 < text.size() && text[p + 1] == u'\n') ? p + 2 : p + 1;
    else
        *end = p;
}
}

PLLineBounds lineBoundsForRange(const QString &text, PLRange range)
{
    PLLineBounds bounds;
    bounds.start = lineStartAt(text, range.location);
    // A non-empty range reaches to the line of its last character.
    const qsizetype last = range.length > 0 ? range.location + range.length - 1 : range.location;
    lineEndFrom(text, last, &bounds.contentsEnd, &bounds.end);
    return bounds;
}

int lineNumberOfLocation(const QString &text, qsizetype location)
{
    if (location > text.size() || location < 0)
        return -1;
    qsizetype p = location;
    int n = 0;
    for (;;) {
        const qsizetype start = lineStartAt(text, p);
        ++n;
        if (start == 0)
            break;
        p = start - 1;
    }
    return n;
}

int locationOfLineStart(const QString &text, int lineNumber)
{
    qsizetype location = 0;
    for (int i = 1; i < lineNumber; ++i) {
        if (location + 1 > text.size())
            break;
        location = lineBoundsForRange(text, PLRange{location, 1}).end;
    }
    return int(location);
}

qsizetype locationOfLineStartInRange(const QString &text, PLRange range)
{
    return lineStartAt(text, range.location);
}

}

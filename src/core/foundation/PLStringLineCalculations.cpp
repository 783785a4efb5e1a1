#include "core/foundation/PLStringLineCalculations.h"

#include <algorithm>

namespace PLStringLineCalculations {

PLLineBounds lineBoundsForRange(const QString &text, PLRange range)
{
    return lineBoundsIn(text, range);
}

int lineNumberOfLocation(const QString &text, qsizetype location)
{
    if (location > text.size() || location < 0)
        return -1;
    qsizetype p = location;
    int n = 0;
    for (;;) {
        const qsizetype start = lineStartIn(text, p);
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
    return lineStartIn(text, range.location);
}

}

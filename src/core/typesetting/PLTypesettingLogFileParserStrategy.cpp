#include "core/typesetting/PLTypesettingLogFileParserStrategy.h"

#include "core/foundation/PLStringLineCalculations.h"

void PLTypesettingLogFileParserStrategy::moveToLineContaining(const QString &content, qsizetype index,
                                                              qsizetype *lineStart, qsizetype *lineEnd)
{
    const PLStringLineCalculations::PLLineBounds bounds =
        PLStringLineCalculations::lineBoundsForRange(content, PLRange{std::min(index, content.size()), 0});
    *lineStart = bounds.start;
    *lineEnd = bounds.end;
}

#pragma once

#include "core/typesetting/PLTypesettingLogFileParserItem.h"

#include <QString>

#include <optional>

// An expert on one kind of engine message. The strategy parser shows each line of a log segment
// to its strategies in turn; the first one that makes an item wins.
class PLTypesettingLogFileParserStrategy
{
public:
    virtual ~PLTypesettingLogFileParserStrategy() = default;

    // Looks at the line from *lineStart to *lineEnd (after its line break) of the segment. A
    // strategy may move both positions forward to read further lines; the positions are shared
    // with the strategies after it, so a strategy that moved them and then declines leaves them
    // moved.
    virtual std::optional<PLTypesettingLogFileParserItem> makeItemFromContent(const QString &content,
                                                                              qsizetype *lineStart,
                                                                              qsizetype *lineEnd) const = 0;

    // Moves the positions to the line that holds the index (an index at the very end of the
    // content gives the empty line there).
    static void moveToLineContaining(const QString &content, qsizetype index, qsizetype *lineStart,
                                     qsizetype *lineEnd);
    // The next line: the one that holds the current end.
    static void moveToNextLine(const QString &content, qsizetype *lineStart, qsizetype *lineEnd)
    {
        moveToLineContaining(content, *lineEnd, lineStart, lineEnd);
    }
};

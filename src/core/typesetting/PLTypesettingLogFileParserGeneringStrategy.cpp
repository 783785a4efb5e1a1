#include "core/typesetting/PLTypesettingLogFileParserGeneringStrategy.h"

#include "core/typesetting/PLLogScanning.h"

namespace {
std::optional<PLRegexMatch> errorLineMatch(const QString &text, PLRange range)
{
    return PLLogScanning::firstGeneralErrorLine(text, range);
}
}

std::optional<PLTypesettingLogFileParserItem>
PLTypesettingLogFileParserGeneringStrategy::makeItemFromContent(const QString &content, qsizetype *lineStart,
                                                                qsizetype *lineEnd) const
{
    const std::optional<PLRegexMatch> match = errorLineMatch(content, PLRange{*lineStart, *lineEnd - *lineStart});
    if (!match)
        return std::nullopt;
    const QString filename = content.sliced(match->range(2).location, match->range(2).length);
    const int line = PLLogScanning::integerValue(QStringView(content).sliced(match->range(3).location, match->range(3).length));

    // The message goes on in the next line unless that one is empty.
    QString text = content.sliced(*lineStart, *lineEnd - *lineStart);
    qsizetype nextStart = *lineStart;
    qsizetype nextEnd = *lineEnd;
    moveToNextLine(content, &nextStart, &nextEnd);
    const QStringView nextLine = QStringView(content).sliced(nextStart, nextEnd - nextStart);
    if (nextLine != u"\n") {
        text += nextLine;
        *lineEnd = nextEnd;
    }
    const std::optional<PLRegexMatch> joined = errorLineMatch(text, PLRange{0, text.size()});
    QString message;
    if (joined && joined->range(5).isFound())
        message = text.sliced(joined->range(5).location, joined->range(5).length).remove(u'\n');
    return PLTypesettingLogFileParserItem(0, filename, message, QString(), line, 0);
}

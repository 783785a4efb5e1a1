#include "core/typesetting/PLTypesettingLogFileParserIlligalParametreStrategy.h"

#include "core/typesetting/PLLogScanning.h"

using PLLogScanning::LiteralFollower;

std::optional<PLTypesettingLogFileParserItem>
PLTypesettingLogFileParserIlligalParametreStrategy::makeItemFromContent(const QString &content, qsizetype *lineStart,
                                                                        qsizetype *lineEnd) const
{
    // The expression is only tried on a line that holds its fixed middle part.
    if (PLLogScanning::indexOfLiteral(QStringView(content).sliced(*lineStart, *lineEnd - *lineStart),
                                      u": Illegal parameter number in definition of \\")
        < 0)
        return std::nullopt;
    const std::optional<PLRegexMatch> match = PLLogScanning::firstMatchAfterLiteral(
        QStringLiteral("((\\./.*\\.tex):([0-9])*: (Illegal parameter number in definition of (\\\\.*)))"), u"./",
        LiteralFollower::AnyRunInLine, content, PLRange{*lineStart, *lineEnd - *lineStart});
    if (!match)
        return std::nullopt;
    const auto captured = [&](int group) {
        const PLRange range = match->range(group);
        return range.isFound() ? content.sliced(range.location, range.length) : QString();
    };
    const QString filename = captured(2);
    const QString message = captured(4);
    // The repeated group holds one digit: line 123 reads as 3.
    const int line = PLLogScanning::integerValue(captured(3));

    for (int i = 0; i < 2; ++i)
        moveToLineContaining(content, *lineEnd + 1, lineStart, lineEnd);
    const int illegalNumber =
        PLLogScanning::integerValue(QStringView(content).sliced(*lineStart, *lineEnd - *lineStart).trimmed());
    moveToLineContaining(content, *lineEnd + 1, lineStart, lineEnd);
    const std::optional<PLRegexMatch> declared = PLLogScanning::firstMatchAfterLiteral(
        QStringLiteral("\\[([0-9])\\]"), u"[", LiteralFollower::Fixed, content,
        PLRange{*lineStart, *lineEnd - *lineStart});
    const int acceptedCount = declared ? PLLogScanning::integerValue(QStringView(content).sliced(
                                             declared->range(1).location, declared->range(1).length))
                                       : 0;
    const QString advice =
        QStringLiteral("This is probably because you are refering to parametre #%1 but the new command only accepts "
                       "%2 parametre%3.")
            .arg(illegalNumber)
            .arg(acceptedCount)
            .arg(acceptedCount < 2 ? QString() : QStringLiteral("s"));
    return PLTypesettingLogFileParserItem(0, filename, message, advice, line, 0);
}

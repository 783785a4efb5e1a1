#include "core/typesetting/PLTypesettingLogFileParserNoFileFoundStrategy.h"

#include "core/typesetting/PLLogScanning.h"

using PLLogScanning::LiteralFollower;

std::optional<PLTypesettingLogFileParserItem>
PLTypesettingLogFileParserNoFileFoundStrategy::makeItemFromContent(const QString &content, qsizetype *lineStart,
                                                                   qsizetype *lineEnd) const
{
    const std::optional<PLRegexMatch> missing = PLLogScanning::firstMatchAfterLiteral(
        QStringLiteral("(! LaTeX Error: (File `((.*)\\.(tex|sty))' not found.))"), u"! LaTeX Error: File `",
        LiteralFollower::AnyRunInLine, content, PLRange{*lineStart, *lineEnd - *lineStart});
    if (!missing)
        return std::nullopt;
    const auto captured = [&](int group) {
        return content.sliced(missing->range(group).location, missing->range(group).length);
    };
    QString message = captured(2);
    const QString baseName = captured(4);
    const QString advice = captured(5) == u"sty"
                               ? QStringLiteral("Did you spell the package name ('%1') correctly?").arg(baseName)
                               : QStringLiteral("Did you spell the file name ('%1') correctly?").arg(baseName);

    // The located line of the emergency stop; an empty line in between is skipped over.
    for (int i = 0; i < 4; ++i)
        moveToLineContaining(content, *lineEnd + 1, lineStart, lineEnd);
    const PLRange line{*lineStart, *lineEnd - *lineStart};
    const std::optional<PLRegexMatch> number = PLLogScanning::firstMatchAfterLiteral(
        QStringLiteral(":([0-9]*):"), u":", LiteralFollower::Fixed, content, line);
    if (!number)
        return std::nullopt;
    const int lineNumber = PLLogScanning::integerValue(
        QStringView(content).sliced(number->range(1).location, number->range(1).length));
    const std::optional<PLRegexMatch> prefix = PLLogScanning::firstMatchAfterLiteral(
        QStringLiteral("\\./.*\\.tex:[0-9]*:"), u"./", LiteralFollower::AnyRunInLine, content, line);
    if (prefix && message.isEmpty())
        message = content.sliced(prefix->range().end(), line.end() - prefix->range().end()).trimmed();
    return PLTypesettingLogFileParserItem(0, QString(), message, advice, lineNumber, 0);
}

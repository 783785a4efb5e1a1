#include "core/typesetting/PLTypesettingLogFileParserCanBeUsedOnlyInPreambleStrategy.h"

#include "core/typesetting/PLLogScanning.h"
#include "core/typesetting/PLTypesettingLogFileParserGeneringStrategy.h"

std::optional<PLTypesettingLogFileParserItem>
PLTypesettingLogFileParserCanBeUsedOnlyInPreambleStrategy::makeItemFromContent(const QString &content,
                                                                               qsizetype *lineStart,
                                                                               qsizetype *lineEnd) const
{
    const std::optional<PLTypesettingLogFileParserItem> general =
        PLTypesettingLogFileParserGeneringStrategy().makeItemFromContent(content, lineStart, lineEnd);
    if (!general || general->message() != u"Can be used only in preamble.")
        return std::nullopt;
    // The line of the context that shows the command's argument.
    for (int i = 0; i < 7; ++i)
        moveToNextLine(content, lineStart, lineEnd);
    const std::optional<PLRegexMatch> package = PLLogScanning::firstMatchAfterLiteral(
        QStringLiteral("\\{(.*)\\}"), u"{", PLLogScanning::LiteralFollower::AnyRunInLine, content,
        PLRange{*lineStart, *lineEnd - *lineStart});
    const QString advice =
        package ? QStringLiteral("Try moving \\usepackage{%1} to the preamble of the document (the area before "
                                 "\\begin{document}).")
                      .arg(content.sliced(package->range(1).location, package->range(1).length))
                : QString();
    return PLTypesettingLogFileParserItem(general->type(), general->filename(), general->message(), advice,
                                          general->line(), general->column());
}

#include "core/typesetting/PLTypesettingLogFileParserUndefinedEnvironmentStrategy.h"

#include "core/typesetting/PLLogScanning.h"

std::optional<PLTypesettingLogFileParserItem>
PLTypesettingLogFileParserUndefinedEnvironmentStrategy::makeItemFromContent(const QString &content,
                                                                            qsizetype *lineStart,
                                                                            qsizetype *lineEnd) const
{
    const std::optional<PLTypesettingLogFileParserItem> general =
        PLTypesettingLogFileParserGeneringStrategy::makeItemFromContent(content, lineStart, lineEnd);
    if (!general)
        return std::nullopt;
    const QString &message = general->message();
    const std::optional<PLRegexMatch> environment = PLLogScanning::firstMatchAfterLiteral(
        QStringLiteral("Environment (.*) undefined."), u"Environment ", PLLogScanning::LiteralFollower::AnyRunInLine,
        message, PLRange{0, message.size()});
    if (!environment)
        return std::nullopt;
    const QString name = message.sliced(environment->range(1).location, environment->range(1).length);
    const QString advice =
        QStringLiteral("You're beginning an environment named %1 which is unknown at this point. This could be "
                       "because you've misspelled the environment name (%2) or because you've forgot to add the "
                       "necesary package to the preamble of the document (\\usepackage{missing package}).")
            .arg(name, name);
    return PLTypesettingLogFileParserItem(general->type(), general->filename(), message, advice, general->line(),
                                          general->column());
}

#pragma once

#include "core/typesetting/PLTypesettingLogFileParserStrategy.h"

// The general strategy: any located error line ("./file.tex:12: message"), with the line that
// follows it joined to the message.
class PLTypesettingLogFileParserGeneringStrategy : public PLTypesettingLogFileParserStrategy
{
public:
    std::optional<PLTypesettingLogFileParserItem> makeItemFromContent(const QString &content, qsizetype *lineStart,
                                                                      qsizetype *lineEnd) const override;
};

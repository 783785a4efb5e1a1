#pragma once

#include "core/typesetting/PLTypesettingLogFileParserGeneringStrategy.h"

// A located error about an unknown environment, with advice that names it.
class PLTypesettingLogFileParserUndefinedEnvironmentStrategy : public PLTypesettingLogFileParserGeneringStrategy
{
public:
    std::optional<PLTypesettingLogFileParserItem> makeItemFromContent(const QString &content, qsizetype *lineStart,
                                                                      qsizetype *lineEnd) const override;
};

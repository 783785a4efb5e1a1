#pragma once

#include "core/typesetting/PLTypesettingLogFileParserStrategy.h"

// A file or package that the engine could not find; the line number comes from the located line
// four lines further down.
class PLTypesettingLogFileParserNoFileFoundStrategy : public PLTypesettingLogFileParserStrategy
{
public:
    std::optional<PLTypesettingLogFileParserItem> makeItemFromContent(const QString &content, qsizetype *lineStart,
                                                                      qsizetype *lineEnd) const override;
};

#pragma once

#include "core/typesetting/PLTypesettingLogFileParserStrategy.h"

// A preamble-only command (usually \usepackage) inside the document body; the package name comes
// from the context lines below the error.
class PLTypesettingLogFileParserCanBeUsedOnlyInPreambleStrategy : public PLTypesettingLogFileParserStrategy
{
public:
    std::optional<PLTypesettingLogFileParserItem> makeItemFromContent(const QString &content, qsizetype *lineStart,
                                                                      qsizetype *lineEnd) const override;
};

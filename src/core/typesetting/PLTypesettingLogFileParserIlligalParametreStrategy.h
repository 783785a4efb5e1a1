#pragma once

#include "core/typesetting/PLTypesettingLogFileParserStrategy.h"

// A macro definition that uses a parameter number it does not declare. The line number keeps
// only its last digit, and the advice names the parameter used and the number declared, read
// from the context lines below.
class PLTypesettingLogFileParserIlligalParametreStrategy : public PLTypesettingLogFileParserStrategy
{
public:
    std::optional<PLTypesettingLogFileParserItem> makeItemFromContent(const QString &content, qsizetype *lineStart,
                                                                      qsizetype *lineEnd) const override;
};

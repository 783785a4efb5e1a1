#pragma once

#include <QString>

#include <memory>

class PLLogItem;
class PLLogStringParser;

// Told of each warning and each unlocated error as the log string parser finds them, on the thread
// that parses (the typesetting job's).
class PLLogStringParserDelegate
{
public:
    virtual ~PLLogStringParserDelegate() = default;
    virtual void logStringParserDidFindWarning(PLLogStringParser *parser, std::shared_ptr<PLLogItem> warning,
                                               const QString &filePath) = 0;
    virtual void logStringParserDidFindError(PLLogStringParser *parser, std::shared_ptr<PLLogItem> error,
                                             const QString &filePath) = 0;
};

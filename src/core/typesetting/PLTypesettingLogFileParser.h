#pragma once

#include "core/typesetting/PLTypesettingLogFileParserItem.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

class PLFile;
class PLTypesettingLogFileParserStrategy;

// Reads the errors of an engine run made with "-file-line-error" into items with advice for the
// user. The output is cut into pieces at each file opening, and every line of a piece but its
// last is shown to a fixed, ordered list of strategies; the first that makes an item wins.
class PLTypesettingLogFileParser
{
public:
    // mainFile is the document's main file; its folder prefixes the names of opened files.
    explicit PLTypesettingLogFileParser(std::shared_ptr<PLFile> mainFile);
    ~PLTypesettingLogFileParser();
    PLTypesettingLogFileParser(const PLTypesettingLogFileParser &) = delete;
    PLTypesettingLogFileParser &operator=(const PLTypesettingLogFileParser &) = delete;

    // Parses a whole captured output, appending to the items.
    void parseLogString(const QString &text);
    // Parses one piece line by line; its last line is never looked at.
    void parseLogContent(const QString &content);
    static int countUnclosedBracketsInArea(QStringView area);
    // The first strategy's item for the line between the positions, which the strategies may move.
    std::optional<PLTypesettingLogFileParserItem> makeItemFromContent(const QString &content, qsizetype *lineStart,
                                                                      qsizetype *lineEnd) const;

    const QList<PLTypesettingLogFileParserItem> &items() const { return m_items; }
    qsizetype itemCount() const { return m_items.size(); }
    std::optional<PLTypesettingLogFileParserItem> itemAtIndex(qsizetype index) const;

    const QStringList &stackWithFilePaths() const { return m_stackWithFilePaths; }
    // The file last opened in the output, by path: nothing the output names is read.
    const QString &currentFilePath() const { return m_currentFilePath; }

private:
    std::shared_ptr<PLFile> m_mainFile;
    // Taken when the parser is made, so that a job's thread parses plain data only.
    QString m_mainFolder;
    QList<PLTypesettingLogFileParserItem> m_items;
    std::vector<std::unique_ptr<PLTypesettingLogFileParserStrategy>> m_parsingStrategies;
    QStringList m_stackWithFilePaths;
    QString m_currentFilePath;
};

#include "PLTypesettingLogFileParser.h"

#include "PLFile.h"
#include "PLLogScanning.h"
#include "PLLogging.h"
#include "PLTypesettingLogFileParserCanBeUsedOnlyInPreambleStrategy.h"
#include "PLTypesettingLogFileParserGeneringStrategy.h"
#include "PLTypesettingLogFileParserIlligalParametreStrategy.h"
#include "PLTypesettingLogFileParserNoFileFoundStrategy.h"
#include "PLTypesettingLogFileParserUndefinedEnvironmentStrategy.h"

PLTypesettingLogFileParser::PLTypesettingLogFileParser(std::shared_ptr<PLFile> mainFile)
    : m_mainFile(std::move(mainFile))
{
    m_parsingStrategies.push_back(std::make_unique<PLTypesettingLogFileParserNoFileFoundStrategy>());
    m_parsingStrategies.push_back(std::make_unique<PLTypesettingLogFileParserIlligalParametreStrategy>());
    m_parsingStrategies.push_back(std::make_unique<PLTypesettingLogFileParserCanBeUsedOnlyInPreambleStrategy>());
    m_parsingStrategies.push_back(std::make_unique<PLTypesettingLogFileParserUndefinedEnvironmentStrategy>());
    m_parsingStrategies.push_back(std::make_unique<PLTypesettingLogFileParserGeneringStrategy>());
}

PLTypesettingLogFileParser::~PLTypesettingLogFileParser() = default;

void PLTypesettingLogFileParser::parseLogString(const QString &text)
{
    if (text.isEmpty())
        return;
    const QString folder = m_mainFile ? m_mainFile->directoryOfFile() : QString();
    PLRange previous{0, 0};
    std::optional<PLRange> opening = PLLogScanning::nextFileOpening(text, 0);
    for (bool last = false; !last;) {
        PLRange boundary{text.size(), 0};
        if (opening)
            boundary = *opening;
        else
            last = true;
        const QString segment = text.sliced(previous.location, boundary.location - previous.location);
        parseLogContent(segment);
        const int brackets = countUnclosedBracketsInArea(segment);
        if (brackets > 0)
            m_stackWithFilePaths.append(text.sliced(previous.location, previous.length));
        else if (brackets < 0 && !m_stackWithFilePaths.isEmpty())
            m_stackWithFilePaths.removeLast();
        const QString name = PLLogScanning::nameOfOpenedFile(text, boundary);
        if (!name.isEmpty()) {
            m_currentFilePath = folder + name;
            qCInfo(lcTypesetting).noquote() << "current file is now:" << m_currentFilePath;
        }
        if (!last)
            opening = PLLogScanning::nextFileOpening(text, boundary.end());
        previous = boundary;
    }
}

void PLTypesettingLogFileParser::parseLogContent(const QString &content)
{
    qsizetype lineStart = 0;
    qsizetype lineEnd = 0;
    PLTypesettingLogFileParserStrategy::moveToLineContaining(content, 0, &lineStart, &lineEnd);
    while (lineEnd < content.size()) {
        if (std::optional<PLTypesettingLogFileParserItem> item = makeItemFromContent(content, &lineStart, &lineEnd))
            m_items.append(std::move(*item));
        PLTypesettingLogFileParserStrategy::moveToNextLine(content, &lineStart, &lineEnd);
    }
}

int PLTypesettingLogFileParser::countUnclosedBracketsInArea(QStringView area)
{
    return PLLogScanning::countUnclosedBrackets(area);
}

std::optional<PLTypesettingLogFileParserItem>
PLTypesettingLogFileParser::makeItemFromContent(const QString &content, qsizetype *lineStart, qsizetype *lineEnd) const
{
    for (const auto &strategy : m_parsingStrategies) {
        if (std::optional<PLTypesettingLogFileParserItem> item = strategy->makeItemFromContent(content, lineStart, lineEnd))
            return item;
    }
    return std::nullopt;
}

std::optional<PLTypesettingLogFileParserItem> PLTypesettingLogFileParser::itemAtIndex(qsizetype index) const
{
    if (index < 0 || index >= m_items.size())
        return std::nullopt;
    return m_items[index];
}

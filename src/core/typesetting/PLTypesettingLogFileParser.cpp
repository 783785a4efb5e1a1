#include "core/typesetting/PLTypesettingLogFileParser.h"

#include "core/project/PLFile.h"
#include "core/typesetting/PLLogScanning.h"
#include "core/foundation/PLLogging.h"
#include "core/typesetting/PLTypesettingLogFileParserCanBeUsedOnlyInPreambleStrategy.h"
#include "core/typesetting/PLTypesettingLogFileParserGeneringStrategy.h"
#include "core/typesetting/PLTypesettingLogFileParserIlligalParametreStrategy.h"
#include "core/typesetting/PLTypesettingLogFileParserNoFileFoundStrategy.h"
#include "core/typesetting/PLTypesettingLogFileParserUndefinedEnvironmentStrategy.h"

PLTypesettingLogFileParser::PLTypesettingLogFileParser(std::shared_ptr<PLFile> mainFile)
    : m_mainFile(std::move(mainFile)), m_mainFolder(m_mainFile ? m_mainFile->directoryOfFile() : QString())
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
    PLRange previous{0, 0};
    std::optional<PLRange> opening = PLLogScanning::nextFileOpening(text, 0);
    for (bool last = false; !last;) {
        PLRange boundary{text.size(), 0};
        if (opening)
            boundary = *opening;
        else
            last = true;
        // The segment shares the text's characters: copying every segment costs as much as parsing.
        const QString segment =
            QString::fromRawData(text.constData() + previous.location, boundary.location - previous.location);
        parseLogContent(segment);
        const int brackets = countUnclosedBracketsInArea(segment);
        if (brackets > 0)
            m_stackWithFilePaths.append(text.sliced(previous.location, previous.length));
        else if (brackets < 0 && !m_stackWithFilePaths.isEmpty())
            m_stackWithFilePaths.removeLast();
        const QString name = PLLogScanning::nameOfOpenedFile(text, boundary);
        if (!name.isEmpty()) {
            m_currentFilePath = m_mainFolder + name;
            // One line per opened file: a debug message, so that a log of thousands of files is not
            // formatted and written unless asked for.
            qCDebug(lcTypesetting).noquote() << "current file is now:" << m_currentFilePath;
        }
        if (!last)
            opening = PLLogScanning::nextFileOpening(text, boundary.end());
        previous = boundary;
    }
}

void PLTypesettingLogFileParser::parseLogContent(const QString &content)
{
    // Every strategy starts from one of two literals in the line and declines, without moving the
    // positions, on a line that holds neither: the segment is searched once for them, and only the
    // lines that hold one are shown to the strategies.
    constexpr QStringView kLiterals[] = {u"./", u"! LaTeX Error: File `"};
    qsizetype next[std::size(kLiterals)] = {};
    const auto nextCandidate = [&](qsizetype from) {
        qsizetype nearest = -1;
        for (size_t i = 0; i < std::size(kLiterals); ++i) {
            if (next[i] >= 0 && next[i] < from)
                next[i] = PLLogScanning::indexOfLiteral(content, kLiterals[i], from);
            if (next[i] >= 0 && (nearest < 0 || next[i] < nearest))
                nearest = next[i];
        }
        return nearest;
    };
    for (size_t i = 0; i < std::size(kLiterals); ++i)
        next[i] = PLLogScanning::indexOfLiteral(content, kLiterals[i]);

    qsizetype lineStart = 0;
    qsizetype lineEnd = 0;
    PLTypesettingLogFileParserStrategy::moveToLineContaining(content, 0, &lineStart, &lineEnd);
    while (lineEnd < content.size()) {
        const qsizetype candidate = nextCandidate(lineStart);
        if (candidate < 0)
            return;
        if (candidate >= lineEnd) {
            PLTypesettingLogFileParserStrategy::moveToLineContaining(content, candidate, &lineStart, &lineEnd);
            if (lineEnd >= content.size())
                return;
        }
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

#include "core/typesetting/PLLogStringParser.h"

#include "core/project/PLFile.h"
#include "core/typesetting/PLLogItem.h"
#include "core/typesetting/PLLogScanning.h"
#include "core/typesetting/PLLogStringParserDelegate.h"
#include "core/foundation/PLNotificationCenter.h"
#include "core/foundation/PLNotificationNameConstants.h"

using PLLogScanning::LiteralFollower;

namespace {
const QString kWarningPrefix = QStringLiteral("LaTeX Warning: ");
const QString kUndefinedControlSequencePrefix = QStringLiteral("! Undefined control sequence.");

QString slice(const QString &text, PLRange range)
{
    return range.isFound() ? text.sliced(range.location, range.length) : QString();
}
}

PLLogStringParser::PLLogStringParser(std::shared_ptr<PLFile> documentRoot)
    : m_documentRoot(std::move(documentRoot)), m_documentFolder(m_documentRoot ? m_documentRoot->directoryOfFile() : QString())
{
}

PLLogStringParser::~PLLogStringParser() = default;

void PLLogStringParser::parseLogString(const QString &text)
{
    if (text.isEmpty())
        return;
    m_errorsFound = Items();
    m_warningsFound = Items();
    m_contentToParse = text;
    const QString &content = m_contentToParse;

    PLRange previous{0, 0};
    std::optional<PLRange> opening = PLLogScanning::nextFileOpening(content, 0);
    for (bool last = false; !last;) {
        PLRange boundary{content.size(), 0};
        if (opening)
            boundary = *opening;
        else
            last = true;
        // A piece runs from one opening (included) to the next; all its messages belong to the
        // file opened where it begins, whatever its parentheses say.
        const PLRange segment{previous.location, boundary.location - previous.location};
        findWarnings(segment);
        findErrors(segment);
        const int brackets = PLLogScanning::countUnclosedBrackets(QStringView(content).sliced(segment.location, segment.length));
        if (brackets > 0)
            m_stackWithFilePaths.append(slice(content, previous));
        else if (brackets < 0 && !m_stackWithFilePaths.isEmpty())
            m_stackWithFilePaths.removeLast();
        const QString name = PLLogScanning::nameOfOpenedFile(content, boundary);
        if (!name.isEmpty())
            m_currentFilePath = m_documentFolder + name;
        if (!last)
            opening = PLLogScanning::nextFileOpening(content, boundary.end());
        previous = boundary;
    }
    PLNotificationCenter::defaultCenter().post(PLNotificationLogStringParserDidFinishParsing, this);
}

void PLLogStringParser::findWarnings(PLRange segment)
{
    PLLogScanning::enumerateMatchesAfterLiteral(
        PLLogScanning::warningMatchEnd, kWarningPrefix, LiteralFollower::AnyRunInLine, m_contentToParse, segment,
        [&](PLRange match) {
            const std::shared_ptr<PLLogItem> warning = warningInLine(slice(m_contentToParse, match));
            addWarning(warning, m_currentFilePath);
            if (m_delegate)
                m_delegate->logStringParserDidFindWarning(this, warning, m_currentFilePath);
            return true;
        });
}

void PLLogStringParser::findErrors(PLRange segment)
{
    PLLogScanning::enumerateMatchesAfterLiteral(
        PLLogScanning::undefinedControlSequenceMatchEnd, u"! Undefined control sequence", LiteralFollower::Fixed,
        m_contentToParse, segment, [&](PLRange match) {
            const std::shared_ptr<PLLogItem> error = errorInLine(slice(m_contentToParse, match));
            addError(error, m_currentFilePath);
            if (m_delegate)
                m_delegate->logStringParserDidFindError(this, error, m_currentFilePath);
            return true;
        });
    PLLogScanning::enumerateLocatedErrors(m_contentToParse, segment, [&](const PLLogScanning::LocatedError &located) {
        const std::shared_ptr<PLLogItem> error = locatedError(m_contentToParse, located);
        if (!error->filePath().isEmpty())
            addError(error, error->filePath());
    });
}

QStringList PLLogStringParser::fileNamesInLine(const QString &line)
{
    return PLLogScanning::namesOfOpenedFiles(line);
}

std::shared_ptr<PLLogItem> PLLogStringParser::warningInLine(const QString &line) const
{
    if (!line.startsWith(kWarningPrefix))
        return nullptr;
    const QString remainder = line.sliced(kWarningPrefix.size());
    const QString marker = QStringLiteral("on input line ");
    const qsizetype found = remainder.lastIndexOf(marker);
    if (found < 0)
        return std::make_shared<PLLogItem>(PLLogItem::Warning, remainder, 0, m_currentFilePath);
    return std::make_shared<PLLogItem>(PLLogItem::Warning, remainder.left(found),
                                       PLLogScanning::integerValue(QStringView(remainder).sliced(found + marker.size())),
                                       m_currentFilePath);
}

std::shared_ptr<PLLogItem> PLLogStringParser::errorInLine(const QString &line)
{
    // Which undefined control sequence, and where, is not read from the context lines.
    if (line.startsWith(kUndefinedControlSequencePrefix))
        return std::make_shared<PLLogItem>(PLLogItem::Error, QStringLiteral("error"), 8, m_currentFilePath);
    const std::optional<PLLogScanning::LocatedError> located = PLLogScanning::locatedErrorAt(line, 0, line.size());
    return located ? locatedError(line, *located) : nullptr;
}

std::shared_ptr<PLLogItem> PLLogStringParser::locatedError(const QString &text, const PLLogScanning::LocatedError &located) const
{
    return std::make_shared<PLLogItem>(
        PLLogItem::Error, slice(text, located.message),
        PLLogScanning::integerValue(QStringView(text).sliced(located.lineNumber.location, located.lineNumber.length)),
        m_documentFolder + slice(text, located.fileName));
}

void PLLogStringParser::addWarning(const std::shared_ptr<PLLogItem> &warning, const QString &filePath)
{
    if (filePath.isNull() || !warning)
        return;
    m_warnings[filePath].append(warning);
    m_warningsFound.append(warning);
}

void PLLogStringParser::addError(const std::shared_ptr<PLLogItem> &error, const QString &filePath)
{
    if (filePath.isNull() || !error)
        return;
    m_errors[filePath].append(error);
    m_errorsFound.append(error);
}

qsizetype PLLogStringParser::warningCountForFile(const PLFile &file) const
{
    return warningCountForFilePath(file.stringPath());
}

qsizetype PLLogStringParser::warningCountForFilePath(const QString &path) const
{
    return m_warnings.value(path).size();
}

std::shared_ptr<PLLogItem> PLLogStringParser::warningForFile(const PLFile &file, qsizetype index) const
{
    return m_warnings.value(file.stringPath()).value(index);
}

qsizetype PLLogStringParser::errorCountForFile(const PLFile &file) const
{
    return errorCountForFilePath(file.stringPath());
}

qsizetype PLLogStringParser::errorCountForFilePath(const QString &path) const
{
    return m_errors.value(path).size();
}

std::shared_ptr<PLLogItem> PLLogStringParser::errorForFile(const PLFile &file, qsizetype index) const
{
    return m_errors.value(file.stringPath()).value(index);
}

#pragma once

#include "core/typesetting/PLLogScanning.h"
#include "core/foundation/PLRange.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

class PLFile;
class PLLogItem;
class PLLogStringParserDelegate;

// The document's shared reader of engine output. It cuts the output at each file opening
// ("(./name.tex"), files the warnings and errors of each piece under the file opened where the
// piece begins, keeps them per file across jobs and in two lists of the latest job, and posts
// "PLNotificationLogStringParserDidFinishParsing" when it is done, on the thread that parsed.
// Files are named by path; parsing reads nothing from disk, and nothing of the file objects: the
// root's folder is taken when the parser is made, so a job's thread parses plain data only.
class PLLogStringParser
{
public:
    using Items = QList<std::shared_ptr<PLLogItem>>;

    // documentRoot is the document's main file; its folder prefixes every relative name.
    explicit PLLogStringParser(std::shared_ptr<PLFile> documentRoot);
    ~PLLogStringParser();
    PLLogStringParser(const PLLogStringParser &) = delete;
    PLLogStringParser &operator=(const PLLogStringParser &) = delete;

    // Parses a whole captured output. An empty text changes nothing and posts nothing.
    void parseLogString(const QString &text);

    // The names of the source files that a piece of output reports opening, in order
    // ("(./intro.tex" gives intro.tex).
    static QStringList fileNamesInLine(const QString &line);

    // One item from a matched warning or error text, or none when the text is not one.
    std::shared_ptr<PLLogItem> warningInLine(const QString &line) const;
    std::shared_ptr<PLLogItem> errorInLine(const QString &line);

    // A null path adds nothing at all.
    void addWarning(const std::shared_ptr<PLLogItem> &warning, const QString &filePath);
    void addError(const std::shared_ptr<PLLogItem> &error, const QString &filePath);

    // Per file, over every job of the document so far.
    qsizetype warningCountForFile(const PLFile &file) const;
    qsizetype warningCountForFilePath(const QString &path) const;
    std::shared_ptr<PLLogItem> warningForFile(const PLFile &file, qsizetype index) const;
    qsizetype errorCountForFile(const PLFile &file) const;
    qsizetype errorCountForFilePath(const QString &path) const;
    std::shared_ptr<PLLogItem> errorForFile(const PLFile &file, qsizetype index) const;

    // The latest parse only.
    const Items &warningsFound() const { return m_warningsFound; }
    const Items &errorsFound() const { return m_errorsFound; }

    const std::shared_ptr<PLFile> &documentRoot() const { return m_documentRoot; }
    // The file last opened in the output; kept from one parse to the next.
    const QString &currentFilePath() const { return m_currentFilePath; }
    // Opening texts pushed and popped as the parentheses of each piece balance; nothing decides
    // anything by it.
    const QStringList &stackWithFilePaths() const { return m_stackWithFilePaths; }

    PLLogStringParserDelegate *delegate() const { return m_delegate; }
    void setDelegate(PLLogStringParserDelegate *delegate) { m_delegate = delegate; }

private:
    void findWarnings(PLRange segment);
    void findErrors(PLRange segment);
    std::shared_ptr<PLLogItem> locatedError(const QString &text, const PLLogScanning::LocatedError &located) const;

    std::shared_ptr<PLFile> m_documentRoot;
    QString m_documentFolder;
    QHash<QString, Items> m_warnings;
    QHash<QString, Items> m_errors;
    Items m_warningsFound;
    Items m_errorsFound;
    QString m_contentToParse;
    QStringList m_stackWithFilePaths;
    QString m_currentFilePath;
    PLLogStringParserDelegate *m_delegate = nullptr;
};

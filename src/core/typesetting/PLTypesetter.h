#pragma once

#include "core/foundation/PLStringEncoding.h"
#include "core/typesetting/PLTypesettingOperation.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class PLFile;
class PLTypesetterDelegate;
class PLTypesettingLogFileParser;

// The document-level typesetting driver: the same programs, command lines and order as
// PLLatexTransformer, but each job reads the first engine run's output with a strategy parser of
// its own, right after that run, and hands the parser over with the end of the job.
class PLTypesetter : public PLTypesettingOperation
{
public:
    static std::shared_ptr<PLTypesetter> create();

    // Typesets the document's main file, unless a job was started before.
    void typesetDocument(std::shared_ptr<PLFile> mainFile);
    bool isTypesetting() const { return isRunningJob(); }

    PLTypesetterDelegate *delegate() const;
    void setDelegate(PLTypesetterDelegate *delegate);

    const std::shared_ptr<PLFile> &mainFile() const { return m_mainFile; }
    // The parser of the current or last job.
    const std::shared_ptr<PLTypesettingLogFileParser> &parser() const { return m_parser; }

    static QStringList fileNamesInLine(const QString &line);

private:
    PLTypesetter() = default;
    void main() override;
    void announceEnd() override;
    void runTask(PLTypesettingRun::Program program, const QString &launchPath, const QStringList &arguments,
                 const std::function<void(const QString &)> &chunkHandler);

    std::shared_ptr<PLFile> m_mainFile;
    std::shared_ptr<PLTypesettingLogFileParser> m_parser;
    PLJobDelegate<PLTypesetterDelegate> m_delegate;
};

#pragma once

#include "core/foundation/PLStringEncoding.h"
#include "core/typesetting/PLTypesettingOperation.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class PLFile;
class PLLatexTransformerDelegate;
class PLLogStringParser;

// Turns the root file of a project into a PDF: runs the engine ("pdflatex", or "xelatex" for a
// file that asks for it) in the file's folder, and when "bibtex" is in the TeX folder BibTeX and
// two more engine runs, strictly one after another on a thread of the job's own. The first
// engine run's output is streamed to the delegate, scanned for the files it opens and finally
// handed to the log string parser. The end is always announced, also for an unsaved file, a
// missing engine or a stopped job; how each run ended is kept (runs(), engineFailure()).
//
// A transformer runs one job in its life and keeps itself alive until that job is over; make a
// new one for each job.
class PLLatexTransformer : public PLTypesettingOperation
{
public:
    static std::shared_ptr<PLLatexTransformer> create(std::shared_ptr<PLLogStringParser> logStringParser);

    // Starts the job, unless one was started before.
    void transformLatexFile(std::shared_ptr<PLFile> file);
    bool isTransforming() const { return isRunningJob(); }

    // May be changed while a job runs, on the main thread; a delegate that goes away sets null.
    PLLatexTransformerDelegate *delegate() const;
    void setDelegate(PLLatexTransformerDelegate *delegate);

    const std::shared_ptr<PLLogStringParser> &logStringParser() const { return m_logStringParser; }
    const std::shared_ptr<PLFile> &documentFile() const { return m_documentFile; }

    // Runs one program to its end; each decoded chunk of its standard output goes to the callback
    // (if any) and then to the delegate, its standard error to the delegate at the end. Runs on the
    // job's thread.
    void runTaskWithLaunchPath(const QString &launchPath, const QString &workingDirectoryPath,
                               const QStringList &arguments,
                               const std::function<void(const QString &)> &lineParserBLOCK,
                               PLTypesettingRun::Program program = PLTypesettingRun::Engine);

private:
    explicit PLLatexTransformer(std::shared_ptr<PLLogStringParser> logStringParser);
    void main() override;
    void announceEnd() override;

    std::shared_ptr<PLLogStringParser> m_logStringParser;
    std::shared_ptr<PLFile> m_documentFile;
    PLJobDelegate<PLLatexTransformerDelegate> m_delegate;
};

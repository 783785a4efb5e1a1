#include "PLLatexTransformer.h"

#include "PLFile.h"
#include "PLLatexTransformerDelegate.h"
#include "PLLogStringParser.h"
#include "PLLogging.h"
#include "PLTexCommandLine.h"

std::shared_ptr<PLLatexTransformer> PLLatexTransformer::create(std::shared_ptr<PLLogStringParser> logStringParser)
{
    return std::shared_ptr<PLLatexTransformer>(new PLLatexTransformer(std::move(logStringParser)));
}

PLLatexTransformer::PLLatexTransformer(std::shared_ptr<PLLogStringParser> logStringParser)
    : m_logStringParser(std::move(logStringParser))
{
}

void PLLatexTransformer::transformLatexFile(std::shared_ptr<PLFile> file)
{
    if (hasStartedJob()) {
        qCInfo(lcTypesetting) << "a transformer runs one job; this request is dropped";
        return;
    }
    if (file)
        m_source = PLTypesettingSource::fromFile(*file);
    m_documentFile = std::move(file);
    startJob();
}

PLLatexTransformerDelegate *PLLatexTransformer::delegate() const
{
    std::lock_guard lock(m_delegateMutex);
    return m_delegate;
}

void PLLatexTransformer::setDelegate(PLLatexTransformerDelegate *delegate)
{
    std::lock_guard lock(m_delegateMutex);
    m_delegate = delegate;
}

void PLLatexTransformer::tellDelegate(const std::function<void(PLLatexTransformerDelegate *)> &message) const
{
    std::lock_guard lock(m_delegateMutex);
    if (m_delegate)
        message(m_delegate);
}

void PLLatexTransformer::runTaskWithLaunchPath(const QString &launchPath, const QString &workingDirectoryPath,
                                               const QStringList &arguments,
                                               const std::function<void(const QString &)> &lineParserBLOCK)
{
    runProgram(launchPath, workingDirectoryPath, arguments, m_source.encoding, lineParserBLOCK, [this](const QString &output) {
        tellDelegate([&](PLLatexTransformerDelegate *delegate) { delegate->latexTransformerDidOutputString(output); });
    });
}

void PLLatexTransformer::main()
{
    if (m_source.filePath.isEmpty())
        return;
    const QStringList arguments = PLTexCommandLine::engineArguments(m_source.baseName);
    QString capture;
    const QString texFolder = PLTexCommandLine::texFolder();
    const QString enginePath = texFolder + PLTexCommandLine::engineProgram(m_source.engine);
    tellDelegate([&](PLLatexTransformerDelegate *delegate) { delegate->latexTransformerDidChooseEngine(m_source.engine); });
    if (!isEnginePresentInFileSystem(enginePath)) {
        tellDelegate([&](PLLatexTransformerDelegate *delegate) {
            delegate->latexTransformerCouldNotFindEngine(m_source.engine, enginePath);
        });
        return;
    }

    runTaskWithLaunchPath(enginePath, m_source.folder, arguments, [&](const QString &chunk) {
        for (const QString &name : PLLogStringParser::fileNamesInLine(chunk)) {
            onMainThread([this, name] {
                tellDelegate([&](PLLatexTransformerDelegate *delegate) {
                    delegate->latexTransformerDidStartWorkingOnFileWithName(name);
                });
            });
        }
        capture += chunk;
    });
    const QString bibtexPath = texFolder + QStringLiteral("bibtex");
    if (isEnginePresentInFileSystem(bibtexPath)) {
        runTaskWithLaunchPath(bibtexPath, m_source.folder, PLTexCommandLine::bibtexArguments(m_source.baseName), nullptr);
        runTaskWithLaunchPath(enginePath, m_source.folder, arguments, nullptr);
        runTaskWithLaunchPath(enginePath, m_source.folder, arguments, nullptr);
    }
    // The log parsed is the first engine run's; the runs after BibTeX are only shown.
    m_logStringParser->parseLogString(capture);
}

void PLLatexTransformer::announceEnd()
{
    onMainThread([this] { tellDelegate([this](PLLatexTransformerDelegate *delegate) { delegate->latexTransformerDidFinish(this); }); });
}

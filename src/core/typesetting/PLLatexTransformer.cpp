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
    if (file) {
        m_filePath = file->stringPath();
        m_folder = file->directoryOfFile();
        m_baseName = file->nameWithOutFileExtension();
        m_encoding = file->encoding();
        m_engine = file->engine();
    }
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
    runProgram(launchPath, workingDirectoryPath, arguments, m_encoding, lineParserBLOCK, [this](const QString &output) {
        tellDelegate([&](PLLatexTransformerDelegate *delegate) { delegate->latexTransformerDidOutputString(output); });
    });
}

void PLLatexTransformer::main()
{
    if (m_filePath.isEmpty())
        return;
    const QStringList arguments = PLTexCommandLine::engineArguments(m_baseName);
    QString capture;
    const QString texFolder = PLTexCommandLine::texFolder();
    const QString enginePath = texFolder + PLTexCommandLine::engineProgram(m_engine);
    tellDelegate([&](PLLatexTransformerDelegate *delegate) { delegate->latexTransformerDidChooseEngine(m_engine); });
    if (!isEnginePresentInFileSystem(enginePath)) {
        tellDelegate([&](PLLatexTransformerDelegate *delegate) {
            delegate->latexTransformerCouldNotFindEngine(m_engine, enginePath);
        });
        return;
    }

    runTaskWithLaunchPath(enginePath, m_folder, arguments, [&](const QString &chunk) {
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
        runTaskWithLaunchPath(bibtexPath, m_folder, PLTexCommandLine::bibtexArguments(m_baseName), nullptr);
        runTaskWithLaunchPath(enginePath, m_folder, arguments, nullptr);
        runTaskWithLaunchPath(enginePath, m_folder, arguments, nullptr);
    }
    // The log parsed is the first engine run's; the runs after BibTeX are only shown.
    m_logStringParser->parseLogString(capture);
}

void PLLatexTransformer::announceEnd()
{
    onMainThread([this] { tellDelegate([this](PLLatexTransformerDelegate *delegate) { delegate->latexTransformerDidFinish(this); }); });
}

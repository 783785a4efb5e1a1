#include "core/typesetting/PLLatexTransformer.h"

#include "core/project/PLFile.h"
#include "core/typesetting/PLLatexTransformerDelegate.h"
#include "core/typesetting/PLLogStringParser.h"
#include "core/foundation/PLLogging.h"
#include "core/typesetting/PLTexCommandLine.h"

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
    const PLTypesettingSource source = file ? PLTypesettingSource::fromFile(*file) : PLTypesettingSource();
    m_documentFile = std::move(file);
    startJob(source);
}

PLLatexTransformerDelegate *PLLatexTransformer::delegate() const
{
    return m_delegate.get();
}

void PLLatexTransformer::setDelegate(PLLatexTransformerDelegate *delegate)
{
    assertOnOwnerThread();
    m_delegate.set(delegate);
}

void PLLatexTransformer::runTaskWithLaunchPath(const QString &launchPath, const QString &workingDirectoryPath,
                                               const QStringList &arguments,
                                               const std::function<void(const QString &)> &lineParserBLOCK,
                                               PLTypesettingRun::Program program)
{
    runProgram(program, launchPath, workingDirectoryPath, arguments, source().encoding, lineParserBLOCK,
               [this](const QString &output) {
                   m_delegate.tellFromJob([&](PLLatexTransformerDelegate *delegate) { delegate->latexTransformerDidOutputString(output); });
               });
}

void PLLatexTransformer::main()
{
    const PLTypesettingSource &file = source();
    if (file.filePath.isEmpty())
        return;
    const QStringList arguments = PLTexCommandLine::engineArguments(file.baseName, file.shellEscape);
    const QString enginePath = file.enginePath();
    m_delegate.tellFromJob([&](PLLatexTransformerDelegate *delegate) { delegate->latexTransformerDidChooseEngine(file.engine); });
    if (!isEnginePresentInFileSystem(enginePath)) {
        m_delegate.tellFromJob([&](PLLatexTransformerDelegate *delegate) {
            delegate->latexTransformerCouldNotFindEngine(file.engine, enginePath);
        });
        return;
    }

    PLCapturedOutput capture;
    runTaskWithLaunchPath(enginePath, file.folder, arguments, [&](const QString &chunk) {
        // Past the bound a flooding engine's output is only shown: neither kept nor scanned.
        if (!capture.append(chunk))
            return;
        for (const QString &name : PLLogStringParser::fileNamesInLine(chunk)) {
            onMainThread([this, name] {
                m_delegate.tell([&](PLLatexTransformerDelegate *delegate) {
                    delegate->latexTransformerDidStartWorkingOnFileWithName(name);
                });
            });
        }
    });
    if (capture.dropped() > 0) {
        const QString note = droppedOutputNote(enginePath, capture.dropped());
        m_delegate.tellFromJob([&](PLLatexTransformerDelegate *delegate) { delegate->latexTransformerDidOutputString(note); });
    }
    const QString bibtexPath = file.bibtexPath();
    if (isEnginePresentInFileSystem(bibtexPath)) {
        runTaskWithLaunchPath(bibtexPath, file.folder, PLTexCommandLine::bibtexArguments(file.baseName), nullptr,
                              PLTypesettingRun::BibTeX);
        runTaskWithLaunchPath(enginePath, file.folder, arguments, nullptr);
        runTaskWithLaunchPath(enginePath, file.folder, arguments, nullptr);
    }
    // The log parsed is the first engine run's; the runs after BibTeX are only shown.
    m_logStringParser->parseLogString(capture.text());
}

void PLLatexTransformer::announceEnd()
{
    onMainThread([this] { m_delegate.tell([this](PLLatexTransformerDelegate *delegate) { delegate->latexTransformerDidFinish(this); }); });
}

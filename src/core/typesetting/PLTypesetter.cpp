#include "core/typesetting/PLTypesetter.h"

#include "core/project/PLFile.h"
#include "core/typesetting/PLLogScanning.h"
#include "core/foundation/PLLogging.h"
#include "core/typesetting/PLTexCommandLine.h"
#include "core/typesetting/PLTypesetterDelegate.h"
#include "core/typesetting/PLTypesettingLogFileParser.h"

std::shared_ptr<PLTypesetter> PLTypesetter::create()
{
    return std::shared_ptr<PLTypesetter>(new PLTypesetter());
}

void PLTypesetter::typesetDocument(std::shared_ptr<PLFile> mainFile)
{
    if (hasStartedJob()) {
        qCInfo(lcTypesetting) << "a typesetter runs one job; this request is dropped";
        return;
    }
    const PLTypesettingSource source = mainFile ? PLTypesettingSource::fromFile(*mainFile) : PLTypesettingSource();
    m_parser = std::make_shared<PLTypesettingLogFileParser>(mainFile);
    m_mainFile = std::move(mainFile);
    startJob(source);
}

PLTypesetterDelegate *PLTypesetter::delegate() const
{
    return m_delegate.get();
}

void PLTypesetter::setDelegate(PLTypesetterDelegate *delegate)
{
    assertOnOwnerThread();
    m_delegate.set(delegate);
}

QStringList PLTypesetter::fileNamesInLine(const QString &line)
{
    return PLLogScanning::namesOfOpenedFiles(line);
}

void PLTypesetter::runTask(PLTypesettingRun::Program program, const QString &launchPath, const QStringList &arguments,
                           const std::function<void(const QString &)> &chunkHandler)
{
    runProgram(program, launchPath, source().folder, arguments, source().encoding, chunkHandler, [this](const QString &output) {
        m_delegate.tellFromJob([&](PLTypesetterDelegate *delegate) { delegate->typesetterDidOutputString(this, output); });
    });
}

void PLTypesetter::main()
{
    const PLTypesettingSource &file = source();
    if (file.filePath.isEmpty())
        return;
    const QStringList arguments = PLTexCommandLine::engineArguments(file.baseName, file.shellEscape);
    const QString enginePath = file.enginePath();
    m_delegate.tellFromJob([&](PLTypesetterDelegate *delegate) { delegate->typesetterWillStartTypesettingUsingEngine(this, file.engine); });
    if (!isEnginePresentInFileSystem(enginePath)) {
        m_delegate.tellFromJob([&](PLTypesetterDelegate *delegate) {
            delegate->typesetterWasUnableToLocateEngine(this, file.engine, enginePath);
        });
        return;
    }

    PLCapturedOutput capture;
    runTask(PLTypesettingRun::Engine, enginePath, arguments, [&](const QString &chunk) {
        // Past the bound a flooding engine's output is only shown: neither kept nor scanned.
        if (!capture.append(chunk))
            return;
        for (const QString &name : fileNamesInLine(chunk)) {
            onMainThread([this, name] {
                m_delegate.tell([&](PLTypesetterDelegate *delegate) {
                    delegate->typesetterDidReachFileInclusionForFileWithName(this, name);
                });
            });
        }
    });
    if (capture.dropped() > 0) {
        const QString note = droppedOutputNote(enginePath, capture.dropped());
        m_delegate.tellFromJob([&](PLTypesetterDelegate *delegate) { delegate->typesetterDidOutputString(this, note); });
    }
    m_parser->parseLogString(capture.text());
    const QString bibtexPath = file.bibtexPath();
    if (isEnginePresentInFileSystem(bibtexPath)) {
        runTask(PLTypesettingRun::BibTeX, bibtexPath, PLTexCommandLine::bibtexArguments(file.baseName), nullptr);
        runTask(PLTypesettingRun::Engine, enginePath, arguments, nullptr);
        runTask(PLTypesettingRun::Engine, enginePath, arguments, nullptr);
    }
}

void PLTypesetter::announceEnd()
{
    onMainThread([this] {
        m_delegate.tell([this](PLTypesetterDelegate *delegate) { delegate->typesetterDidFinish(this, m_parser); });
    });
}

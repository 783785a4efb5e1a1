#include "PLTypesetter.h"

#include "PLFile.h"
#include "PLLogScanning.h"
#include "PLLogging.h"
#include "PLTexCommandLine.h"
#include "PLTypesetterDelegate.h"
#include "PLTypesettingLogFileParser.h"

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
    if (mainFile)
        m_source = PLTypesettingSource::fromFile(*mainFile);
    m_parser = std::make_shared<PLTypesettingLogFileParser>(mainFile);
    m_mainFile = std::move(mainFile);
    startJob();
}

PLTypesetterDelegate *PLTypesetter::delegate() const
{
    std::lock_guard lock(m_delegateMutex);
    return m_delegate;
}

void PLTypesetter::setDelegate(PLTypesetterDelegate *delegate)
{
    std::lock_guard lock(m_delegateMutex);
    m_delegate = delegate;
}

void PLTypesetter::tellDelegate(const std::function<void(PLTypesetterDelegate *)> &message) const
{
    std::lock_guard lock(m_delegateMutex);
    if (m_delegate)
        message(m_delegate);
}

QStringList PLTypesetter::fileNamesInLine(const QString &line)
{
    return PLLogScanning::namesOfOpenedFiles(line);
}

void PLTypesetter::runTask(const QString &launchPath, const QStringList &arguments,
                           const std::function<void(const QString &)> &chunkHandler)
{
    runProgram(launchPath, m_source.folder, arguments, m_source.encoding, chunkHandler, [this](const QString &output) {
        tellDelegate([&](PLTypesetterDelegate *delegate) { delegate->typesetterDidOutputString(this, output); });
    });
}

void PLTypesetter::main()
{
    if (m_source.filePath.isEmpty())
        return;
    const QStringList arguments = PLTexCommandLine::engineArguments(m_source.baseName);
    const QString texFolder = PLTexCommandLine::texFolder();
    const QString enginePath = texFolder + PLTexCommandLine::engineProgram(m_source.engine);
    tellDelegate([&](PLTypesetterDelegate *delegate) { delegate->typesetterWillStartTypesettingUsingEngine(this, m_source.engine); });
    if (!isEnginePresentInFileSystem(enginePath)) {
        tellDelegate([&](PLTypesetterDelegate *delegate) {
            delegate->typesetterWasUnableToLocateEngine(this, m_source.engine, enginePath);
        });
        return;
    }

    QString capture;
    runTask(enginePath, arguments, [&](const QString &chunk) {
        for (const QString &name : fileNamesInLine(chunk)) {
            onMainThread([this, name] {
                tellDelegate([&](PLTypesetterDelegate *delegate) {
                    delegate->typesetterDidReachFileInclusionForFileWithName(this, name);
                });
            });
        }
        capture += chunk;
    });
    m_parser->parseLogString(capture);
    const QString bibtexPath = texFolder + QStringLiteral("bibtex");
    if (isEnginePresentInFileSystem(bibtexPath)) {
        runTask(bibtexPath, PLTexCommandLine::bibtexArguments(m_source.baseName), nullptr);
        runTask(enginePath, arguments, nullptr);
        runTask(enginePath, arguments, nullptr);
    }
}

void PLTypesetter::announceEnd()
{
    onMainThread([this] {
        tellDelegate([this](PLTypesetterDelegate *delegate) { delegate->typesetterDidFinish(this, m_parser); });
    });
}

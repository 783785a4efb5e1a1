#include "core/typesetting/PLTypesettingOperation.h"

#include "core/project/PLFile.h"

#include "core/foundation/PLLogging.h"
#include "core/foundation/PLThreadHandOff.h"
#include "core/typesetting/PLStreamDecoder.h"
#include "core/typesetting/PLSyncTexSearch.h"
#include "core/typesetting/PLTexCommandLine.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QThread>

bool PLCapturedOutput::append(const QString &chunk)
{
    if (m_dropped > 0 || m_text.size() + chunk.size() > kMaximumSize) {
        m_dropped += chunk.size();
        return false;
    }
    m_text += chunk;
    return true;
}

PLTypesettingOperation::PLTypesettingOperation()
    : m_ownerThread(QThread::currentThread()), m_runner(PLTexCommandLine::texFolder())
{
}

PLTypesettingOperation::~PLTypesettingOperation() = default;

void PLTypesettingOperation::stop()
{
    m_runner.stop();
}

bool PLTypesettingOperation::isStopped() const
{
    return m_runner.isStopped();
}

bool PLTypesettingOperation::isEnginePresentInFileSystem(const QString &path)
{
    return QFileInfo::exists(path);
}

QString PLTypesettingOperation::engineFailure() const
{
    for (const PLTypesettingRun &run : m_runs) {
        if (run.program == PLTypesettingRun::Engine && run.result.failed())
            return run.result.description();
    }
    return QString();
}

PLTypesettingOperation::PdfState PLTypesettingOperation::PdfState::of(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() ? PdfState{true, info.lastModified(), info.size()} : PdfState{};
}

void PLTypesettingOperation::assertOnOwnerThread() const
{
    Q_ASSERT_X(QThread::currentThread() == m_ownerThread, "PLTypesettingOperation",
               "used off the thread that owns the job");
}

void PLTypesettingOperation::assertOnJobThread() const
{
    Q_ASSERT_X(QThread::currentThread() == m_jobThread.load(), "PLTypesettingOperation",
               "job work done off the job's thread");
}

void PLTypesettingOperation::startJob(const PLTypesettingSource &source)
{
    assertOnOwnerThread();
    if (m_started.exchange(true))
        return;
    m_source = source;
    if (!m_source.filePath.isEmpty())
        m_pdfBefore = PdfState::of(m_source.pdfPath());
    m_running = true;
    // The job's thread owns the operation until the job is over; its last act hands that
    // ownership to the main thread, behind the end message, so the operation is released there
    // and never while the job's thread still touches it.
    QThread *thread = QThread::create([job = shared_from_this()]() mutable {
        job->assertOnJobThread();
        job->main();
        if (!job->m_source.filePath.isEmpty()) {
            const PdfState after = PdfState::of(job->m_source.pdfPath());
            job->m_pdfWritten = after.exists && !(after == job->m_pdfBefore);
            // The new SyncTeX data is parsed on a worker: the end is told without waiting for it.
            PLSyncTexSearch::prepare(job->m_source.pdfPath());
        }
        job->m_running = false;
        job->announceEnd();
        PLThreadHandOff::runOnMainThread([job = std::move(job)] {});
    });
    thread->setObjectName(QStringLiteral("typesetting"));
    m_jobThread = thread;
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    // No TeX program outlives the application.
    QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, thread,
                     [weak = weak_from_this()] {
                         if (const auto self = weak.lock())
                             self->stop();
                     });
    thread->start();
}

void PLTypesettingOperation::runProgram(PLTypesettingRun::Program program, const QString &launchPath,
                                        const QString &workingDirectory, const QStringList &arguments,
                                        PLStringEncoding encoding,
                                        const std::function<void(const QString &)> &chunkHandler,
                                        const std::function<void(const QString &)> &outputHandler)
{
    assertOnJobThread();
    // Each stream is decoded on its own, so that a character split between two reads is whole.
    PLStreamDecoder outputDecoder(encoding);
    PLStreamDecoder errorDecoder(encoding);
    const auto decode = [encoding](PLStreamDecoder &decoder, const QByteArray &bytes) {
        std::optional<QString> text = decoder.decode(bytes);
        if (!text)
            qCInfo(lcTypesetting) << "lost" << bytes.size() << "bytes of output that do not decode in encoding" << encoding;
        return text;
    };
    const PLTexRunResult result = m_runner.run(
        launchPath, workingDirectory, arguments,
        [&](const QByteArray &bytes) {
            if (const std::optional<QString> chunk = decode(outputDecoder, bytes); chunk && !chunk->isEmpty()) {
                if (chunkHandler)
                    chunkHandler(*chunk);
                outputHandler(*chunk);
            }
        },
        [&](const QByteArray &bytes) {
            if (const std::optional<QString> errors = decode(errorDecoder, bytes); errors && !errors->isEmpty())
                outputHandler(*errors);
        });
    // A program skipped because the job was stopped did not run.
    if (result.stopped && !result.started)
        return;
    m_runs.append(PLTypesettingRun{program, result});
    if (result.droppedErrorBytes > 0) {
        outputHandler(QStringLiteral("\nPlumeo: the first %1 bytes of the standard error of %2 were left out.\n")
                          .arg(result.droppedErrorBytes)
                          .arg(QFileInfo(launchPath).fileName()));
    }
    if (program == PLTypesettingRun::Engine && (result.failed() || result.stopped)) {
        qCInfo(lcTypesetting).noquote() << result.description();
        outputHandler(QStringLiteral("\nPlumeo: %1.\n").arg(result.description()));
    }
}

QString PLTypesettingOperation::droppedOutputNote(const QString &launchPath, qint64 dropped)
{
    return QStringLiteral("\nPlumeo: only the first %1 characters of the output of %2 are read for errors and "
                          "warnings; the %3 characters after them were left out.\n")
        .arg(PLCapturedOutput::kMaximumSize)
        .arg(QFileInfo(launchPath).fileName())
        .arg(dropped);
}

void PLTypesettingOperation::onMainThread(std::function<void()> call)
{
    PLThreadHandOff::runOnMainThread([self = shared_from_this(), call = std::move(call)] { call(); });
}

PLTypesettingSource PLTypesettingSource::fromFile(const PLFile &file)
{
    return PLTypesettingSource{file.stringPath(),
                               file.directoryOfFile(),
                               file.nameWithOutFileExtension(),
                               file.encoding(),
                               file.engine(),
                               PLUserDefaults::standardUserDefaults().boolForKey(PLUserDefaultsShellEscapeEnabled),
                               PLTexCommandLine::texFolder(),
                               PLTexCommandLine::engineProgram(file.engine())};
}

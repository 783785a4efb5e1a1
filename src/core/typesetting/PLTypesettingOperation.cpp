#include "PLTypesettingOperation.h"

#include "PLFile.h"

#include "PLLogging.h"
#include "PLTexCommandLine.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QThread>

PLTypesettingOperation::PLTypesettingOperation() : m_runner(PLTexCommandLine::texFolder()) {}

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

void PLTypesettingOperation::startJob()
{
    if (m_started.exchange(true))
        return;
    m_running = true;
    // The thread holds the operation until the job is over, as a queue holds its operations.
    QThread *thread = QThread::create([self = shared_from_this()] {
        self->main();
        self->m_running = false;
        self->announceEnd();
    });
    thread->setObjectName(QStringLiteral("typesetting"));
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    // No TeX program outlives the application.
    QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, thread,
                     [weak = weak_from_this()] {
                         if (const auto self = weak.lock())
                             self->stop();
                     });
    thread->start();
}

void PLTypesettingOperation::runProgram(const QString &launchPath, const QString &workingDirectory,
                                        const QStringList &arguments, PLStringEncoding encoding,
                                        const std::function<void(const QString &)> &chunkHandler,
                                        const std::function<void(const QString &)> &outputHandler)
{
    const auto decode = [encoding](const QByteArray &bytes) {
        std::optional<QString> text = PLStringEncodings::decode(bytes, encoding);
        if (!text)
            qCInfo(lcTypesetting) << "lost" << bytes.size() << "bytes of output that do not decode in encoding" << encoding;
        return text;
    };
    m_runner.run(
        launchPath, workingDirectory, arguments,
        [&](const QByteArray &bytes) {
            if (const std::optional<QString> chunk = decode(bytes)) {
                if (chunkHandler)
                    chunkHandler(*chunk);
                outputHandler(*chunk);
            }
        },
        [&](const QByteArray &bytes) {
            if (const std::optional<QString> errors = decode(bytes))
                outputHandler(*errors);
        });
}

void PLTypesettingOperation::onMainThread(std::function<void()> call)
{
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [self = shared_from_this(), call = std::move(call)] { call(); },
        Qt::QueuedConnection);
}

PLTypesettingSource PLTypesettingSource::fromFile(const PLFile &file)
{
    return PLTypesettingSource{file.stringPath(), file.directoryOfFile(), file.nameWithOutFileExtension(),
                               file.encoding(), file.engine()};
}

#include "PLTexTaskRunner.h"

#include "PLLogging.h"

#include <QProcess>

#include <signal.h>
#include <unistd.h>

PLTexTaskRunner::PLTexTaskRunner(QString texFolder) : m_texFolder(std::move(texFolder)) {}

bool PLTexTaskRunner::run(const QString &launchPath, const QString &workingDirectory, const QStringList &arguments,
                          const ChunkHandler &standardOutput, const ChunkHandler &standardError)
{
    if (isStopped())
        return false;

    QProcess process;
    process.setProgram(launchPath);
    process.setArguments(arguments);
    process.setWorkingDirectory(workingDirectory);
    process.setProcessEnvironment(environment());
    // A group of its own, so that stop() reaches the programs the engine starts itself.
    process.setChildProcessModifier([] { ::setpgid(0, 0); });
    qCInfo(lcTypesetting).noquote() << "running" << launchPath << arguments.join(u' ') << "in" << workingDirectory
                                    << "with TEXMFHOME alone, not with PATH" << searchPath(m_texFolder);
    process.start();
    if (!process.waitForStarted(-1)) {
        qCWarning(lcTypesetting).noquote() << "could not start" << launchPath << ":" << process.errorString();
        return false;
    }
    {
        std::lock_guard lock(m_mutex);
        m_processGroup = pid_t(process.processId());
        if (m_stopped)
            ::kill(-m_processGroup, SIGKILL);
    }
    // A program that asks for input gets end of file instead of waiting for ever.
    process.closeWriteChannel();

    while (process.state() != QProcess::NotRunning) {
        if (process.waitForReadyRead(-1)) {
            const QByteArray chunk = process.readAllStandardOutput();
            if (!chunk.isEmpty())
                standardOutput(chunk);
        } else if (process.state() != QProcess::NotRunning) {
            // Standard output was closed while the program goes on: wait for its end instead.
            process.waitForFinished(-1);
        }
    }
    {
        std::lock_guard lock(m_mutex);
        m_processGroup = 0;
    }
    const QByteArray rest = process.readAllStandardOutput();
    if (!rest.isEmpty())
        standardOutput(rest);
    const QByteArray errors = process.readAllStandardError();
    if (!errors.isEmpty())
        standardError(errors);
    return true;
}

void PLTexTaskRunner::stop()
{
    std::lock_guard lock(m_mutex);
    m_stopped = true;
    if (m_processGroup > 0) {
        qCInfo(lcTypesetting) << "stopping process group" << m_processGroup;
        ::kill(-m_processGroup, SIGKILL);
    }
}

bool PLTexTaskRunner::isStopped() const
{
    std::lock_guard lock(m_mutex);
    return m_stopped;
}

QProcessEnvironment PLTexTaskRunner::environment()
{
    QProcessEnvironment environment;
    environment.insert(QStringLiteral("TEXMFHOME"), qEnvironmentVariable("HOME") + QStringLiteral("/Library/texmf"));
    return environment;
}

QString PLTexTaskRunner::searchPath(const QString &texFolder)
{
    return qEnvironmentVariable("PATH") + QStringLiteral(":/sw/bin:/opt/local/bin:/usr/texbin/:") + texFolder;
}

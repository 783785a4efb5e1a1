#include "core/typesetting/PLTexTaskRunner.h"

#include "core/foundation/PLLogging.h"

#include <QEventLoop>
#include <QFileInfo>
#include <QProcess>

#include <cstring>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

// The tail of a stream: the last bytes up to a bound, cut at a line start where it was cut.
class BoundedTail
{
public:
    explicit BoundedTail(qsizetype bound) : m_bound(bound) {}

    void append(const QByteArray &bytes)
    {
        m_bytes += bytes;
        if (m_bytes.size() <= m_bound)
            return;
        qsizetype cut = m_bytes.size() - m_bound;
        const qsizetype lineStart = m_bytes.indexOf('\n', cut);
        if (lineStart >= 0)
            cut = lineStart + 1;
        m_bytes.remove(0, cut);
        m_dropped += cut;
    }
    const QByteArray &bytes() const { return m_bytes; }
    qint64 dropped() const { return m_dropped; }

private:
    qsizetype m_bound;
    QByteArray m_bytes;
    qint64 m_dropped = 0;
};

}

bool PLTexRunResult::failed() const
{
    return !stopped && (!started || signal != 0 || exitCode != 0);
}

QString PLTexRunResult::description() const
{
    const QString program = QFileInfo(launchPath).fileName();
    if (!started)
        return QStringLiteral("could not run %1: %2").arg(launchPath, errorString);
    if (stopped)
        return QStringLiteral("%1 was stopped").arg(program);
    if (signal != 0)
        return QStringLiteral("%1 was ended by signal %2 (%3)").arg(program).arg(signal).arg(QString::fromLocal8Bit(::strsignal(signal)));
    return QStringLiteral("%1 ended with exit status %2").arg(program).arg(exitCode);
}

PLTexTaskRunner::PLTexTaskRunner(QString texFolder) : m_texFolder(std::move(texFolder)) {}

PLTexRunResult PLTexTaskRunner::run(const QString &launchPath, const QString &workingDirectory,
                                    const QStringList &arguments, const ChunkHandler &standardOutput,
                                    const ChunkHandler &standardError)
{
    PLTexRunResult result;
    result.launchPath = launchPath;
    if (isStopped()) {
        result.stopped = true;
        result.errorString = QStringLiteral("the job was stopped");
        return result;
    }

    QProcess process;
    process.setProgram(launchPath);
    process.setArguments(arguments);
    process.setWorkingDirectory(workingDirectory);
    process.setProcessEnvironment(environment());
    const pid_t parent = ::getpid();
    process.setChildProcessModifier([parent] {
        // A group of its own, so that stop() reaches the programs the engine starts itself.
        ::setpgid(0, 0);
        // Killed with the thread that started it, also when Plumeo itself is killed; a parent
        // that died before this line was reached is seen as a new parent.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent)
            ::_exit(127);
    });
    qCInfo(lcTypesetting).noquote() << "running" << launchPath << arguments.join(u' ') << "in" << workingDirectory
                                    << "with TEXMFHOME alone, not with PATH" << searchPath(m_texFolder);

    // Both streams are read as they come, so a flood on either never piles up in the pipe's
    // buffer; standard error is handed over at the end, after the last of standard output.
    BoundedTail errors(kMaximumErrorBytes);
    QEventLoop loop;
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &loop, [&] {
        const QByteArray chunk = process.readAllStandardOutput();
        if (!chunk.isEmpty())
            standardOutput(chunk);
    });
    QObject::connect(&process, &QProcess::readyReadStandardError, &loop,
                     [&] { errors.append(process.readAllStandardError()); });
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    process.start();
    if (!process.waitForStarted(-1)) {
        result.errorString = process.errorString();
        qCWarning(lcTypesetting).noquote() << "could not start" << launchPath << ":" << result.errorString;
        return result;
    }
    result.started = true;
    const pid_t group = pid_t(process.processId());
    {
        std::lock_guard lock(m_mutex);
        m_processGroup = group;
        if (m_stopped)
            ::kill(-group, SIGKILL);
    }
    // A program that asks for input gets end of file instead of waiting for ever.
    process.closeWriteChannel();
    if (process.state() != QProcess::NotRunning)
        loop.exec();
    {
        std::lock_guard lock(m_mutex);
        m_processGroup = 0;
        result.stopped = m_stopped;
    }
    // What the program left running in its group (a background child it started) ends with it.
    ::kill(-group, SIGKILL);

    if (const QByteArray rest = process.readAllStandardOutput(); !rest.isEmpty())
        standardOutput(rest);
    errors.append(process.readAllStandardError());
    if (!errors.bytes().isEmpty())
        standardError(errors.bytes());
    result.droppedErrorBytes = errors.dropped();
    // Qt gives the signal's number as the exit code of a program that a signal ended.
    if (process.exitStatus() == QProcess::CrashExit)
        result.signal = process.exitCode();
    else
        result.exitCode = process.exitCode();
    return result;
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

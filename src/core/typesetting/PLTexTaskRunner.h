#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <functional>
#include <mutex>
#include <sys/types.h>

// Runs the TeX programs of one typesetting job, one after another, on the job's thread.
//
// Each program starts in a process group of its own, with standard input closed and an
// environment that holds TEXMFHOME alone. Standard output is handed over chunk by chunk as it
// arrives; whatever is still in the pipe when the program ends follows as a last chunk, then
// standard error in one piece. There is no time-out: a program runs until it ends or until stop()
// ends its whole process group (the engine's children from --shell-escape included).
class PLTexTaskRunner
{
public:
    using ChunkHandler = std::function<void(const QByteArray &)>;

    // The TeX folder goes into the search path written in each run's diagnostic line.
    explicit PLTexTaskRunner(QString texFolder);

    // Runs the program to its end. Answers false when it could not be started, or when the runner
    // had been stopped before, in which case nothing is started.
    bool run(const QString &launchPath, const QString &workingDirectory, const QStringList &arguments,
             const ChunkHandler &standardOutput, const ChunkHandler &standardError);

    // Safe from any thread: ends the running program's process group at once and makes every
    // later run() a no-op.
    void stop();
    bool isStopped() const;

    // TEXMFHOME alone: the user's home folder followed by "/Library/texmf".
    static QProcessEnvironment environment();
    // The search path that was once meant for the programs (the inherited PATH, the usual TeX
    // folders and the TeX folder); the environment above replaces it, so the programs never see
    // it. It is written in the diagnostic line of every run.
    static QString searchPath(const QString &texFolder);

private:
    QString m_texFolder;
    mutable std::mutex m_mutex;
    bool m_stopped = false;
    pid_t m_processGroup = 0;
};

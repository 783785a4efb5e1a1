#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <functional>
#include <mutex>
#include <sys/types.h>

// How one program run ended.
struct PLTexRunResult
{
    QString launchPath;
    // False when the program could not be started (missing, not executable, a folder, ...).
    bool started = false;
    // Ended by PLTexTaskRunner::stop().
    bool stopped = false;
    // The program's exit status when it ended by itself; -1 when it did not.
    int exitCode = -1;
    // The signal that ended it; 0 when none did.
    int signal = 0;
    // Why it could not be started.
    QString errorString;
    // Bytes of standard error left out, oldest first, to keep what is held bounded.
    qint64 droppedErrorBytes = 0;

    // Not started, ended by a signal other than stop()'s, or a non-zero exit status.
    bool failed() const;
    // What happened, for the console and the command line: "pdflatex ended with exit status 1",
    // "pdflatex was ended by signal 25 (File size limit exceeded)", "could not run /x/pdflatex: ...".
    QString description() const;
};

// Runs the TeX programs of one typesetting job, one after another, on the job's thread.
//
// Each program starts in a process group of its own, with standard input closed and an
// environment that holds TEXMFHOME alone, and dies with the thread that started it, so that an
// engine never outlives a Plumeo that was killed. Standard output is handed over chunk by chunk as
// it arrives; standard error is read as it arrives too but handed over in one piece at the end,
// keeping only its last kMaximumErrorBytes. When the program ends, whatever it left running in its
// group is ended as well. There is no time-out: a program runs until it ends or until stop() ends
// its whole process group (the engine's children from --shell-escape included).
class PLTexTaskRunner
{
public:
    using ChunkHandler = std::function<void(const QByteArray &)>;

    static constexpr qsizetype kMaximumErrorBytes = 1024 * 1024;

    // The TeX folder goes into the search path written in each run's diagnostic line.
    explicit PLTexTaskRunner(QString texFolder);

    // Runs the program to its end. Nothing is started when the runner had been stopped before.
    PLTexRunResult run(const QString &launchPath, const QString &workingDirectory, const QStringList &arguments,
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

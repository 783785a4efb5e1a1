#pragma once

#include "PLStringEncoding.h"
#include "PLTexTaskRunner.h"

#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>

class PLFile;

// What a job needs of its file, taken on the caller's thread when the job is accepted, so the job's
// thread never touches the file object.
struct PLTypesettingSource
{
    static PLTypesettingSource fromFile(const PLFile &file);

    QString filePath;
    QString folder;
    QString baseName;
    PLStringEncoding encoding = PLStringEncodings::UTF8;
    int engine = 0;
};

// What both typesetting drivers share: one job in the object's life, run on a thread of its own
// while the object keeps itself alive; the TeX programs run one after another through a
// PLTexTaskRunner; their output is decoded chunk by chunk in the file's encoding; and messages for
// the main thread are queued to it.
class PLTypesettingOperation : public std::enable_shared_from_this<PLTypesettingOperation>
{
public:
    virtual ~PLTypesettingOperation();
    PLTypesettingOperation(const PLTypesettingOperation &) = delete;
    PLTypesettingOperation &operator=(const PLTypesettingOperation &) = delete;

    // Safe from any thread: ends the running program with everything it started; the programs
    // still to come are skipped. The job then ends as usual: what the first engine run wrote so
    // far is parsed, and the end is announced.
    void stop();
    bool isStopped() const;

    // Whether a file exists at the path; whether it can be run is not asked.
    static bool isEnginePresentInFileSystem(const QString &path);

protected:
    PLTypesettingOperation();

    // Starts main() on a thread of its own; once in the object's life.
    void startJob();
    bool hasStartedJob() const { return m_started.load(); }
    bool isRunningJob() const { return m_running.load(); }
    // The job, on its own thread.
    virtual void main() = 0;
    // Called on the job's thread once main() has returned and the running flag is clear: queues
    // the end message for the main thread.
    virtual void announceEnd() = 0;

    // Runs one program to its end in the folder. Each decoded chunk of standard output goes to the
    // chunk handler (if any), then to the output handler; standard error goes to the output
    // handler once the program has ended. A chunk that does not decode in the encoding is lost.
    void runProgram(const QString &launchPath, const QString &workingDirectory, const QStringList &arguments,
                    PLStringEncoding encoding, const std::function<void(const QString &)> &chunkHandler,
                    const std::function<void(const QString &)> &outputHandler);

    // Queues the call to the main thread; this object lives at least until it has run.
    void onMainThread(std::function<void()> call);

private:
    std::atomic<bool> m_started{false};
    std::atomic<bool> m_running{false};
    PLTexTaskRunner m_runner;
};

#pragma once

#include "core/foundation/PLStringEncoding.h"
#include "core/typesetting/PLTexTaskRunner.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>

class PLFile;
class QThread;

// What a job needs of its file and of the settings, taken on the owner's thread when the job is
// accepted: the job's thread reads neither file objects nor the settings store.
struct PLTypesettingSource
{
    static PLTypesettingSource fromFile(const PLFile &file);

    QString filePath;
    QString folder;
    QString baseName;
    PLStringEncoding encoding = PLStringEncodings::UTF8;
    int engine = 0;
    // The setting "PLUserDefaultsShellEscapeEnabled" when the job starts.
    bool shellEscape = true;
    // The TeX folder and the engine's program, from their settings when the job starts.
    QString texFolder;
    QString engineProgram;

    QString pdfPath() const { return folder + baseName + QStringLiteral(".pdf"); }
    QString enginePath() const { return texFolder + engineProgram; }
    QString bibtexPath() const { return texFolder + QStringLiteral("bibtex"); }
};

// The delegate of a job. It belongs to the thread that owns the job, which alone sets it and
// calls it directly; the job's thread calls it too, with no lock held. Setting it waits until no
// call from the job's thread is under way, so a delegate taken away is never called afterwards:
// a delegate must therefore never wait for the owner's thread in a call from the job's thread.
template<class Delegate>
class PLJobDelegate
{
public:
    Delegate *get() const { return m_delegate.load(); }
    void set(Delegate *delegate)
    {
        m_delegate.store(delegate);
        for (int calls = m_callsFromJob.load(); calls != 0; calls = m_callsFromJob.load())
            m_callsFromJob.wait(calls);
    }
    // On the owner's thread.
    template<class Message>
    void tell(const Message &message) const
    {
        if (Delegate *delegate = m_delegate.load())
            message(delegate);
    }
    // On the job's thread.
    template<class Message>
    void tellFromJob(const Message &message) const
    {
        m_callsFromJob.fetch_add(1);
        if (Delegate *delegate = m_delegate.load())
            message(delegate);
        if (m_callsFromJob.fetch_sub(1) == 1)
            m_callsFromJob.notify_all();
    }

private:
    std::atomic<Delegate *> m_delegate{nullptr};
    mutable std::atomic<int> m_callsFromJob{0};
};

// One program run of a job and how it ended.
struct PLTypesettingRun
{
    enum Program { Engine, BibTeX };
    Program program = Engine;
    PLTexRunResult result;
};

// The first engine run's output as kept for the log parser: everything up to a bound far above the
// output of any real document; a flooding engine's output beyond it is shown but not kept.
class PLCapturedOutput
{
public:
    static constexpr qsizetype kMaximumSize = 16 * 1024 * 1024;

    // Keeps the chunk if it fits; answers whether it did.
    bool append(const QString &chunk);
    const QString &text() const { return m_text; }
    qint64 dropped() const { return m_dropped; }

private:
    QString m_text;
    qint64 m_dropped = 0;
};

// What both typesetting drivers share: one job in the object's life, run on a thread of its own
// while the object keeps itself alive; the TeX programs run one after another through a
// PLTexTaskRunner; their output is decoded as a stream in the file's encoding; how each run ended
// is kept and told in the output; and messages for the main thread are queued to it.
//
// Thread rules, checked in debug builds: the object is made, started and given its delegate on
// its owner's thread (the main thread); main() and the program runs are on the job's thread, which
// reads only the source taken at the start; results go back as calls queued to the main thread.
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

    // Read once the end has been announced: every program run of the job, in order (programs
    // skipped after stop() are not in it).
    const QList<PLTypesettingRun> &runs() const { return m_runs; }
    // What went wrong with the first engine run that failed (could not be started, was ended by a
    // signal, or ended with a non-zero status); empty when none did.
    QString engineFailure() const;
    // Whether the job wrote the PDF: it is there, and new or changed since the job started.
    bool wasPdfWritten() const { return m_pdfWritten; }

protected:
    PLTypesettingOperation();

    // Starts main() on a thread of its own; once in the object's life.
    void startJob(const PLTypesettingSource &source);
    bool hasStartedJob() const { return m_started.load(); }
    bool isRunningJob() const { return m_running.load(); }
    const PLTypesettingSource &source() const { return m_source; }
    // The job, on its own thread.
    virtual void main() = 0;
    // Called on the job's thread once main() has returned and the running flag is clear: queues
    // the end message for the main thread.
    virtual void announceEnd() = 0;

    // Runs one program to its end in the folder. Each decoded chunk of standard output goes to the
    // chunk handler (if any), then to the output handler; standard error goes to the output
    // handler once the program has ended, then a line on how an engine run failed and on anything
    // left out. Bytes that do not decode in the encoding are lost with their chunk.
    void runProgram(PLTypesettingRun::Program program, const QString &launchPath, const QString &workingDirectory,
                    const QStringList &arguments, PLStringEncoding encoding,
                    const std::function<void(const QString &)> &chunkHandler,
                    const std::function<void(const QString &)> &outputHandler);
    // The note shown when the kept output of the first engine run reached its bound.
    static QString droppedOutputNote(const QString &launchPath, qint64 dropped);

    // Queues the call to the main thread; this object lives at least until it has run.
    void onMainThread(std::function<void()> call);

    void assertOnOwnerThread() const;
    void assertOnJobThread() const;

private:
    struct PdfState
    {
        bool exists = false;
        QDateTime modified;
        qint64 size = 0;
        static PdfState of(const QString &path);
        bool operator==(const PdfState &) const = default;
    };

    QThread *const m_ownerThread;
    std::atomic<QThread *> m_jobThread{nullptr};
    std::atomic<bool> m_started{false};
    std::atomic<bool> m_running{false};
    PLTexTaskRunner m_runner;
    PLTypesettingSource m_source;
    QList<PLTypesettingRun> m_runs;
    PdfState m_pdfBefore;
    bool m_pdfWritten = false;
};

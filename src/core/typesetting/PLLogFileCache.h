#pragma once

#include <QHash>
#include <QString>

#include <memory>

class PLFile;

// The file objects that a log parser attributes messages to, opened through the file pool with
// the preferred encoding and no content parser.
//
// Files belong to the main thread (their text buffers live there, and the pool takes no locks),
// while the parsers run on the typesetting job's thread: from there, each file is opened on the
// main thread while the job waits. The main thread must therefore never wait for a job.
// A path is opened once per parse, so a long log does not raise a file's open count once per
// mention.
class PLLogFileCache
{
public:
    std::shared_ptr<PLFile> fileForPath(const QString &path);
    void clear() { m_files.clear(); }

private:
    QHash<QString, std::shared_ptr<PLFile>> m_files;
};

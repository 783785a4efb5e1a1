#pragma once

#include <QByteArray>
#include <QString>

struct stat;

// What a project file looked like on disk when its text was last read or written: enough to tell
// at the next save whether another program changed it in between.
struct PLFileDiskState
{
    bool exists = false;
    qint64 size = 0;
    qint64 modificationTimeNs = 0;
    quint64 device = 0;
    quint64 inode = 0;
    // A hash of the bytes read or written; empty when none were.
    QByteArray digest;

    // The path's metadata now, following symbolic links; no digest.
    static PLFileDiskState ofPath(const QString &path);
    static PLFileDiskState ofStat(const struct stat &info);
    static QByteArray digestOf(const QByteArray &bytes);

    // Whether the path still holds what this state recorded. Size and time settle most cases; a
    // file that was only touched or copied over with the same size has its bytes compared.
    bool isStillOnDisk(const QString &path) const;
};

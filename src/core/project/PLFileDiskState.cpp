#include "core/project/PLFileDiskState.h"

#include "core/project/PLRegularFileReader.h"

#include <QCryptographicHash>
#include <QFile>

#include <sys/stat.h>

PLFileDiskState PLFileDiskState::ofPath(const QString &path)
{
    struct stat info;
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? ofStat(info) : PLFileDiskState();
}

PLFileDiskState PLFileDiskState::ofStat(const struct stat &info)
{
    PLFileDiskState state;
    state.exists = true;
    state.size = info.st_size;
    state.modificationTimeNs = qint64(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec;
    state.device = info.st_dev;
    state.inode = info.st_ino;
    return state;
}

QByteArray PLFileDiskState::digestOf(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

bool PLFileDiskState::isStillOnDisk(const QString &path) const
{
    const PLFileDiskState now = ofPath(path);
    if (now.exists != exists)
        return false;
    if (!exists)
        return true;
    if (now.size != size)
        return false;
    if (now.modificationTimeNs == modificationTimeNs && now.device == device && now.inode == inode)
        return true;
    if (digest.isEmpty())
        return false;
    const PLRegularFileReader::Result read = PLRegularFileReader::read(path);
    return read.bytes && digestOf(*read.bytes) == digest;
}

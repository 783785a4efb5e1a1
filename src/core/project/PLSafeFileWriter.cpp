#include "core/project/PLSafeFileWriter.h"

#include "core/foundation/PLLogging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRandomGenerator>
#include <QSet>

#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
const QString kDomain = QStringLiteral("PLSafeFileWriter");
const QString kMarker = QStringLiteral(".plumeo-save-");

QString temporaryPrefix(const QString &fileName)
{
    return u'.' + fileName + kMarker;
}

bool fail(PLError *error, const QString &path, int code)
{
    PLSetError(error, kDomain, code,
               QStringLiteral("The file “%1” could not be saved: %2.").arg(path, QString::fromLocal8Bit(std::strerror(code))));
    return false;
}

// Zero, or the error that stopped the write.
int writeAll(int fd, const QByteArray &bytes)
{
    const char *data = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t written = ::write(fd, data, size_t(left));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return errno;
        if (written == 0)
            return EIO;
        data += written;
        left -= written;
    }
    return 0;
}

// Only a privileged process may give a file away; the group alone may still be kept.
void keepOwner(int fd, const struct stat &existing, const QString &path)
{
    if (existing.st_uid == ::geteuid() && existing.st_gid == ::getegid())
        return;
    if (::fchown(fd, existing.st_uid, existing.st_gid) != 0 && ::fchown(fd, uid_t(-1), existing.st_gid) != 0)
        qCDebug(lcFile).noquote() << QStringLiteral("could not keep the owner of %1").arg(path);
}

// The file a write of the path lands in: the end of its chain of symbolic links, bounded as the
// kernel bounds it so that a loop of links ends.
QString resolvedTarget(const QString &path)
{
    QFileInfo info(path);
    for (int depth = 0; depth < 40 && info.isSymLink(); ++depth)
        info.setFile(info.symLinkTarget());
    return info.isSymLink() ? path : info.absoluteFilePath();
}

bool isLive(pid_t pid)
{
    return ::kill(pid, 0) == 0 || errno == EPERM;
}
}

namespace PLSafeFileWriter {

bool write(const QString &path, const QByteArray &bytes, PLFileDiskState *written, PLError *error)
{
    const QString target = resolvedTarget(path);
    const QFileInfo targetInfo(target);
    const QString prefix = targetInfo.absoluteDir().filePath(temporaryPrefix(targetInfo.fileName()))
        + QString::number(::getpid()) + u'-';
    struct stat existing;
    const bool exists = ::stat(QFile::encodeName(target).constData(), &existing) == 0;

    // A new file gets the usual mode through the process's umask; a replaced one is kept private
    // until it has the mode of the file it replaces.
    QByteArray temporary;
    int fd = -1;
    for (int attempt = 0; fd < 0 && attempt < 100; ++attempt) {
        temporary = QFile::encodeName(prefix + QString::number(QRandomGenerator::global()->generate(), 36));
        fd = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, exists ? 0600 : 0666);
        if (fd < 0 && errno != EEXIST)
            return fail(error, path, errno);
    }
    if (fd < 0)
        return fail(error, path, EEXIST);

    int code = writeAll(fd, bytes);
    if (!code && exists) {
        if (::fchmod(fd, existing.st_mode & 07777) != 0)
            code = errno;
        else
            keepOwner(fd, existing, path);
    }
    struct stat result;
    if (!code && (::fsync(fd) != 0 || ::fstat(fd, &result) != 0))
        code = errno;
    if (::close(fd) != 0 && !code)
        code = errno;
    if (!code && ::rename(temporary.constData(), QFile::encodeName(target).constData()) != 0)
        code = errno;
    if (code) {
        ::unlink(temporary.constData());
        return fail(error, path, code);
    }
    if (written) {
        *written = PLFileDiskState::ofStat(result);
        written->digest = PLFileDiskState::digestOf(bytes);
    }
    return true;
}

void removeStaleTemporaryFiles(const QStringList &paths)
{
    QHash<QString, QSet<QString>> namesByFolder;
    for (const QString &path : paths) {
        const QFileInfo target(resolvedTarget(path));
        namesByFolder[target.absolutePath()].insert(target.fileName());
    }
    for (auto folder = namesByFolder.cbegin(); folder != namesByFolder.cend(); ++folder) {
        const QDir dir(folder.key());
        const QStringList entries = dir.entryList(QStringList{QStringLiteral(".*") + kMarker + u'*'},
                                                  QDir::Files | QDir::Hidden | QDir::System);
        for (const QString &entry : entries) {
            const qsizetype marker = entry.lastIndexOf(kMarker);
            if (marker < 1 || !folder.value().contains(entry.mid(1, marker - 1)))
                continue;
            const QString rest = entry.mid(marker + kMarker.size());
            bool isNumber = false;
            const qint64 pid = rest.section(u'-', 0, 0).toLongLong(&isNumber);
            if (!isNumber || pid <= 0 || pid != pid_t(pid) || rest.count(u'-') != 1 || isLive(pid_t(pid)))
                continue;
            const QString stale = dir.filePath(entry);
            if (QFileInfo(stale).isSymLink())
                continue;
            if (QFile::remove(stale))
                qCInfo(lcFile).noquote() << QStringLiteral("removed %1, left by an interrupted save").arg(stale);
        }
    }
}
}

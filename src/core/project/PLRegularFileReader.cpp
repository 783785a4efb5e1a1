#include "core/project/PLRegularFileReader.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
QString systemReason(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

// Closes the descriptor whatever way the read ends.
struct Descriptor
{
    int fd;
    ~Descriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
};
}

namespace PLRegularFileReader {

Result read(const QString &path)
{
    Result result;
    const QString name = QFileInfo(path).fileName();
    const QByteArray encodedPath = QFile::encodeName(path);
    struct stat info;
    if (::stat(encodedPath.constData(), &info) != 0) {
        if (errno != ENOENT)
            result.failure = QStringLiteral("“%1” could not be read: %2.").arg(name, systemReason(errno));
        return result;
    }
    // Recorded even for what is not read, so that it counts as changed on disk only once it does.
    result.state = PLFileDiskState::ofStat(info);
    if (!S_ISREG(info.st_mode)) {
        result.failure = S_ISDIR(info.st_mode)
            ? QStringLiteral("“%1” is a folder, not a file.").arg(name)
            : QStringLiteral("“%1” is not a regular file (a device, a pipe or a socket) and is not read.").arg(name);
        return result;
    }
    if (info.st_size > maximumSize) {
        result.failure = QStringLiteral("“%1” is larger than %2 MB and is not read.").arg(name).arg(maximumSize / (1024 * 1024));
        return result;
    }
    // Non-blocking, so that a pipe put in the file's place since the check cannot stall the open;
    // the second check below turns it away.
    const Descriptor descriptor{::open(encodedPath.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)};
    if (descriptor.fd < 0) {
        result.failure = QStringLiteral("“%1” could not be read: %2.").arg(name, systemReason(errno));
        return result;
    }
    if (::fstat(descriptor.fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        result.failure = QStringLiteral("“%1” is not a regular file (a device, a pipe or a socket) and is not read.").arg(name);
        return result;
    }
    // Room for one byte more than the file holds: the read that finds its end then needs no larger
    // copy, and a file still growing is seen. Reading goes on to one byte past the limit, so such a
    // file is refused rather than cut.
    QByteArray bytes;
    bytes.resize(qsizetype(info.st_size) + 1);
    qsizetype filled = 0;
    for (;;) {
        if (filled == bytes.size()) {
            if (bytes.size() > maximumSize)
                break;
            bytes.resize(std::min<qsizetype>(maximumSize + 1, std::max<qsizetype>(4096, bytes.size() * 2)));
        }
        const ssize_t got = ::read(descriptor.fd, bytes.data() + filled, size_t(bytes.size() - filled));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0) {
            result.failure = QStringLiteral("“%1” could not be read: %2.").arg(name, systemReason(errno));
            return result;
        }
        if (got == 0)
            break;
        filled += got;
    }
    if (filled > maximumSize) {
        result.failure = QStringLiteral("“%1” is larger than %2 MB and is not read.").arg(name).arg(maximumSize / (1024 * 1024));
        return result;
    }
    bytes.truncate(filled);
    result.state = PLFileDiskState::ofStat(info);
    result.state.size = filled;
    result.state.digest = PLFileDiskState::digestOf(bytes);
    result.bytes = std::move(bytes);
    return result;
}
}

#pragma once

#include "core/project/PLFileDiskState.h"

#include <QByteArray>
#include <QString>

#include <optional>

// Reads the bytes of a project file. Only a regular file is read: a pipe would block the window
// and a device such as /dev/zero never ends. Anything larger than any real source is refused too.
namespace PLRegularFileReader {

inline constexpr qint64 maximumSize = 64 * 1024 * 1024;

struct Result
{
    // The bytes, or nothing when the path could not be read.
    std::optional<QByteArray> bytes;
    // The file as it was found; the digest is that of the bytes, when they were read.
    PLFileDiskState state;
    // Why nothing was read, in words for the user; empty when nothing exists at the path.
    QString failure;
};

Result read(const QString &path);
}

#pragma once

#include "core/foundation/PLError.h"
#include "core/project/PLFileDiskState.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

// Replaces a file's bytes all at once: the new bytes go to a hidden copy beside the file, which
// takes the file's place only once it is complete, so a full disk or a killed process leaves the
// old file whole. The file keeps its mode and, where allowed, its owner, and a symbolic link is
// written through to its target rather than replaced.
//
// The copy is named ".NAME.plumeo-save-PID-XXXXXX"; the process id tells a copy left by a process
// that died from one a live save is still writing.
namespace PLSafeFileWriter {

// Writes the bytes; on success the state describes the written file, digest included. Errors
// name the path given, never the hidden copy.
bool write(const QString &path, const QByteArray &bytes, PLFileDiskState *written, PLError *error);

// Deletes the copies of those files that no living process is writing. Only names of our own
// pattern beside the given files (or their link targets) are touched.
void removeStaleTemporaryFiles(const QStringList &paths);
}

#pragma once

#include "core/foundation/PLRange.h"
#include "core/project/PLFile.h"

#include <ostream>

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <vector>

// Shared helpers of the test binaries.
namespace PLTest {

// Points the process at a fresh settings store with the registered defaults, in its own folder.
void resetSettings();

// Writes bytes to a path, creating the folders on the way.
void writeFile(const QString &path, const QByteArray &bytes);
QByteArray readFile(const QString &path);

QString dataPath(const QString &relative);

// Called first in main, before any thread or child process exists.
void prepareProcess();

// The files a test opened, closed when it ends so that the next test finds the shared pool empty.
struct OpenedFiles : std::vector<std::shared_ptr<PLFile>>
{
    ~OpenedFiles()
    {
        for (const auto &file : *this)
            file->close();
    }
};

}

// Readable strings and ranges in test failures.
inline void PrintTo(const QString &text, std::ostream *os)
{
    *os << '"' << text.toStdString() << '"';
}

inline void PrintTo(const PLRange &range, std::ostream *os)
{
    *os << "{" << range.location << ", " << range.length << "}";
}

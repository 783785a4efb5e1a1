#include "PLLogFileCache.h"

#include "PLFile.h"

#include <QCoreApplication>
#include <QThread>

namespace {
std::shared_ptr<PLFile> openFile(const QString &path)
{
    return PLFile::fileWithPath(path, nullptr, PLFile::preferedEncoding());
}
}

std::shared_ptr<PLFile> PLLogFileCache::fileForPath(const QString &path)
{
    if (const auto it = m_files.constFind(path); it != m_files.constEnd())
        return it.value();
    std::shared_ptr<PLFile> file;
    QCoreApplication *application = QCoreApplication::instance();
    if (!application || QThread::currentThread() == application->thread()) {
        file = openFile(path);
    } else {
        QMetaObject::invokeMethod(application, [&file, &path] { file = openFile(path); },
                                  Qt::BlockingQueuedConnection);
    }
    m_files.insert(path, file);
    return file;
}

#pragma once

#include <QMap>
#include <QString>

#include <memory>

class PLFile;

// The process-wide map from path, or untitled name, to the one file object for it.
class PLFilePool
{
public:
    // The shared pool, created on first use. Every pool made makes itself the shared one while it
    // lives, which gives tests a fresh pool.
    static PLFilePool &sharedFilePool();

    PLFilePool();
    ~PLFilePool();
    PLFilePool(const PLFilePool &) = delete;
    PLFilePool &operator=(const PLFilePool &) = delete;

    // Stores the file under its path unless the path is empty or already stored.
    void didOpenFile(const std::shared_ptr<PLFile> &file);
    // Forgets the file's path when it is this file that is stored there.
    void didCloseFile(const std::shared_ptr<PLFile> &file);
    std::shared_ptr<PLFile> fileForPath(const QString &path) const;

    void didOpenUntitledFile(const std::shared_ptr<PLFile> &file);
    void didCloseUntitledFile(const std::shared_ptr<PLFile> &file);
    std::shared_ptr<PLFile> untitledFileWithName(const QString &name) const;

    const QMap<QString, std::shared_ptr<PLFile>> &filesOpened() const { return m_filesOpened; }
    const QMap<QString, std::shared_ptr<PLFile>> &untitledFiles() const { return m_untitledFiles; }

private:
    QMap<QString, std::shared_ptr<PLFile>> m_filesOpened;
    QMap<QString, std::shared_ptr<PLFile>> m_untitledFiles;
};

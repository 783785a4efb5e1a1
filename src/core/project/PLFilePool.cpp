#include "core/project/PLFilePool.h"

#include "core/project/PLFile.h"

namespace {
PLFilePool *s_sharedFilePool = nullptr;
}

PLFilePool &PLFilePool::sharedFilePool()
{
    static std::unique_ptr<PLFilePool> ownPool;
    if (!s_sharedFilePool)
        ownPool = std::make_unique<PLFilePool>();
    return *s_sharedFilePool;
}

PLFilePool::PLFilePool()
{
    s_sharedFilePool = this;
}

PLFilePool::~PLFilePool()
{
    if (s_sharedFilePool == this)
        s_sharedFilePool = nullptr;
}

void PLFilePool::didOpenFile(const std::shared_ptr<PLFile> &file)
{
    if (file && !file->stringPath().isEmpty() && !m_filesOpened.contains(file->stringPath()))
        m_filesOpened.insert(file->stringPath(), file);
}

void PLFilePool::didCloseFile(const std::shared_ptr<PLFile> &file)
{
    // A file closed once more after its path was opened again must not drop the newer object.
    if (file && m_filesOpened.value(file->stringPath()) == file)
        m_filesOpened.remove(file->stringPath());
}

std::shared_ptr<PLFile> PLFilePool::fileForPath(const QString &path) const
{
    return m_filesOpened.value(path);
}

void PLFilePool::didOpenUntitledFile(const std::shared_ptr<PLFile> &file)
{
    if (file && !file->name().isEmpty() && !m_untitledFiles.contains(file->name()))
        m_untitledFiles.insert(file->name(), file);
}

void PLFilePool::didCloseUntitledFile(const std::shared_ptr<PLFile> &file)
{
    // An untitled file can be renamed while it is open (a retyped include), so it is found by object.
    m_untitledFiles.removeIf([&](const auto &entry) { return entry.value() == file; });
}

std::shared_ptr<PLFile> PLFilePool::untitledFileWithName(const QString &name) const
{
    return m_untitledFiles.value(name);
}

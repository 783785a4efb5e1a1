#include "core/project/PLFileFactory.h"

#include "core/project/PLFile.h"
#include "core/foundation/PLUserDefaults.h"
#include "core/foundation/PLUserDefaultsConstants.h"

PLFileFactory::PLFileFactory(std::shared_ptr<PLFileContentOutlineParser> contentParser)
    : m_contentParser(std::move(contentParser)), m_encoding(encodingToUse())
{
}

std::shared_ptr<PLFile> PLFileFactory::untitledFileWithName(const QString &name) const
{
    return PLFile::untitledFileWithName(name, m_contentParser);
}

std::shared_ptr<PLFile> PLFileFactory::fileWithPath(const QString &path, PLError *error) const
{
    return fileWithPath(path, encodingToUse(), error);
}

std::shared_ptr<PLFile> PLFileFactory::fileWithURL(const QUrl &url, PLError *error) const
{
    return fileWithURL(url, encodingToUse(), error);
}

std::shared_ptr<PLFile> PLFileFactory::fileWithPath(const QString &path, PLStringEncoding encoding, PLError *error) const
{
    return PLFile::fileWithPath(path, m_contentParser, encoding, error);
}

std::shared_ptr<PLFile> PLFileFactory::fileWithURL(const QUrl &url, PLStringEncoding encoding, PLError *error) const
{
    return fileWithPath(url.toLocalFile(), encoding, error);
}

PLStringEncoding PLFileFactory::encodingToUse()
{
    const qint64 encoding = PLUserDefaults::standardUserDefaults().integerForKey(PLUserDefaultsFileEncoding);
    return encoding == 0 ? PLStringEncodings::UTF8 : PLStringEncoding(encoding);
}

#pragma once

#include "core/foundation/PLError.h"
#include "core/foundation/PLStringEncoding.h"

#include <QString>
#include <QUrl>

#include <memory>

class PLFile;
class PLFileContentOutlineParser;

// Makes project files with one content parser and the preferred encoding.
class PLFileFactory
{
public:
    explicit PLFileFactory(std::shared_ptr<PLFileContentOutlineParser> contentParser);

    std::shared_ptr<PLFile> untitledFileWithName(const QString &name) const;
    // These two read the encoding setting anew on every call.
    std::shared_ptr<PLFile> fileWithPath(const QString &path, PLError *error = nullptr) const;
    std::shared_ptr<PLFile> fileWithURL(const QUrl &url, PLError *error = nullptr) const;
    std::shared_ptr<PLFile> fileWithPath(const QString &path, PLStringEncoding encoding, PLError *error = nullptr) const;
    std::shared_ptr<PLFile> fileWithURL(const QUrl &url, PLStringEncoding encoding, PLError *error = nullptr) const;

    // The "PLUserDefaultsFileEncoding" setting; UTF-8 when it is missing or 0.
    static PLStringEncoding encodingToUse();

    const std::shared_ptr<PLFileContentOutlineParser> &contentParser() const { return m_contentParser; }
    PLStringEncoding encoding() const { return m_encoding; }

private:
    std::shared_ptr<PLFileContentOutlineParser> m_contentParser;
    PLStringEncoding m_encoding;
};

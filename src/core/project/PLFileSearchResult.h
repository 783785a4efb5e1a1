#pragma once

#include "core/foundation/PLRange.h"

#include <QString>

#include <memory>

class PLFile;

// One hit of a plain-text search in a file, with the whole line that holds it.
class PLFileSearchResult
{
public:
    PLFileSearchResult(const std::shared_ptr<PLFile> &file, QString searchString, PLRange range, QString lineWithSearchResult)
        : m_file(file), m_searchString(std::move(searchString)), m_range(range),
          m_lineWithSearchResult(std::move(lineWithSearchResult))
    {
    }

    // The file keeps its last results, so a result must not keep its file alive.
    std::shared_ptr<PLFile> file() const { return m_file.lock(); }
    const QString &searchString() const { return m_searchString; }
    PLRange range() const { return m_range; }
    // Trimmed of white space and line breaks at both ends.
    const QString &lineWithSearchResult() const { return m_lineWithSearchResult; }

private:
    std::weak_ptr<PLFile> m_file;
    QString m_searchString;
    PLRange m_range;
    QString m_lineWithSearchResult;
};

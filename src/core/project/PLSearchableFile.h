#pragma once

#include <QList>
#include <QString>

class PLFileSearchResult;

// What the find views need of a file: the hits of a plain-text search in its text.
class PLSearchableFile
{
public:
    virtual ~PLSearchableFile() = default;
    virtual QList<PLFileSearchResult> searchResultsInContentForString(const QString &string) = 0;
};

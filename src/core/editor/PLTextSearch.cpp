#include "core/editor/PLTextSearch.h"

namespace PLTextSearch {

PLRange rangeOfString(const QString &text, const QString &string, PLRange selection, qint32 direction)
{
    if (string.isEmpty())
        return PLNotFoundRange;
    const bool forwards = direction != Backwards;
    qsizetype location = -1;
    if (forwards) {
        location = text.indexOf(string, qBound<qsizetype>(0, selection.end(), text.size()), Qt::CaseInsensitive);
    } else {
        // A hit must end at or before the selection's start; lastIndexOf reads a negative start
        // as counted from the end, so that case is kept out.
        const qsizetype lastStart = qMin(selection.location, text.size()) - string.size();
        if (lastStart >= 0)
            location = text.lastIndexOf(string, lastStart, Qt::CaseInsensitive);
    }
    if (location < 0)
        location = forwards ? text.indexOf(string, 0, Qt::CaseInsensitive) : text.lastIndexOf(string, -1, Qt::CaseInsensitive);
    return location < 0 ? PLNotFoundRange : PLRange{location, string.size()};
}

}

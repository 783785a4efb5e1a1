#pragma once

#include "core/foundation/PLRange.h"

#include <QString>

// Turns a place in a source text into the line and column that SyncTeX is queried with.
class PLSyncTexCalculationUtil
{
public:
    // The line of the range's start (counted from 1, as SyncTeX counts) and its 0-based offset
    // within that line.
    void convertRange(PLRange range, const QString &text, int *lineNumber, int *column) const;
};

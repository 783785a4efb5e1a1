#include "core/typesetting/PLSyncTexCalculationUtil.h"

#include "core/foundation/PLStringLineCalculations.h"

void PLSyncTexCalculationUtil::convertRange(PLRange range, const QString &text, int *lineNumber, int *column) const
{
    if (lineNumber)
        *lineNumber = PLStringLineCalculations::lineNumberOfLocation(text, range.location);
    if (column)
        *column = int(range.location - PLStringLineCalculations::locationOfLineStartInRange(text, range));
}

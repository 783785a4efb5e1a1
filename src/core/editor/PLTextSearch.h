#pragma once

#include "core/foundation/PLRange.h"

#include <QString>

// Finds the next occurrence of a string around a selection the way the find bar does:
// case-insensitive and literal, forwards from the selection's end or backwards to the last
// occurrence before its start, wrapping around the text when that part holds none.
namespace PLTextSearch {

enum Direction : qint32 { Backwards = 0, Forwards = 1 };

// The range of the hit, or PLNotFoundRange when the text holds none (an empty string never matches).
PLRange rangeOfString(const QString &text, const QString &string, PLRange selection, qint32 direction);

}

#pragma once

#include "core/foundation/PLRange.h"

#include <QString>

class PLTextContentBuffer;

// Told of every replacement in a buffer's text, undo and redo included, once the characters have
// changed and before the views hear of it. The outline of a file follows its text this way, so the
// buffer needs to know nothing of outlines.
class PLTextContentBufferEditObserver
{
public:
    virtual ~PLTextContentBufferEditObserver() = default;
    // The range is where the replaced characters were; the string is what now stands there.
    virtual void textContentBufferDidReplaceCharactersInRange(PLTextContentBuffer *buffer, PLRange range, const QString &string) = 0;
};

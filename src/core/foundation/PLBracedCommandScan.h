#pragma once

#include "core/foundation/PLRange.h"

#include <QString>
#include <QStringView>

#include <initializer_list>

namespace PLBracedCommandScan {

// The first command in the range that is a backslash, one of the names (none is a prefix of
// another), a star where allowed, an opening brace, then at least one character of the line's
// content and the first closing brace after it: the whole command, or only its argument. An
// argument that does not close on its line is passed over to the end of the line's content, so
// each command is read once.
PLRange firstBracedCommand(const QString &string, PLRange range, std::initializer_list<QStringView> names, bool star,
                           bool argumentOnly);

}

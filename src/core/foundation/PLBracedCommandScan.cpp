#include "core/foundation/PLBracedCommandScan.h"

#include "core/foundation/PLStringLineCalculations.h"

#include <algorithm>

namespace {

using PLStringLineCalculations::endsLineContent;

// Reads a braced command at the backslash at i. Answers the argument and the end of the command;
// the end is i itself when no command of the names starts there.
std::pair<PLRange, qsizetype> readBracedCommand(const QString &string, qsizetype i, qsizetype end,
                                                std::initializer_list<QStringView> names, bool star)
{
    const QChar *text = string.constData();
    for (const QStringView name : names) {
        qsizetype at = i + 1;
        if (end - at < name.size() || !std::equal(name.begin(), name.end(), text + at))
            continue;
        at += name.size();
        if (star && at < end && text[at] == u'*')
            ++at;
        if (at >= end || text[at] != u'{')
            return {PLNotFoundRange, i};
        const qsizetype open = at + 1;
        if (open < end && !endsLineContent(text[open])) {
            qsizetype close = open + 1;
            while (close < end && text[close] != u'}' && !endsLineContent(text[close]))
                ++close;
            if (close < end && text[close] == u'}')
                return {PLRange{open, close - open}, close + 1};
        }
        qsizetype stop = open;
        while (stop < end && !endsLineContent(text[stop]))
            ++stop;
        return {PLNotFoundRange, stop};
    }
    return {PLNotFoundRange, i};
}

}

namespace PLBracedCommandScan {

PLRange firstBracedCommand(const QString &string, PLRange range, std::initializer_list<QStringView> names, bool star,
                           bool argumentOnly)
{
    const qsizetype end = std::clamp<qsizetype>(range.location + range.length, 0, string.size());
    // Backslashes are found by the vectorised character search: most of a text lies between them.
    const QStringView text = QStringView(string).first(end);
    for (qsizetype i = text.indexOf(u'\\', std::max<qsizetype>(range.location, 0)); i >= 0;) {
        const auto [argument, stop] = readBracedCommand(string, i, end, names, star);
        if (argument.isFound())
            return argumentOnly ? argument : PLRange{i, stop - i};
        i = text.indexOf(u'\\', stop == i ? i + 1 : stop);
    }
    return PLNotFoundRange;
}

}

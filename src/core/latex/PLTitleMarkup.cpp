#include "PLTitleMarkup.h"

#include <QSet>

namespace {

// The index just past the group that opens at the index (a "{…}" or, for optional arguments,
// a "[…]"), or -1 when none opens there or it does not close.
qsizetype endOfGroup(const QString &text, qsizetype start, QChar open, QChar close)
{
    if (start >= text.size() || text[start] != open)
        return -1;
    qsizetype depth = 0;
    for (qsizetype i = start; i < text.size(); ++i) {
        if (text[i] == u'\\') {
            ++i;
        } else if (text[i] == open) {
            ++depth;
        } else if (text[i] == close && --depth == 0) {
            return i + 1;
        }
    }
    return -1;
}

qsizetype endOfOptionalArguments(const QString &text, qsizetype at)
{
    for (qsizetype end; (end = endOfGroup(text, at, u'[', u']')) >= 0;)
        at = end;
    return at;
}

// Commands whose arguments are not part of the title as read.
const QSet<QString> &hiddenCommands()
{
    static const QSet<QString> commands{QStringLiteral("label"), QStringLiteral("index"), QStringLiteral("footnote"),
                                        QStringLiteral("footnotemark"), QStringLiteral("protect"),
                                        QStringLiteral("glossary")};
    return commands;
}

// Commands that take their argument and show nothing.
bool takesNoArgument(const QString &command)
{
    return command == u"protect" || command == u"footnotemark";
}

}

QString PLTitleMarkup::withoutHiddenMarkup(const QString &title)
{
    QString result;
    result.reserve(title.size());
    for (qsizetype i = 0; i < title.size();) {
        const QChar c = title[i];
        if (c == u'$') {
            ++i;
            continue;
        }
        if (c == u'~') {
            result += u' ';
            ++i;
            continue;
        }
        if (c != u'\\' || i + 1 >= title.size()) {
            result += c;
            ++i;
            continue;
        }
        const QChar next = title[i + 1];
        if (next == u'\\') {
            result += u' ';
            i += 2;
            continue;
        }
        if (next == u'(' || next == u')' || next == u'[' || next == u']') {
            i += 2;
            continue;
        }
        qsizetype nameEnd = i + 1;
        while (nameEnd < title.size() && title[nameEnd].isLetter() && title[nameEnd].unicode() < 128)
            ++nameEnd;
        const QString command = title.mid(i + 1, nameEnd - i - 1);
        if (command.isEmpty()) {
            // An escaped sign stands for itself; an accent stays for the display name to simplify.
            if (QStringView(u"%$&#_{} ").contains(next))
                result += next;
            else
                result += title.mid(i, 2);
            i += 2;
            continue;
        }
        if (command == u"texorpdfstring") {
            const qsizetype texEnd = endOfGroup(title, nameEnd, u'{', u'}');
            const qsizetype plainEnd = texEnd < 0 ? -1 : endOfGroup(title, texEnd, u'{', u'}');
            if (plainEnd >= 0) {
                result += withoutHiddenMarkup(title.mid(texEnd + 1, plainEnd - texEnd - 2));
                i = plainEnd;
                continue;
            }
        } else if (hiddenCommands().contains(command)) {
            const qsizetype argumentsStart = endOfOptionalArguments(title, nameEnd);
            const qsizetype end = takesNoArgument(command) ? argumentsStart : endOfGroup(title, argumentsStart, u'{', u'}');
            if (end >= 0) {
                i = end;
                continue;
            }
        }
        result += title.mid(i, nameEnd - i);
        i = nameEnd;
    }
    // A space at either end stays: the display name keeps the space that an empty command argument
    // leaves in front of the text.
    QString collapsed;
    collapsed.reserve(result.size());
    for (const QChar c : std::as_const(result)) {
        if (!c.isSpace())
            collapsed += c;
        else if (!collapsed.endsWith(u' '))
            collapsed += u' ';
    }
    return collapsed;
}

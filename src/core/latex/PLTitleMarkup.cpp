#include "core/latex/PLTitleMarkup.h"

#include <QSet>

#include <unordered_set>

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

// Commands whose one argument is not part of the title as read.
const QSet<QString> &hiddenCommandsWithArgument()
{
    static const QSet<QString> commands{QStringLiteral("label"), QStringLiteral("index"), QStringLiteral("footnote"),
                                        QStringLiteral("glossary")};
    return commands;
}

// Commands that take no argument and show nothing in a list of titles: font switches and the like.
const QSet<QString> &hiddenSwitches()
{
    static const QSet<QString> commands{
        QStringLiteral("protect"),    QStringLiteral("footnotemark"), QStringLiteral("bf"),
        QStringLiteral("it"),         QStringLiteral("em"),           QStringLiteral("sc"),
        QStringLiteral("tt"),         QStringLiteral("rm"),           QStringLiteral("sf"),
        QStringLiteral("sl"),         QStringLiteral("bfseries"),     QStringLiteral("itshape"),
        QStringLiteral("scshape"),    QStringLiteral("upshape"),      QStringLiteral("mdseries"),
        QStringLiteral("normalfont"), QStringLiteral("boldmath"),     QStringLiteral("unboldmath"),
        QStringLiteral("small"),      QStringLiteral("large"),        QStringLiteral("Large"),
        QStringLiteral("LARGE"),      QStringLiteral("huge"),         QStringLiteral("Huge"),
        QStringLiteral("normalsize"), QStringLiteral("footnotesize"), QStringLiteral("scriptsize"),
        QStringLiteral("tiny"),       QStringLiteral("newline"),      QStringLiteral("linebreak"),
    };
    return commands;
}

}

QString PLTitleMarkup::withoutHiddenMarkup(const QString &title)
{
    QString result;
    result.reserve(title.size());
    // Closing braces of plain groups, dropped with their opening brace.
    std::unordered_set<qsizetype> droppedBraces;
    // A group right after a command name is its argument, which the display name reads.
    bool afterCommandName = false;
    for (qsizetype i = 0; i < title.size();) {
        const QChar c = title[i];
        const bool argumentMayFollow = std::exchange(afterCommandName, false);
        if (c == u'$' || droppedBraces.count(i)) {
            ++i;
            continue;
        }
        if (c == u'{' && !argumentMayFollow) {
            if (const qsizetype end = endOfGroup(title, i, u'{', u'}'); end >= 0) {
                droppedBraces.insert(end - 1);
                ++i;
                continue;
            }
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
            // An escaped sign stands for itself and a spacing command for a space or nothing; an
            // accent stays for the display name to simplify.
            if (QStringView(u"%$&#_{} ").contains(next))
                result += next;
            else if (QStringView(u",;:").contains(next))
                result += u' ';
            else if (next != u'/' && next != u'!')
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
        } else if (hiddenCommandsWithArgument().contains(command)) {
            const qsizetype end = endOfGroup(title, endOfOptionalArguments(title, nameEnd), u'{', u'}');
            if (end >= 0) {
                i = end;
                continue;
            }
        } else if (hiddenSwitches().contains(command)) {
            // TeX takes the space after a command name as its end.
            i = endOfOptionalArguments(title, nameEnd);
            if (i < title.size() && title[i] == u' ')
                ++i;
            continue;
        }
        result += title.mid(i, nameEnd - i);
        i = nameEnd;
        afterCommandName = true;
        if (i < title.size() && title[i] == u'*') {
            result += u'*';
            ++i;
        }
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

#include "core/typesetting/PLLogScanning.h"

#include <unicode/uchar.h>

#include <limits>

namespace PLLogScanning {

qsizetype indexOfLiteral(QStringView text, QStringView literal, qsizetype from)
{
    const qsizetype last = text.size() - literal.size();
    while (from <= last) {
        const qsizetype first = text.indexOf(literal.front(), from);
        if (first < 0 || first > last)
            return -1;
        if (text.sliced(first, literal.size()) == literal)
            return first;
        from = first + 1;
    }
    return -1;
}

namespace {
qsizetype expressionLineEnd(QStringView text, qsizetype from, qsizetype limit)
{
    while (from < limit && !isExpressionLineEnd(text[from]))
        ++from;
    return from;
}

// What "(.)*\n" takes from the position: the rest of the line, which must end in LF before the
// limit. Answers the position after that LF.
std::optional<qsizetype> afterLineEndingInLineFeed(QStringView text, qsizetype from, qsizetype limit)
{
    const qsizetype end = expressionLineEnd(text, from, limit);
    if (end >= limit || text[end] != u'\n')
        return std::nullopt;
    return end + 1;
}

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

// Whether ":[0-9]*: " matches at the colon that ends the digits before the ": " at the position:
// answers that colon, or -1.
qsizetype lineNumberColonBefore(QStringView text, qsizetype colonSpace, qsizetype from)
{
    qsizetype i = colonSpace - 1;
    while (i >= from && isDigit(text[i]))
        --i;
    return i >= from && text[i] == u':' ? i : -1;
}
}

namespace {
// Steps from one occurrence of the literal to the next inside the range, asking the match's end at
// each; a miss steps past the literal, or past the line when the match may start anywhere in it.
template<typename MatchEnd, typename Found>
void scanAfterLiteral(QStringView literal, LiteralFollower follower, const QString &text, PLRange range,
                      MatchEnd matchEnd, Found found)
{
    const qsizetype limit = range.end();
    qsizetype position = range.location;
    while (position + literal.size() <= limit) {
        const qsizetype at = indexOfLiteral(QStringView(text).sliced(position, limit - position), literal);
        if (at < 0)
            return;
        const qsizetype candidate = position + at;
        if (const std::optional<qsizetype> end = matchEnd(candidate, limit)) {
            if (!found(PLRange{candidate, *end - candidate}))
                return;
            position = std::max(*end, candidate + 1);
        } else if (follower == LiteralFollower::AnyRunInLine) {
            position = expressionLineEnd(text, candidate, limit) + 1;
        } else {
            position = candidate + 1;
        }
    }
}
}

void enumerateMatchesAfterLiteral(const QString &pattern, QStringView literal, LiteralFollower follower,
                                  const QString &text, PLRange range,
                                  const std::function<bool(const PLRegexMatch &)> &callback,
                                  LinePrecondition precondition)
{
    std::optional<PLRegexMatch> match;
    const auto matchEnd = [&](qsizetype candidate, qsizetype limit) -> std::optional<qsizetype> {
        match.reset();
        if (precondition) {
            const qsizetype lineEnd = expressionLineEnd(text, candidate, limit);
            if (!precondition(QStringView(text).sliced(candidate, lineEnd - candidate)))
                return std::nullopt;
        }
        PLRegularExpressionHelper::enumerateMatches(
            pattern, text, PLRange{candidate, limit - candidate},
            [&](const PLRegexMatch &m) {
                match = m;
                return false;
            },
            PLRegularExpressionHelper::Anchored);
        return match ? std::optional<qsizetype>(match->range().end()) : std::nullopt;
    };
    scanAfterLiteral(literal, follower, text, range, matchEnd, [&](PLRange) { return callback(*match); });
}

void enumerateMatchesAfterLiteral(Matcher matcher, QStringView literal, LiteralFollower follower, const QString &text,
                                  PLRange range, const std::function<bool(PLRange)> &callback)
{
    scanAfterLiteral(literal, follower, text, range,
                     [&](qsizetype candidate, qsizetype limit) { return matcher(text, candidate, limit); }, callback);
}

std::optional<qsizetype> warningMatchEnd(QStringView text, qsizetype candidate, qsizetype limit)
{
    const std::optional<qsizetype> second =
        afterLineEndingInLineFeed(text, candidate + qsizetype(sizeof("LaTeX Warning: ") - 1), limit);
    return second ? afterLineEndingInLineFeed(text, *second, limit) : std::nullopt;
}

std::optional<qsizetype> undefinedControlSequenceMatchEnd(QStringView text, qsizetype candidate, qsizetype limit)
{
    // The "." of "sequence." takes any one character but a line end: a surrogate pair is one.
    qsizetype i = candidate + qsizetype(sizeof("! Undefined control sequence") - 1);
    if (i >= limit || isExpressionLineEnd(text[i]))
        return std::nullopt;
    i += text[i].isHighSurrogate() && i + 1 < limit && text[i + 1].isLowSurrogate() ? 2 : 1;
    if (i >= limit || text[i] != u'\n')
        return std::nullopt;
    std::optional<qsizetype> end = afterLineEndingInLineFeed(text, i + 1, limit);
    if (end)
        end = afterLineEndingInLineFeed(text, *end, limit);
    if (!end || *end >= limit || text[*end] != u'?')
        return std::nullopt;
    return *end + 1;
}

std::optional<qsizetype> fileOpeningMatchEnd(QStringView text, qsizetype candidate, qsizetype limit)
{
    // The shortest name: the first ".tex" on the line that a ")", a line feed or white space follows.
    const qsizetype nameStart = candidate + 3;
    const qsizetype lineEnd = expressionLineEnd(text, nameStart, limit);
    for (qsizetype dot = text.sliced(nameStart, lineEnd - nameStart).indexOf(u".tex"); dot >= 0;) {
        const qsizetype after = nameStart + dot + 4;
        if (after < limit && (text[after] == u')' || u_isUWhiteSpace(text[after].unicode())))
            return after + 1;
        dot = text.sliced(nameStart, lineEnd - nameStart).indexOf(u".tex", dot + 1);
    }
    return std::nullopt;
}

namespace {
std::optional<PLRegexMatch> generalErrorLineAt(QStringView text, qsizetype candidate, qsizetype limit)
{
    // The message runs to the end of the next line, so this line must end in a line feed.
    const qsizetype lineEnd = expressionLineEnd(text, candidate, limit);
    if (lineEnd >= limit || text[lineEnd] != u'\n')
        return std::nullopt;
    // The greedy run before ".tex:" gives up from the end of the line: the last ".tex:", digits
    // and ": " on it wins.
    const qsizetype from = candidate + 2;
    for (qsizetype colonSpace = text.sliced(from, lineEnd - from).lastIndexOf(u": "); colonSpace >= 0;) {
        colonSpace += from;
        const qsizetype colon = lineNumberColonBefore(text, colonSpace, from);
        if (colon - 4 >= from && text.sliced(colon - 4, 4) == u".tex") {
            const qsizetype nextLineEnd = expressionLineEnd(text, lineEnd + 1, limit);
            const PLRange whole{candidate, nextLineEnd - candidate};
            qsizetype messageStart = colonSpace + 2;
            PLRange latexError = PLNotFoundRange;
            const QStringView marker = u"LaTeX Error: ";
            if (text.sliced(messageStart, lineEnd - messageStart).startsWith(marker)) {
                latexError = PLRange{messageStart, marker.size()};
                messageStart += marker.size();
            }
            return PLRegexMatch({whole, whole, PLRange{candidate, colon - candidate},
                                 PLRange{colon + 1, colonSpace - colon - 1}, latexError,
                                 PLRange{messageStart, nextLineEnd - messageStart}});
        }
        colonSpace = text.sliced(from, colonSpace - from).lastIndexOf(u": ");
    }
    return std::nullopt;
}
}

std::optional<PLRegexMatch> firstGeneralErrorLine(QStringView text, PLRange range)
{
    const qsizetype limit = range.end();
    qsizetype position = range.location;
    while (position + 2 <= limit) {
        const qsizetype found = indexOfLiteral(text.sliced(position, limit - position), u"./");
        if (found < 0)
            return std::nullopt;
        const qsizetype candidate = position + found;
        if (std::optional<PLRegexMatch> match = generalErrorLineAt(text, candidate, limit))
            return match;
        position = expressionLineEnd(text, candidate, limit) + 1;
    }
    return std::nullopt;
}

std::optional<LocatedError> locatedErrorAt(QStringView text, qsizetype candidate, qsizetype limit)
{
    if (candidate >= limit || text[candidate] != u'.')
        return std::nullopt;
    const qsizetype lineEnd = expressionLineEnd(text, candidate, limit);
    const qsizetype nameStart = candidate + (candidate + 1 < lineEnd && text[candidate + 1] == u'/' ? 2 : 1);
    // The greedy run before the line number gives it up from the end of the line: the last ": "
    // with a line number before it wins.
    for (qsizetype colonSpace = text.sliced(nameStart, lineEnd - nameStart).lastIndexOf(u": "); colonSpace >= 0;) {
        colonSpace += nameStart;
        if (const qsizetype colon = lineNumberColonBefore(text, colonSpace, nameStart); colon >= 0) {
            qsizetype messageStart = colonSpace + 2;
            const QStringView error = u"LaTeX Error:";
            if (text.sliced(messageStart, lineEnd - messageStart).startsWith(error))
                messageStart += error.size();
            return LocatedError{PLRange{candidate, lineEnd - candidate}, PLRange{nameStart, colon - nameStart},
                                PLRange{colon + 1, colonSpace - colon - 1}, PLRange{messageStart, lineEnd - messageStart}};
        }
        colonSpace = text.sliced(nameStart, colonSpace - nameStart).lastIndexOf(u": ");
    }
    return std::nullopt;
}

void enumerateLocatedErrors(QStringView text, PLRange range, const std::function<void(const LocatedError &)> &callback)
{
    // Only a line with a line number ": " can hold a match: those are found first, and each such
    // line is then read once, from its start.
    const qsizetype limit = range.end();
    qsizetype position = range.location;
    while (position < limit) {
        const qsizetype found = indexOfLiteral(text.sliced(position, limit - position), u": ");
        if (found < 0)
            return;
        const qsizetype colonSpace = position + found;
        const qsizetype colon = lineNumberColonBefore(text, colonSpace, range.location);
        if (colon < 0) {
            position = colonSpace + 1;
            continue;
        }
        qsizetype lineStart = colon;
        while (lineStart > range.location && !isExpressionLineEnd(text[lineStart - 1]))
            --lineStart;
        const qsizetype lineEnd = expressionLineEnd(text, colonSpace, limit);
        const qsizetype dot = text.sliced(lineStart, lineEnd - lineStart).indexOf(u'.');
        if (dot >= 0) {
            if (const std::optional<LocatedError> error = locatedErrorAt(text, lineStart + dot, limit))
                callback(*error);
        }
        position = lineEnd + 1;
    }
}

bool containsLineNumberColon(QStringView text)
{
    for (qsizetype colon = text.indexOf(u": "); colon > 0; colon = text.indexOf(u": ", colon + 1)) {
        qsizetype i = colon - 1;
        while (i >= 0 && text[i] >= u'0' && text[i] <= u'9')
            --i;
        if (i >= 0 && text[i] == u':')
            return true;
    }
    return false;
}

std::optional<PLRegexMatch> firstMatchAfterLiteral(const QString &pattern, QStringView literal,
                                                   LiteralFollower follower, const QString &text, PLRange range)
{
    std::optional<PLRegexMatch> first;
    enumerateMatchesAfterLiteral(pattern, literal, follower, text, range, [&](const PLRegexMatch &match) {
        first = match;
        return false;
    });
    return first;
}

std::optional<PLRange> nextFileOpening(const QString &text, qsizetype from)
{
    std::optional<PLRange> opening;
    enumerateMatchesAfterLiteral(fileOpeningMatchEnd, u"(./", LiteralFollower::AnyRunInLine, text,
                                 PLRange{from, text.size() - from}, [&](PLRange match) {
                                     opening = match;
                                     return false;
                                 });
    return opening;
}

QString nameOfOpenedFile(const QString &text, PLRange opening)
{
    // An opening found above holds its name between "(./" and its last character.
    if (opening.length > 0 && QStringView(text).sliced(opening.location).startsWith(u"(./")
        && fileOpeningMatchEnd(text, opening.location, opening.end()) == opening.end())
        return text.sliced(opening.location + 3, opening.length - 4);
    const PLRange name = PLRegularExpressionHelper::firstMatchInRange(
        QStringLiteral("\\(\\./((.*?)\\.tex)(\\)|\\n|\\s)"), text, opening, PLRegularExpressionHelper::NoOptions, 1);
    return name.isFound() ? text.sliced(name.location, name.length) : QString();
}

QStringList namesOfOpenedFiles(const QString &text)
{
    QStringList names;
    enumerateMatchesAfterLiteral(QStringLiteral("\\(\\./(.*?)\\.tex"), u"(./", LiteralFollower::AnyRunInLine, text,
                                 PLRange{0, text.size()}, [&](const PLRegexMatch &match) {
                                     const PLRange name = match.range(1);
                                     names.append(text.sliced(name.location, name.length) + QStringLiteral(".tex"));
                                     return true;
                                 });
    return names;
}

int countUnclosedBrackets(QStringView area)
{
    // Branch-free, so that the compiler vectorises the walk over a long segment.
    const char16_t *characters = area.utf16();
    int count = 0;
    for (qsizetype i = 0; i + 1 < area.size(); ++i)
        count += int(characters[i] == u'(') - int(characters[i] == u')');
    return count;
}

int integerValue(QStringView text)
{
    qsizetype i = 0;
    while (i < text.size() && text[i].isSpace())
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == u'-' || text[i] == u'+'))
        negative = text[i++] == u'-';
    qint64 value = 0;
    constexpr qint64 limit = qint64(std::numeric_limits<int>::max()) + 1;
    for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i)
        value = std::min(value * 10 + (text[i].unicode() - u'0'), limit);
    if (negative)
        return int(std::max(-value, qint64(std::numeric_limits<int>::min())));
    return int(std::min(value, qint64(std::numeric_limits<int>::max())));
}

}

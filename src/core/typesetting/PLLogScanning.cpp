#include "PLLogScanning.h"

#include <limits>

namespace PLLogScanning {

bool isExpressionLineEnd(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= 0x0a && u <= 0x0d) || u == 0x85 || u == 0x2028 || u == 0x2029;
}

namespace {
qsizetype expressionLineEnd(const QString &text, qsizetype from, qsizetype limit)
{
    while (from < limit && !isExpressionLineEnd(text[from]))
        ++from;
    return from;
}
}

void enumerateMatchesAfterLiteral(const QString &pattern, QStringView literal, LiteralFollower follower,
                                  const QString &text, PLRange range,
                                  const std::function<bool(const PLRegexMatch &)> &callback,
                                  LinePrecondition precondition)
{
    const qsizetype limit = range.end();
    qsizetype position = range.location;
    while (position + literal.size() <= limit) {
        const qsizetype found = QStringView(text).mid(position, limit - position).indexOf(literal);
        if (found < 0)
            return;
        const qsizetype candidate = position + found;
        std::optional<PLRegexMatch> match;
        if (precondition) {
            const qsizetype lineEnd = expressionLineEnd(text, candidate, limit);
            if (!precondition(QStringView(text).sliced(candidate, lineEnd - candidate))) {
                position = follower == LiteralFollower::AnyRunInLine ? lineEnd + 1 : candidate + 1;
                continue;
            }
        }
        PLRegularExpressionHelper::enumerateMatches(
            pattern, text, PLRange{candidate, limit - candidate},
            [&](const PLRegexMatch &m) {
                match = m;
                return false;
            },
            PLRegularExpressionHelper::Anchored);
        if (match) {
            if (!callback(*match))
                return;
            position = std::max(match->range().end(), candidate + 1);
        } else if (follower == LiteralFollower::AnyRunInLine) {
            position = expressionLineEnd(text, candidate, limit) + 1;
        } else {
            position = candidate + 1;
        }
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
    const std::optional<PLRegexMatch> opening =
        firstMatchAfterLiteral(QStringLiteral("\\(\\./(.*?)\\.tex(\\)|\\n|\\s)"), u"(./",
                               LiteralFollower::AnyRunInLine, text, PLRange{from, text.size() - from});
    if (!opening)
        return std::nullopt;
    return opening->range();
}

QString nameOfOpenedFile(const QString &text, PLRange opening)
{
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
    int count = 0;
    for (qsizetype i = 0; i + 1 < area.size(); ++i) {
        if (area[i] == u'(')
            ++count;
        else if (area[i] == u')')
            --count;
    }
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

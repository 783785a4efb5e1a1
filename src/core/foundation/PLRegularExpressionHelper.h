#pragma once

#include "core/foundation/PLRange.h"

#include <QList>
#include <QString>

#include <functional>

// One match: the whole match at group 0, then each capture group ({PLNotFound, 0} when a group
// took no part in the match).
class PLRegexMatch
{
public:
    explicit PLRegexMatch(QList<PLRange> groups) : m_groups(std::move(groups)) {}
    PLRange range(int group = 0) const { return group >= 0 && group < m_groups.size() ? m_groups[group] : PLNotFoundRange; }
    int numberOfRanges() const { return int(m_groups.size()); }

private:
    QList<PLRange> m_groups;
};

// ICU regular expressions over QString text, read in place without copying. Compiled expressions
// are cached by pattern per thread, so the typesetting thread can use the helper while the main
// thread does. An invalid pattern is logged and never matches, and so does a search that runs past
// its time limit, so no pattern and no text can stall the caller.
class PLRegularExpressionHelper
{
public:
    enum MatchingOption {
        NoOptions = 0,
        // Look-around may see text outside the searched range.
        WithTransparentBounds = 1 << 0,
        // ^ and $ do not match at the edges of the searched range.
        WithoutAnchoringBounds = 1 << 1,
        // The match must start at the beginning of the searched range.
        Anchored = 1 << 2,
    };

    // The range of the first match in the whole text.
    static PLRange rangeOfFirstMatch(const QString &pattern, const QString &text);
    // The range of one capture group of the first match in the whole text.
    static PLRange rangeOfCaptureGroup(const QString &pattern, const QString &text, int group);
    // The first match that lies inside the range.
    static PLRange firstMatchInRange(const QString &pattern, const QString &text, PLRange range);
    // The same with matching options, answering one capture group of that match.
    static PLRange firstMatchInRange(const QString &pattern, const QString &text, PLRange range, int options,
                                     int group);
    // Every match inside the range, in order; the callback answers false to stop.
    static void enumerateMatches(const QString &pattern, const QString &text, PLRange range,
                                 const std::function<bool(const PLRegexMatch &)> &callback, int options = NoOptions);
    static QList<PLRegexMatch> allMatches(const QString &pattern, const QString &text);

    static bool isValidPattern(const QString &pattern);
};

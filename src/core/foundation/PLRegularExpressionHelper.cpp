#include "core/foundation/PLRegularExpressionHelper.h"

#include "core/foundation/PLLogging.h"

#include <unicode/uregex.h>

#include <limits>
#include <unordered_map>

namespace {

struct QStringHash
{
    size_t operator()(const QString &s) const noexcept { return qHash(s); }
};

// Compiled expressions of this thread. An entry in use (a callback of enumerateMatches running)
// is cloned for a nested search of the same pattern, so the outer search keeps its place.
class ThreadCache
{
public:
    ~ThreadCache()
    {
        for (auto &[pattern, entry] : m_entries) {
            if (entry.regex)
                uregex_close(entry.regex);
        }
    }

    struct Entry
    {
        URegularExpression *regex = nullptr;
        bool busy = false;
    };

    Entry *lookup(const QString &pattern)
    {
        auto it = m_entries.find(pattern);
        if (it != m_entries.end())
            return &it->second;
        if (m_entries.size() >= kMaximumEntries)
            clearIdle();
        Entry entry;
        UErrorCode status = U_ZERO_ERROR;
        UParseError parseError{};
        entry.regex = uregex_open(reinterpret_cast<const UChar *>(pattern.utf16()), int32_t(pattern.size()), 0,
                                  &parseError, &status);
        if (U_FAILURE(status)) {
            qCWarning(lcRegex).noquote() << "invalid regular expression" << pattern << u_errorName(status)
                                         << "at offset" << parseError.offset;
            entry.regex = nullptr;
        }
        return &m_entries.emplace(pattern, entry).first->second;
    }

private:
    void clearIdle()
    {
        for (auto it = m_entries.begin(); it != m_entries.end();) {
            if (!it->second.busy) {
                if (it->second.regex)
                    uregex_close(it->second.regex);
                it = m_entries.erase(it);
            } else {
                ++it;
            }
        }
    }

    static constexpr size_t kMaximumEntries = 512;
    std::unordered_map<QString, Entry, QStringHash> m_entries;
};

// The engine counts its work in steps of some ten thousand operations (a fraction of a
// millisecond each). A search may take a fixed allowance plus a share that grows with the text,
// so a long text read once never runs out, while a pattern that backtracks badly gives up well
// before the user would notice the pause.
constexpr int32_t kTimeLimitBaseSteps = 500;
constexpr qsizetype kCharactersPerExtraStep = 1000;

ThreadCache &threadCache()
{
    thread_local ThreadCache cache;
    return cache;
}

// A compiled expression bound to one text for the length of one search.
class BoundRegex
{
public:
    BoundRegex(const QString &pattern, const QString &text) : m_pattern(pattern)
    {
        if (text.size() > std::numeric_limits<int32_t>::max()) {
            qCWarning(lcRegex) << "text too long for a regular-expression search:" << text.size();
            return;
        }
        ThreadCache::Entry *entry = threadCache().lookup(pattern);
        if (!entry->regex)
            return;
        UErrorCode status = U_ZERO_ERROR;
        if (entry->busy) {
            m_regex = uregex_clone(entry->regex, &status);
            m_ownsClone = true;
        } else {
            m_regex = entry->regex;
            m_entry = entry;
            entry->busy = true;
        }
        if (U_FAILURE(status)) {
            m_regex = nullptr;
            return;
        }
        uregex_setText(m_regex, reinterpret_cast<const UChar *>(text.utf16()), int32_t(text.size()), &status);
        m_textLength = text.size();
        if (U_FAILURE(status))
            release();
    }

    ~BoundRegex() { release(); }
    BoundRegex(const BoundRegex &) = delete;
    BoundRegex &operator=(const BoundRegex &) = delete;

    bool isValid() const { return m_regex; }

    bool setRange(PLRange range, int options)
    {
        if (range.location < 0 || range.length < 0 || range.location > m_textLength
            || range.length > m_textLength - range.location)
            return false;
        UErrorCode status = U_ZERO_ERROR;
        uregex_setRegion64(m_regex, range.location, range.end(), &status);
        uregex_useTransparentBounds(m_regex, (options & PLRegularExpressionHelper::WithTransparentBounds) != 0,
                                    &status);
        uregex_useAnchoringBounds(m_regex, (options & PLRegularExpressionHelper::WithoutAnchoringBounds) == 0,
                                  &status);
        m_anchored = (options & PLRegularExpressionHelper::Anchored) != 0;
        uregex_setTimeLimit(m_regex, kTimeLimitBaseSteps + int32_t(range.length / kCharactersPerExtraStep), &status);
        return U_SUCCESS(status);
    }

    bool findNext()
    {
        UErrorCode status = U_ZERO_ERROR;
        bool found = false;
        if (m_anchored) {
            if (m_anchoredDone)
                return false;
            m_anchoredDone = true;
            found = uregex_lookingAt64(m_regex, -1, &status);
        } else {
            found = uregex_findNext(m_regex, &status);
        }
        if (status == U_REGEX_TIME_OUT)
            qCWarning(lcRegex).noquote() << "regular-expression search gave up after its time limit:" << m_pattern;
        return found && U_SUCCESS(status);
    }

    PLRange group(int index) const
    {
        UErrorCode status = U_ZERO_ERROR;
        const int64_t start = uregex_start64(m_regex, index, &status);
        const int64_t end = uregex_end64(m_regex, index, &status);
        if (U_FAILURE(status) || start < 0)
            return PLNotFoundRange;
        return PLRange{qsizetype(start), qsizetype(end - start)};
    }

    int groupCount() const
    {
        UErrorCode status = U_ZERO_ERROR;
        const int32_t count = uregex_groupCount(m_regex, &status);
        return U_SUCCESS(status) ? count : 0;
    }

private:
    void release()
    {
        if (!m_regex)
            return;
        UErrorCode status = U_ZERO_ERROR;
        // Drop the reference to the caller's text before it can go away.
        uregex_setText(m_regex, u"", 0, &status);
        if (m_ownsClone)
            uregex_close(m_regex);
        if (m_entry)
            m_entry->busy = false;
        m_regex = nullptr;
        m_entry = nullptr;
    }

    QString m_pattern;
    URegularExpression *m_regex = nullptr;
    ThreadCache::Entry *m_entry = nullptr;
    bool m_ownsClone = false;
    bool m_anchored = false;
    bool m_anchoredDone = false;
    qsizetype m_textLength = 0;
};

PLRange searchFirst(const QString &pattern, const QString &text, PLRange range, int options, int group)
{
    BoundRegex regex(pattern, text);
    if (!regex.isValid() || !regex.setRange(range, options) || !regex.findNext())
        return PLNotFoundRange;
    return regex.group(group);
}

}

PLRange PLRegularExpressionHelper::rangeOfFirstMatch(const QString &pattern, const QString &text)
{
    return searchFirst(pattern, text, PLRange{0, text.size()}, NoOptions, 0);
}

PLRange PLRegularExpressionHelper::rangeOfCaptureGroup(const QString &pattern, const QString &text, int group)
{
    return searchFirst(pattern, text, PLRange{0, text.size()}, NoOptions, group);
}

PLRange PLRegularExpressionHelper::firstMatchInRange(const QString &pattern, const QString &text, PLRange range)
{
    return searchFirst(pattern, text, range, NoOptions, 0);
}

PLRange PLRegularExpressionHelper::firstMatchInRange(const QString &pattern, const QString &text, PLRange range,
                                                     int options, int group)
{
    return searchFirst(pattern, text, range, options, group);
}

void PLRegularExpressionHelper::enumerateMatches(const QString &pattern, const QString &text, PLRange range,
                                                 const std::function<bool(const PLRegexMatch &)> &callback,
                                                 int options)
{
    BoundRegex regex(pattern, text);
    if (!regex.isValid() || !regex.setRange(range, options))
        return;
    const int groups = regex.groupCount();
    while (regex.findNext()) {
        QList<PLRange> ranges;
        ranges.reserve(groups + 1);
        for (int g = 0; g <= groups; ++g)
            ranges.append(regex.group(g));
        if (!callback(PLRegexMatch(std::move(ranges))))
            return;
    }
}

QList<PLRegexMatch> PLRegularExpressionHelper::allMatches(const QString &pattern, const QString &text)
{
    QList<PLRegexMatch> matches;
    enumerateMatches(pattern, text, PLRange{0, text.size()}, [&](const PLRegexMatch &match) {
        matches.append(match);
        return true;
    });
    return matches;
}

bool PLRegularExpressionHelper::isValidPattern(const QString &pattern)
{
    return threadCache().lookup(pattern)->regex != nullptr;
}

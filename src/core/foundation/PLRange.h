#pragma once

#include <QtGlobal>
#include <QString>

#include <limits>

// A stretch of text in UTF-16 code units, the unit QString and ICU index by.
inline constexpr qsizetype PLNotFound = std::numeric_limits<qsizetype>::max();

struct PLRange
{
    qsizetype location = 0;
    qsizetype length = 0;

    constexpr qsizetype end() const { return location + length; }
    constexpr bool isFound() const { return location != PLNotFound; }
    constexpr bool contains(qsizetype index) const { return index >= location && index < end(); }
    friend constexpr bool operator==(const PLRange &, const PLRange &) = default;
};

inline constexpr PLRange PLNotFoundRange{PLNotFound, 0};

inline QString toString(const PLRange &range)
{
    return QStringLiteral("{%1, %2}").arg(range.location).arg(range.length);
}
